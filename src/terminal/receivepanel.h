#pragma once

#include "app/settings/formatsetting.h"

#include <QGroupBox>

class ColorButton;
class QCheckBox;
class QComboBox;
class QRadioButton;
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

Q_SIGNALS:
    void edited();

private:
    void buildRows();
    void connectEdits();
    void syncEnabled();
    void chooseFont();

    QRadioButton* m_text;
    QRadioButton* m_hex;
    QComboBox* m_encoding;
    QCheckBox* m_autoFeed;
    QSpinBox* m_interval;
    QCheckBox* m_displayTime;
    QCheckBox* m_colored;
    ColorButton* m_receiveColor;
    ColorButton* m_sendColor;
    QSpinBox* m_bufferMb;
    class QPushButton* m_fontButton;
    QFont m_font;
};
