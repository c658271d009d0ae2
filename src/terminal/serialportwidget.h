#pragma once

#include "app/settings/formatsetting.h"
#include "app/settings/settings.h"
#include "terminal/readgate.h"
#include "terminal/runstate.h"

#include <QWidget>
#include <memory>

class ConnectionController;
class ConnectionSupervisor;
class LampBlinker;
class PaneLog;
class PaneView;
class ReceivePipeline;
class RepeatSender;
class SendDesk;
class SendPipeline;
class SerialPortCatalog;
class TransportWriter;

// One port pane: a terminal on one transport. A façade over the collaborators that carry the two
// roads and the view that shows them; here they are wired and nothing else happens.
//
// Received: controller -> ReceivePipeline -> ReceiveView. Sent: editor, repeat timer and typed
// keys -> SendPipeline -> TransportWriter -> controller. The ConnectionSupervisor opens, closes
// and regains the connection. Owned by the main window; owns everything named here.
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
    // Sends bytes as they are over the open connection, echoed when sent data is displayed.
    void sendBytes(const QByteArray& bytes);

    // The data log. flushLog() writes what was recorded so far, false with a text for people when
    // that fails; the name of the file is unresolved ("NULL") before the first text.
    void setLogRecording(bool on);
    [[nodiscard]] bool isLogRecording() const { return m_format.logSaveFlag; }
    bool flushLog(QString* error);
    [[nodiscard]] QString currentLogFile() const { return m_format.currentLogFileName; }

    // Commits the panel's editors to the records, and shows the records in the panel.
    void updateSettings();
    void updateDisplay();
    [[nodiscard]] const Settings& settings() const { return m_settings; }
    void setSettings(const Settings& settings);
    [[nodiscard]] const FormatSetting& formatSetting() const { return m_format; }
    void setFormatSetting(const FormatSetting& format);

    [[nodiscard]] qint64 receivedBytes() const;
    [[nodiscard]] qint64 sentBytes() const;
    // Received and not shown yet.
    [[nodiscard]] qint64 waitingBytes() const;
    // What the pane is, whether or not it is open: "ttyUSB0 115200 8N1", "host:port".
    [[nodiscard]] QString connectionSummary() const;
    // "Open", "Paused", "Connecting..." and the like.
    [[nodiscard]] QString stateText() const;

    void setStatusLineVisible(bool visible);
    void setQuickSettingsVisible(bool visible);
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
    void wireReceivedRoad();
    void wireSentRoad();
    void wireTypedKeys();
    void wireConnection();
    void wirePanels();

    void onReadData();
    void readUdpSocket();
    void onThrottleRequested(bool on);
    void onSendClicked();
    void onOpened();
    void onClosed();
    void onSettingsEdited();
    void onFormatEdited();
    void showState();
    void tellIfNothingSent(bool sent);
    void askWhereToSave();
    void applySettings();
    void applyFormat();
    void markSettingsDirty();

    SerialPortCatalog& m_catalog;
    Settings m_settings;
    FormatSetting m_format;
    ReadGate m_gate;
    QString m_connectionError; // as the notice shows it
    bool m_applying = false;   // records are being shown: no edit of a person
    PaneView* m_view;
    std::unique_ptr<ConnectionController> m_controller;
    std::unique_ptr<ReceivePipeline> m_receive;
    std::unique_ptr<PaneLog> m_log;
    std::unique_ptr<TransportWriter> m_writer;
    std::unique_ptr<SendPipeline> m_send;
    std::unique_ptr<SendDesk> m_desk;
    std::unique_ptr<RepeatSender> m_repeat;
    std::unique_ptr<ConnectionSupervisor> m_supervisor;
    std::unique_ptr<LampBlinker> m_txBlink;
    std::unique_ptr<LampBlinker> m_rxBlink;
};
