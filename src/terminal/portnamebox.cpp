#include "terminal/portnamebox.h"

#include "connections/serialportcatalog.h"

#include <QLineEdit>
#include <QSignalBlocker>

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
    const QString chosen = portName();
    const QSignalBlocker blocker(this);
    clear();
    for (const SerialPortDescription& port : catalog.ports()) {
        const QString label = port.description.isEmpty()
                                  ? port.portName
                                  : QStringLiteral("%1 (%2)").arg(port.portName, port.description);
        addItem(label, port.portName);
        setItemData(count() - 1, toolTipOf(port), Qt::ToolTipRole);
    }
    setPortName(chosen);
}

QString PortNameBox::portName() const
{
    return currentText().trimmed();
}

void PortNameBox::setPortName(const QString& name)
{
    const QSignalBlocker blocker(this);
    setCurrentIndex(findData(name));
    setEditText(name);
    lineEdit()->setCursorPosition(0);
}
