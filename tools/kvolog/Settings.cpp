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

unsigned int InRange(const char* what, const std::string& word, unsigned int least,
                     unsigned int most) {
  const auto number = Number(word);
  if (!number) throw WrongUsage(std::string("the ") + what + " '" + word + "' is no number");
  if (*number >= least && *number <= most) return *number;
  throw Refused(std::string("the ") + what + " has to be " + std::to_string(least) + " to " +
                std::to_string(most));
}

}  // namespace

void SetLevel(const std::string& className, const std::string& levelName) {
  MapConfigurationToChange();
  const Names names;
  const unsigned int id = names.Class(className);
  const unsigned int level = names.Level(levelName);
  Require(KvoLogSetCurrentLevel(id, level));
  if (KvoLogGetWorkingLevel(id) == KVO_LOG_UNKNOWN) {
    std::fprintf(stderr, "kvolog: nothing of %s is written now: no class above has a level\n",
                 names.classes[id]);
  }
}

void ShowFlags(bool json) {
  MapConfiguration();
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

void ChangeFlags(const std::vector<std::string>& changes) {
  std::uint32_t on = 0;
  std::uint32_t off = 0;
  for (const std::string& word : changes) {
    if ((word[0] != '+' && word[0] != '-') || word[1] == '-') {
      throw WrongUsage("'" + word + "' is no change of flags, which starts with + or -");
    }
    (word[0] == '+' ? on : off) |= FlagBits(word.substr(1));
  }
  if ((on & off) != 0) throw WrongUsage("a flag cannot be both set and cleared");
  MapConfigurationToChange();
  if (on != 0) Require(KvoLogEnableFlags(on));
  if (off != 0) Require(KvoLogDisableFlags(off));
}

void ShowOutput(bool json) {
  MapConfiguration();
  const std::string path = StoredTarget().path;
  std::fputs(json ? JsonText({{"output", path}}, 2).c_str() : (path + "\n").c_str(), stdout);
}

void SetOutput(const std::string& path) {
  if (path.empty() || path[0] != '/') throw Refused("the path has to start with /");
  constexpr std::size_t kMost = sizeof(KvoLogConfig::outputPath) - 1;
  if (path.size() > kMost) {
    throw Refused("the path has " + std::to_string(path.size()) + " bytes, the most is " +
                  std::to_string(kMost));
  }
  if (path.back() == '/') throw Refused("the path names a folder");
  MapConfigurationToChange();
  Require(KvoLogSetOutputPath(path.c_str()));
}

void ShowRollover(bool json) {
  MapConfiguration();
  const LogTarget target = StoredTarget();
  if (json) {
    const Json object = {{"size", target.size}, {"count", target.count}};
    std::fputs(JsonText(object, 2).c_str(), stdout);
  } else {
    std::printf("%u MiB, %u old file%s\n", target.size, target.count, target.count == 1 ? "" : "s");
  }
}

void SetRollover(const std::string& sizeWord, const std::string& countWord) {
  const unsigned int size = InRange("size", sizeWord, 1, unsigned{KVO_LOG_ROLLOVER_SIZE_MAX});
  const unsigned int count = InRange("count", countWord, 0, KVO_LOG_ROLLOVER_COUNT_MAX);
  MapConfigurationToChange();
  Require(KvoLogSetRolloverSize(static_cast<int>(size)));
  Require(KvoLogSetRolloverCount(count));
}

void Reset() {
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
}
