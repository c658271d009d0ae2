#pragma once

#include "base/notice.h"
#include "settings/formatsetting.h"
#include "settings/settings.h"
#include "terminal/pane/panedisplay.h"
#include "terminal/port/liveport.h"
#include "terminal/port/repeatsender.h"
#include "transfer/porttransfer.h"

#include <QWidget>

class PaneView;
class PortLog;
class SerialPortCatalog;
struct LineReport;
struct ModemLines;
struct QuickSettingsGroups;

// One port pane: the view of a live port, which does all the work. Its panels edit the port's
// records, its editor and its receive view give the port what is typed, and what the port has to
// show it shows. Here they are joined; the operations are those of the port under the names that
// the window knows. Owned by the main window; owns its port.
class SerialPortWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SerialPortWidget)

public:
    static constexpr int kFailureMs = 5000;

    // The catalogue names the serial ports of the machine and must outlive the pane.
    explicit SerialPortWidget(SerialPortCatalog& catalog, QWidget* parent = nullptr);
    ~SerialPortWidget() override;

    [[nodiscard]] LivePort& port() { return m_port; }
    [[nodiscard]] const LivePort& port() const { return m_port; }

    // Opens the connection of the current settings, or resumes a paused view. A non-empty port
    // name first becomes the serial port of the settings, which is an edit. See LivePort::start().
    bool start(const QString& portName, bool quiet);
    void stop() { m_port.stop(); }
    void pause() { m_port.pause(); }
    [[nodiscard]] RunState runState() const { return m_port.runState(); }
    [[nodiscard]] bool isOpen() const { return m_port.isOpen(); }
    [[nodiscard]] bool isActive() const { return m_port.isActive(); }
    void setAutoReconnect(bool on) { m_port.setAutoReconnect(on); }
    [[nodiscard]] QString lastError() const { return m_port.lastError(); }

    void clear() { m_port.clear(); }
    // Empties the editor and the history.
    void clearSendList();
    // Puts bytes into the send editor, see SendInsertion.
    void insertSendBytes(const QByteArray& bytes);
    // Sends bytes as they are over the open connection, to the peer that is chosen where there are
    // several, echoed when sent data is displayed.
    void sendBytes(const QByteArray& bytes);

    // File transfers, see PortTransfer. Its progress stands in a bar of the pane.
    [[nodiscard]] const PortTransfer& transfer() const { return m_transfer; }
    [[nodiscard]] bool canStartTransfer(QString* error = nullptr) const;
    bool startFileTransfer(const XferConfig& config, const QString& path, const QString& peer,
        QString* error = nullptr);
    void cancelFileTransfer() { m_transfer.cancel(); }
    // Closes the connection; while a transfer runs only when the person wants that to end.
    void requestStop();

    // The data log. The name of the file is unresolved ("NULL") before the first text.
    void setLogRecording(bool on);
    [[nodiscard]] bool isLogRecording() const { return formatSetting().logSaveFlag; }
    bool flushLog(QString* error) { return m_port.flushLog(error); }
    [[nodiscard]] qint64 unloggedBytes() const { return m_port.unloggedBytes(); }
    void finishLog() { m_port.finishLog(); }
    [[nodiscard]] QString currentLogFile() const { return formatSetting().currentLogFileName; }
    [[nodiscard]] const PortLog& log() const { return m_port.log(); }

    // Commits the panel's editors to the records, and shows the records in the panel.
    void updateSettings();
    void updateDisplay();
    [[nodiscard]] const Settings& settings() const { return m_port.settings(); }
    void setSettings(const Settings& settings);
    [[nodiscard]] const FormatSetting& formatSetting() const { return m_port.format(); }
    void setFormatSetting(const FormatSetting& format);

    [[nodiscard]] qint64 receivedBytes() const { return m_port.receivedBytes(); }
    [[nodiscard]] qint64 sentBytes() const { return m_port.sentBytes(); }
    // Received and not shown yet.
    [[nodiscard]] qint64 waitingBytes() const { return m_port.waitingBytes(); }
    [[nodiscard]] QString connectionSummary() const { return m_port.summary(); }
    [[nodiscard]] QString stateText() const { return m_port.stateText(); }

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
    void logFinished(bool complete, const QString& error);
    // A transfer began, went on or ended.
    void transferProgressed();
    // A file was dropped on the pane.
    void fileDropped(const QString& path);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void wirePort();
    void wireSending();
    void wireTransfer();
    void wireReceiveView();
    void wirePanels();
    void onNotice(const Notice& notice);
    void onSendClicked();
    void onTyped(bool sent);
    void showState();
    void showCounters();
    void showRecords(LivePort::Origin origin);
    void applyFormat();
    void changeFormat(const std::function<void(FormatSetting&)>& change);

    SerialPortCatalog& m_catalog;
    PaneView* m_view;
    LivePort m_port;
    PaneDisplay m_display;
    RepeatSender m_repeat;
    PortTransfer m_transfer;
    Settings m_shownSettings; // as the panels have them
    FormatSetting m_shownFormat;
    bool m_showing = false; // records are being shown: what the panels report is no edit
};
