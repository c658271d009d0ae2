#include "settings/sessioncodec.h"

#include "settings/portsessioncodec.h"
#include "settings/settingskey.h"
#include "settings/settingsservice.h"

#include <QDebug>
#include <QSettings>
#include <algorithm>
#include <array>
#include <cmath>
#include <exception>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto kBridgePrefix = "Bridge/"_L1;
constexpr auto kPaneCountKey = "PortNumber"_L1;
constexpr auto kColumnCountKey = "ColumnNumber"_L1;
constexpr auto kQuickViewKey = "QuickView"_L1;
constexpr auto kConnectionShownKey = "QuickSettings/Connection"_L1;
constexpr auto kReceiveShownKey = "QuickSettings/Receive"_L1;
constexpr auto kSendShownKey = "QuickSettings/Send"_L1;
constexpr auto kGroupOrderKey = "QuickSettings/GroupOrder"_L1;

// A number of any size, so that one that is far too large is the largest and not the default.
int readCount(const QSettings& file, QLatin1StringView key, int largest)
{
    const double number = file.value(key, 1).toDouble();
    return std::isnan(number) ? 1 : static_cast<int>(std::clamp(number, 1.0, double(largest)));
}

QuickSettingsGroups readQuickSettings(const QSettings& file)
{
    QuickSettingsGroups groups;
    groups.showConnectionGroup = file.value(kConnectionShownKey, true).toBool();
    groups.showReceiveGroup = file.value(kReceiveShownKey, true).toBool();
    groups.showSendGroup = file.value(kSendShownKey, true).toBool();
    groups.groupOrder = file.value(kGroupOrderKey).toStringList();
    groups.groupOrder = groups.normalisedGroupOrder();
    for (const QString& group : QuickSettingsGroups::storedGroups()) {
        if (const QString key = SettingsKey::quickFieldOrder(group); file.contains(key))
            groups.fieldOrder[group] = file.value(key).toStringList();
        if (const QString key = SettingsKey::quickFieldsHidden(group); file.contains(key))
            groups.hiddenFields[group] = file.value(key).toStringList();
    }
    return groups;
}

void writeQuickSettings(QSettings& file, const QuickSettingsGroups& groups)
{
    file.setValue(kConnectionShownKey, groups.showConnectionGroup);
    file.setValue(kReceiveShownKey, groups.showReceiveGroup);
    file.setValue(kSendShownKey, groups.showSendGroup);
    file.setValue(kGroupOrderKey, groups.normalisedGroupOrder());
    // A group without lists is written with empty ones: what the file had before must not stay.
    for (const QString& group : QuickSettingsGroups::storedGroups()) {
        file.setValue(SettingsKey::quickFieldOrder(group), groups.fieldOrder.value(group));
        file.setValue(SettingsKey::quickFieldsHidden(group), groups.hiddenFields.value(group));
    }
}

// Nobody names a port or a host like this, and a label of a million characters stops the window.
constexpr qsizetype kMaxTextLength = 4096;

void bound(SessionPane& pane)
{
    Settings& settings = pane.settings;
    FormatSetting& format = pane.format;
    for (QString* text : {&settings.portName, &settings.targetHost, &settings.relayCid,
             &settings.relayPortName, &settings.relayPortKey, &format.rxTimeFormat,
             &format.txTimeFormat, &format.logFilePath, &format.logTimestampFormat})
        text->truncate(kMaxTextLength);
    if (settings.targetHosts.size() > Settings::kMaxTargetHosts)
        settings.targetHosts.resize(Settings::kMaxTargetHosts);
    for (QString& host : settings.targetHosts)
        host.truncate(kMaxTextLength);
    if (format.sendList.size() > FormatSetting::kMaxSendList)
        format.sendList.resize(FormatSetting::kMaxSendList);
}

SessionPane readPane(const QSettings& file, int pane)
{
    SessionPane result{
        SettingsService::defaultPortSettings({}), SettingsService::defaultFormatSettings()};
    // One pane whose values cannot be held must not take the others with it.
    try {
        PortSessionCodec::read(file, pane, result.settings, result.format);
    } catch (const std::exception& fault) {
        qWarning() << "readFile: read parameter FAILED!" << fault.what();
    }
    bound(result);
    return result;
}

} // namespace

namespace SessionCodec {

bool isOwnKey(const QString& key)
{
    if (key.startsWith(kBridgePrefix))
        return true;
    const qsizetype slash = key.indexOf(u'/');
    bool isIndex = false;
    const int index = QStringView(key).first(std::max(slash, qsizetype(0))).toInt(&isIndex);
    if (isIndex) {
        return index >= 0 && index < SessionContents::kMaxPanes
               && PortSessionCodec::isKey(key.sliced(slash + 1));
    }
    return std::ranges::any_of(
               std::array{kPaneCountKey, kColumnCountKey, kQuickViewKey, kConnectionShownKey,
                   kReceiveShownKey, kSendShownKey, kGroupOrderKey},
               [&key](QLatin1StringView own) { return key == own; })
           || std::ranges::any_of(
               QuickSettingsGroups::storedGroups(), [&key](const QString& group) {
                   return key == SettingsKey::quickFieldOrder(group)
                          || key == SettingsKey::quickFieldsHidden(group);
               });
}

bool isSession(const QSettings& file)
{
    return std::ranges::any_of(file.allKeys(), isOwnKey);
}

SessionContents read(const QSettings& file)
{
    SessionContents contents;
    contents.quickSettings = readQuickSettings(file);
    const int panes = readCount(file, kPaneCountKey, SessionContents::kMaxPanes);
    contents.columnCount = readCount(file, kColumnCountKey, SessionContents::kMaxColumns);
    contents.quickView = file.value(kQuickViewKey, panes < 2).toBool();
    for (int i = 0; i < panes; ++i)
        contents.panes.append(readPane(file, i));
    for (const QString& key : file.allKeys()) {
        if (key.startsWith(kBridgePrefix))
            contents.bridges.insert(key.sliced(kBridgePrefix.size()), file.value(key));
    }
    return contents;
}

void write(QSettings& file, const SessionContents& contents, const Progress& progress)
{
    const int panes = static_cast<int>(contents.panes.size());
    file.setValue(kPaneCountKey, panes);
    file.setValue(kColumnCountKey, contents.columnCount);
    file.setValue(kQuickViewKey, contents.quickView);
    writeQuickSettings(file, contents.quickSettings);
    for (int i = 0; i < panes; ++i) {
        progress(100 * (i + 1) / (panes + 2));
        const SessionPane& pane = contents.panes.at(i);
        PortSessionCodec::write(file, i, pane.settings, pane.format);
    }
    file.remove("Bridge"_L1);
    for (auto it = contents.bridges.cbegin(); it != contents.bridges.cend(); ++it)
        file.setValue(kBridgePrefix + it.key(), it.value());
}

} // namespace SessionCodec
