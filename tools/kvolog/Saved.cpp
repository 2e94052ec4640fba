// kvolog save, restore and reset: the whole configuration at once, changed in its place. Nothing
// else may be copied over it: whoever has it mapped would find its pages gone.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include "Commands.h"
#include "Configuration.h"
#include "Failure.h"
#include "Names.h"

namespace {

KvoLogConfig Now() {
  if (const auto configuration = ReadConfiguration()) return *configuration;
  throw Refused("the logging configuration cannot be read");
}

KvoLogConfig Defaults() {
  KvoLogConfig defaults{};
  KvoLogGetDefaultFlags(&defaults.flags);
  for (unsigned int id = 0; id < KVO_LOG_CLASSES; ++id) {
    defaults.levels[id] = KvoLogGetDefaultLevel(id);
  }
  std::strcpy(defaults.outputPath, KVO_LOG_OUTPUT_PATH_DEFAULT);  // NOLINT: it has room
  defaults.rolloverSize = KVO_LOG_ROLLOVER_SIZE_DEFAULT;
  defaults.rolloverCount = KVO_LOG_ROLLOVER_COUNT_DEFAULT;
  return defaults;
}

// What a setter would refuse, so that nothing is changed by halves.
bool Valid(const KvoLogConfig& configuration) {
  for (const std::uint32_t level : configuration.levels) {
    if (level >= KVO_LOG_LEVELS) return false;
  }
  const LogTarget target = TargetOf(configuration);
  return target.size == configuration.rolloverSize && target.count == configuration.rolloverCount &&
         target.path.size() < sizeof configuration.outputPath;
}

void Apply(const KvoLogConfig& configuration) {
  for (unsigned int id = 0; id < KVO_LOG_CLASSES; ++id) {
    Require(KvoLogSetCurrentLevel(id, configuration.levels[id]));
  }
  Require(KvoLogEnableFlags(configuration.flags));
  Require(KvoLogDisableFlags(~configuration.flags));
  Require(KvoLogSetOutputPath(TargetOf(configuration).path.c_str()));
  Require(KvoLogSetRolloverSize(static_cast<int>(configuration.rolloverSize)));
  Require(KvoLogSetRolloverCount(configuration.rolloverCount));
}

void ShowChanges(const KvoLogConfig& now, const KvoLogConfig& then) {
  const Names names;
  const auto level = [&](std::uint32_t number) {
    return number < names.levels.size() ? names.levels[number] : "?";
  };
  for (unsigned int id = 0; id < KVO_LOG_CLASSES; ++id) {
    if (now.levels[id] == then.levels[id]) continue;
    std::printf("%s: %s -> %s\n", names.classes[id], level(now.levels[id]), level(then.levels[id]));
  }
  if (now.flags != then.flags) std::printf("flags: 0x%x -> 0x%x\n", now.flags, then.flags);
  const LogTarget old = TargetOf(now);
  const LogTarget target = TargetOf(then);
  if (old.path != target.path)
    std::printf("output: %s -> %s\n", old.path.c_str(), target.path.c_str());
  if (old.size != target.size || old.count != target.count) {
    std::printf("rollover: %u %u -> %u %u\n", old.size, old.count, target.size, target.count);
  }
}

void Change(const KvoLogConfig& then, bool dry) {
  if (dry) {
    ShowChanges(Now(), then);
  } else {
    MapConfigurationToChange();
    Apply(then);
  }
}

}  // namespace

void Reset(bool dry) {
  MapConfiguration();
  Change(Defaults(), dry);
}

void Save(const std::string& path) {
  MapConfiguration();
  const KvoLogConfig configuration = Now();
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(&configuration), sizeof configuration);
  file.close();
  if (!file) throw Refused("cannot write '" + path + "': " + std::strerror(errno));
}

void Restore(const std::string& path, bool dry) {
  const auto saved = ReadConfiguration(path);
  if (!saved || !Valid(*saved)) throw Refused("'" + path + "' is no saved configuration");
  MapConfiguration();
  Change(*saved, dry);
}
