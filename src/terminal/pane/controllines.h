#pragma once

#include "terminal/pane/lampblinker.h"
#include "terminal/port/breakkey.h"
#include "terminal/port/linereport.h"

#include <QObject>
#include <QTimer>
#include <functional>

class ControlLineRow;

// The control lines of a pane: shows them in its row of lamps, lets a person toggle the outputs,
// sends breaks and blinks for traffic.
//
// While the row is shown the lines are asked for every kPollIntervalMs. Who shows them elsewhere
// has a timer of its own and calls pollIfDue(), which asks as often and no more. The LineDriver of
// the transport that the settings name knows how to read and drive them; a transport without one
// has dark lamps, and says so when they are clicked. Owned by the pane; everything given outlives
// it.
class ControlLines final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ControlLines)

public:
    enum class Activity { Sent, Received };

    static constexpr int kPollIntervalMs = 200;

    // `settings` are the pane's; a toggled output changes its level there. `driver` names the
    // driver of the transport that they name, null when it has no lines. `clock` is monotonic, in
    // milliseconds.
    ControlLines(ControlLineRow& row, Settings& settings, std::function<LineDriver*()> driver,
        BreakKey::Clock clock);
    // With the system's clock.
    ControlLines(ControlLineRow& row, Settings& settings, std::function<LineDriver*()> driver);
    ~ControlLines() override;

    // A file transfer that runs over the pane must not be disturbed: while `owns` is true nothing
    // is toggled and no break begins.
    void setTransferOwnsPane(std::function<bool()> owns) { m_transferOwnsPane = std::move(owns); }

    // The inputs now, whether or not the lamps are shown.
    [[nodiscard]] ModemLines modemState() const;
    // The lamps show the lines as they are now.
    void refresh();
    void onControlLinePollTick();
    // The same when nobody has looked for kPollIntervalMs.
    void pollIfDue();
    // The lines as they were seen last.
    [[nodiscard]] const LineReport& report() const { return m_report; }

    // What a click on the lamp of DTR or RTS does.
    void toggleRequestedControlLine(bool dtr);
    void pressBreak();
    void requestBreakRelease() { m_break.requestBreakRelease(); }
    void releaseBreak() { m_break.releaseBreak(); }
    void restoreTxCaption();
    // Tells why the line cannot be driven; false when nothing stands against it.
    bool explainInertControlLine(SerialLine line);

    void flashActivityLed(Activity activity);

Q_SIGNALS:
    void statusMessage(const QString& text, int timeoutMs);
    // The report is another one.
    void reportChanged(const LineReport& report);
    // The requested level of an output was changed in the settings by a person.
    void levelRequested();

private:
    void wireRow();
    void wireBreak();
    [[nodiscard]] bool refusedByTransfer();
    bool applyBreakLine(bool on);
    void tell(const LineDriver::Answer& answer);
    void showLamps(LineDriver* driver, const LineReport& report);
    void showToolTips();
    void setReport(const LineReport& report);

    ControlLineRow& m_row;
    Settings& m_settings;
    std::function<LineDriver*()> m_driver;
    BreakKey::Clock m_clock;
    std::function<bool()> m_transferOwnsPane;
    LineDriver* m_breakDriver = nullptr; // whose line is in break
    BreakKey m_break;
    LampBlinker m_sentBlink;
    LampBlinker m_receivedBlink;
    QTimer m_pollTimer;
    qint64 m_lookedMs = 0; // when the lines were asked for last
    LineReport m_report;
};
