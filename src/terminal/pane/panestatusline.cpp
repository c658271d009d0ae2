#include "terminal/pane/panestatusline.h"

#include "log/logfilename.h"
#include "terminal/pane/elidedlabel.h"
#include "terminal/pane/hled.h"
#include "terminal/pane/linestrip.h"

#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMargin = 8;
constexpr int kStateShare = 4; // the state may keep one part in so many of a narrow line

QString withRate(const QString& count, qint64 bytesPerSecond)
{
    return count + u" ("_s + byteRateText(bytesPerSecond) + u')';
}

} // namespace

PaneStatusLine::PaneStatusLine(QWidget* parent)
    : QWidget(parent)
    , m_lamp(new HLed(this))
    , m_text(new ElidedLabel(this))
    , m_lines(new LineStrip(this))
    , m_log(new QLabel(this))
    , m_counters(new QLabel(this))
{
    m_lamp->turnOff();
    m_lamp->setAccessibleName(tr("Connection state"));
    m_text->setObjectName("paneStatusText"_L1);
    m_log->setObjectName("paneStatusLog"_L1);
    m_log->hide();
    m_counters->setObjectName("paneStatusCounters"_L1);
    m_counters->setTextFormat(Qt::PlainText);
    m_messageTimer.setSingleShot(true);
    connect(&m_messageTimer, &QTimer::timeout, this, [this] { showMessage({}, 0); });
    m_rateTimer.setInterval(kRateRefreshMs);
    connect(&m_rateTimer, &QTimer::timeout, this, &PaneStatusLine::showCounters);
    m_clock.start();

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(kMargin / 2, 0, kMargin / 2, 0);
    layout->setSpacing(kMargin);
    layout->addWidget(m_lamp);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_lines);
    layout->addWidget(m_log);
    layout->addWidget(m_counters);
}

PaneStatusLine::~PaneStatusLine() = default;

void PaneStatusLine::setState(const QString& summary, const QString& state, bool open)
{
    m_lamp->turnOn(open);
    m_lamp->setAccessibleDescription(state);
    // What may be cut off in a narrow pane stands last; the port stands above the pane as well.
    m_state = tr("%1 - %2").arg(state, summary);
    showText();
}

void PaneStatusLine::setCounters(qint64 receivedBytes, qint64 sentBytes, qint64 leftBytes)
{
    m_left = leftBytes;
    m_received = receivedBytes;
    m_sent = sentBytes;
    if (m_rateTimer.isActive() || !isVisible())
        return;
    showCounters();
    m_rateTimer.start();
}

void PaneStatusLine::setLog(PortLog::State state, const QString& fileName)
{
    showLog(*m_log, state, fileName);
    shareRoom();
}

void PaneStatusLine::showLog(QLabel& label, PortLog::State state, const QString& fileName)
{
    const bool failing = state == PortLog::State::Failing;
    label.setVisible(state != PortLog::State::Off);
    label.setText(failing ? tr("\u26a0 Log") : tr("\u25cf Log"));
    const QString file = logFileNameResolved(fileName)
                             ? QDir::toNativeSeparators(fileName)
                             : tr("the file gets its name with the first data");
    label.setToolTip((failing ? tr("Cannot be written: %1") : tr("Recording: %1")).arg(file));
}

void PaneStatusLine::setLines(const LineReport& report)
{
    m_lines->setReport(report);
    m_linesInWords = lineWords(report).join(u'\n');
    showText();
}

// What lamp, log and counters leave is shared by the state and the control lines.
void PaneStatusLine::shareRoom()
{
    int room = width() - kMargin;
    for (const QWidget* widget : {static_cast<QWidget*>(m_lamp), static_cast<QWidget*>(m_log),
             static_cast<QWidget*>(m_counters)}) {
        if (!widget->isHidden())
            room -= widget->sizeHint().width() + kMargin;
    }
    const int state = std::min(m_text->sizeHint().width(), std::max(room, 0) / kStateShare);
    m_lines->setRoom(room - state - kMargin);
}

void PaneStatusLine::showMessage(const QString& text, int timeoutMs)
{
    m_message = text.simplified(); // one line
    m_messageTimer.stop();
    if (timeoutMs > 0)
        m_messageTimer.start(timeoutMs);
    showText();
}

void PaneStatusLine::showText()
{
    m_text->setText(m_message.isEmpty() ? m_state : m_message);
    QStringList all{m_message, m_state, m_linesInWords};
    all.removeAll(QString());
    m_text->setToolTip(all.join(u'\n'));
    shareRoom();
}

void PaneStatusLine::showCounters()
{
    const QLocale locale;
    const qint64 now = m_clock.elapsed();
    const QString received = locale.toString(m_received);
    const QString sent = locale.toString(m_sent);
    const qint64 receivedRate = m_receivedRate.sample(m_received, now);
    const qint64 sentRate = m_sentRate.sample(m_left, now);
    const auto texts = [](const QString& rx, const QString& tx) {
        return tr("RX %1  TX %2").arg(rx, tx);
    };
    // Rates fall back to nothing some time after the last byte; then there is nothing to look at.
    if (receivedRate + sentRate == 0)
        m_rateTimer.stop();
    const QString full = texts(withRate(received, receivedRate), withRate(sent, sentRate));
    const bool room = fontMetrics().horizontalAdvance(full) < width() / 2;
    const QString text = room && receivedRate + sentRate > 0 ? full : texts(received, sent);
    if (m_counters->text() != text) {
        m_counters->setText(text);
        shareRoom();
    }
    if (m_counters->toolTip() != full)
        m_counters->setToolTip(full);
}

void PaneStatusLine::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    shareRoom();
}

void PaneStatusLine::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    showCounters();
    Q_EMIT shownChanged(true);
}

void PaneStatusLine::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    m_rateTimer.stop();
    Q_EMIT shownChanged(false);
}
