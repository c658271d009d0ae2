#pragma once

#include "settings/formatsetting.h"
#include "settings/settings.h"
#include "terminal/port/runstate.h"

#include <QWidget>
#include <memory>

class ConnectionController;
class PaneLines;
class PaneLog;
class PaneRecords;
class PaneTraffic;
class PaneView;
class PeerDesk;
class ReceiveDesk;
class RunControl;
class SendDesk;
class SerialPortCatalog;
struct QuickSettingsGroups;
struct LineReport;
struct ModemLines;

// One port pane: a terminal on one transport. A façade over the collaborators that do the work and
// the view that shows it; here they are wired and nothing else happens.
//
// PaneTraffic carries the bytes both ways, RunControl opens, pauses and closes, PaneRecords holds
// what the panels edit, the desks join the widgets with the traffic. Owned by the main window; owns
// everything named here.
class SerialPortWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SerialPortWidget)

public:
    // The catalogue names the serial ports of the machine and must outlive the pane.
    explicit SerialPortWidget(SerialPortCatalog& catalog, QWidget* parent = nullptr);
    ~SerialPortWidget() override;

    // Opens the connection of the current settings, or resumes a paused view. A non-empty port
    // name first becomes the serial port of the settings. False when it could not be opened, with
    // lastError() saying why; true when it is open, resumed or (TCP) connecting. `quiet` keeps the
    // error out of the pane's notice.
    bool start(const QString& portName, bool quiet);
    void stop();
    void pause();
    [[nodiscard]] RunState runState() const;
    [[nodiscard]] bool isOpen() const;
    // Open, connecting or being regained: there is something to stop.
    [[nodiscard]] bool isActive() const;
    void setAutoReconnect(bool on);
    [[nodiscard]] QString lastError() const;

    // Empties the view and sets the counters to 0.
    void clear();
    // Empties the editor and the history.
    void clearSendList();

    // Puts bytes into the send editor, see SendInsertion.
    void insertSendBytes(const QByteArray& bytes);
    // Sends bytes as they are over the open connection, to the peer that is chosen where there are
    // several, echoed when sent data is displayed.
    void sendBytes(const QByteArray& bytes);

    // The data log. flushLog() writes what was recorded so far, false with a text for people when
    // that fails; the name of the file is unresolved ("NULL") before the first text.
    void setLogRecording(bool on);
    [[nodiscard]] bool isLogRecording() const;
    bool flushLog(QString* error);
    [[nodiscard]] QString currentLogFile() const;
    [[nodiscard]] const PaneLog& log() const;

    // Commits the panel's editors to the records, and shows the records in the panel.
    void updateSettings();
    void updateDisplay();
    [[nodiscard]] const Settings& settings() const;
    void setSettings(const Settings& settings);
    [[nodiscard]] const FormatSetting& formatSetting() const;
    void setFormatSetting(const FormatSetting& format);

    [[nodiscard]] qint64 receivedBytes() const;
    [[nodiscard]] qint64 sentBytes() const;
    // Received and not shown yet.
    [[nodiscard]] qint64 waitingBytes() const;
    // What the pane is, whether or not it is open: "ttyUSB0 115200 8N1", "host:port".
    [[nodiscard]] QString connectionSummary() const;
    // "Open", "Paused", "Connecting..." and the like.
    [[nodiscard]] QString stateText() const;

    // The inputs of the serial port at the end of the connection; all off when it has none.
    [[nodiscard]] ModemLines modemState() const;
    // All control lines, as of a moment ago.
    [[nodiscard]] const LineReport& controlLines() const;

    void setStatusLineVisible(bool visible);
    void setQuickSettingsVisible(bool visible);
    // Which groups and fields the quick settings show; see QuickSettingsLayout.
    void setQuickSettingsGroups(const QuickSettingsGroups& groups);
    void refreshQuickSettingsGroups();
    void refreshQuickFieldLayouts();
    void refreshPorts();
    void openFind();
    void focusSendEditor();
    // Shows a text in the pane's message area for a time in milliseconds.
    void showStatusMessage(const QString& text, int timeoutMs);

Q_SIGNALS:
    // A persisted option of the pane was changed by the person at the desk.
    void settingsChanged();
    // Opened, closed, paused, resumed, lost or regained.
    void stateChanged();
    void statusMessage(const QString& text, int timeoutMs);
    // Every received chunk that no file transfer owns, before display, with the peer's key.
    void rxTapped(const QByteArray& bytes, const QString& peer);

private:
    void wireTraffic();
    void wireSending();
    void wireReceiveView();
    void wireRun();
    void wireRecords();
    void wireLines();
    void wirePanels();

    void onSendClicked();
    void showState();
    void showSplitter();
    void tellIfNothingSent(bool sent);
    void applyFormat();

    SerialPortCatalog& m_catalog;
    PaneView* m_view;
    std::unique_ptr<PaneRecords> m_records;
    std::unique_ptr<ConnectionController> m_controller;
    std::unique_ptr<PaneTraffic> m_traffic;
    std::unique_ptr<RunControl> m_run;
    std::unique_ptr<SendDesk> m_sendDesk;
    std::unique_ptr<ReceiveDesk> m_receiveDesk;
    std::unique_ptr<PeerDesk> m_peerDesk;
    std::unique_ptr<PaneLines> m_lines;
};
