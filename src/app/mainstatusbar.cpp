#include "app/mainstatusbar.h"

#include "terminal/pane/elidedlabel.h"
#include "terminal/pane/linestrip.h"
#include "terminal/pane/panestatusline.h"
#include "terminal/pane/serialportwidget.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPainter>
#include <QProgressBar>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kSide = 16;
constexpr QColor kOpenColor(0x2e, 0x9e, 0x4f);
constexpr QColor kPausedColor(0xd0, 0x82, 0x10);

} // namespace

StateLamp::StateLamp(QWidget* parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void StateLamp::setState(PortState state)
{
    if (state == m_state)
        return;
    m_state = state;
    update();
}

QSize StateLamp::sizeHint() const
{
    return {kSide, kSide};
}

void StateLamp::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF disc(3, 3, kSide - 6, kSide - 6);
    const QColor text = palette().color(QPalette::WindowText);
    switch (m_state) {
    case PortState::Closed:
        painter.setPen(QPen(text, 1.5));
        painter.drawEllipse(disc);
        break;
    case PortState::Connecting:
        painter.setPen(QPen(text, 1.5, Qt::DotLine));
        painter.drawEllipse(disc);
        break;
    case PortState::Open:
        painter.setPen(Qt::NoPen);
        painter.setBrush(kOpenColor);
        painter.drawEllipse(disc);
        break;
    case PortState::Paused:
        painter.fillRect(QRectF(4, 3, 3, 10), kPausedColor);
        painter.fillRect(QRectF(9, 3, 3, 10), kPausedColor);
        break;
    }
}

PortStatus PortStatus::of(const SerialPortWidget& pane)
{
    PortStatus status;
    if (pane.isOpen())
        status.state = pane.runState() == RunState::Paused ? PortState::Paused : PortState::Open;
    else if (pane.isActive())
        status.state = PortState::Connecting;
    status.stateText = pane.stateText();
    status.summary = pane.connectionSummary();
    status.received = pane.receivedBytes();
    status.sent = pane.sentBytes();
    status.lines = pane.controlLines();
    status.log = pane.log().state();
    status.logFile = pane.log().currentLogFile();
    return status;
}

namespace {

constexpr int kSpacing = 8;
constexpr int kSavingWidth = 160;
constexpr int kLinesShare = 4;   // the control lines get one part in so many
constexpr int kSummaryShare = 3; // the port and its settings get at most one

template<class Label>
Label* makeLabel(const QString& name, const QString& accessibleName, QWidget* parent)
{
    auto* label = new Label(parent);
    label->setObjectName(name);
    label->setAccessibleName(accessibleName);
    label->setTextFormat(Qt::PlainText);
    return label;
}

// Setting the same text again would still cost a layout of the bar.
void setTextIfChanged(QLabel* label, const QString& text)
{
    if (label->text() != text)
        label->setText(text);
}

} // namespace

MainStatusBar::MainStatusBar(QWidget* parent)
    : QStatusBar(parent)
    , m_lamp(new StateLamp(this))
    , m_state(makeLabel<QLabel>(u"statusState"_s, tr("Connection state"), this))
    , m_summary(makeLabel<ElidedLabel>(u"statusSummary"_s, tr("Port and line settings"), this))
    , m_notice(makeLabel<ElidedLabel>(u"statusNotice"_s, tr("Message"), this))
    , m_error(makeLabel<ElidedLabel>(u"statusError"_s, tr("Error"), this))
    , m_saving(new QProgressBar(this))
    , m_lines(new LineStrip(this))
    , m_log(makeLabel<QLabel>(u"statusLog"_s, tr("Data log"), this))
    , m_received(makeLabel<QLabel>(u"statusReceived"_s, tr("Received bytes and rate"), this))
    , m_sent(makeLabel<QLabel>(u"statusSent"_s, tr("Sent bytes and rate"), this))
    , m_errorTimer(this)
{
    setObjectName("statusBar"_L1);
    QFont bold = m_error->font();
    bold.setBold(true);
    m_error->setFont(bold);
    m_error->hide();

    // The path of a device can be longer than the screen is wide; both of its ends tell it from
    // others.
    m_summary->setElideMode(Qt::ElideMiddle);
    m_summary->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
    m_summary->setMinimumWidth(1);

    auto* left = new QWidget(this);
    auto* layout = new QHBoxLayout(left);
    layout->setContentsMargins(kSpacing, 0, 0, 0);
    layout->setSpacing(kSpacing);
    for (QWidget* widget : {static_cast<QWidget*>(m_lamp), static_cast<QWidget*>(m_state),
             static_cast<QWidget*>(m_summary)})
        layout->addWidget(widget);
    layout->addWidget(m_error, 1);
    layout->addWidget(m_notice, 1);
    addWidget(left, 1);
    m_saving->setObjectName("statusSaving"_L1);
    m_saving->setAccessibleName(tr("Progress of saving"));
    m_saving->setRange(0, 100);
    m_saving->setMaximumWidth(kSavingWidth);
    m_saving->hide();
    addPermanentWidget(m_saving);
    m_lines->setObjectName("statusLines"_L1);
    addPermanentWidget(m_lines);
    m_log->hide();
    addPermanentWidget(m_log);
    for (QLabel* label : {m_received, m_sent}) {
        label->setContentsMargins(kSpacing, 0, kSpacing, 0);
        addPermanentWidget(label);
    }

    m_errorTimer.setObjectName("errorTimer"_L1);
    m_errorTimer.setSingleShot(true);
    connect(&m_errorTimer, &QTimer::timeout, this, &MainStatusBar::clearError);
    m_noticeTimer.setSingleShot(true);
    connect(&m_noticeTimer, &QTimer::timeout, this, [this] { showNotice({}, 0); });
}

void MainStatusBar::showPort(const PortStatus& status, qint64 nowMs)
{
    m_lamp->setState(status.state);
    setTextIfChanged(m_state, status.stateText);
    setTextIfChanged(m_summary, status.summary);
    if (m_summary->toolTip() != status.summary)
        m_summary->setToolTip(status.summary);
    m_lines->setReport(status.lines);
    showLog(status);
    const QLocale locale;
    setTextIfChanged(
        m_received, tr("RX %1 B (%2)")
                        .arg(locale.toString(status.received),
                            byteRateText(m_receivedRate.sample(status.received, nowMs))));
    setTextIfChanged(m_sent, tr("TX %1 B (%2)")
                                 .arg(locale.toString(status.sent),
                                     byteRateText(m_sentRate.sample(status.sent, nowMs))));
}

void MainStatusBar::showLog(const PortStatus& status)
{
    if (m_logState == status.log && m_logFile == status.logFile)
        return;
    m_logState = status.log;
    m_logFile = status.logFile;
    PaneStatusLine::showLog(*m_log, m_logState, m_logFile);
}

void MainStatusBar::showError(const QString& text, const QString& reason)
{
    m_error->setText(text);
    m_error->setToolTip(reason);
    m_error->show();
    m_errorTimer.start(kErrorMs);
}

void MainStatusBar::showNotice(const QString& text, int timeoutMs)
{
    m_notice->setText(text.simplified()); // one line
    m_notice->setToolTip(text);
    if (timeoutMs > 0)
        m_noticeTimer.start(timeoutMs);
    else
        m_noticeTimer.stop();
}

void MainStatusBar::showSaving(int percent)
{
    if (percent == 0)
        showNotice(tr("Saving..."), 0);
    m_saving->setValue(percent);
    m_saving->setVisible(percent < 100);
    if (isVisible())
        repaint();
    if (percent >= 100)
        showNotice({}, 0);
}

void MainStatusBar::resizeEvent(QResizeEvent* event)
{
    QStatusBar::resizeEvent(event);
    m_lines->setRoom(width() / kLinesShare);
    m_summary->setMaximumWidth(width() / kSummaryShare);
}

void MainStatusBar::clearError()
{
    m_error->clear();
    m_error->setToolTip({});
    m_error->hide();
}
