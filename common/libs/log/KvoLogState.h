// How far a process's logging is open. Changed by the initialisations and the shutdown, which no
// other thread's lines overlap.
#pragma once

namespace kvolog {

enum class State { kClosed, kConfigOnly, kOpen };

extern State g_state;

}  // namespace kvolog
