#pragma once

#include "app/settings/formatsetting.h"
#include "app/settingspage.h"

class QCheckBox;
class QComboBox;
class QRadioButton;
class QSpinBox;

// How typed text becomes bytes: format, encoding, ending, checksum, repetition, and what Enter
// sends in the receive terminal.
class SendPage final : public SettingsPage
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SendPage)

public:
    explicit SendPage(QWidget* parent = nullptr);
    ~SendPage() override;

    void load(const FormatSetting& format);
    // The repeat interval is shown and edited in milliseconds; an edited one is stored with a time
    // unit of 1 ms.
    void store(FormatSetting& format) const;

private:
    void buildRows();
    void onEdited();
    [[nodiscard]] FormatSetting edited() const;

    QRadioButton* m_text;
    QRadioButton* m_hex;
    QComboBox* m_encoding;
    QCheckBox* m_normaliseHex;
    QComboBox* m_lineEnding;
    QComboBox* m_checksum;
    QCheckBox* m_loop;
    QSpinBox* m_interval;
    QComboBox* m_enterSends;
    QCheckBox* m_displaySend;
    QCheckBox* m_localEcho;
    FormatSetting m_shown; // as the fields showed it after loading
};
