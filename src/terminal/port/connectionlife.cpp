#include "terminal/port/connectionlife.h"

#include <array>

namespace {

using enum ConnectionLife;

struct Row
{
    std::array<ConnectionLife, 6> next; // by LifeEvent
};

// clang-format off
constexpr std::array kTable{
    //    Start     Opened Failed  Gone    Stop    GiveUp
    Row{{Opening,   Open,  Closed, Closed, Closed, Closed}},  // Closed
    Row{{Opening,   Open,  Closed, Closed, Closed, Opening}}, // Opening
    Row{{Open,      Open,  Open,   Lost,   Closed, Open}},    // Open
    Row{{Regaining, Open,  Lost,   Lost,   Closed, Closed}},  // Lost
    Row{{Regaining, Open,  Lost,   Lost,   Closed, Opening}}, // Regaining
};
// clang-format on

} // namespace

ConnectionLife nextLife(ConnectionLife life, LifeEvent event, bool regain)
{
    const ConnectionLife next = kTable.at(std::size_t(life)).next.at(std::size_t(event));
    return next == Lost && !regain ? Closed : next;
}
