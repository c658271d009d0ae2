#include "app/programoptions.h"

#include "app/messageboxes.h"
#include "settings/sessionstate.h"
#include "settings/storewriter.h"

#include <QAction>
#include <QActionGroup>
#include <QLocale>
#include <QSettings>
#include <QWidget>

using namespace Qt::Literals::StringLiterals;

ProgramOptions::ProgramOptions(
    const Actions& actions, QSettings& store, SessionState& state, QWidget* window)
    : QObject(window)
    , m_actions(actions)
    , m_store(store)
    , m_state(state)
    , m_window(window)
{
    auto* languages = new QActionGroup(this);
    languages->addAction(m_actions.english);
    languages->addAction(m_actions.chinese);
    showInActions();
    connect(m_actions.openLastConnection, &QAction::triggered, this,
        &ProgramOptions::setOpenLastConnection);
    connect(m_actions.autoReconnect, &QAction::triggered, this, &ProgramOptions::setAutoReconnect);
    connect(m_actions.english, &QAction::triggered, this,
        [this] { setLanguage(InterfaceLanguage::Choice::English); });
    connect(m_actions.chinese, &QAction::triggered, this,
        [this] { setLanguage(InterfaceLanguage::Choice::Chinese); });
}

GeneralOptions ProgramOptions::options() const
{
    return {m_state.openLastConnection, m_state.autoReconnect, InterfaceLanguage::stored(m_store)};
}

void ProgramOptions::setOptions(const GeneralOptions& options)
{
    const GeneralOptions old = this->options();
    if (options.openLastConnection != old.openLastConnection)
        setOpenLastConnection(options.openLastConnection);
    if (options.autoReconnect != old.autoReconnect)
        setAutoReconnect(options.autoReconnect);
    if (options.language != old.language)
        setLanguage(options.language);
}

void ProgramOptions::showInActions()
{
    m_actions.openLastConnection->setChecked(m_state.openLastConnection);
    m_actions.autoReconnect->setChecked(m_state.autoReconnect);
    const bool chinese = InterfaceLanguage::wantsChinese(
        int(InterfaceLanguage::stored(m_store)), QLocale::system().name());
    (chinese ? m_actions.chinese : m_actions.english)->setChecked(true);
}

void ProgramOptions::setOpenLastConnection(bool on)
{
    m_state.openLastConnection = on;
    store([this, on] { m_store.setValue("OpenLastConnection"_L1, on); });
    showInActions();
}

void ProgramOptions::setAutoReconnect(bool on)
{
    m_state.autoReconnect = on;
    store([this, on] { m_store.setValue("AutoReconnect"_L1, on); });
    showInActions();
    Q_EMIT autoReconnectChanged(on);
}

void ProgramOptions::setLanguage(InterfaceLanguage::Choice language)
{
    const bool stored = store([this, language] { InterfaceLanguage::choose(m_store, language); });
    showInActions();
    if (stored)
        MessageBoxes::showInformation(
            m_window, tr("The changes will take effect when the program is restarted."));
}

bool ProgramOptions::store(const std::function<void()>& change)
{
    QString reason;
    if (StoreWriter::write(m_store, change, reason))
        return true;
    MessageBoxes::showWarning(m_window,
        tr("The choice is forgotten when the program ends: it could not be stored."), reason);
    return false;
}
