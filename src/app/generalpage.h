#pragma once

#include "app/programoptions.h"
#include "app/settingspage.h"

class QCheckBox;
class QComboBox;

// What the program does for all panes: restore connections, reconnect, speak a language.
class GeneralPage final : public SettingsPage
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(GeneralPage)

public:
    explicit GeneralPage(QWidget* parent = nullptr);
    ~GeneralPage() override;

    void load(const GeneralOptions& options);
    void store(GeneralOptions& options) const;

private:
    QCheckBox* m_openLastConnection;
    QCheckBox* m_autoReconnect;
    QComboBox* m_language;
};
