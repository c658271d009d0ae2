#pragma once

#include "app/settings/formatsetting.h"
#include "app/settings/settings.h"
#include "terminal/runstate.h"

#include <QWidget>
#include <memory>

class ConnectionController;
class PanePrivate;
class SerialPortCatalog;

// One port pane: a terminal on one transport. A façade over the collaborators that carry the two
// roads (receive pipeline, send pipeline, connection supervisor) and the widgets that show them.
// Owned by the main window; owns its ConnectionController and everything below it.
class SerialPortWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SerialPortWidget)

public:
    // The catalog names the serial ports of the machine and must outlive the pane.
    explicit SerialPortWidget(SerialPortCatalog& catalog, QWidget* parent = nullptr);
    ~SerialPortWidget() override;

    // Opens the connection of the current settings, or resumes a paused view. A non-empty port
    // name first becomes the serial port of the settings. Returns false when the port could not
    // be opened; true when it is open, resumed or (TCP) connecting. `quiet` keeps errors out of
    // the pane's notice.
    bool start(const QString& portName, bool quiet);
    void stop();
    void pause();
    [[nodiscard]] RunState runState() const;
    [[nodiscard]] bool isOpen() const;
    void setAutoReconnect(bool on);

    void clear();
    void clearSendList();

    // Commits the panel's editors to the records.
    void updateSettings();
    // Shows the records in the panel and applies them to the view.
    void updateDisplay();
    [[nodiscard]] const Settings& settings() const;
    void setSettings(const Settings& settings);
    [[nodiscard]] const FormatSetting& formatSetting() const;
    void setFormatSetting(const FormatSetting& format);

    [[nodiscard]] qint64 receivedBytes() const;
    [[nodiscard]] qint64 sentBytes() const;
    // "COM3 · 115200 8N1" and the like: what the pane is, whether or not it is open.
    [[nodiscard]] QString connectionSummary() const;
    // Why the last start failed; empty after a success.
    [[nodiscard]] QString lastError() const;

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
    // The pane's message area shows a text for a time in milliseconds.
    void statusMessage(const QString& text, int timeoutMs);
    // Every received chunk that no file transfer owns, before display, with the peer's key.
    void rxTapped(const QByteArray& bytes, const QString& peer);

private:
    std::unique_ptr<PanePrivate> d;
};
