#pragma once

#include "app/settingspage.h"
#include "settings/formatsetting.h"

class QLabel;
class QLineEdit;
class ReceivePanel;
class SendPanel;

// How typed text becomes bytes, how it is repeated, and what Enter sends in the receive terminal:
// the fields of the pane's own send panel that are kept.
class SendPage final : public SettingsPage
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SendPage)

public:
    explicit SendPage(QWidget* parent = nullptr);
    ~SendPage() override;

    void load(const FormatSetting& format);
    void store(FormatSetting& format) const;

private:
    [[nodiscard]] FormatSetting edited() const;

    SendPanel* m_panel;
    FormatSetting m_shown; // as the fields showed it after loading
};

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
