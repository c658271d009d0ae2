#include "terminal/pane/portnamebox.h"

#include "connections/serialportcatalog.h"

#include <QAbstractItemView>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QTimer>

namespace {

QString toolTipOf(const SerialPortDescription& port)
{
    QStringList lines{port.portName};
    for (const QString& line : {port.description, port.manufacturer, port.serialNumber}) {
        if (!line.isEmpty())
            lines.append(line);
    }
    return lines.join(QLatin1Char('\n'));
}

QString labelOf(const SerialPortDescription& port)
{
    return port.description.isEmpty()
               ? port.portName
               : QStringLiteral("%1 (%2)").arg(port.portName, port.description);
}

} // namespace

PortNameBox::PortNameBox(QWidget* parent)
    : QComboBox(parent)
{
    setEditable(true);
    setInsertPolicy(QComboBox::NoInsert);
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(10);
    lineEdit()->setPlaceholderText(tr("Choose or type a port"));
    connect(this, &QComboBox::activated, this, [this](int index) {
        // The line shows the bare name: the description belongs to the list.
        setEditText(itemData(index).toString());
        Q_EMIT portNameEdited();
    });
    connect(lineEdit(), &QLineEdit::editingFinished, this, &PortNameBox::portNameEdited);
}

PortNameBox::~PortNameBox() = default;

void PortNameBox::populate(const SerialPortCatalog& catalog)
{
    m_ports = catalog.ports();
    // An entry must not move away under the pointer or the arrow keys.
    if (!view()->isVisible())
        fill();
}

void PortNameBox::fill()
{
    if (m_listed == m_ports)
        return;
    m_listed = m_ports;
    const QString typed = currentText();
    const bool modified = lineEdit()->isModified();
    const int cursor = lineEdit()->cursorPosition();
    const int selected = lineEdit()->selectionStart();
    const int selectedLength = int(lineEdit()->selectedText().size());
    {
        const QSignalBlocker blocker(this);
        clear();
        for (const SerialPortDescription& port : m_ports) {
            addItem(labelOf(port), port.portName);
            setItemData(count() - 1, toolTipOf(port), Qt::ToolTipRole);
        }
        setCurrentIndex(findData(typed.trimmed()));
        setEditText(typed);
    }
    lineEdit()->setModified(modified);
    lineEdit()->setCursorPosition(cursor);
    if (selected >= 0)
        lineEdit()->setSelection(selected, selectedLength);
}

void PortNameBox::hidePopup()
{
    QComboBox::hidePopup();
    // The choice is told after the list is gone.
    QTimer::singleShot(0, this, &PortNameBox::fill);
}

QString PortNameBox::portName() const
{
    return currentText().trimmed();
}

void PortNameBox::setPortName(const QString& name)
{
    if (currentText() == name)
        return;
    const QSignalBlocker blocker(this);
    setCurrentIndex(findData(name));
    setEditText(name);
    lineEdit()->setCursorPosition(0);
}
