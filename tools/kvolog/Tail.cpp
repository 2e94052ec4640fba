// kvolog tail: shows the log's lines that matter, as they come.
#include <fnmatch.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <thread>

#include "Commands.h"
#include "Configuration.h"
#include "Failure.h"
#include "LogFollower.h"
#include "LogLine.h"
#include "Names.h"

namespace {

constexpr std::chrono::milliseconds kPause{100};

// Which lines to show.
class Filter {
 public:
  Filter(const Names& names, const TailOptions& options)
      : m_names(names),
        m_class(names.Class(options.className)),
        m_level(names.Level(options.level)),
        m_identity(options.identity) {
    if (m_level < KVO_LOG_VERBOSE || m_level > KVO_LOG_FATAL) {
      throw Refused(std::string("no line has the level ") + names.levels[m_level]);
    }
  }

  // A line that somebody else wrote into the file passes where nothing is filtered.
  bool Admits(std::string_view line) const {
    if (m_class == KVO_CLASS_ALL && m_level == KVO_LOG_VERBOSE && m_identity == "*") return true;
    const auto fields = ParseLogLine(line);
    return fields && m_names.LevelOf(fields->level).value_or(0) >= m_level &&
           IsOfClass(fields->className) &&
           fnmatch(m_identity.c_str(), Unescaped(fields->identity).c_str(), 0) == 0;
  }

 private:
  bool IsOfClass(std::string_view name) const {
    if (m_class == KVO_CLASS_ALL) return true;
    const auto id = m_names.ClassOf(name);
    return id && m_names.IsWithin(*id, m_class);
  }

  const Names& m_names;
  unsigned int m_class;
  unsigned int m_level;
  std::string m_identity;
};

// Prints lines, in colour where a person reads them.
class Printer {
 public:
  explicit Printer(const Names& names) : m_names(names) {
    const char* terminal = std::getenv("TERM");
    const char* no = std::getenv("NO_COLOR");
    m_coloured = isatty(STDOUT_FILENO) != 0 && terminal != nullptr &&
                 std::strcmp(terminal, "dumb") != 0 && (no == nullptr || *no == '\0');
  }

  void Print(std::string_view line) const {
    const auto fields = m_coloured ? ParseLogLine(line) : std::nullopt;
    const auto level = fields ? m_names.LevelOf(fields->level) : std::nullopt;
    if (level) {
      static constexpr std::array<const char*, KVO_LOG_LEVELS> kColours = {"",   "2",    "32", "33",
                                                                           "31", "1;31", ""};
      std::printf("\033[2m%.*s\033[0m \033[%sm%.*s\033[0m", Length(fields->time),
                  fields->time.data(), kColours[*level], Length(fields->level),
                  fields->level.data());
      line.remove_prefix(fields->time.size() + 1 + fields->level.size());
    }
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::putchar('\n');
  }

  void Flush() const {
    if (std::fflush(stdout) != 0) throw Refused("standard output cannot be written");
  }

 private:
  static int Length(std::string_view text) { return static_cast<int>(text.size()); }

  const Names& m_names;
  bool m_coloured;
};

[[noreturn]] void Follow(LogFollower* log, const Filter& filter, const Printer& printer,
                         std::string path) {
  for (ConfigurationWatch configuration;; std::this_thread::sleep_for(kPause)) {
    if (const std::string& now = configuration.Now().path; now != path) {
      path = now;
      log->GoOnIn(path);
    }
    log->Read([&](std::string_view line) {
      if (filter.Admits(line)) printer.Print(line);
    });
    printer.Flush();
  }
}

}  // namespace

void Tail(const TailOptions& options) {
  const auto count = Number(options.lines);
  if (!count) throw WrongUsage("'" + options.lines + "' is no number of lines");
  MapConfiguration();
  const Names names;
  const Filter filter(names, options);
  const Printer printer(names);
  const std::string path = StoredTarget().path;
  LogFollower log(path);
  if (!options.follow && !log.Open()) {
    throw Refused("cannot read '" + path + "': " + std::strerror(errno));
  }
  for (const std::string& line :
       log.Last(*count, [&](std::string_view line) { return filter.Admits(line); })) {
    printer.Print(line);
  }
  printer.Flush();
  if (options.follow) Follow(&log, filter, printer, path);
}
