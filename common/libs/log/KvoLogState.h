// What a process's logging has opened. Written by the initialisations and the shutdown, which no
// other thread's lines overlap.
#pragma once

namespace kvolog {

extern bool g_initialised;
extern bool g_syslogOpen;

}  // namespace kvolog
