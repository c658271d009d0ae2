#include "terminal/panestatusline.h"

#include "terminal/hled.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>

PaneStatusLine::PaneStatusLine(QWidget* parent)
    : QWidget(parent)
    , m_lamp(new HLed(this))
    , m_summary(new QLabel(this))
    , m_message(new QLabel(this))
    , m_counters(new QLabel(this))
{
    m_lamp->turnOff();
    m_lamp->setAccessibleName(tr("Connection state"));
    m_message->setTextFormat(Qt::PlainText);
    m_message->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_messageTimer.setSingleShot(true);
    connect(&m_messageTimer, &QTimer::timeout, m_message, &QLabel::clear);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(4, 0, 4, 0);
    layout->setSpacing(8);
    layout->addWidget(m_lamp);
    layout->addWidget(m_summary);
    layout->addWidget(m_message, 1);
    layout->addWidget(m_counters);
}

PaneStatusLine::~PaneStatusLine() = default;

void PaneStatusLine::setState(const QString& summary, const QString& state, bool open)
{
    m_lamp->turnOn(open);
    m_lamp->setAccessibleDescription(state);
    m_summary->setText(tr("%1 - %2").arg(summary, state));
}

void PaneStatusLine::setCounters(qint64 receivedBytes, qint64 sentBytes)
{
    const QLocale locale;
    m_counters->setText(
        tr("Rx %1  Tx %2").arg(locale.toString(receivedBytes), locale.toString(sentBytes)));
}

void PaneStatusLine::showMessage(const QString& text, int timeoutMs)
{
    m_message->setText(text);
    m_message->setToolTip(text);
    m_messageTimer.stop();
    if (timeoutMs > 0)
        m_messageTimer.start(timeoutMs);
}
