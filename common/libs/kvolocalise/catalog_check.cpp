// Refuses a compiled catalog that the dialogs could not use: a message is missing or unknown, is
// not UTF-8, or does not take the arguments that it will be printed with.
#include <glib.h>
#include <nl_types.h>

#include <cstdio>
#include <cstring>

#include "common/libs/kvolocalise/format.h"
#include "common/libs/kvolocalise/messages.h"

namespace {

constexpr int kSets = 3;
constexpr int kNumbers = 255;
constexpr std::size_t kWordMax = 19;  // bytes of an operation word

bool IsWord(int number) {
  return number == YRAFT_ENG_TRANSFER_DOWNLOAD || number == YRAFT_ENG_TRANSFER_UPLOAD ||
         number == YRAFT_ENG_TRANSFER_FILE;
}

// Answers what is wrong with the text of a message, or null.
const char* Fault(const KvoMessage* pMessage, const char* text) {
  if (pMessage == nullptr) return text != nullptr ? "is unknown" : nullptr;
  if (text == nullptr) return "is missing";
  if (*text == '\0') return "is empty";
  if (!g_utf8_validate(text, -1, nullptr)) return "is not UTF-8";
  const bool format = *pMessage->kinds != '\0';
  if (!format && strchr(text, '%') != nullptr) return "is no format and holds a percent sign";
  if (!KvoLocaliseFormatFits(text, pMessage->kinds)) return "does not take its arguments";
  if (IsWord(pMessage->number) && strlen(text) > kWordMax) return "is longer than 19 bytes";
  return nullptr;
}

// The letter that presses the button of a text together with Alt; 0 where the text marks none.
gunichar Mnemonic(nl_catd catalog, int number) {
  const char* mark = strchr(catgets(catalog, number >> 16, number & 0xFFFF, ""), '_');
  return mark != nullptr ? g_unichar_tolower(g_utf8_get_char(mark + 1)) : 0;
}

const KvoMessage* Find(int number) {
  for (const KvoMessage& message : kMessages) {
    if (message.number == number) return &message;
  }
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
  for (int set = 1; set <= kSets; ++set) {
    for (int number = 1; number <= kNumbers; ++number) {
      const KvoMessage* pMessage = Find(set << 16 | number);
      const char* fault = Fault(pMessage, catgets(catalog, set, number, nullptr));
      if (fault == nullptr) continue;
      fprintf(stderr, "%s: set %d message %d (%s) %s\n", argv[1], set, number,
              pMessage != nullptr ? pMessage->name : "?", fault);
      ++faults;
    }
  }
  const gunichar cancel = Mnemonic(catalog, YRAFT_ENG_BUTTON_CANCEL);
  if (faults == 0 && cancel != 0 &&
      (cancel == Mnemonic(catalog, YRAFT_ENG_BUTTON_PAUSE) ||
       cancel == Mnemonic(catalog, YRAFT_ENG_BUTTON_RESUME))) {
    fprintf(stderr, "%s: the letter of Cancel is that of the button beside it\n", argv[1]);
    ++faults;
  }
  catclose(catalog);
  return faults == 0 ? 0 : 1;
}
