// Error records with any lengths and texts: adopted or refused, traced with their texts, released.
#include "ui/YraInside.h"
// After the trace vocabulary.
#include <glib.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

// Every line is composed, as for an administrator who wants to see everything, and goes nowhere.
struct TraceAll {
  TraceAll() {
    config.levels[KVO_CLASS_ALL] = KVO_LOG_VERBOSE;
    kvolog_filter = &config;
  }
  KvoLogConfig config{};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const struct {
    alignas(4096) TraceAll all;
    alignas(4096) kvolog::AboveTable above = kvolog::MakeAbove();
  } kTrace;
  constexpr size_t kEmpty = sizeof(YRAFT_ERROR_MESSAGE_INFO) + 3;
  if (size < kEmpty || size > 0xFFFF) return 0;
  auto* record = static_cast<YRAFT_ERROR_MESSAGE_INFO*>(std::malloc(size));
  if (record == nullptr) return 0;
  std::memcpy(static_cast<void*>(record), data, size);
  // What a record says of its whole size is true, or it says nothing and its texts fit all the
  // same.
  const size_t texts = kEmpty + record->titleLen + record->firLen + record->SecLen;
  if (record->cbSize >= kEmpty || texts > size) record->cbSize = static_cast<uint16_t>(size);
  YraWinUI winUI;
  const unsigned int ret = winUI.YraErrorMessageDiagCreate(record);
  while (g_source_remove_by_user_data(&winUI)) {  // there is no loop that would show it
  }
  if ((ret == YRAFT_STATUS_SUCCESS) != (texts <= size)) std::abort();
  return 0;
}
