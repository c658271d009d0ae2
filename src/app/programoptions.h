#pragma once

#include "app/interfacelanguage.h"

#include <QObject>
#include <functional>

class QAction;
class QSettings;
class QWidget;
struct SessionState;

// The options of the program that belong to no pane.
struct GeneralOptions
{
    bool openLastConnection = true; // "OpenLastConnection" of the application store
    bool autoReconnect = false;     // "AutoReconnect" of the application store
    InterfaceLanguage::Choice language = InterfaceLanguage::Choice::System;

    friend bool operator==(const GeneralOptions&, const GeneralOptions&) = default;
};

// The options of the program that belong to no pane, in the menus and in the settings dialog. What
// is switched is written to the application store at once: closing a window does not write it, so
// that one window does not undo what was switched in another. Owned by the main window, whose
// state holds the options in force.
class ProgramOptions final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ProgramOptions)

public:
    struct Actions
    {
        QAction* openLastConnection;
        QAction* autoReconnect;
        QAction* english;
        QAction* chinese;
    };

    // Store and state belong to the window.
    ProgramOptions(const Actions& actions, QSettings& store, SessionState& state, QWidget* window);
    ~ProgramOptions() override = default;

    [[nodiscard]] GeneralOptions options() const;
    // Puts into force and stores what differs.
    void setOptions(const GeneralOptions& options);
    // The actions follow the state.
    void showInActions();

Q_SIGNALS:
    void autoReconnectChanged(bool on);

private:
    void setOpenLastConnection(bool on);
    void setAutoReconnect(bool on);
    void setLanguage(InterfaceLanguage::Choice language);
    // False, and told in a box, when the store cannot keep the change.
    bool store(const std::function<void()>& change);

    Actions m_actions;
    QSettings& m_store;
    SessionState& m_state;
    QWidget* m_window;
};
