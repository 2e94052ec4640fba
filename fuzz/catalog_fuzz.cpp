// Texts of a catalog: one that passes for a format takes its arguments and nothing else.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "common/libs/kvolocalise/format.h"

#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const char* format = text.c_str();
  char shown[360];
  // The words are where a text that takes too much would look for its arguments.
  const std::string word = "word";
  const std::string name(300, 'n');
  int written = 0;
  if (KvoLocaliseFormatFits(format, "d")) {
    written = snprintf(shown, sizeof(shown), format, 42);
  } else if (KvoLocaliseFormatFits(format, "sdds")) {
    written = snprintf(shown, sizeof(shown), format, word.c_str(), 1, 2, name.c_str());
  } else if (KvoLocaliseFormatFits(format, "")) {
    written = snprintf(shown, sizeof(shown), format);
  }
  if (written < 0) std::abort();
  return 0;
}
