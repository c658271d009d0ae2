#pragma once

#include "settings/displayfont.h"

#include <QString>
#include <QStringList>
#include <QTime>

// How a pane shows, sends and logs data. A plain value, copied freely. Colours are text
// ("#rrggbb") and fonts a DisplayFont: a record needs no screen. One field depends on the machine
// and is filled by SettingsService::defaultFormatSettings(): logFilePath (below the home folder).
// Files may leave anything in the record; consumers work with sanitized().
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): grouped by meaning, few exist
struct FormatSetting
{
    qint32 receiveMsgFormat = 2;
    qint32 sendMsgFormat = 2;
    QString receiveEncoding = QStringLiteral("UTF-8");
    QString sendEncoding = QStringLiteral("UTF-8");
    qint32 splitterLeft = 10000;
    qint32 splitterRight = 50000;
    bool rxAutoFeedLine = false;
    qint32 rxLineEndingMode = 0;
    qint32 autoFeedInterval = 20; // milliseconds
    bool displaySendMsg = false;
    bool localEcho = false;
    bool displayMsgTime = false;
    QString rxTimeFormat = QStringLiteral("[Rx][hh:mm:ss.zzz] ");
    QString txTimeFormat = QStringLiteral("[Tx][hh:mm:ss.zzz] ");
    bool autoSend = false;
    qint32 sendInterval = 1000; // counted in sendTimeUnit
    qint32 sendTimeUnit = 1;    // milliseconds
    bool supportComment = false;
    bool formatSend = false;
    qint32 sendChecksum = 0;
    bool txAutoFeedLine = false;
    qint32 txLineEndingMode = 0;
    qint32 terminalEnterMode = 1;
    QStringList sendList;
    bool logSaveFlag = false;
    QString logFilePath;
    QString logFileNamePrefix = QStringLiteral("vmr_");
    bool logTimestampEnabled = false;
    QString logTimestampFormat = QStringLiteral("[%h:%m:%s.%z] ");
    QString currentLogFileName = QStringLiteral("NULL");
    bool logRotateAtSize = true;
    qint32 logRotateSize = 104857600; // bytes
    bool logRotateAtTime = false;
    QTime logRotateTime{0, 0};
    bool needHourTimeStamp = true;
    qint32 displayBufferSize = 10485760; // bytes
    DisplayFont displayFont;
    bool formatDisplayColor = false;
    QString sendTextColor = QStringLiteral("#000000");
    QString receiveTextColor = QStringLiteral("#000000");
    bool showControlLineLeds = true;

    // The pause that ends a received line, in milliseconds.
    static constexpr qint32 kMinAutoFeedInterval = 10;
    static constexpr qint32 kMaxAutoFeedInterval = 1000000;
    // How much received text a view keeps, in bytes: 1 MB to 1 GB.
    static constexpr qint32 kMinDisplayBufferSize = 1 << 20;
    static constexpr qint32 kMaxDisplayBufferSize = 1 << 30;
    // The longest send history.
    static constexpr qsizetype kMaxSendList = 1000;

    // A copy to work with: intervals, buffer size, repeat period (at least 1 unit), time unit (at
    // least 1 ms) and history length within their bounds, negative splitter and rotation sizes 0.
    // Format, encoding, line-ending and checksum codes stay: who interprets them gives unknown
    // ones a meaning. A rotation size of 0 stays 0.
    [[nodiscard]] FormatSetting sanitized() const;

    friend bool operator==(const FormatSetting&, const FormatSetting&) = default;
};
