#include "Times.h"

#include <time.h>

#include <array>
#include <charconv>
#include <utility>

#include "Failure.h"

namespace {

constexpr std::int64_t kSecond = 1000000;

std::optional<std::chrono::seconds> SpanOf(std::string_view word) {
  constexpr std::array kUnits = {std::pair{'s', 1}, std::pair{'m', 60}, std::pair{'h', 3600},
                                 std::pair{'d', 86400}};
  std::uint32_t number = 0;
  const char* end = word.data() + word.size();
  const auto [rest, error] = std::from_chars(word.data(), end, number);
  if (error != std::errc() || rest + 1 != end) return std::nullopt;
  for (const auto& [unit, seconds] : kUnits) {
    if (unit == *rest) return std::chrono::seconds(std::int64_t{number} * seconds);
  }
  return std::nullopt;
}

// The number that stands in some digits, -1 for other characters.
int Digits(std::string_view text) {
  int number = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return -1;
    number = number * 10 + (c - '0');
  }
  return number;
}

}  // namespace

std::optional<std::int64_t> LineTime(std::string_view line) {
  // 2026-11-24T20:08:10.123456+01:00
  if (line.size() < 32 || line[10] != 'T' || line[19] != '.') return std::nullopt;
  constexpr std::array kParts = {std::pair{0, 4},  std::pair{5, 2},  std::pair{8, 2},
                                 std::pair{11, 2}, std::pair{14, 2}, std::pair{17, 2},
                                 std::pair{20, 6}, std::pair{27, 2}, std::pair{30, 2}};
  std::array<int, kParts.size()> n{};
  for (std::size_t i = 0; i < n.size(); ++i) {
    n[i] = Digits(line.substr(static_cast<std::size_t>(kParts[i].first),
                              static_cast<std::size_t>(kParts[i].second)));
    if (n[i] < 0) return std::nullopt;
  }
  using namespace std::chrono;  // NOLINT: one line
  const sys_days day{year(n[0]) / month(static_cast<unsigned>(n[1])) / n[2]};
  const std::int64_t zone = std::int64_t{n[7] * 60 + n[8]} * 60 * (line[26] == '-' ? -1 : 1);
  const std::int64_t second = duration_cast<seconds>(day.time_since_epoch()).count() +
                              std::int64_t{n[3] * 60 + n[4]} * 60 + n[5] - zone;
  return second * kSecond + n[6];
}

std::chrono::seconds Span(const std::string& word) {
  if (const auto span = SpanOf(word)) return *span;
  throw WrongUsage("'" + word + "' is no span of time such as 90s, 10m, 2h or 1d");
}

std::int64_t PointInTime(const std::string& word) {
  const time_t now = time(nullptr);
  if (const auto span = SpanOf(word)) return (now - span->count()) * kSecond;
  for (const char* format : {"%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M:%S", "%Y-%m-%d %H:%M", "%Y-%m-%d",
                             "%H:%M:%S", "%H:%M"}) {
    tm point{};
    localtime_r(&now, &point);
    point.tm_hour = point.tm_min = point.tm_sec = 0;
    point.tm_isdst = -1;
    const char* rest = strptime(word.c_str(), format, &point);
    if (rest != nullptr && *rest == '\0') return mktime(&point) * kSecond;
  }
  throw WrongUsage("'" + word +
                   "' is no time such as 2026-11-25, '2026-11-25 16:00:30', 16:00 or 10m");
}
