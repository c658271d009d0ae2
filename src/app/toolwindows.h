#pragma once

#include <QObject>
#include <QPointer>
#include <functional>

class AsciiTable;
class QWidget;
class SerialPortWidget;
class ToolBox;

// The windows of the Tools menu: made when first opened, kept beside the main window, and wired
// to the pane that is to send what they offer. Owned by the main window, which also is the parent
// of the windows.
class ToolWindows final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ToolWindows)

public:
    // `pane` names the pane to send with at the moment of sending.
    ToolWindows(std::function<SerialPortWidget*()> pane, QWidget* parent);
    ~ToolWindows() override = default;

    void showToolBox();
    void showAsciiTable();

private:
    void insert(const QByteArray& bytes);
    void send(const QByteArray& bytes);

    std::function<SerialPortWidget*()> m_pane;
    QWidget* m_parent;
    QPointer<ToolBox> m_toolBox;
    QPointer<AsciiTable> m_asciiTable;
};
