#pragma once

// Direction of a record: what came from the line and what went out to it.
enum class RXorTx : int { Received = 1, Sent = 2 };
