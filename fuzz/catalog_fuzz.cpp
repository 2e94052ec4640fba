// Texts of a catalog: one that passes for a format takes its arguments and nothing else.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "common/libs/kvolocalise/format.h"

#pragma GCC diagnostic ignored "-Wformat-nonliteral"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::string name(300, 'n');  // where a text that takes too much would look
  char shown[360];
  int written = 0;
  if (KvoLocaliseFormatFits(text.c_str(), "d")) {
    written = snprintf(shown, sizeof(shown), text.c_str(), 42);
  } else if (KvoLocaliseFormatFits(text.c_str(), "sdds")) {
    written = snprintf(shown, sizeof(shown), text.c_str(), "word", 1, 2, name.c_str());
  } else if (KvoLocaliseFormatFits(text.c_str(), "")) {
    written = snprintf(shown, sizeof(shown), text.c_str(), name.c_str());
  }
  if (written < 0) std::abort();
  return 0;
}
