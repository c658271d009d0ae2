#include "settings/settingsservice.h"

#include "settings/settingskey.h"
#include "settings/storedfield.h"

#include <QDir>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

using S = SessionState;
using Field = StoredField<S>;

// The keys of the application store in the order of the file, cut where the quick settings and
// the font stand.
constexpr std::array kConnectionAndFormatFields{
    Field{"LastConnMode"_L1, &S::connMode},
    Field{"LastPortName"_L1, &S::portName},
    Field{"LastBaudrate"_L1, &S::baudRate},
    Field{"LastDatabits"_L1, &S::dataBits},
    Field{"LastStopbits"_L1, &S::stopBits},
    Field{"LastParity"_L1, &S::parity},
    Field{"LastFlowControl"_L1, &S::flowControl},
    Field{"LastDtrOn"_L1, &S::dtrOn},
    Field{"LastRtsOn"_L1, &S::rtsOn},
    Field{"LastTargetHost"_L1, &S::targetHost},
    Field{"LastTargetHosts"_L1, &S::targetHosts},
    Field{"LastTargetPort"_L1, &S::targetPort},
    Field{"LastUdpLocalPort"_L1, &S::udpLocalPort},
    Field{"LastUdpServerPort"_L1, &S::udpServerPort},
    Field{"LastReceiveMessageFormat"_L1, &S::receiveMsgFormat},
    Field{"LastSendMessageFormat"_L1, &S::sendMsgFormat},
    Field{"LastReceiveEncoding"_L1, &S::receiveEncoding, StoredRule::Encoding},
    Field{"LastSendEncoding"_L1, &S::sendEncoding, StoredRule::Encoding},
    Field{"LastSendChecksum"_L1, &S::sendChecksum},
    Field{"LastRxAutoFeedLine"_L1, &S::rxAutoFeedLine},
    Field{"LastRxLineEndingMode"_L1, &S::rxLineEndingMode},
    Field{"LastTxAutoFeedLine"_L1, &S::txAutoFeedLine},
    Field{"LastTxLineEndingMode"_L1, &S::txLineEndingMode},
    Field{"LastTerminalEnterMode"_L1, &S::terminalEnterMode},
    Field{"LastAutoFeedInterval"_L1, &S::autoFeedInterval},
    Field{"LastSplitterLeft"_L1, &S::splitterLeft},
    Field{"LastSplitterRight"_L1, &S::splitterRight},
};

constexpr std::array kGroupVisibilityFields{
    Field{"QuickSettings/Connection"_L1, &S::showConnectionGroup},
    Field{"QuickSettings/Receive"_L1, &S::showReceiveGroup},
    Field{"QuickSettings/Send"_L1, &S::showSendGroup},
    Field{"QuickSettings/GroupOrder"_L1, &S::groupOrder},
};

constexpr std::array kDisplayAndLogFields{
    Field{"LastDisplaySendMsg"_L1, &S::displaySendMsg},
    Field{"LastLocalEcho"_L1, &S::localEcho},
    Field{"LastDisplaySendTime"_L1, &S::displayMsgTime},
    Field{"LastDisplayRxTimeFormat"_L1, &S::rxTimeFormat, StoredRule::NotEmpty},
    Field{"LastDisplayTxTimeFormat"_L1, &S::txTimeFormat, StoredRule::NotEmpty},
    Field{"LastLogSaveFlag"_L1, &S::logSaveFlag},
    Field{"LastLogFilePath"_L1, &S::logFilePath, StoredRule::NotEmpty},
    Field{"LastLogFileName"_L1, &S::logFileNamePrefix, StoredRule::ReadOnly},
    Field{"LastLogTimestampEnabled"_L1, &S::logTimestampEnabled},
    Field{"LastLogTimestamp"_L1, &S::logTimestampFormat, StoredRule::NotEmpty},
    Field{"LastLogRotateAtSize"_L1, &S::logRotateAtSize},
    Field{"LastLogRotateSize"_L1, &S::logRotateSize},
    Field{"LastLogRotateAtTime"_L1, &S::logRotateAtTime},
    Field{"LastLogRotateTime"_L1, &S::logRotateTime},
    Field{"LastNeedHourTimeStamp"_L1, &S::needHourTimeStamp},
    Field{"LastDisplayBufferSize"_L1, &S::displayBufferSize},
};

constexpr std::array kColorAndListFields{
    Field{"LastFormatDisplayColor"_L1, &S::formatDisplayColor},
    Field{"LastSendTextColor"_L1, &S::sendTextColor},
    Field{"LastReceiveTextColor"_L1, &S::receiveTextColor},
    Field{"LastShowControlLineLeds"_L1, &S::showControlLineLeds},
    Field{"RecentFiles"_L1, &S::recentFiles},
    Field{"LastFile"_L1, &S::lastFile},
    Field{"LastLogFile"_L1, &S::lastLogFile},
    Field{"LastDirectory"_L1, &S::lastDirectory},
    Field{"SendList"_L1, &S::sendList},
    Field{"OpenLastConnection"_L1, &S::openLastConnection, StoredRule::ReadOnly},
    Field{"LastConnectionOpen"_L1, &S::lastConnectionOpen},
    Field{"AutoReconnect"_L1, &S::autoReconnect, StoredRule::ReadOnly},
};

constexpr auto kFontFamilyKey = "LastDisplayFontFamily"_L1;
constexpr auto kFontSizeKey = "LastDisplayFontSize"_L1;

void readFields(const QSettings& store, SessionState& state, std::span<const Field> fields)
{
    const SessionState fallbacks = state;
    for (const Field& field : fields)
        StoredValue::read(store, field.key, field, state, fallbacks);
}

void writeFields(QSettings& store, const SessionState& state, std::span<const Field> fields)
{
    for (const Field& field : fields)
        StoredValue::write(store, field.key, field, state);
}

void readFieldMaps(const QSettings& store, SessionState& state)
{
    for (const QString& group : QuickSettingsGroups::storedGroups()) {
        if (const QString key = SettingsKey::quickFieldOrder(group); store.contains(key))
            state.fieldOrder[group] = store.value(key).toStringList();
        if (const QString key = SettingsKey::quickFieldsHidden(group); store.contains(key))
            state.hiddenFields[group] = store.value(key).toStringList();
    }
}

// A group without an entry of its own keeps no key either, so that absent stays absent.
void writeFieldMaps(QSettings& store, const SessionState& state)
{
    const auto writeList = [&store](const QString& key, const auto& lists, const QString& group) {
        if (lists.contains(group))
            store.setValue(key, lists.value(group));
        else
            store.remove(key);
    };
    for (const QString& group : QuickSettingsGroups::storedGroups()) {
        writeList(SettingsKey::quickFieldOrder(group), state.fieldOrder, group);
        writeList(SettingsKey::quickFieldsHidden(group), state.hiddenFields, group);
    }
}

} // namespace

SessionState SettingsService::defaults()
{
    SessionState state;
    state.logFilePath = QDir(QDir::homePath()).filePath(u"vmr_%S-%Y%M%D.log"_s);
    return state;
}

Settings SettingsService::defaultPortSettings(const QString& portName)
{
    Settings settings;
    defaults().applyTo(settings);
    settings.portName = portName;
    return settings;
}

FormatSetting SettingsService::defaultFormatSettings()
{
    FormatSetting format;
    defaults().applyTo(format);
    return format;
}

SessionState SettingsService::load(const QSettings& store)
{
    SessionState state = defaults();
    readFields(store, state, kConnectionAndFormatFields);
    readFields(store, state, kGroupVisibilityFields);
    state.groupOrder = state.quickSettingsGroups().normalisedGroupOrder();
    readFieldMaps(store, state);
    readFields(store, state, kDisplayAndLogFields);
    state.displayFont = {
        store.value(kFontFamilyKey).toString(), store.value(kFontSizeKey, 12).toInt()};
    if (state.displayFont.pointSize < 1)
        state.displayFont.pointSize = DisplayFont{}.pointSize;
    readFields(store, state, kColorAndListFields);
    return state;
}

void SettingsService::save(QSettings& store, const SessionState& state)
{
    writeFields(store, state, kConnectionAndFormatFields);
    writeFields(store, state, kGroupVisibilityFields);
    writeFieldMaps(store, state);
    writeFields(store, state, kDisplayAndLogFields);
    store.setValue(kFontFamilyKey, state.displayFont.family);
    store.setValue(kFontSizeKey, state.displayFont.pointSize);
    writeFields(store, state, kColorAndListFields);
}
