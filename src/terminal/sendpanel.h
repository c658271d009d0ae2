#pragma once

#include "app/settings/formatsetting.h"

#include <QGroupBox>

class QCheckBox;
class QComboBox;
class QRadioButton;
class QSpinBox;

// The send group of a pane: how what is typed becomes bytes. Edits a FormatSetting record and
// decides nothing. Line by line is a way of repeating, not a persisted option.
class SendPanel final : public QGroupBox
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SendPanel)

public:
    explicit SendPanel(QWidget* parent = nullptr);
    ~SendPanel() override;

    void load(const FormatSetting& format);
    void store(FormatSetting& format) const;
    [[nodiscard]] bool lineByLine() const;

Q_SIGNALS:
    void edited();
    void repeatEdited();

private:
    void fillLists();
    void buildRows();
    void connectEdits();
    void syncEnabled();

    QRadioButton* m_text;
    QRadioButton* m_hex;
    QComboBox* m_encoding;
    QCheckBox* m_normaliseHex;
    QCheckBox* m_loop;
    QSpinBox* m_interval;
    QCheckBox* m_lineByLine;
    QComboBox* m_lineEnding;
    QComboBox* m_checksum;
    QComboBox* m_enterSends;
    QCheckBox* m_displaySend;
    QCheckBox* m_localEcho;
};
