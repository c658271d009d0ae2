#pragma once

#include "app/settingspage.h"
#include "settings/formatsetting.h"

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
