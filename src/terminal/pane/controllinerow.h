#pragma once

#include "base/clock.h"
#include "terminal/pane/hled.h"
#include "terminal/port/linereport.h"

#include <QTimer>
#include <QWidget>
#include <array>

class LivePort;
class QHBoxLayout;
class QLabel;

// The row of lamps of a pane: what is sent and received, the outputs RTS and DTR, the inputs CTS,
// DSR, DCD and RI. The send lamp and the outputs are buttons, for the mouse and for the keyboard:
// an output is toggled, and the send lamp sends a break while it is held.
//
// The lamps of a closed port are not lit: an output shows what is asked for when it opens. Where a
// port does not tell its levels the lamps say that they are not known.
//
// Traffic lights a lamp for kOnMs and, if there was more meanwhile, again after kOffMs, so that a
// continuous stream blinks instead of glowing. The levels are watched only while the row is shown.
class ControlLineRow final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ControlLineRow)

public:
    static constexpr int kOnMs = 80;
    static constexpr int kOffMs = 70;
    // How long the send lamp is named after the break at least.
    static constexpr int kBreakCaptionMs = 800;

    explicit ControlLineRow(QWidget* parent = nullptr);
    explicit ControlLineRow(MonotonicClock clock, QWidget* parent = nullptr);
    ~ControlLineRow() override;

    // Shows the lines and the traffic of this port from now on, which outlives the row or is
    // followed by null.
    void follow(LivePort* port);
    void showReport(const LineReport& report);
    void flashSent();
    void flashReceived();

Q_SIGNALS:
    void toggleRequested(SerialLine line);
    void breakPressed();
    void breakReleased();
    // The row came into sight, or went out of it.
    void shownChanged(bool shown);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    enum Lamp { Tx, Rx, Rts, Dtr, Cts, Dsr, Dcd, Ri, LampCount };

    struct Cell
    {
        QWidget* widget = nullptr;
        HLed* lamp = nullptr;
        QLabel* caption = nullptr;
    };

    struct Light
    {
        bool on = false;
        HLed::Trust trust = HLed::Trust::Sure;
        QColor color;
        QString state; // in words
    };

    // A lamp in time.
    struct Blink
    {
        QTimer timer; // runs while the lamp is lit, or dark before it is lit again
        bool again = false;
    };

    [[nodiscard]] static bool isButton(Lamp lamp);
    void addCell(Lamp lamp, QHBoxLayout* row);
    void nameForAssistance();
    void wireButtons();
    void wireBlink(Lamp lamp, Blink& blink);
    void flash(Lamp lamp, Blink& blink);
    void setOutput(Lamp lamp, LineDriver::Level level, LineDriver::Sight sight);
    void setBreak(bool on);
    void setBreakCaption(bool on);
    void light(Lamp lamp, const Light& light);
    void showToolTips();

    MonotonicClock m_clock;
    LivePort* m_port = nullptr;
    std::array<Cell, LampCount> m_cells;
    Blink m_sent;
    Blink m_received;
    bool m_inBreak = false;
    qint64 m_breakBeganMs = 0;
    QTimer m_captionTimer;
};
