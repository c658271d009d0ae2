#pragma once

#include "settings/formatsetting.h"
#include "terminal/pane/panelform.h"

#include <QGroupBox>

class FormatRow;
class QCheckBox;
class QComboBox;
class QSpinBox;

// The receive group of a pane: how what arrives is shown. Edits a FormatSetting record and
// decides nothing.
class ReceivePanel final : public QGroupBox
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ReceivePanel)

public:
    explicit ReceivePanel(QWidget* parent = nullptr);
    ~ReceivePanel() override;

    void load(const FormatSetting& format);
    void store(FormatSetting& format) const;
    [[nodiscard]] PanelForm& form() { return m_form; }

Q_SIGNALS:
    void edited();

private:
    void buildRows();
    void connectEdits();
    void syncEnabled();

    PanelForm m_form;
    FormatRow* m_format;
    QComboBox* m_encoding;
    QCheckBox* m_autoFeed;
    QSpinBox* m_interval;
    QCheckBox* m_displayTime;
    bool m_loading = false;
};
