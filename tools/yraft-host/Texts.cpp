#include "Texts.h"

#include <locale.h>
#include <nl_types.h>

#include <cstdlib>
#include <cstring>

namespace {

struct Row {
  int set, number;
  const char* english;
};

#define TEXT_ROW(name, set, number, english) {set, number, english},
constexpr Row kRows[] = {TEXTS(TEXT_ROW)};
#undef TEXT_ROW

// A catalog's text is never a format: what it does not take is left out, what is not there stays.
std::string Filled(const char* text, std::initializer_list<Text> arguments,
                   std::string Text::*language) {
  std::string filled;
  for (; *text != '\0'; ++text) {
    const auto index = static_cast<std::size_t>(text[1] - '1');
    if (*text == '%' && index < arguments.size()) {
      filled += arguments.begin()[index].*language;
      ++text;
    } else {
      filled += *text;
    }
  }
  return filled;
}

}  // namespace

Text Say(Said what, std::initializer_list<Text> arguments) {
  static const nl_catd catalog = catopen("strings", 0);
  const Row& row = kRows[static_cast<int>(what)];
  const char* local = catgets(catalog, row.set, row.number, row.english);
  return {Filled(row.english, arguments, &Text::english), Filled(local, arguments, &Text::local)};
}

// The toolkit sets the program's locale for its own words, and that is no matter of the terminal's.
Text ErrorText(int error) {
  static const locale_t english = newlocale(LC_ALL_MASK, "C", nullptr);
  static const char* const language = std::getenv("LANG");
  static const locale_t users =
      newlocale(LC_ALL_MASK, language != nullptr ? language : "C", nullptr);
  return {strerror_l(error, english), strerror_l(error, users != nullptr ? users : english)};
}
