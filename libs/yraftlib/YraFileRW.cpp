// The placeholder by which a host can see that the library answers.
#include "YraTrace.h"
// The trace vocabulary comes first.
#include "yrafiletransfer.h"

unsigned int Yraft_GetFile() {
  const auto trace = LibTrace::Of(__func__);
  TRACE_WARNING(trace, "[YRAFT_LIB] In.");
  TRACE_WARNING(trace, "[YRAFT_LIB] callback successful.");
  TRACE_WARNING(trace, "[YRAFT_LIB] Out: ret=0x%x.", YRAFT_STATUS_SUCCESS);
  return YRAFT_STATUS_SUCCESS;
}
