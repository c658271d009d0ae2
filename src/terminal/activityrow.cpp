#include "terminal/activityrow.h"

#include "terminal/hled.h"

#include <QHBoxLayout>
#include <QLabel>

ActivityRow::ActivityRow(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("controlLineLedsRow"));
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 4, 0, 4);
    row->setSpacing(16);
    m_tx = addLamp(row, tr("TX"), QStringLiteral("txActivityLed"), QStringLiteral("txLedCell"));
    m_rx = addLamp(row, tr("RX"), QStringLiteral("rxActivityLed"), QStringLiteral("rxLedCell"));
    row->addStretch();
}

ActivityRow::~ActivityRow() = default;

HLed* ActivityRow::addLamp(
    QHBoxLayout* row, const QString& caption, const QString& lampName, const QString& cellName)
{
    auto* cell = new QWidget(this);
    cell->setObjectName(cellName);
    cell->setToolTip(tr("Lights while data is being sent or received"));
    auto* layout = new QHBoxLayout(cell);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    auto* lamp = new HLed(cell);
    lamp->setObjectName(lampName);
    lamp->setAccessibleName(tr("%1 activity").arg(caption));
    lamp->turnOff();
    layout->addWidget(lamp);
    layout->addWidget(new QLabel(caption, cell));
    row->addWidget(cell);
    return lamp;
}

void ActivityRow::setSending(bool lit)
{
    m_tx->turnOn(lit);
}

void ActivityRow::setReceiving(bool lit)
{
    m_rx->turnOn(lit);
}

void ActivityRow::setLampsVisible(bool visible)
{
    setVisible(visible);
}
