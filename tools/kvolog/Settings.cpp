// kvolog set, flags, output and rollover: changing the shared configuration.
#include <signal.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "Commands.h"
#include "Configuration.h"
#include "Failure.h"
#include "Json.h"
#include "Names.h"
#include "Times.h"

namespace {

unsigned int InRange(const char* what, const std::string& word, unsigned int least,
                     unsigned int most) {
  const auto number = Number(word);
  if (!number) throw WrongUsage(std::string("the ") + what + " '" + word + "' is no number");
  if (*number >= least && *number <= most) return *number;
  throw Refused(std::string("the ") + what + " has to be " + std::to_string(least) + " to " +
                std::to_string(most));
}

void SwitchFlags(std::uint32_t on, std::uint32_t off) {
  if (on != 0) Require(KvoLogEnableFlags(on));
  if (off != 0) Require(KvoLogDisableFlags(off));
}

// Waits so long, or for somebody who wants an end of it.
void AwaitEnd(std::chrono::seconds time) {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&set, number);
  sigprocmask(SIG_BLOCK, &set, nullptr);
  std::fprintf(stderr, "kvolog: the levels go back in %lld s, or at Ctrl-C\n",
               static_cast<long long>(time.count()));
  const timespec patience{time.count(), 0};
  sigtimedwait(&set, nullptr, &patience);
}

}  // namespace

void SetLevels(const std::vector<std::string>& words, const std::string& span) {
  if (words.size() < 2) throw WrongUsage("LEVEL is required");
  const auto time = span.empty() ? std::chrono::seconds{} : Span(span);
  MapConfigurationToChange();
  const Names names;
  const unsigned int level = names.Level(words.back());
  std::vector<unsigned int> ids;
  for (std::size_t i = 0; i + 1 < words.size(); ++i) ids.push_back(names.Class(words[i]));
  std::vector<unsigned int> old;
  for (const unsigned int id : ids) {
    old.push_back(KvoLogGetCurrentLevel(id));
    Require(KvoLogSetCurrentLevel(id, level));
    if (KvoLogGetWorkingLevel(id) == KVO_LOG_UNKNOWN) {
      std::fprintf(stderr, "kvolog: nothing of %s is written now: no class above has a level\n",
                   names.classes[id]);
    }
  }
  if (span.empty()) return;
  AwaitEnd(time);
  for (std::size_t i = 0; i < ids.size(); ++i) {  // what was changed meanwhile stays
    if (KvoLogGetCurrentLevel(ids[i]) == level) Require(KvoLogSetCurrentLevel(ids[i], old[i]));
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
  const bool sets = changes.front() == "set";
  if (sets || changes.front() == "clear") {
    if (changes.size() == 1) throw WrongUsage("BITS are required");
    for (auto word = changes.begin() + 1; word != changes.end(); ++word) {
      (sets ? on : off) |= FlagBits(*word);
    }
  } else {
    for (const std::string& word : changes) {
      if ((word[0] != '+' && word[0] != '-') || word[1] == '-') {
        throw WrongUsage("'" + word + "' is no change of flags, which starts with + or -");
      }
      (word[0] == '+' ? on : off) |= FlagBits(word.substr(1));
    }
  }
  if ((on & off) != 0) throw WrongUsage("a flag cannot be both set and cleared");
  MapConfigurationToChange();
  SwitchFlags(on, off);
}

void ShowOutput(bool json) {
  MapConfiguration();
  const std::string path = StoredTarget().path;
  std::fputs(json ? JsonText({{"output", path}}, 2).c_str() : (path + "\n").c_str(), stdout);
}

void SetOutput(const std::string& path) {
  constexpr std::size_t kMost = sizeof(KvoLogConfig::outputPath) - 1;
  if (path.empty() || path[0] != '/') throw Refused("the path has to start with /");
  if (path.size() > kMost) {
    throw Refused("the path has " + std::to_string(path.size()) + " bytes, the most is " +
                  std::to_string(kMost));
  }
  struct stat status {};
  if (path.back() == '/' || (lstat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))) {
    throw Refused("'" + path + "' is a folder, a link or a device: the log is a regular file");
  }
  MapConfigurationToChange();
  Require(KvoLogSetOutputPath(path.c_str()));
  const auto below = [&](const char* folder) { return path.rfind(folder, 0) == 0; };
  if (!below("/var/log/") && !below("/var/qmz/") && !below("/srv/")) {
    std::fprintf(stderr,
                 "kvolog: kvologd.service writes below /var/log, /var/qmz and /srv only; another "
                 "folder has to\nstand in its ReadWritePaths= (systemctl edit kvologd)\n");
  }
}

void ShowRollover(bool json) {
  MapConfiguration();
  const LogTarget target = StoredTarget();
  if (json) {
    const Json object = {{"rolls", target.rolls},
                         {"size", target.size},
                         {"count", target.count},
                         {"compress", target.compresses}};
    std::fputs(JsonText(object, 2).c_str(), stdout);
  } else if (!target.rolls) {
    std::puts("off");
  } else {
    std::printf("%u MiB, %u old file%s%s\n", target.size, target.count,
                target.count == 1 ? "" : "s", target.compresses ? ", compressed" : "");
  }
}

void SetRollover(const std::string& sizeWord, const std::string& countWord, bool compress) {
  if (sizeWord == "off" && countWord.empty()) {
    MapConfigurationToChange();
    return SwitchFlags(kFlagNoRollover, 0);
  }
  if (countWord.empty()) throw WrongUsage("SIZE requires COUNT");
  const unsigned int size = InRange("size", sizeWord, 1, unsigned{KVO_LOG_ROLLOVER_SIZE_MAX});
  const unsigned int count = InRange("count", countWord, 0, KVO_LOG_ROLLOVER_COUNT_MAX);
  MapConfigurationToChange();
  Require(KvoLogSetRolloverSize(static_cast<int>(size)));
  Require(KvoLogSetRolloverCount(count));
  SwitchFlags(compress ? kFlagCompress : 0, kFlagNoRollover | (compress ? 0 : kFlagCompress));
}
