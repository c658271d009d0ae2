#include "terminal/pane/controllinerow.h"

#include "terminal/pane/lampbutton.h"
#include "terminal/port/liveport.h"
#include "terminal/port/portlines.h"

#include <QHBoxLayout>
#include <QLabel>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QColor kGreen(0, 255, 0);
constexpr QColor kAmber(240, 160, 32);
constexpr QColor kGrey(144, 144, 144);

// Names of lines are the same in every language.
struct LampNames
{
    QLatin1StringView caption;
    QLatin1StringView lamp;
    QLatin1StringView cell;
};

constexpr std::array kLampNames{
    LampNames{"TX"_L1, "txActivityLed"_L1, "txLedCell"_L1},
    LampNames{"RX"_L1, "rxActivityLed"_L1, "rxLedCell"_L1},
    LampNames{"RTS"_L1, "rtsLed"_L1, "rtsLedCell"_L1},
    LampNames{"DTR"_L1, "dtrLed"_L1, "dtrLedCell"_L1},
    LampNames{"CTS"_L1, "ctsLed"_L1, "ctsLedCell"_L1},
    LampNames{"DSR"_L1, "dsrLed"_L1, "dsrLedCell"_L1},
    LampNames{"DCD"_L1, "dcdLed"_L1, "dcdLedCell"_L1},
    LampNames{"RI"_L1, "riLed"_L1, "riLedCell"_L1},
};
constexpr auto kBreakCaption = "BRK"_L1;

} // namespace

ControlLineRow::ControlLineRow(QWidget* parent)
    : ControlLineRow(monotonicMs, parent)
{}

ControlLineRow::ControlLineRow(MonotonicClock clock, QWidget* parent)
    : QWidget(parent)
    , m_clock(std::move(clock))
{
    setObjectName(u"controlLineLedsRow"_s);
    setToolTip(tr("Live control-line levels while the port is open. Some USB serial adapters do "
                  "not report the input lines."));
    static_assert(kLampNames.size() == LampCount);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    for (int lamp = Tx; lamp < LampCount; ++lamp)
        addCell(static_cast<Lamp>(lamp), row);
    nameForAssistance();
    wireButtons();
    wireBlink(Tx, m_sent);
    wireBlink(Rx, m_received);
    m_captionTimer.setSingleShot(true);
    connect(&m_captionTimer, &QTimer::timeout, this, [this] { setBreakCaption(false); });
    showReport({});
    showToolTips();
}

ControlLineRow::~ControlLineRow() = default;

void ControlLineRow::addCell(Lamp lamp, QHBoxLayout* row)
{
    const LampNames& names = kLampNames.at(lamp);
    Cell& cell = m_cells.at(lamp);
    cell.widget = isButton(lamp) ? new LampButton(this) : new QWidget(this);
    cell.widget->setObjectName(names.cell);
    cell.lamp = new HLed(cell.widget);
    cell.lamp->setObjectName(names.lamp);
    cell.caption = new QLabel(names.caption, cell.widget);
    cell.caption->setAlignment(Qt::AlignHCenter);
    // The caption of a break must not push the other lamps aside.
    if (lamp == Tx)
        cell.caption->setMinimumWidth(cell.caption->fontMetrics().horizontalAdvance(kBreakCaption));
    auto* layout = new QVBoxLayout(cell.widget);
    layout->setContentsMargins(2, 4, 2, 4);
    layout->setSpacing(4);
    layout->addWidget(cell.lamp, 0, Qt::AlignHCenter);
    layout->addWidget(cell.caption);
    row->addWidget(cell.widget);
}

bool ControlLineRow::isButton(Lamp lamp)
{
    return lamp == Tx || lamp == Rts || lamp == Dtr;
}

void ControlLineRow::nameForAssistance()
{
    m_cells[Tx].widget->setAccessibleName(tr("Send break"));
    for (const Lamp lamp : {Tx, Rx})
        m_cells.at(lamp).lamp->setAccessibleName(
            tr("%1 activity").arg(kLampNames.at(lamp).caption));
    for (const Lamp lamp : {Rts, Dtr})
        m_cells.at(lamp).widget->setAccessibleName(
            tr("%1 output").arg(kLampNames.at(lamp).caption));
    for (const Lamp lamp : {Cts, Dsr, Dcd, Ri})
        m_cells.at(lamp).lamp->setAccessibleName(tr("%1 input").arg(kLampNames.at(lamp).caption));
    m_cells[Rts].widget->setToolTip(tr("Click to toggle the RTS output"));
    m_cells[Dtr].widget->setToolTip(tr("Click to toggle the DTR output"));
}

void ControlLineRow::wireButtons()
{
    const auto button = [this](Lamp lamp) {
        return static_cast<LampButton*>(m_cells.at(lamp).widget);
    };
    connect(button(Rts), &LampButton::clicked, this,
        [this] { Q_EMIT toggleRequested(SerialLine::Rts); });
    connect(button(Dtr), &LampButton::clicked, this,
        [this] { Q_EMIT toggleRequested(SerialLine::Dtr); });
    connect(button(Tx), &LampButton::pressed, this, &ControlLineRow::breakPressed);
    connect(button(Tx), &LampButton::released, this, &ControlLineRow::breakReleased);
}

void ControlLineRow::follow(LivePort* port)
{
    m_port = port;
    PortLines* lines = &port->lines();
    connect(lines, &PortLines::reportChanged, this, &ControlLineRow::showReport);
    connect(port, &LivePort::stateChanged, this, &ControlLineRow::showToolTips);
    connect(port, &LivePort::arrived, this, &ControlLineRow::flashReceived);
    connect(&port->sending(), &SendPipeline::sent, this, &ControlLineRow::flashSent);
    connect(this, &ControlLineRow::toggleRequested, port,
        [port](SerialLine line) { port->toggleLine(line == SerialLine::Dtr); });
    connect(this, &ControlLineRow::breakPressed, lines, &PortLines::pressBreak);
    connect(this, &ControlLineRow::breakReleased, lines, &PortLines::requestBreakRelease);
    connect(this, &ControlLineRow::shownChanged, lines, &PortLines::setWatched);
    showReport(lines->report());
    showToolTips();
}

void ControlLineRow::wireBlink(Lamp lamp, Blink& blink)
{
    HLed* led = m_cells.at(lamp).lamp;
    led->turnOn(false);
    blink.timer.setSingleShot(true);
    blink.timer.setTimerType(Qt::PreciseTimer);
    connect(&blink.timer, &QTimer::timeout, this, [led, &blink] {
        if (led->isOn()) {
            led->turnOn(false);
            if (blink.again)
                blink.timer.start(kOffMs);
        } else if (std::exchange(blink.again, false)) {
            led->turnOn(true);
            blink.timer.start(kOnMs);
        }
    });
}

void ControlLineRow::flash(Lamp lamp, Blink& blink)
{
    if (!isVisible())
        return;
    if (blink.timer.isActive()) {
        blink.again = true;
        return;
    }
    m_cells.at(lamp).lamp->turnOn(true);
    blink.timer.start(kOnMs);
}

// During a break the send lamp stands for that.
void ControlLineRow::flashSent()
{
    if (!m_inBreak)
        flash(Tx, m_sent);
}

void ControlLineRow::flashReceived()
{
    flash(Rx, m_received);
}

void ControlLineRow::setBreak(bool on)
{
    if (std::exchange(m_inBreak, on) == on)
        return;
    m_sent.timer.stop();
    m_sent.again = false;
    m_cells[Tx].lamp->setColor(on ? kAmber : kGreen);
    m_cells[Tx].lamp->turnOn(on);
    m_captionTimer.stop();
    const qint64 now = m_clock();
    if (on) {
        m_breakBeganMs = now;
        setBreakCaption(true);
    } else if (const qint64 rest = m_breakBeganMs + kBreakCaptionMs - now; rest > 0) {
        m_captionTimer.start(int(rest));
    } else {
        setBreakCaption(false);
    }
}

void ControlLineRow::setBreakCaption(bool on)
{
    QLabel* caption = m_cells[Tx].caption;
    caption->setText(on ? kBreakCaption : kLampNames[Tx].caption);
    caption->setStyleSheet(on ? u"color:%1"_s.arg(kAmber.name()) : QString());
}

void ControlLineRow::showReport(const LineReport& report)
{
    setBreak(report.inBreak);
    using Sight = LineDriver::Sight;
    const Light dark{false, HLed::Trust::Sure, kGreen, {}};
    if (report.hasLines) {
        setOutput(Rts, report.rts, report.sight);
        setOutput(Dtr, report.dtr, report.sight);
    } else {
        light(Rts, dark);
        light(Dtr, dark);
    }
    const bool closed = !report.hasLines || report.sight == Sight::None;
    const Light unseen =
        closed ? dark : Light{false, HLed::Trust::Unknown, kGreen, LineDriver::unknownText()};
    const ModemLines& inputs = report.inputs;
    for (const auto& [lamp, high] : {std::pair{Cts, inputs.cts}, std::pair{Dsr, inputs.dsr},
             std::pair{Dcd, inputs.dcd}, std::pair{Ri, inputs.ri}}) {
        const Light seen{high, HLed::Trust::Sure, kGreen, LineDriver::levelName(high)};
        light(lamp, report.sight == Sight::All ? seen : unseen);
    }
}

// A lamp keeps the level that is asked for when nothing can be seen of the line.
void ControlLineRow::setOutput(Lamp lamp, LineDriver::Level level, LineDriver::Sight sight)
{
    using Certainty = LineDriver::Certainty;
    const bool sure = level.certainty == Certainty::Sure;
    const bool low = level.certainty == Certainty::Requested && !level.high;
    const QColor unsure = low ? kGrey : kAmber;
    Light shown{level.high, sure ? HLed::Trust::Sure : HLed::Trust::Tentative,
        sure ? kGreen : unsure, LineDriver::stateText(level)};
    if (sight == LineDriver::Sight::None) {
        shown.trust = HLed::Trust::Waiting;
        shown.state = LineDriver::waitingText(level);
    } else if (sight == LineDriver::Sight::Unknown && level.certainty != Certainty::Requested) {
        shown.trust = HLed::Trust::Unknown;
        shown.state = LineDriver::unknownText();
    }
    light(lamp, shown);
}

void ControlLineRow::light(Lamp lamp, const Light& light)
{
    HLed* led = m_cells.at(lamp).lamp;
    led->setColor(light.color);
    led->setTrust(light.trust);
    led->turnOn(light.on);
    QWidget* told = isButton(lamp) ? m_cells.at(lamp).widget : led;
    if (told->accessibleDescription() != light.state)
        told->setAccessibleDescription(light.state);
}

void ControlLineRow::showToolTips()
{
    const bool inert = m_port && m_port->lines().isInert();
    QString activity = tr("Lights while data is being sent or received");
    if (inert) {
        activity = u"%1. %2"_s.arg(activity,
            tr("Clear \"Keep the remote port's own config\" to drive RTS, DTR and Break from "
               "here."));
    }
    const QString hint = m_port && !inert ? m_port->lines().breakHint() : QString();
    m_cells[Tx].widget->setToolTip(hint.isEmpty() ? activity : hint);
    m_cells[Rx].widget->setToolTip(activity);
}

void ControlLineRow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    Q_EMIT shownChanged(true);
}

void ControlLineRow::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    Q_EMIT shownChanged(false);
}
