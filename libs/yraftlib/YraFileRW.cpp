// The placeholder by which a host can see that the library answers.
#include "YraTrace.h"
#include "yrafiletransfer.h"

namespace {
constexpr TraceLayer kLayer = kLayerLib;
}

unsigned int Yraft_GetFile() {
  TRACE_WARNING("[YRAFT_LIB] In.");
  TRACE_WARNING("[YRAFT_LIB] callback successful.");
  TRACE_WARNING("[YRAFT_LIB] Out: ret=0x%x.", YRAFT_STATUS_SUCCESS);
  return YRAFT_STATUS_SUCCESS;
}
