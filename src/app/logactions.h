#pragma once

#include <QList>
#include <QObject>
#include <functional>

class QAction;
class QWidget;
class SerialPortWidget;

// The File menu's actions about data logs: start and stop recording on all panes, view the current
// pane's log, open its folder. Owned by the main window, which is the parent of the boxes.
class LogActions final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LogActions)

public:
    struct Actions
    {
        QAction* record;
        QAction* view;
        QAction* openFolder;
    };
    struct Panes
    {
        std::function<QList<SerialPortWidget*>()> all;
        std::function<SerialPortWidget*()> current; // focused, never null
    };

    LogActions(const Actions& actions, Panes panes, QWidget* window);
    ~LogActions() override;

    // Shows the record action checked while every pane records, and notes which file a log went to
    // last. Cheap enough for a display timer.
    void refresh();
    // Empty when there was none yet.
    [[nodiscard]] QString lastLogFile() const { return m_lastLogFile; }
    void setLastLogFile(const QString& name) { m_lastLogFile = name; }

private:
    void record(bool on);
    void view();
    void openFolder();
    void warn(const QString& text);

    Actions m_actions;
    Panes m_panes;
    QWidget* m_window;
    QStringList m_names; // of the panes' log files, as of the last refresh
    QString m_lastLogFile;
};
