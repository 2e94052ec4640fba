// Points and spans of time as users and the log write them. Points are microseconds since 1970.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The time of a line of the log; nothing for a line that is not of its format.
std::optional<std::int64_t> LineTime(std::string_view line);

// "90s", "10m", "2h", "1d". Throws WrongUsage.
std::chrono::seconds Span(const std::string& word);

// "2026-11-25 16:00:30", shorter at either end, or a span, which has passed since. Throws
// WrongUsage.
std::int64_t PointInTime(const std::string& word);
