// A process of the agent that logs: trace_writer PREFIX LINES [A-SECOND]. Line n says "PREFIX n".
#include <unistd.h>

#include <cstdlib>

#include "kvolog.h"

int main(int argc, char** argv) {
  if (argc < 3 || KvoLogInit() == 0) return 2;
  const long lines = std::atol(argv[2]);
  const long rate = argc > 3 ? std::atol(argv[3]) : 0;
  for (long n = 0; n < lines; ++n) {
    __KvoTrace(KVO_CLASS_YRAFT_RW, KVO_LOG_WARNING, "file", "Function", 1, "%s %ld", argv[1], n);
    if (rate > 0) usleep(static_cast<useconds_t>(1000000 / rate));
  }
  KvoLogShutdown();
}
