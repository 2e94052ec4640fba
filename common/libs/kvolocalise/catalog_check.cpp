// Refuses a compiled catalog that the dialogs could not use: a message is missing or unknown, is
// not UTF-8, or does not take the arguments that it will be printed with.
#include <glib.h>
#include <nl_types.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include "common/libs/kvolocalise/format.h"
#include "common/libs/kvolocalise/messages.h"

namespace {

constexpr int kSets = 3;
constexpr int kMessages = 255;
constexpr std::size_t kWordMax = 19;  // bytes of an operation word

struct Rule {
  const char* name;
  const char* kinds;
};

std::map<int, Rule> Rules() {
#define MESSAGE_RULE(name, number, kinds) {number, {#name, kinds}},
  return {KVO_MESSAGES(MESSAGE_RULE)};
#undef MESSAGE_RULE
}

bool IsWord(int number) {
  return number == YRAFT_ENG_TRANSFER_DOWNLOAD || number == YRAFT_ENG_TRANSFER_UPLOAD ||
         number == YRAFT_ENG_TRANSFER_FILE;
}

// Answers what is wrong with a text, or null.
const char* Fault(int number, const Rule& rule, const char* text) {
  if (text == nullptr) return "is missing";
  if (*text == '\0') return "is empty";
  if (!g_utf8_validate(text, -1, nullptr)) return "is not UTF-8";
  const bool format = *rule.kinds != '\0';
  if (!format && strchr(text, '%') != nullptr) return "is no format and holds a percent sign";
  if (!KvoLocaliseFormatFits(text, rule.kinds)) return "does not take its arguments";
  if (IsWord(number) && strlen(text) > kWordMax) return "is longer than 19 bytes";
  return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || strchr(argv[1], '/') == nullptr) {
    fprintf(stderr, "usage: %s PATH/TO/CATALOG\n", argv[0]);
    return 2;
  }
  const nl_catd catalog = catopen(argv[1], 0);
  if (catalog == reinterpret_cast<nl_catd>(-1)) {  // NOLINT: as catopen answers it
    perror(argv[1]);
    return 2;
  }
  int faults = 0;
  const std::map<int, Rule> rules = Rules();
  for (int set = 1; set <= kSets; ++set) {
    for (int message = 1; message <= kMessages; ++message) {
      const int number = set << 16 | message;
      const char* text = catgets(catalog, set, message, nullptr);
      const auto rule = rules.find(number);
      const char* fault = nullptr;
      if (rule != rules.end()) {
        fault = Fault(number, rule->second, text);
      } else if (text != nullptr) {
        fault = "is unknown";
      }
      if (fault == nullptr) continue;
      fprintf(stderr, "%s: set %d message %d (%s) %s\n", argv[1], set, message,
              rule != rules.end() ? rule->second.name : "?", fault);
      ++faults;
    }
  }
  catclose(catalog);
  return faults == 0 ? 0 : 1;
}
