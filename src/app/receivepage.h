#pragma once

#include "app/settingspage.h"
#include "settings/formatsetting.h"

class QLabel;
class QLineEdit;
class ReceivePanel;

// How received bytes are shown: the fields of the pane's own receive panel, and the patterns of
// the time stamps with what they give now.
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
    void buildStampRows(QFormLayout* form);
    void showStamps();
    [[nodiscard]] FormatSetting edited() const;

    ReceivePanel* m_panel;
    QLineEdit* m_rxStamp;
    QLineEdit* m_txStamp;
    QLabel* m_stampPreview = nullptr;
    FormatSetting m_shown; // as the fields showed it after loading
};
