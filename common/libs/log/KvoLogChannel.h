// The connection to the log service, a Unix stream to another program of the same machine.
//
// Any number of threads write at the same time, and nothing counts them. A failed write gives the
// connection up for good: it is shut down at once and closed by CloseChannel only, which no line
// overlaps, so that no record can go into a file that got the descriptor's number. Syslog is told
// once.
#pragma once

#include <cstddef>

#include "kvolog.h"

namespace kvolog {

// Connects and registers this process; the identity has to stay. Answers whether the connection
// stands. Takes at most a second; leaves the process's SIGPIPE disposition as it was.
bool OpenChannel(unsigned int session, const char* identity);
void CloseChannel();

bool ChannelOpen();

// Writes a record of `size` bytes whole, or gives the connection up when nothing passed for a
// second. No point of cancellation.
void WriteRecord(const KvoLogRecord& record, std::size_t size);

}  // namespace kvolog
