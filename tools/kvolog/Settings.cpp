// kvolog set, flags, output, rollover and reset: changing the shared configuration.
#include <cstdio>
#include <string>

#include "Commands.h"
#include "Configuration.h"
#include "Failure.h"
#include "Json.h"
#include "Names.h"

namespace {

void Require(int stored) {
  if (stored == 0) throw Refused("the logging library refused the change");
}

int Set(const Arguments& arguments) {
  MapConfigurationToChange();
  const Names names;
  const unsigned int id = names.Class(arguments.words()[0]);
  const unsigned int level = names.Level(arguments.words()[1]);
  Require(KvoLogSetCurrentLevel(id, level));
  if (KvoLogGetWorkingLevel(id) == KVO_LOG_UNKNOWN) {
    std::fprintf(stderr, "kvolog: nothing of %s is written now: no class above has a level\n",
                 names.classes[id]);
  }
  return kDone;
}

void ShowFlags(bool json) {
  unsigned int flags = 0;
  unsigned int standard = 0;
  KvoLogGetCurrentFlags(&flags);
  KvoLogGetDefaultFlags(&standard);
  Json object = {{"flags", flags}, {"default", standard}, {"names", Json::object()}};
  if (!json) std::printf("0x%x (default 0x%x)\n", flags, standard);
  for (const FlagName& flag : kFlagNames) {
    const bool on = (flags & flag.bits) != 0;
    object["names"][flag.name] = on;
    if (!json) std::printf("0x%-6x %-10s %s\n", flag.bits, flag.name, on ? "on" : "off");
  }
  if (json) std::fputs(JsonText(object, 2).c_str(), stdout);
}

int Flags(const Arguments& arguments) {
  if (arguments.words().empty()) {
    MapConfiguration();
    ShowFlags(arguments.Has(kJsonOption));
    return kDone;
  }
  std::uint32_t on = 0;
  std::uint32_t off = 0;
  for (const std::string& word : arguments.words()) {
    if (word[0] != '+' && word[0] != '-') throw WrongUsage("a change of flags starts with + or -");
    (word[0] == '+' ? on : off) |= FlagBits(word.substr(1));
  }
  if ((on & off) != 0) throw WrongUsage("a flag cannot be both set and cleared");
  MapConfigurationToChange();
  if (on != 0) Require(KvoLogEnableFlags(on));
  if (off != 0) Require(KvoLogDisableFlags(off));
  return kDone;
}

int Output(const Arguments& arguments) {
  if (arguments.words().empty()) {
    MapConfiguration();
    const std::string path = StoredTarget().path;
    const bool json = arguments.Has(kJsonOption);
    std::fputs(json ? JsonText({{"output", path}}, 2).c_str() : (path + "\n").c_str(), stdout);
    return kDone;
  }
  const std::string& path = arguments.words()[0];
  if (path.empty() || path[0] != '/') throw Refused("the path has to start with /");
  constexpr std::size_t kMost = sizeof(KvoLogConfig::outputPath) - 1;
  if (path.size() > kMost) {
    throw Refused("the path has " + std::to_string(path.size()) + " bytes, the most is " +
                  std::to_string(kMost));
  }
  if (path.back() == '/') throw Refused("the path names a folder");
  MapConfigurationToChange();
  Require(KvoLogSetOutputPath(path.c_str()));
  return kDone;
}

unsigned int InRange(const char* what, const std::string& word, unsigned int least,
                     unsigned int most) {
  const auto number = Number(word);
  if (!number) throw WrongUsage(std::string("the ") + what + " '" + word + "' is no number");
  if (*number >= least && *number <= most) return *number;
  throw Refused(std::string("the ") + what + " has to be " + std::to_string(least) + " to " +
                std::to_string(most));
}

int Rollover(const Arguments& arguments) {
  if (arguments.words().empty()) {
    MapConfiguration();
    const LogTarget target = StoredTarget();
    if (arguments.Has(kJsonOption)) {
      const Json object = {{"size", target.size}, {"count", target.count}};
      std::fputs(JsonText(object, 2).c_str(), stdout);
    } else {
      std::printf("%u MiB, %u old file%s\n", target.size, target.count,
                  target.count == 1 ? "" : "s");
    }
    return kDone;
  }
  if (arguments.words().size() != 2) throw WrongUsage("both SIZE and COUNT are needed");
  const unsigned int size =
      InRange("size", arguments.words()[0], 1, unsigned{KVO_LOG_ROLLOVER_SIZE_MAX});
  const unsigned int count = InRange("count", arguments.words()[1], 0, KVO_LOG_ROLLOVER_COUNT_MAX);
  MapConfigurationToChange();
  Require(KvoLogSetRolloverSize(static_cast<int>(size)));
  Require(KvoLogSetRolloverCount(count));
  return kDone;
}

int Reset(const Arguments&) {
  MapConfigurationToChange();
  for (unsigned int id = 0; id < KVO_LOG_CLASSES; ++id) {
    Require(KvoLogSetCurrentLevel(id, KvoLogGetDefaultLevel(id)));
  }
  unsigned int flags = 0;
  Require(KvoLogGetDefaultFlags(&flags));
  Require(KvoLogEnableFlags(flags));
  Require(KvoLogDisableFlags(~flags));
  Require(KvoLogSetOutputPath(KVO_LOG_OUTPUT_PATH_DEFAULT));
  Require(KvoLogSetRolloverSize(KVO_LOG_ROLLOVER_SIZE_DEFAULT));
  Require(KvoLogSetRolloverCount(KVO_LOG_ROLLOVER_COUNT_DEFAULT));
  return kDone;
}

}  // namespace

const Command kSetCommand = {
    "set",
    "usage: kvolog set CLASS LEVEL\n"
    "\n"
    "Configures a class with a level, for every process at its next line. Both are names in any\n"
    "case or numbers. The levels are\n"
    "  INHERIT                              the class above decides\n"
    "  VERBOSE INFO WARNING ERROR FATAL     this level and all behind it are written\n"
    "  NONE                                 nothing is written\n",
    2,
    2,
    "",
    {},
    false,
    Set};

const Command kFlagsCommand = {
    "flags",
    "usage: kvolog flags [--json]\n"
    "       kvolog flags +BITS|-BITS...\n"
    "\n"
    "Shows the flags, or sets and clears some. BITS are a number such as 0x400 or a name:\n"
    "  FUNCTION   a line starts with the name of the function that writes it\n"
    "  THREAD     a line starts with the thread's name, in brackets\n",
    0,
    64,
    "",
    {kJson},
    true,
    Flags};

const Command kOutputCommand = {
    "output",
    "usage: kvolog output [--json]\n"
    "       kvolog output PATH\n"
    "\n"
    "Shows or changes the file into which the log service writes. PATH starts with / and has at\n"
    "most 255 bytes.\n",
    0,
    1,
    "",
    {kJson},
    false,
    Output};

const Command kRolloverCommand = {
    "rollover",
    "usage: kvolog rollover [--json]\n"
    "       kvolog rollover SIZE COUNT\n"
    "\n"
    "Shows or changes the size in MiB at which the log file is rolled over, 1 to 2000, and the\n"
    "number of old files that are kept, 0 to 100.\n",
    0,
    2,
    "",
    {kJson},
    false,
    Rollover};

const Command kResetCommand = {"reset",
                               "usage: kvolog reset\n"
                               "\n"
                               "Gives levels, flags, output path and rollover their defaults.\n",
                               0,
                               0,
                               "",
                               {},
                               false,
                               Reset};
