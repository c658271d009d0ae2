#include "settings/portsessioncodec.h"

#include "settings/settingskey.h"
#include "settings/settingsservice.h"
#include "settings/storedfield.h"

#include <algorithm>
#include <array>
#include <span>

using namespace Qt::Literals::StringLiterals;

namespace {

using S = Settings;
using F = FormatSetting;
using LineField = StoredField<Settings>;
using FormatField = StoredField<FormatSetting>;

// A pane's keys in the order of the file format, cut where the font and the host history stand.
constexpr std::array kLineFields{
    LineField{"PortName"_L1, &S::portName},
    LineField{"BaudRate"_L1, &S::baudRate},
    LineField{"DataBits"_L1, &S::dataBits},
    LineField{"StopBits"_L1, &S::stopBits},
    LineField{"Parity"_L1, &S::parity},
    LineField{"FlowControl"_L1, &S::flowControl},
    LineField{"DtrOn"_L1, &S::dtrOn},
    LineField{"RtsOn"_L1, &S::rtsOn},
};

constexpr std::array kFormatFields{
    FormatField{"ReceiveMsgForamt"_L1, &F::receiveMsgFormat},
    FormatField{"ReceiveEncoding"_L1, &F::receiveEncoding, StoredRule::Encoding},
    FormatField{"RxAutoFeedLine"_L1, &F::rxAutoFeedLine},
    FormatField{"RxLineEndingMode"_L1, &F::rxLineEndingMode},
    FormatField{"SplitterLeft"_L1, &F::splitterLeft},
    FormatField{"SplitterRight"_L1, &F::splitterRight},
    FormatField{"AutoFeedInterval"_L1, &F::autoFeedInterval},
    FormatField{"DisplaySendMsg"_L1, &F::displaySendMsg},
    FormatField{"LocalEcho"_L1, &F::localEcho},
    FormatField{"DisplayMsgTime"_L1, &F::displayMsgTime},
    FormatField{"RxTimeFormat"_L1, &F::rxTimeFormat, StoredRule::NotEmpty},
    FormatField{"TxTimeFormat"_L1, &F::txTimeFormat, StoredRule::NotEmpty},
    FormatField{"SendMsgFormat"_L1, &F::sendMsgFormat},
    FormatField{"SendEncoding"_L1, &F::sendEncoding, StoredRule::Encoding},
    FormatField{"AutoSend"_L1, &F::autoSend},
    FormatField{"SendInterval"_L1, &F::sendInterval},
    FormatField{"SendTimeUnit"_L1, &F::sendTimeUnit},
    FormatField{"SupportComment"_L1, &F::supportComment},
    FormatField{"FormatSend"_L1, &F::formatSend},
    FormatField{"SendChecksum"_L1, &F::sendChecksum},
    FormatField{"TxAutoFeedLine"_L1, &F::txAutoFeedLine},
    FormatField{"TxLineEndingMode"_L1, &F::txLineEndingMode},
    FormatField{"TerminalEnterMode"_L1, &F::terminalEnterMode},
    FormatField{"SendList"_L1, &F::sendList},
    FormatField{"LogSaveFlag"_L1, &F::logSaveFlag},
    FormatField{"LogFilePath"_L1, &F::logFilePath, StoredRule::NotEmpty},
    FormatField{"LogTimestampEnabled"_L1, &F::logTimestampEnabled},
    FormatField{"LogFileTime"_L1, &F::logTimestampFormat, StoredRule::NotEmpty},
    FormatField{"LogRotateAtSize"_L1, &F::logRotateAtSize, StoredRule::ReadOnly},
    FormatField{"LogRotateSize"_L1, &F::logRotateSize, StoredRule::ReadOnly},
    FormatField{"LogRotateAtTime"_L1, &F::logRotateAtTime, StoredRule::ReadOnly},
    FormatField{"LogRotateTime"_L1, &F::logRotateTime, StoredRule::ReadOnly},
    FormatField{"NeedHourTimeStamp"_L1, &F::needHourTimeStamp, StoredRule::ReadOnly},
    FormatField{"DisplayBufferSize"_L1, &F::displayBufferSize},
};

constexpr std::array kColorFields{
    FormatField{"FormatDisplayColor"_L1, &F::formatDisplayColor},
    FormatField{"ShowControlLineLeds"_L1, &F::showControlLineLeds},
    FormatField{"SendTextColor"_L1, &F::sendTextColor},
    FormatField{"ReceiveTextColor"_L1, &F::receiveTextColor},
};

constexpr std::array kNetworkFields{
    LineField{"LastTargetPort"_L1, &S::targetPort},
    LineField{"UdpLocalPort"_L1, &S::udpLocalPort},
    LineField{"ConnMode"_L1, &S::connMode},
    LineField{"UseRemoteSerialConfig"_L1, &S::useRemoteSerialConfig},
    LineField{"RelayCid"_L1, &S::relayCid},
    LineField{"RelayPortName"_L1, &S::relayPortName},
    LineField{"RelayPortKey"_L1, &S::relayPortKey},
};

constexpr auto kFontFamilyName = "LogFontFamily"_L1;
constexpr auto kFontSizeName = "LogFontSize"_L1;
constexpr auto kFontWeightName = "LogFontWeight"_L1;
constexpr auto kHostsName = "LastTargetHost"_L1;
constexpr auto kHostSeparator = "-||-"_L1;

template<class Record>
void zero(Record& record, std::span<const StoredField<Record>> fields)
{
    for (const auto& field : fields)
        std::visit(
            [&record](
                auto member) { record.*member = std::remove_cvref_t<decltype(record.*member)>(); },
            field.member);
}

// What stands for keys that a file lacks.
Settings missingSettings()
{
    const Settings defaults;
    Settings missing;
    zero<Settings>(missing, kLineFields);
    zero<Settings>(missing, kNetworkFields);
    missing.dtrOn = defaults.dtrOn;
    missing.rtsOn = defaults.rtsOn;
    missing.useRemoteSerialConfig = defaults.useRemoteSerialConfig;
    missing.udpLocalPort = defaults.udpLocalPort;
    return missing;
}

FormatSetting missingFormat()
{
    const FormatSetting defaults = SettingsService::defaultFormatSettings();
    FormatSetting missing;
    zero<FormatSetting>(missing, kFormatFields);
    zero<FormatSetting>(missing, kColorFields);
    missing.showControlLineLeds = defaults.showControlLineLeds;
    missing.terminalEnterMode = defaults.terminalEnterMode;
    missing.rxTimeFormat = defaults.rxTimeFormat;
    missing.txTimeFormat = defaults.txTimeFormat;
    missing.logTimestampFormat = defaults.logTimestampFormat;
    missing.logFilePath = defaults.logFilePath;
    return missing;
}

// The pane's store: one index, one file.
template<class Store>
class PaneKeys
{
public:
    PaneKeys(Store& file, int pane)
        : m_file(file)
        , m_pane(pane)
    {}

    [[nodiscard]] QVariant value(QLatin1StringView name) const
    {
        return m_file.value(SettingsKey::paneKey(m_pane, name));
    }

    void setValue(QLatin1StringView name, const QVariant& value)
    {
        m_file.setValue(SettingsKey::paneKey(m_pane, name), value);
    }

    template<class Record>
    void read(std::span<const StoredField<Record>> fields, Record& record, const Record& missing)
    {
        for (const auto& field : fields)
            StoredValue::read(
                m_file, SettingsKey::paneKey(m_pane, field.key), field, record, missing);
    }

    template<class Record>
    void write(std::span<const StoredField<Record>> fields, const Record& record)
    {
        for (const auto& field : fields)
            StoredValue::write(m_file, SettingsKey::paneKey(m_pane, field.key), field, record);
    }

private:
    Store& m_file;
    int m_pane;
};

DisplayFont readFont(const PaneKeys<const QSettings>& keys)
{
    DisplayFont font;
    font.family = keys.value(kFontFamilyName).toString();
    if (const int size = keys.value(kFontSizeName).toInt(); size >= 1)
        font.pointSize = size;
    if (const int weight = keys.value(kFontWeightName).toInt(); weight >= 1 && weight <= 1000)
        font.weight = weight;
    return font;
}

void readHosts(const PaneKeys<const QSettings>& keys, Settings& settings)
{
    settings.targetHosts =
        keys.value(kHostsName).toString().split(kHostSeparator, Qt::SkipEmptyParts);
    if (!settings.targetHosts.isEmpty())
        settings.targetHost = settings.targetHosts.constFirst();
}

// The file has no other place for the host in use, which may be off the history.
QStringList hostsToWrite(Settings settings)
{
    settings.useTargetHost(settings.targetHost);
    return settings.targetHosts;
}

} // namespace

namespace PortSessionCodec {

bool isKey(const QString& name)
{
    const auto names = [&name](const auto& field) { return name == field.key; };
    const auto isOther = [&name](QLatin1StringView other) { return name == other; };
    return std::ranges::any_of(kLineFields, names) || std::ranges::any_of(kFormatFields, names)
           || std::ranges::any_of(kColorFields, names) || std::ranges::any_of(kNetworkFields, names)
           || std::ranges::any_of(
               std::array{kFontFamilyName, kFontSizeName, kFontWeightName, kHostsName}, isOther);
}

bool isSameInFile(const SessionPane& one, const SessionPane& other)
{
    const auto isSame = [](const auto& a, const auto& b, const auto& fields) {
        return std::ranges::all_of(fields, [&](const auto& field) {
            return field.rule == StoredRule::ReadOnly
                   || std::visit([&](auto member) { return a.*member == b.*member; }, field.member);
        });
    };
    return isSame(one.settings, other.settings, kLineFields)
           && isSame(one.settings, other.settings, kNetworkFields)
           && isSame(one.format, other.format, kFormatFields)
           && isSame(one.format, other.format, kColorFields)
           && one.format.displayFont == other.format.displayFont
           && hostsToWrite(one.settings) == hostsToWrite(other.settings);
}

void write(QSettings& file, int pane, const Settings& settings, const FormatSetting& format)
{
    PaneKeys<QSettings> keys(file, pane);
    keys.write<Settings>(kLineFields, settings);
    keys.write<FormatSetting>(kFormatFields, format);
    keys.setValue(kFontFamilyName, format.displayFont.family);
    keys.setValue(kFontSizeName, format.displayFont.pointSize);
    keys.setValue(kFontWeightName, format.displayFont.weight);
    keys.write<FormatSetting>(kColorFields, format);
    keys.setValue(kHostsName, hostsToWrite(settings).join(kHostSeparator));
    keys.write<Settings>(kNetworkFields, settings);
}

void read(const QSettings& file, int pane, Settings& settings, FormatSetting& format)
{
    PaneKeys<const QSettings> keys(file, pane);
    const Settings noSettings = missingSettings();
    const FormatSetting noFormat = missingFormat();
    keys.read<Settings>(kLineFields, settings, noSettings);
    keys.read<FormatSetting>(kFormatFields, format, noFormat);
    format.displayFont = readFont(keys);
    keys.read<FormatSetting>(kColorFields, format, noFormat);
    readHosts(keys, settings);
    keys.read<Settings>(kNetworkFields, settings, noSettings);
    settings.refreshTexts();
}

} // namespace PortSessionCodec
