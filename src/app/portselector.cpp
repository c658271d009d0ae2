#include "app/portselector.h"

#include <QAbstractItemView>
#include <QKeyEvent>
#include <QSignalBlocker>
#include <QWheelEvent>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMinimumCharacters = 24;

QString portText(const SerialPortDescription& port)
{
    return port.description.isEmpty() ? port.portName
                                      : QString(port.portName + " ("_L1 + port.description + u')');
}

QString portToolTip(const SerialPortDescription& port)
{
    QStringList lines;
    for (const QString& text : {port.systemLocation, port.manufacturer, port.serialNumber}) {
        if (!text.isEmpty())
            lines.append(text);
    }
    return lines.join(u'\n');
}

} // namespace

PortSelector::PortSelector(QWidget* parent)
    : QComboBox(parent)
{
    setObjectName("quickPortCombo"_L1);
    setAccessibleName(tr("Serial port of the first pane"));
    setToolTip(tr("Open another serial port in the first pane"));
    setMinimumContentsLength(kMinimumCharacters);
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    repopulate();
    connect(this, &QComboBox::activated, this,
        [this](int index) { Q_EMIT portChosen(itemData(index).toString()); });
}

void PortSelector::setPorts(const QList<SerialPortDescription>& ports)
{
    m_ports = ports;
    repopulate();
}

void PortSelector::setCurrentPort(const QString& portName)
{
    if (portName == m_current && currentData().toString() == portName)
        return;
    m_current = portName;
    repopulate();
}

void PortSelector::hidePopup()
{
    QComboBox::hidePopup();
    // The choice that closes the list is read from it after this.
    QMetaObject::invokeMethod(this, &PortSelector::repopulate, Qt::QueuedConnection);
}

void PortSelector::wheelEvent(QWheelEvent* event)
{
    event->ignore();
}

// A step through the closed list would close one port and open the next, and toggle DTR of each.
void PortSelector::keyPressEvent(QKeyEvent* event)
{
    const int key = event->key();
    const bool steps = (key >= Qt::Key_Home && key <= Qt::Key_PageDown);
    const bool searches = !event->text().isEmpty() && event->text().at(0).isLetterOrNumber();
    if (!steps && !searches) {
        QComboBox::keyPressEvent(event);
        return;
    }
    showPopup();
    if (searches)
        view()->keyboardSearch(event->text());
}

void PortSelector::repopulate()
{
    if (view()->isVisible())
        return;
    const QSignalBlocker blocker(this);
    clear();
    for (const SerialPortDescription& port : std::as_const(m_ports)) {
        addItem(portText(port), port.portName);
        setItemData(count() - 1, portToolTip(port), Qt::ToolTipRole);
    }
    if (!m_current.isEmpty() && findData(m_current) < 0)
        addItem(m_current, m_current);
    setPlaceholderText(m_ports.isEmpty() ? tr("No serial port") : tr("Choose a port"));
    setCurrentIndex(findData(m_current));
}
