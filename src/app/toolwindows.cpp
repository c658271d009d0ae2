#include "app/toolwindows.h"

#include "terminal/pane/serialportwidget.h"
#include "tools/asciitable.h"
#include "tools/toolbox.h"

namespace {

void bringUp(QDialog& window)
{
    window.show();
    window.raise();
    window.activateWindow();
}

} // namespace

ToolWindows::ToolWindows(std::function<SerialPortWidget*()> pane, QWidget* parent)
    : QObject(parent)
    , m_pane(std::move(pane))
    , m_parent(parent)
{}

void ToolWindows::showToolBox()
{
    if (!m_toolBox) {
        m_toolBox = new ToolBox(m_parent);
        connect(m_toolBox, &ToolBox::insertRequested, this, &ToolWindows::insert);
    }
    bringUp(*m_toolBox);
}

void ToolWindows::showAsciiTable()
{
    if (!m_asciiTable) {
        m_asciiTable = new AsciiTable(m_parent);
        connect(m_asciiTable, &AsciiTable::insertRequested, this, &ToolWindows::insert);
        connect(m_asciiTable, &AsciiTable::sendRequested, this, &ToolWindows::send);
    }
    bringUp(*m_asciiTable);
}

void ToolWindows::insert(const QByteArray& bytes)
{
    if (SerialPortWidget* pane = m_pane())
        pane->insertSendBytes(bytes);
}

void ToolWindows::send(const QByteArray& bytes)
{
    if (SerialPortWidget* pane = m_pane())
        pane->sendBytes(bytes);
}
