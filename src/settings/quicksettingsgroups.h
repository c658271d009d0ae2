#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <span>

// A row of the quick settings: the stored key and the untranslated texts that the editor shows.
struct QuickSettingsEntry
{
    const char* key;
    const char* label;   // translate with context "QuickSettingsGroups"
    const char* toolTip; // translate with context "QuickSettingsGroups"
};

// Which groups of options the quick settings panel shows, in which order, and which fields of each
// group. One choice for all panes. Lists that come from files may hold anything; the normalised
// lists hold each known key exactly once, saved order first, missing ones behind in default order.
struct QuickSettingsGroups
{
    bool showConnectionGroup = true;
    bool showReceiveGroup = true;
    bool showSendGroup = true;
    QStringList groupOrder = defaultGroupOrder();
    QMap<QString, QStringList> fieldOrder;   // group key → field keys
    QMap<QString, QStringList> hiddenFields; // group key → field keys

    // The groups in default order.
    [[nodiscard]] static std::span<const QuickSettingsEntry> groupEntries();
    // The fields of a group in default order, empty for an unknown group.
    [[nodiscard]] static std::span<const QuickSettingsEntry> fieldEntries(const QString& group);
    // Label and tool tip of an entry in the language of the interface.
    [[nodiscard]] static QString labelText(const QuickSettingsEntry& entry);
    [[nodiscard]] static QString toolTipText(const QuickSettingsEntry& entry);

    // "connection", "receive", "send".
    [[nodiscard]] static QStringList defaultGroupOrder();
    [[nodiscard]] static QStringList defaultFieldOrder(const QString& group);
    // The group identifiers under which field lists are stored: the groups above and
    // "controlLines", in the order of storing.
    [[nodiscard]] static QStringList storedGroups();

    [[nodiscard]] static QStringList normalised(
        const QStringList& saved, const QStringList& defaults);
    [[nodiscard]] QStringList normalisedGroupOrder() const;
    [[nodiscard]] QStringList normalisedFieldOrder(const QString& group) const;
    // The normalised fields of a group without its hidden ones.
    [[nodiscard]] QStringList visibleFields(const QString& group) const;
    // False for an unknown group.
    [[nodiscard]] bool isGroupShown(const QString& group) const;

    friend bool operator==(const QuickSettingsGroups&, const QuickSettingsGroups&) = default;
};
