#include "terminal/pane/controllinerow.h"

#include "terminal/pane/hled.h"
#include "terminal/pane/lampbutton.h"

#include <QHBoxLayout>
#include <QLabel>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QColor green(0, 255, 0);
constexpr QColor amber(240, 160, 32);
constexpr QColor grey(144, 144, 144);

// Names of lines are the same in every language.
struct LampNames
{
    QLatin1StringView caption;
    QLatin1StringView lamp;
    QLatin1StringView cell;
};

constexpr std::array lampNames{
    LampNames{"TX"_L1, "txActivityLed"_L1, "txLedCell"_L1},
    LampNames{"RX"_L1, "rxActivityLed"_L1, "rxLedCell"_L1},
    LampNames{"RTS"_L1, "rtsLed"_L1, "rtsLedCell"_L1},
    LampNames{"DTR"_L1, "dtrLed"_L1, "dtrLedCell"_L1},
    LampNames{"CTS"_L1, "ctsLed"_L1, "ctsLedCell"_L1},
    LampNames{"DSR"_L1, "dsrLed"_L1, "dsrLedCell"_L1},
    LampNames{"DCD"_L1, "dcdLed"_L1, "dcdLedCell"_L1},
    LampNames{"RI"_L1, "riLed"_L1, "riLedCell"_L1},
};
constexpr auto breakCaption = "BRK"_L1;

} // namespace

ControlLineRow::ControlLineRow(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(u"controlLineLedsRow"_s);
    setToolTip(tr("Live control-line levels while the port is open. Some USB serial adapters do "
                  "not report the input lines."));
    static_assert(lampNames.size() == LampCount);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    for (int lamp = Tx; lamp < LampCount; ++lamp)
        addCell(static_cast<Lamp>(lamp), row);
    nameForAssistance();
    wireButtons();
    clearLines();
    setSending(false);
    setReceiving(false);
}

ControlLineRow::~ControlLineRow() = default;

void ControlLineRow::addCell(Lamp lamp, QHBoxLayout* row)
{
    const LampNames& names = lampNames.at(lamp);
    Cell& cell = m_cells.at(lamp);
    cell.widget = isButton(lamp) ? new LampButton(this) : new QWidget(this);
    cell.widget->setObjectName(names.cell);
    cell.lamp = new HLed(cell.widget);
    cell.lamp->setObjectName(names.lamp);
    cell.caption = new QLabel(names.caption, cell.widget);
    cell.caption->setAlignment(Qt::AlignHCenter);
    // The caption of a break must not push the other lamps aside.
    if (lamp == Tx)
        cell.caption->setMinimumWidth(cell.caption->fontMetrics().horizontalAdvance(breakCaption));
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
        m_cells.at(lamp).lamp->setAccessibleName(tr("%1 activity").arg(lampNames.at(lamp).caption));
    for (const Lamp lamp : {Rts, Dtr})
        m_cells.at(lamp).widget->setAccessibleName(tr("%1 output").arg(lampNames.at(lamp).caption));
    for (const Lamp lamp : {Cts, Dsr, Dcd, Ri})
        m_cells.at(lamp).lamp->setAccessibleName(tr("%1 input").arg(lampNames.at(lamp).caption));
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

void ControlLineRow::setSending(bool lit)
{
    m_cells[Tx].lamp->turnOn(lit);
}

void ControlLineRow::setReceiving(bool lit)
{
    m_cells[Rx].lamp->turnOn(lit);
}

void ControlLineRow::setBreakActive(bool on)
{
    m_cells[Tx].lamp->setColor(on ? amber : green);
    m_cells[Tx].lamp->turnOn(on);
}

void ControlLineRow::setBreakCaption(bool on)
{
    QLabel* caption = m_cells[Tx].caption;
    caption->setText(on ? breakCaption : lampNames[Tx].caption);
    caption->setStyleSheet(on ? u"color:%1"_s.arg(amber.name()) : QString());
}

void ControlLineRow::setOutput(SerialLine line, LineDriver::Level level)
{
    const Lamp lamp = line == SerialLine::Dtr ? Dtr : Rts;
    const bool sure = level.certainty == LineDriver::Certainty::Sure;
    const bool low = level.certainty == LineDriver::Certainty::Requested && !level.high;
    light(lamp, {level.high, !sure,
                    sure  ? green
                    : low ? grey
                          : amber,
                    LineDriver::stateText(level)});
}

void ControlLineRow::setInputs(const ModemLines& inputs)
{
    const std::array levels{std::pair{Cts, inputs.cts}, std::pair{Dsr, inputs.dsr},
        std::pair{Dcd, inputs.dcd}, std::pair{Ri, inputs.ri}};
    for (const auto& [lamp, high] : levels)
        light(lamp, {high, false, green, LineDriver::levelName(high)});
}

void ControlLineRow::clearInputs()
{
    for (const Lamp lamp : {Cts, Dsr, Dcd, Ri})
        light(lamp, {false, false, green, {}});
}

void ControlLineRow::clearLines()
{
    for (const Lamp lamp : {Rts, Dtr})
        light(lamp, {false, false, green, {}});
    clearInputs();
}

void ControlLineRow::light(Lamp lamp, const Light& light)
{
    HLed* led = m_cells.at(lamp).lamp;
    led->setColor(light.color);
    led->setTentative(light.tentative);
    led->turnOn(light.on);
    QWidget* told = isButton(lamp) ? m_cells.at(lamp).widget : led;
    if (told->accessibleDescription() != light.state)
        told->setAccessibleDescription(light.state);
}

void ControlLineRow::setToolTips(const QString& sending, const QString& receiving)
{
    m_cells[Tx].widget->setToolTip(sending);
    m_cells[Rx].widget->setToolTip(receiving);
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
