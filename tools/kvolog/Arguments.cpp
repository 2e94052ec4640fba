#include "Arguments.h"

#include "Failure.h"

Arguments::Arguments(const Command& command, int argc, char** argv) {
  std::vector<char*> given;
  for (int i = 0; i < argc; ++i) {
    const bool change = command.changes && argv[i][0] == '-' && argv[i][1] != '-';
    if (change) {
      m_words.emplace_back(argv[i]);
    } else {
      given.push_back(argv[i]);
    }
  }
  given.push_back(nullptr);
  std::vector<option> known = command.options;
  known.push_back({"help", no_argument, nullptr, kHelpOption});
  known.push_back({nullptr, 0, nullptr, 0});
  const std::string shortOptions = std::string(":") + command.shortOptions;
  const int count = static_cast<int>(given.size()) - 1;
  opterr = 0;
  int found;
  while ((found = getopt_long(count, given.data(), shortOptions.c_str(), known.data(), nullptr)) !=
         -1) {
    // A letter may stand among others, so that only getopt knows it.
    const bool letter = found == '?' && optopt > ' ' && optopt < 0x7f &&
                        shortOptions.find(static_cast<char>(optopt)) == std::string::npos;
    const std::string last = letter ? std::string("-") + static_cast<char>(optopt)
                                    : given[static_cast<std::size_t>(optind) - 1];
    if (found == ':') throw WrongUsage(last + " needs a value");
    if (found == '?') throw WrongUsage("there is no option " + last);
    m_options[found] = optarg != nullptr ? optarg : "";
  }
  m_words.insert(m_words.end(), given.begin() + optind, given.end() - 1);
  if (Has(kHelpOption)) return;
  if (m_words.size() < command.fewest) throw WrongUsage("an argument is missing");
  if (m_words.size() > command.most) throw WrongUsage("too many arguments");
}
