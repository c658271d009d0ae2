#pragma once

// Whether a pane's display runs: paused keeps what arrives for later, stopped means that the
// connection is closed.
enum class RunState : int { Running = 0, Paused = 1, Stopped = 2 };
