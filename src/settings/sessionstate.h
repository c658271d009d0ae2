#pragma once

#include "settings/formatsetting.h"
#include "settings/quicksettingsgroups.h"
#include "settings/settings.h"

// The whole workspace as the application store keeps it: the last used connection and format
// fields of the first pane (flat, under the names of Settings and FormatSetting), the layout of
// the quick settings and the lists of the window. A plain value. SettingsService builds, loads and
// saves it; the main window owns the one that is in force.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): grouped by meaning, one exists
struct SessionState
{
    connectionMode connMode = connectionMode::SerialPort;
    QString portName;
    qint32 baudRate = 9600;
    qint32 dataBits = 8;
    qint32 stopBits = 1;
    qint32 parity = 0;
    qint32 flowControl = 0;
    bool dtrOn = true;
    bool rtsOn = true;
    QString targetHost = QStringLiteral("127.0.0.1");
    QStringList targetHosts{QStringLiteral("127.0.0.1")};
    qint32 targetPort = 6000;
    quint16 udpLocalPort = 60001;
    quint16 udpServerPort = 60000;

    qint32 receiveMsgFormat = 2;
    qint32 sendMsgFormat = 2;
    QString receiveEncoding = QStringLiteral("UTF-8");
    QString sendEncoding = QStringLiteral("UTF-8");
    qint32 sendChecksum = 0;
    bool rxAutoFeedLine = false;
    qint32 rxLineEndingMode = 0;
    bool txAutoFeedLine = false;
    qint32 txLineEndingMode = 0;
    qint32 terminalEnterMode = 1;
    qint32 autoFeedInterval = 20;
    qint32 splitterLeft = 10000;
    qint32 splitterRight = 50000;

    bool showConnectionGroup = true;
    bool showReceiveGroup = true;
    bool showSendGroup = true;
    QStringList groupOrder = QuickSettingsGroups::defaultGroupOrder();
    QMap<QString, QStringList> fieldOrder;
    QMap<QString, QStringList> hiddenFields;

    bool displaySendMsg = false;
    bool localEcho = false;
    bool displayMsgTime = false;
    QString rxTimeFormat = QStringLiteral("[Rx][hh:mm:ss.zzz] ");
    QString txTimeFormat = QStringLiteral("[Tx][hh:mm:ss.zzz] ");

    bool logSaveFlag = false;
    QString logFilePath;
    QString logFileNamePrefix = QStringLiteral("vmr_");
    bool logTimestampEnabled = false;
    QString logTimestampFormat = QStringLiteral("[%h:%m:%s.%z] ");
    QString currentLogFileName = QStringLiteral("NULL");
    bool logRotateAtSize = true;
    qint32 logRotateSize = 104857600;
    bool logRotateAtTime = false;
    QTime logRotateTime{0, 0};
    bool needHourTimeStamp = true;

    qint32 displayBufferSize = 10485760;
    DisplayFont displayFont;
    bool formatDisplayColor = false;
    QString sendTextColor = QStringLiteral("#000000");
    QString receiveTextColor = QStringLiteral("#000000");
    bool showControlLineLeds = true;

    QStringList recentFiles;
    QString lastFile;
    QString lastLogFile;
    QString lastDirectory;
    QStringList sendList;

    bool openLastConnection = true;
    bool lastConnectionOpen = false;
    bool autoReconnect = false;

    // Copies the fields that both records have; the others keep their value. The texts of
    // `settings` follow its numbers.
    void applyTo(Settings& settings) const;
    void applyTo(FormatSetting& format) const;
    // The reverse: a pane's records become the last used values.
    void takeFrom(const Settings& settings, const FormatSetting& format);

    [[nodiscard]] QuickSettingsGroups quickSettingsGroups() const;
    void setQuickSettingsGroups(const QuickSettingsGroups& groups);

    friend bool operator==(const SessionState&, const SessionState&) = default;
};
