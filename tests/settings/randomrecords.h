#pragma once

#include "settings/formatsetting.h"
#include "settings/settings.h"

#include <QRandomGenerator>

// Records with a different value in every stored field, among them texts that INI files and lists
// have to escape.
class RandomRecords
{
public:
    explicit RandomRecords(quint32 seed)
        : m_random(seed)
    {}

    [[nodiscard]] qint32 number() { return static_cast<qint32>(m_random.generate()); }
    [[nodiscard]] bool flag() { return (m_random.generate() & 1U) != 0; }
    [[nodiscard]] quint16 port() { return static_cast<quint16>(m_random.generate()); }
    [[nodiscard]] QString color()
    {
        return QStringLiteral("#%1").arg(m_random.bounded(0x1000000), 6, 16, QLatin1Char('0'));
    }
    [[nodiscard]] QString encoding() { return pick({u"GBK", u"Shift-JIS", u"UTF-8", u"Big5"}); }

    [[nodiscard]] QString text()
    {
        static constexpr QStringView kPieces[] = {
            u",", u"\"", u";", u"=", u"@Invalid()", u"\\x41", u"\n", u"ü漢", u"a b", u"%1/"};
        QString result = QString::number(m_random.generate(), 36);
        for (int i = 0; i < 4; ++i)
            result += kPieces[m_random.bounded(static_cast<int>(std::size(kPieces)))];
        return result;
    }

    [[nodiscard]] QStringList texts()
    {
        QStringList list;
        for (int i = m_random.bounded(4); i > 0; --i)
            list.append(text());
        return list;
    }

    [[nodiscard]] Settings settings()
    {
        Settings s;
        s.connMode = connectionModeFromInt(m_random.bounded(9));
        s.portName = text();
        s.baudRate = number();
        s.dataBits = number();
        s.stopBits = number();
        s.parity = number();
        s.flowControl = number();
        s.dtrOn = flag();
        s.rtsOn = flag();
        s.useTargetHost(QStringLiteral("host%1.example").arg(m_random.bounded(1000)));
        if (flag()) // off the history
            s.targetHosts.removeFirst();
        s.targetPort = number();
        s.udpLocalPort = port();
        s.useRemoteSerialConfig = flag();
        s.relayCid = text();
        s.relayPortName = text();
        s.relayPortKey = text();
        s.refreshTexts();
        return s;
    }

    [[nodiscard]] FormatSetting format()
    {
        FormatSetting f;
        for (auto field : {&FormatSetting::receiveMsgFormat, &FormatSetting::sendMsgFormat,
                 &FormatSetting::splitterLeft, &FormatSetting::splitterRight,
                 &FormatSetting::rxLineEndingMode, &FormatSetting::autoFeedInterval,
                 &FormatSetting::sendInterval, &FormatSetting::sendTimeUnit,
                 &FormatSetting::sendChecksum, &FormatSetting::txLineEndingMode,
                 &FormatSetting::terminalEnterMode, &FormatSetting::logRotateSize,
                 &FormatSetting::displayBufferSize})
            f.*field = number();
        for (auto field :
            {&FormatSetting::rxAutoFeedLine, &FormatSetting::displaySendMsg,
                &FormatSetting::localEcho, &FormatSetting::displayMsgTime, &FormatSetting::autoSend,
                &FormatSetting::supportComment, &FormatSetting::formatSend,
                &FormatSetting::txAutoFeedLine, &FormatSetting::logSaveFlag,
                &FormatSetting::logTimestampEnabled, &FormatSetting::logRotateAtSize,
                &FormatSetting::logRotateAtTime, &FormatSetting::needHourTimeStamp,
                &FormatSetting::formatDisplayColor, &FormatSetting::showControlLineLeds})
            f.*field = flag();
        for (auto field : {&FormatSetting::rxTimeFormat, &FormatSetting::txTimeFormat,
                 &FormatSetting::logFilePath, &FormatSetting::logTimestampFormat})
            f.*field = text();
        f.receiveEncoding = encoding();
        f.sendEncoding = encoding();
        f.sendList = texts();
        f.logRotateTime = QTime(m_random.bounded(24), m_random.bounded(60));
        f.displayFont = {QStringLiteral("Some Family"), 1 + m_random.bounded(40), 400};
        f.sendTextColor = color();
        f.receiveTextColor = color();
        return f;
    }

private:
    [[nodiscard]] QString pick(std::initializer_list<QStringView> choices)
    {
        return (choices.begin() + m_random.bounded(static_cast<int>(choices.size())))->toString();
    }

    QRandomGenerator m_random;
};
