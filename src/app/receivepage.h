#pragma once

#include "app/settings/formatsetting.h"
#include "app/settingspage.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QRadioButton;
class QSpinBox;

// How received bytes are shown: format, encoding, line breaks at pauses, time stamps.
class ReceivePage final : public SettingsPage
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ReceivePage)

public:
    explicit ReceivePage(QWidget* parent = nullptr);
    ~ReceivePage() override;

    void load(const FormatSetting& format);
    void store(FormatSetting& format) const;

private:
    void buildRows();
    void buildStampRows(QFormLayout* form);
    void onEdited();
    [[nodiscard]] FormatSetting edited() const;

    QRadioButton* m_text;
    QRadioButton* m_hex;
    QComboBox* m_encoding;
    QCheckBox* m_autoFeed;
    QSpinBox* m_interval;
    QCheckBox* m_displayTime;
    QLineEdit* m_rxStamp;
    QLineEdit* m_txStamp;
    QLabel* m_stampPreview;
    FormatSetting m_shown; // as the fields showed it after loading
};
