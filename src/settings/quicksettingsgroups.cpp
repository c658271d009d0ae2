#include "settings/quicksettingsgroups.h"

#include <QCoreApplication>
#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto kContext = "QuickSettingsGroups";

constexpr std::array kGroupTable{
    QuickSettingsEntry{"connection",
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Connection Settings"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Port and connection parameters")},
    QuickSettingsEntry{"receive", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Receive Settings"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "How received data is shown")},
    QuickSettingsEntry{"send", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Send Settings"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "How data is sent")},
};

constexpr std::array kConnectionTable{
    QuickSettingsEntry{"baudRate", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Baudrate"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Serial transfer speed")},
    QuickSettingsEntry{"dataBits", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Data Bits"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Data bits per frame")},
    QuickSettingsEntry{"flowControl", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Flow Type"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Flow control method")},
    QuickSettingsEntry{"stopBits", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Stop Bits"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Stop bits per frame")},
    QuickSettingsEntry{"parity", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Parity"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Parity check mode")},
    QuickSettingsEntry{"indicatorLights",
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Indicator Lights"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Show all TX/RX and control line indicators")},
};

constexpr std::array kReceiveTable{
    QuickSettingsEntry{"rxFormat", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Format"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups",
            "Show received data as text or hex, and the encoding to read it with")},
    QuickSettingsEntry{"rxAutoFeed", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Auto Line Feed"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Start a new line after an idle interval")},
    QuickSettingsEntry{"rxDisplayTime", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Display Time"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Prefix received data with a timestamp")},
};

constexpr std::array kSendTable{
    QuickSettingsEntry{"txFormat", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Format"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups",
            "Send the input as text or hex, and the encoding to send it with")},
    QuickSettingsEntry{"txLoop", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Loop Send"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Resend automatically at an interval")},
    QuickSettingsEntry{"txAutoFeed", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Append Line Ending"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Ending appended to each send")},
    QuickSettingsEntry{"txTerminalEnter", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Enter Sends"),
        QT_TRANSLATE_NOOP(
            "QuickSettingsGroups", "Bytes sent when Enter is pressed in the receive terminal")},
    QuickSettingsEntry{"txChecksum", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Append Checksum"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Checksum appended to each send")},
    QuickSettingsEntry{"txDisplaySend", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Display Send"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Echo sent data in the display")},
    QuickSettingsEntry{"txLocalEcho", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Local Echo"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Echo keys typed into the receive terminal")},
    QuickSettingsEntry{"txLineByLine", QT_TRANSLATE_NOOP("QuickSettingsGroups", "Line by Line"),
        QT_TRANSLATE_NOOP("QuickSettingsGroups", "Send multi-line input line by line")},
};

QStringList keysOf(std::span<const QuickSettingsEntry> entries)
{
    QStringList keys;
    for (const QuickSettingsEntry& entry : entries)
        keys.append(QLatin1StringView(entry.key));
    return keys;
}

} // namespace

std::span<const QuickSettingsEntry> QuickSettingsGroups::groupEntries()
{
    return kGroupTable;
}

std::span<const QuickSettingsEntry> QuickSettingsGroups::fieldEntries(const QString& group)
{
    if (group == "connection"_L1)
        return kConnectionTable;
    if (group == "receive"_L1)
        return kReceiveTable;
    if (group == "send"_L1)
        return kSendTable;
    return {};
}

QString QuickSettingsGroups::labelText(const QuickSettingsEntry& entry)
{
    return QCoreApplication::translate(kContext, entry.label);
}

QString QuickSettingsGroups::toolTipText(const QuickSettingsEntry& entry)
{
    return QCoreApplication::translate(kContext, entry.toolTip);
}

QStringList QuickSettingsGroups::defaultGroupOrder()
{
    return keysOf(kGroupTable);
}

QStringList QuickSettingsGroups::defaultFieldOrder(const QString& group)
{
    return keysOf(fieldEntries(group));
}

QStringList QuickSettingsGroups::storedGroups()
{
    return {u"connection"_s, u"controlLines"_s, u"receive"_s, u"send"_s};
}

QStringList QuickSettingsGroups::normalised(const QStringList& saved, const QStringList& defaults)
{
    QStringList result;
    for (const QString& key : saved) {
        if (defaults.contains(key) && !result.contains(key))
            result.append(key);
    }
    std::ranges::copy_if(defaults, std::back_inserter(result),
        [taken = result](const QString& key) { return !taken.contains(key); });
    return result;
}

QStringList QuickSettingsGroups::normalisedGroupOrder() const
{
    return normalised(groupOrder, defaultGroupOrder());
}

QStringList QuickSettingsGroups::normalisedFieldOrder(const QString& group) const
{
    return normalised(fieldOrder.value(group), defaultFieldOrder(group));
}

QStringList QuickSettingsGroups::visibleFields(const QString& group) const
{
    QStringList fields = normalisedFieldOrder(group);
    const QStringList hidden = hiddenFields.value(group);
    fields.removeIf([&hidden](const QString& key) { return hidden.contains(key); });
    return fields;
}

bool QuickSettingsGroups::isGroupShown(const QString& group) const
{
    return (group == "connection"_L1 && showConnectionGroup)
           || (group == "receive"_L1 && showReceiveGroup) || (group == "send"_L1 && showSendGroup);
}
