#include "Command.h"

#include <getopt.h>

#include <cerrno>
#include <cstdlib>

namespace {

constexpr int kHelpOption = 256;  // values of the long options, out of the letters' reach
constexpr int kFirstOption = kHelpOption + 1;

std::vector<option> LongOptions(const Command& command) {
  std::vector<option> known = {{"help", no_argument, nullptr, kHelpOption}};
  int value = kFirstOption;
  for (const OptionRule& rule : command.options) {
    const int argument = rule.takesValue ? required_argument : no_argument;
    known.push_back({rule.name, argument, nullptr, value++});
  }
  known.push_back({nullptr, 0, nullptr, 0});
  return known;
}

// A leading colon makes a missing value an answer of its own.
std::string ShortOptions(const Command& command) {
  std::string letters = ":";
  for (const OptionRule& rule : command.options) {
    if (rule.letter == '\0') continue;
    letters += rule.letter;
    if (rule.takesValue) letters += ':';
  }
  return letters;
}

const OptionRule& RuleOf(const Command& command, int found) {
  if (found >= kFirstOption) return command.options[static_cast<std::size_t>(found - kFirstOption)];
  for (const OptionRule& rule : command.options) {
    if (rule.letter == found) return rule;
  }
  throw std::logic_error("an option without a rule");
}

void TakeOperands(const Command& command, int argc, char** argv, Arguments& arguments) {
  arguments.operands.assign(argv + optind, argv + argc);
  if (arguments.operands.size() < command.operandsMin) throw UsageError("an argument is missing");
  if (arguments.operands.size() > command.operandsMax) throw UsageError("too many arguments");
}

}  // namespace

std::optional<std::uint64_t> Arguments::Number(const std::string& name, std::uint64_t most) const {
  const auto found = options.find(name);
  if (found == options.end()) return std::nullopt;
  const char* text = found->second.c_str();
  char* end = nullptr;
  errno = 0;
  const std::uint64_t number = std::strtoull(text, &end, 10);
  const bool digits = *text >= '0' && *text <= '9' && *end == '\0';
  if (!digits || errno != 0 || number == 0 || number > most) {
    throw UsageError("--" + name + " takes a number from 1 to " + std::to_string(most));
  }
  return number;
}

std::optional<Arguments> ReadArguments(const Command& command, int argc, char** argv) {
  const std::vector<option> known = LongOptions(command);
  const std::string letters = ShortOptions(command);
  opterr = 0;  // the complaints are ours
  Arguments arguments;
  int found;
  while ((found = getopt_long(argc, argv, letters.c_str(), known.data(), nullptr)) != -1) {
    if (found == kHelpOption) return std::nullopt;
    if (found == '?') throw UsageError("unknown option " + std::string(argv[optind - 1]));
    if (found == ':') throw UsageError(std::string(argv[optind - 1]) + " needs a value");
    arguments.options[RuleOf(command, found).name] = optarg != nullptr ? optarg : "";
  }
  TakeOperands(command, argc, argv, arguments);
  return arguments;
}
