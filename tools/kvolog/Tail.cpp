// kvolog tail: shows the log's lines that matter, as they come.
#include <fnmatch.h>
#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "Commands.h"
#include "Configuration.h"
#include "Failure.h"
#include "FileWatch.h"
#include "Json.h"
#include "LogLine.h"
#include "LogReader.h"
#include "Names.h"
#include "Times.h"

namespace {

using Clock = std::chrono::steady_clock;

// What a line is to hold, a regular expression as journalctl(1) takes them.
class Pattern {
 public:
  explicit Pattern(const std::string& text) {
    if (text.empty()) return;
    int error = 0;
    PCRE2_SIZE offset = 0;
    m_code.reset(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(),
                               PCRE2_UTF | PCRE2_MATCH_INVALID_UTF, &error, &offset, nullptr));
    if (!m_code) throw WrongUsage("'" + text + "' is no regular expression");
    pcre2_jit_compile(m_code.get(), PCRE2_JIT_COMPLETE);  // without, it takes its time
    m_match.reset(pcre2_match_data_create(1, nullptr));
  }

  bool Empty() const { return !m_code; }
  bool IsIn(std::string_view line) const {
    return pcre2_match(m_code.get(), reinterpret_cast<PCRE2_SPTR>(line.data()), line.size(), 0, 0,
                       m_match.get(), nullptr) >= 0;
  }

 private:
  struct Free {
    void operator()(pcre2_code* code) const { pcre2_code_free(code); }
    void operator()(pcre2_match_data* match) const { pcre2_match_data_free(match); }
  };
  std::unique_ptr<pcre2_code, Free> m_code;
  std::unique_ptr<pcre2_match_data, Free> m_match;
};

// Which lines to show. Each line meets first what tells most lines apart at the least cost.
class Filter {
 public:
  Filter(const Names& names, const TailOptions& options)
      : m_identity(options.identity), m_text(options.text) {
    const unsigned int level = names.Level(options.level);
    if (level < KVO_LOG_VERBOSE || level > KVO_LOG_FATAL) {
      throw Refused(std::string("no line has the level ") + names.levels[level]);
    }
    if (level > KVO_LOG_VERBOSE) {
      m_levels.assign(names.levels.begin() + level, names.levels.begin() + KVO_LOG_NONE);
    }
    const unsigned int top = names.Class(options.className);
    for (unsigned int id = 0; top != KVO_CLASS_ALL && id < names.classes.size(); ++id) {
      if (names.IsWithin(id, top)) m_classes.emplace_back(names.classes[id]);
    }
    if (!options.since.empty()) m_since = PointInTime(options.since);
    if (!options.until.empty()) m_until = PointInTime(options.until);
  }

  std::optional<std::int64_t> since() const { return m_since; }

  // Nothing that follows the line will be admitted, however clients overlap.
  bool Past(std::string_view line) const {
    constexpr std::int64_t kOverlap = 2000000;
    return m_until && LineTime(line).value_or(*m_until) > *m_until + kOverlap;
  }

  // A line that somebody else wrote into the file passes where nothing but its text is looked at.
  bool Admits(std::string_view line) const {
    if (!m_levels.empty() || !m_classes.empty()) {
      if (line.size() <= kTime || line[kTime] != ' ') return false;
      std::string_view rest = line.substr(kTime + 1);
      if (!Next(&rest, m_levels) || !Next(&rest, m_classes)) return false;
    }
    if (!m_text.Empty() && !m_text.IsIn(line)) return false;
    if (m_since || m_until) {
      const auto time = LineTime(line);
      if (!time || *time < m_since.value_or(*time) || *time > m_until.value_or(*time)) return false;
    }
    if (m_identity == "*") return m_levels.empty() && m_classes.empty() ? true : IsOurs(line);
    const auto fields = ParseLogLine(line);
    return fields && fnmatch(m_identity.c_str(), Unescaped(fields->identity).c_str(), 0) == 0;
  }

 private:
  static constexpr std::size_t kTime = 32;  // bytes

  static bool IsOurs(std::string_view line) { return ParseLogLine(line).has_value(); }

  // Takes a word off; any will do where none are named.
  static bool Next(std::string_view* rest, const std::vector<std::string_view>& words) {
    const std::size_t blank = rest->find(' ');
    if (blank == std::string_view::npos) return false;
    const std::string_view word = rest->substr(0, blank);
    rest->remove_prefix(blank + 1);
    return words.empty() || std::ranges::find(words, word) != words.end();
  }

  std::vector<std::string_view> m_levels;   // none for all
  std::vector<std::string_view> m_classes;  //
  std::string m_identity;
  Pattern m_text;
  std::optional<std::int64_t> m_since, m_until;
};

// Prints lines, in colour where a person reads them.
class Printer {
 public:
  Printer(const Names& names, bool json) : m_names(names), m_json(json) {
    const char* terminal = std::getenv("TERM");
    const char* no = std::getenv("NO_COLOR");
    m_terminal = isatty(STDOUT_FILENO) != 0;
    m_coloured = m_terminal && terminal != nullptr && std::strcmp(terminal, "dumb") != 0 &&
                 (no == nullptr || *no == '\0');
  }

  void Print(std::string_view line) const {
    if (m_json) return PrintJson(line);
    std::string harmless;
    if (m_terminal &&
        std::ranges::any_of(line, IsControl)) {  // none of the service's lines has one
      AppendEscaped(line, &harmless);
      line = harmless;
    }
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
  static bool IsControl(unsigned char c) { return c < 0x20 || c == 0x7f || c == 0xc2; }

  static void PrintJson(std::string_view line) {
    Json object = Json::object();
    if (const auto fields = ParseLogLine(line)) {
      const auto number = [](std::string_view digits) {
        return digits.empty() ? Json()
                              : Json(std::strtoul(std::string(digits).c_str(), nullptr, 10));
      };
      object = {{"time", fields->time},
                {"level", fields->level},
                {"class", fields->className},
                {"identity", Unescaped(fields->identity)},
                {"pid", number(fields->process)},
                {"uid", number(fields->user)},
                {"session", number(fields->session)},
                {"thread", number(fields->thread)}};
      object["text"] = Unescaped(fields->text);
    } else {
      object["text"] = line;
    }
    std::fputs(JsonText(object, -1).c_str(), stdout);
  }

  const Names& m_names;
  bool m_json;
  bool m_terminal;
  bool m_coloured;
};

std::int64_t WallTime() {
  return std::chrono::duration_cast<std::chrono::microseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

[[noreturn]] void Follow(LogReader* log, const LogReader::Sink& sink, bool configured) {
  FileWatch file(IN_MODIFY);
  ConfigurationWatch configuration;
  std::string path = log->path();
  std::int64_t looked = WallTime();  // when the log was still in `path`
  for (;;) {
    const std::int64_t now = WallTime();
    if (const std::string& target = configuration.Now().path; configured && target != path) {
      path = target;
      log->GoOnIn(path, looked);
    }
    if (configuration.Settled()) looked = now;
    const auto next = Clock::now() + configuration.Patience();
    pollfd events[] = {{configuration.event(), POLLIN, 0}, {file.fd(), POLLIN, 0}};
    for (auto left = configuration.Patience(); left.count() > 0 && events[0].revents == 0;
         left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now())) {
      file.Watch(path);
      file.Clear();
      log->Read(sink);
      poll(events, std::size(events), static_cast<int>(left.count()));
    }
  }
}

}  // namespace

void Tail(const TailOptions& options) {
  const bool all = options.lines.empty() ? !options.since.empty() : options.lines == "all";
  const auto count = options.lines.empty() || all ? 10U : Number(options.lines);
  if (!count) throw WrongUsage("'" + options.lines + "' is no number of lines");
  MapConfiguration();
  const Names names;
  const Filter filter(names, options);
  const Printer printer(names, options.json);
  const std::string path = options.file.empty() ? StoredTarget().path : options.file;
  LogReader log(path, !options.file.empty());
  if (!log.Open() && !(options.follow && errno == ENOENT)) {
    throw Refused("cannot read '" + path + "': " + std::strerror(errno));
  }
  const auto admits = [&](std::string_view line) { return filter.Admits(line); };
  if (!all) {
    log.StartAtLast(*count, admits);
  } else if (filter.since()) {
    log.StartAtTime(*filter.since());
  } else {
    log.StartAtBeginning();
  }
  const LogReader::Sink sink{[&](std::string_view line) {
                               if (filter.Admits(line)) printer.Print(line);
                               return !filter.Past(line);
                             },
                             [&] { printer.Flush(); },
                             [] {
                               std::fflush(stdout);
                               std::fputs("kvolog tail: lines may be missing here\n", stderr);
                             }};
  log.Read(sink);
  if (options.follow) Follow(&log, sink, options.file.empty());
}
