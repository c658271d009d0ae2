#include "gateway/gatewayfile.h"

#include "bridge/bridgecodec.h"
#include "bridge/bridgemanager.h"
#include "connections/connectioncontroller.h"
#include "connections/peerallowlist.h"
#include "connections/systemportcatalog.h"
#include "settings/sessionfile.h"
#include "terminal/port/liveport.h"

#include <QFileInfo>
#include <QSettings>
#include <QTemporaryFile>
#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto kPortCountKey = "PortNumber"_L1;
constexpr auto kBridgeGroup = "Bridge/"_L1;
constexpr auto kBridgeCountKey = "Bridge/Count"_L1;

// What a session file may not have is what its editor put in front; then its sound copy is read.
bool withStore(const QString& path, const QByteArray& bytes,
    const std::function<void(const QSettings&)>& use, QString& message)
{
    if (QFileInfo(path).size() == bytes.size()) {
        use(QSettings(QFileInfo(path).absoluteFilePath(), QSettings::IniFormat));
        return true;
    }
    QTemporaryFile copy;
    if (!copy.open() || copy.write(bytes) != bytes.size() || !copy.flush()) {
        message = u"The temporary folder has no room: %1."_s.arg(copy.errorString());
        return false;
    }
    use(QSettings(copy.fileName(), QSettings::IniFormat));
    return true;
}

// As an INI file would say it: a list of one is its text.
QString asWritten(const QVariant& value)
{
    const bool isList = value.typeId() == QMetaType::QStringList;
    return isList ? value.toStringList().join(u',') : value.toString();
}

// "0d 0a" is "0D0A".
QString textOf(const QVariant& value)
{
    QString text = asWritten(value);
    text.remove(u' ');
    return text.toLower();
}

bool isSameValue(const QVariant& stored, const QVariant& taken)
{
    if (taken.typeId() == QMetaType::Bool) {
        static const QStringList kWords{u"true"_s, u"false"_s, u"0"_s, u"1"_s};
        return kWords.contains(textOf(stored)) && stored.toBool() == taken.toBool();
    }
    return textOf(stored) == textOf(taken);
}

// The plan as a file would hold it after everything was brought into its range.
void writeSound(QSettings& store, const GatewayPlan& plan)
{
    SessionContents contents;
    for (const SessionPane& pane : plan.panes)
        contents.panes.append({pane.settings.sanitized(), pane.format.sanitized()});
    SessionCodec::write(store, contents, [](int) {});
    QList<BridgeConfig> bridges;
    for (const BridgeConfig& bridge : plan.bridges)
        bridges.append(bridge.sanitized());
    BridgeCodec::save(store, bridges);
}

// Not of the window's looks, which mean nothing here.
bool isJudged(const QString& key)
{
    return key == kPortCountKey
           || (key.contains(u'/') && !key.startsWith("QuickSettings/"_L1)
               && !key.endsWith("/SendList"_L1) && !key.contains("Color"_L1)
               && !key.contains("Font"_L1) && !key.contains("Splitter"_L1));
}

// Every value that the program takes for another one than the file says.
void checkValues(const QSettings& file, const GatewayPlan& plan, GatewayFile::Findings& findings)
{
    QTemporaryFile scratch;
    if (!scratch.open()) {
        findings.faults += u"The temporary folder has no room: %1."_s.arg(scratch.errorString());
        return;
    }
    QSettings sound(scratch.fileName(), QSettings::IniFormat);
    writeSound(sound, plan);
    for (const QString& key : file.allKeys()) {
        if (!isJudged(key))
            continue;
        const QVariant value = file.value(key);
        if (sound.contains(key)) {
            if (!isSameValue(value, sound.value(key)))
                findings.faults += u"%1: \"%2\" is taken for \"%3\"."_s.arg(
                    key, asWritten(value), asWritten(sound.value(key)));
        } else if (!SessionCodec::isOwnKey(key) || key.startsWith(kBridgeGroup)) {
            findings.remarks += u"%1: is not known here and has no effect."_s.arg(key);
        } else if (key.section(u'/', 0, 0).toInt() >= plan.panes.size()) {
            findings.remarks +=
                u"%1: there are %2 ports (PortNumber)."_s.arg(key).arg(plan.panes.size());
        }
    }
    if (const int count = file.value(kBridgeCountKey).toInt(); count > plan.bridges.size())
        findings.faults +=
            u"%1 bridges are said to be there, %2 are read."_s.arg(count).arg(plan.bridges.size());
}

// What a connection of this kind needs and has no default in a file.
QStringList neededKeys(connectionMode mode)
{
    switch (mode) {
    case connectionMode::SerialPort:
        return {u"PortName"_s, u"BaudRate"_s, u"DataBits"_s, u"StopBits"_s};
    case connectionMode::TcpServer:
        return {u"LastTargetPort"_s};
    case connectionMode::TcpClient:
    case connectionMode::UdpClient:
    case connectionMode::RemoteSerialRfc2217:
        return {u"LastTargetHost"_s, u"LastTargetPort"_s};
    default:
        return {};
    }
}

// What two ports cannot have at the same time; empty when there is nothing like that.
QString exclusiveTarget(const Settings& settings)
{
    switch (settings.connMode) {
    case connectionMode::SerialPort:
        return settings.portName;
    case connectionMode::TcpServer:
        return u"TCP port %1"_s.arg(settings.targetPort);
    case connectionMode::UdpServer:
        return u"UDP port %1"_s.arg(settings.udpServerPort);
    case connectionMode::UdpClient:
        return settings.udpLocalPort == 0 ? QString() : u"UDP port %1"_s.arg(settings.udpLocalPort);
    default:
        return {};
    }
}

// Placeholders may stand in folders, too: those are made when they are needed.
void checkFolder(const QString& what, const QString& path, QStringList& faults)
{
    const QFileInfo folder(QFileInfo(path).path());
    if (path.isEmpty())
        faults += what + u": no file is named."_s;
    else if (folder.filePath().contains(u'%'))
        return;
    else if (!folder.isDir())
        faults += u"%1: the folder %2 does not exist."_s.arg(what, folder.filePath());
    else if (!folder.isWritable())
        faults += u"%1: nothing can be written in the folder %2."_s.arg(what, folder.filePath());
}

void checkPort(const QSettings& file, const GatewayPlan& plan, int port, QStringList& faults)
{
    const QString name = u"Port %1"_s.arg(port + 1);
    const SessionPane& pane = plan.panes.at(port);
    const Settings& settings = pane.settings;
    if (!ConnectionController::carries(settings.connMode))
        faults += name + u": its kind of connection (ConnMode) is not available."_s;
    for (const QString& key : neededKeys(settings.connMode)) {
        const QString full = u"%1/%2"_s.arg(port).arg(key);
        if (const QString value = file.value(full).toString(); value.isEmpty() || value == u"0"_s)
            faults += u"%1: %2 is missing."_s.arg(name, full);
    }
    const QString target = exclusiveTarget(settings);
    for (int other = 0; other < port && !target.isEmpty(); ++other) {
        if (plan.isWanted(other) && exclusiveTarget(plan.panes.at(other).settings) == target)
            faults += u"%1: port %2 has %3 already."_s.arg(name).arg(other + 1).arg(target);
    }
    if (pane.format.logSaveFlag)
        checkFolder(name + u": data log"_s, pane.format.logFilePath, faults);
}

void checkBridge(const BridgeConfig& bridge, const QString& name, QStringList& faults)
{
    for (const QString& entry : bridge.allowedPeers) {
        if (!PeerAllowlist({entry}).hasEntries())
            faults +=
                u"%1: \"%2\" is no address and no subnet; it allows nobody."_s.arg(name, entry);
    }
    if (bridge.enabled && bridge.logEnabled)
        checkFolder(name + u": capture"_s, bridge.logFilePath, faults);
}

// What the manager itself says of them. Nothing runs: they are disabled here.
void checkBridges(const GatewayPlan& plan, GatewayFile::Findings& findings)
{
    SystemPortCatalog catalog;
    std::vector<std::unique_ptr<LivePort>> ports;
    QList<LivePort*> borrowed;
    for (const SessionPane& pane : plan.panes) {
        ports.push_back(std::make_unique<LivePort>(catalog));
        ports.back()->setSettings(pane.settings, LivePort::Origin::Program);
        borrowed += ports.back().get();
    }
    BridgeManager manager;
    manager.setPorts(borrowed);
    for (int at = 0; at < plan.bridges.size(); ++at) {
        BridgeConfig bridge = plan.bridges.at(at);
        const QString name = u"Bridge %1 \"%2\""_s.arg(at + 1).arg(bridge.name);
        checkBridge(bridge, name, findings.faults);
        bridge.enabled = false;
        QString error;
        if (!manager.addLink(bridge, &error))
            findings.faults += u"%1: %2."_s.arg(name, error);
        else if (const QString warning = manager.fanInWarning(bridge, manager.linkCount() - 1);
                 !warning.isEmpty())
            findings.remarks += u"%1: %2"_s.arg(name, warning);
    }
    manager.setPorts({});
}

} // namespace

bool GatewayPlan::isBridged(int port) const
{
    return std::ranges::any_of(bridges,
        [port](const BridgeConfig& bridge) { return bridge.enabled && bridge.uses(port); });
}

bool GatewayPlan::isWanted(int port) const
{
    return isBridged(port) || panes.at(port).format.logSaveFlag;
}

namespace GatewayFile {

bool read(const QString& path, GatewayPlan& plan, QString& message)
{
    SessionContents contents;
    QByteArray bytes;
    if (!SessionFile::read(path, contents, message, &bytes))
        return false;
    QList<BridgeConfig> bridges;
    if (!withStore(
            path, bytes, [&](const QSettings& ini) { bridges = BridgeCodec::load(ini); }, message))
        return false;
    plan.panes = contents.panes;
    plan.bridges = bridges;
    return true;
}

Findings check(const QString& path)
{
    Findings findings;
    GatewayPlan plan;
    SessionContents contents;
    QByteArray bytes;
    QString message;
    if (!read(path, plan, message) || !SessionFile::read(path, contents, message, &bytes))
        return {{message}, {}};
    if (!message.isEmpty())
        findings.faults += message;
    const auto judge = [&](const QSettings& ini) {
        checkValues(ini, plan, findings);
        for (int port = 0; port < plan.panes.size(); ++port) {
            if (plan.isWanted(port))
                checkPort(ini, plan, port, findings.faults);
        }
    };
    if (!withStore(path, bytes, judge, message))
        findings.faults += message;
    checkBridges(plan, findings);
    bool anything = false;
    for (int port = 0; port < plan.panes.size(); ++port)
        anything = anything || plan.isWanted(port);
    if (!anything)
        findings.remarks += u"No port is bridged and none keeps a log: there is nothing to do."_s;
    return findings;
}

} // namespace GatewayFile
