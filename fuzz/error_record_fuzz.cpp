// Error records with any lengths and texts: adopted or refused, read no further than they go,
// released.
#include "ui/YraInside.h"
// After the trace vocabulary.
#include <glib.h>

#include "common/libs/log/KvoLogConfig.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr size_t kEmpty = sizeof(YRAFT_ERROR_MESSAGE_INFO) + 3;
  if (size < kEmpty || size > 0xFFFF) return 0;
  // Every line is composed, as for an administrator who wants to see everything, and goes nowhere.
  static kvolog::Mapping trace = {.config = {}, .above = kvolog::MakeAbove()};
  trace.config.levels[KVO_CLASS_ALL] = KVO_LOG_VERBOSE;
  kvolog_filter = &trace.config;
  auto* record = static_cast<YRAFT_ERROR_MESSAGE_INFO*>(std::malloc(size));
  std::memcpy(static_cast<void*>(record), data, size);
  const bool fits = kEmpty + record->titleLen + record->firLen + record->SecLen <= size;
  record->cbSize = static_cast<uint16_t>(size);
  YraWinUI winUI;
  if ((winUI.YraErrorMessageDiagCreate(record) == YRAFT_STATUS_SUCCESS) != fits) std::abort();
  while (g_source_remove_by_user_data(&winUI)) {  // there is no loop that would show it
  }
  return 0;
}
