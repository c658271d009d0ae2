#include "app/logactions.h"

#include "log/logfilename.h"
#include "log/logwriter.h"
#include "terminal/pane/serialportwidget.h"
#include "terminal/port/connectionsummary.h"

#include <QAction>
#include <QDebug>
#include <QDesktopServices>
#include <QFileInfo>
#include <QMessageBox>
#include <QUrl>
#include <algorithm>
#include <utility>

LogActions::LogActions(const Actions& actions, Panes panes, QWidget* window)
    : QObject(window)
    , m_actions(actions)
    , m_panes(std::move(panes))
    , m_window(window)
{
    connect(m_actions.record, &QAction::triggered, this, &LogActions::record);
    connect(m_actions.view, &QAction::triggered, this, &LogActions::view);
    connect(m_actions.openFolder, &QAction::triggered, this, &LogActions::openFolder);
}

LogActions::~LogActions() = default;

void LogActions::refresh()
{
    const QList<SerialPortWidget*> panes = m_panes.all();
    m_actions.record->setChecked(
        !panes.isEmpty() && std::all_of(panes.begin(), panes.end(), [](const SerialPortWidget* p) {
            return p->isLogRecording();
        }));
    QStringList names;
    for (const SerialPortWidget* pane : panes) {
        const QString name = pane->currentLogFile();
        if (logFileNameResolved(name) && !m_names.contains(name))
            m_lastLogFile = name;
        names.append(name);
    }
    m_names = names;
}

void LogActions::record(bool on)
{
    qDebug() << "acFileRecordDataLog" << on;
    const QList<SerialPortWidget*> panes = m_panes.all();
    for (SerialPortWidget* pane : panes)
        pane->setLogRecording(on);
    m_window->setWindowModified(true);
}

void LogActions::view()
{
    SerialPortWidget* pane = m_panes.current();
    QString error;
    if (!pane->flushLog(&error))
        return warn(error);
    const QString name = pane->currentLogFile();
    if (!logFileNameResolved(name))
        return warn(LogWriter::noFileNameText());
    const QFileInfo file(name);
    if (!file.isFile())
        return warn(tr("Current log file does not exist."));
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(file.absoluteFilePath())))
        warn(tr("Could not open current log file."));
}

void LogActions::openFolder()
{
    const SerialPortWidget* pane = m_panes.current();
    QString name = pane->currentLogFile();
    // Before the first text there is a pattern only, and its folder is where the file will be.
    if (!logFileNameResolved(name))
        name = decode_file_name(
            pane->formatSetting().logFilePath, portNameForFile(connectionName(pane->settings())));
    const QFileInfo folder(QFileInfo(name).absolutePath());
    if (!logFileNameResolved(name) || !folder.isDir())
        return warn(tr("Current log folder does not exist."));
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(folder.absoluteFilePath())))
        warn(tr("Could not open the folder %1.").arg(folder.absoluteFilePath()));
}

// Shown, not waited for: traffic goes on behind it.
void LogActions::warn(const QString& text)
{
    auto* box =
        new QMessageBox(QMessageBox::Warning, tr("Warning"), text, QMessageBox::Ok, m_window);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    box->open();
}
