#pragma once

#include "settings/formatsetting.h"
#include "settings/quicksettingsgroups.h"
#include "settings/settings.h"

#include <QList>
#include <QVariantMap>

// One pane of a session.
struct SessionPane
{
    Settings settings;
    FormatSetting format;

    friend bool operator==(const SessionPane&, const SessionPane&) = default;
};

// What a session file holds of the workspace: the panes and how they are arranged. A plain value;
// SessionCodec and SessionFile bring it to disk and back.
struct SessionContents
{
    static constexpr int kMaxPanes = 16;
    static constexpr int kMaxColumns = 16;

    int columnCount = 1; // panes per row, 1 to kMaxColumns
    bool quickView = true;
    QuickSettingsGroups quickSettings;
    QList<SessionPane> panes; // 1 to kMaxPanes
    // What the group "Bridge" holds, by the names in it: the bridges between the panes, in the form
    // in which those who know bridges read and write them.
    QVariantMap bridges;

    friend bool operator==(const SessionContents&, const SessionContents&) = default;
};
