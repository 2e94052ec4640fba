// Holds a text against the arguments that it will be printed with.
#include "common/libs/kvolocalise/format.h"

#include <cstring>

namespace {

constexpr int kMaxArguments = 9;  // so that a position is one digit
constexpr int kMaxDigits = 3;     // of a width or a precision: bounds the output as well

struct Conversion {
  int position = 0;  // from 1, or 0 where the text leaves it to the order
  char kind = 0;
};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

const char* SkipDigits(const char* at) {
  for (int i = 0; i < kMaxDigits && IsDigit(*at); ++i) ++at;
  return at;
}

// Reads the conversion behind a '%'; answers what follows it, or null where it is none of ours.
const char* ReadConversion(const char* at, Conversion& conversion) {
  if (IsDigit(at[0]) && at[1] == '$') {
    conversion.position = at[0] - '0';
    if (conversion.position == 0) return nullptr;
    at += 2;
  }
  at += strspn(at, "-+ #0");
  at = SkipDigits(at);
  if (*at == '.') at = SkipDigits(at + 1);
  if (*at != 'd' && *at != 'i' && *at != 's') return nullptr;
  conversion.kind = *at == 's' ? 's' : 'd';
  return at + 1;
}

}  // namespace

bool KvoLocaliseFormatFits(const char* text, const char* kinds) {
  const int count = static_cast<int>(strlen(kinds));
  if (text == nullptr || count > kMaxArguments) return false;
  bool used[kMaxArguments + 1] = {};
  int conversions = 0;
  bool positional = false;
  for (const char* at = strchr(text, '%'); at != nullptr; at = strchr(at, '%')) {
    if (at[1] == '%') {
      at += 2;
      continue;
    }
    Conversion conversion;
    at = ReadConversion(at + 1, conversion);
    if (at == nullptr) return false;
    const bool named = conversion.position > 0;
    if (conversions++ > 0 && named != positional) return false;
    positional = named;
    const int argument = named ? conversion.position : conversions;
    if (argument > count || used[argument] || kinds[argument - 1] != conversion.kind) return false;
    used[argument] = true;
  }
  return conversions == count;
}
