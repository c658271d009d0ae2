#pragma once

#include "bridge/bridgeconfig.h"
#include "settings/sessioncontents.h"

#include <QList>
#include <QStringList>

// What a gateway takes from a session file: the records of its ports and its bridges. A plain
// value; ports are known by their index from 0, people count from 1.
struct GatewayPlan
{
    QList<SessionPane> panes;    // 1 to SessionContents::kMaxPanes
    QList<BridgeConfig> bridges; // at most BridgeCodec::kMaxBridges

    // An enabled bridge joins the port.
    [[nodiscard]] bool isBridged(int port) const;
    // It is to be open: a bridge uses it, or it keeps a log.
    [[nodiscard]] bool isWanted(int port) const;
};

// Reading and judging session files. Stateless.
namespace GatewayFile {

// What --check finds. Faults are what keeps the file from doing what it says; remarks are worth a
// look.
struct Findings
{
    QStringList faults;
    QStringList remarks;
};

// False with a sentence for people, and `plan` untouched, when the file cannot be read. True with
// a message when parts of it are damaged.
[[nodiscard]] bool read(const QString& path, GatewayPlan& plan, QString& message);

// Opens no port and writes no file.
[[nodiscard]] Findings check(const QString& path);

} // namespace GatewayFile
