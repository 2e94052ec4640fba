#include "LogLine.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

constexpr char kHex[] = "0123456789abcdef";
constexpr std::string_view kShort = "\\\\n\nr\rt\t";  // each letter in front of what it stands for

// Whether a byte may have to be escaped: 0xC2 starts the control characters of the upper half, too.
// No function, as the search for one would call it for every byte.
constexpr auto kIsSpecial = [](unsigned char c) {
  return c < 0x20 || c == '\\' || c == 0x7f || c == 0xc2;
};

// How many bytes to escape where the first one is special.
std::size_t ControlLength(std::string_view text) {
  if (text[0] != '\xc2') return 1;
  const auto second = static_cast<unsigned char>(text.size() > 1 ? text[1] : '\0');
  return second >= 0x80 && second <= 0x9f ? 2 : 0;
}

void AppendSpecial(char c, std::string* out) {
  for (std::size_t i = 0; i < kShort.size(); i += 2) {
    if (kShort[i + 1] == c) {
      out->append({'\\', kShort[i]});
      return;
    }
  }
  const auto byte = static_cast<unsigned char>(c);
  out->append({'\\', 'x', kHex[byte >> 4], kHex[byte & 15]});
}

void AppendWord(std::string_view word, std::string* out) {
  for (std::size_t blank; (blank = word.find(' ')) != std::string_view::npos;) {
    AppendEscaped(word.substr(0, blank), out);
    out->append("\\x20");
    word.remove_prefix(blank + 1);
  }
  AppendEscaped(word, out);
}

void AppendNumber(unsigned int number, std::string* out) {
  char digits[12];
  out->append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

bool IsNumber(std::string_view word) {
  return !word.empty() && word.find_first_not_of("0123456789") == std::string_view::npos;
}

// Takes "[812,1000]" off the identity's end.
void SplitPeer(LogLineFields* fields) {
  const std::string_view word = fields->identity;
  const std::size_t open = word.rfind('[');
  if (open == 0 || open == std::string_view::npos || word.back() != ']') return;
  const std::string_view peer = word.substr(open + 1, word.size() - open - 2);
  const std::size_t comma = std::min(peer.find(','), peer.size() - 1);
  if (!IsNumber(peer.substr(0, comma)) || !IsNumber(peer.substr(comma + 1))) return;
  fields->identity = word.substr(0, open);
  fields->process = peer.substr(0, comma);
  fields->user = peer.substr(comma + 1);
}

// 2026-11-24T20:08:10.123456+01:00
bool IsTime(std::string_view word) {
  constexpr std::string_view kShape = "0000-00-00T00:00:00.000000+00:00";
  return word.size() == kShape.size() &&
         std::equal(word.begin(), word.end(), kShape.begin(), [](char c, char shape) {
           if (shape == '0') return c >= '0' && c <= '9';
           return c == shape || (shape == '+' && c == '-');
         });
}

}  // namespace

void AppendEscaped(std::string_view text, std::string* out) {
  for (;;) {
    const auto special = std::find_if(text.begin(), text.end(), kIsSpecial);
    out->append(text.begin(), special);
    text.remove_prefix(static_cast<std::size_t>(special - text.begin()));
    if (text.empty()) return;
    const std::size_t length = ControlLength(text);
    if (length == 0) out->push_back(text[0]);
    for (const char c : text.substr(0, length)) AppendSpecial(c, out);
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
}

std::string_view WholeCharacters(std::string_view text) {
  // The last byte that starts a character says how many follow it.
  for (std::size_t back = 1; back <= std::min<std::size_t>(text.size(), 4); ++back) {
    const auto byte = static_cast<unsigned char>(text[text.size() - back]);
    if (byte < 0x80) break;
    if (byte < 0xc0) continue;
    const std::size_t length = byte < 0xe0 ? 2 : byte < 0xf0 ? 3 : 4;
    return text.substr(0, back < length ? text.size() - back : text.size());
  }
  return text;
}

void LogLineWriter::Remember(std::int64_t second) {
  if (second == m_second) return;
  m_second = second;
  const std::time_t time = second;
  std::tm local{};
  localtime_r(&time, &local);
  std::strftime(m_date, sizeof m_date, "%Y-%m-%dT%H:%M:%S", &local);
  const long minutes = std::abs(local.tm_gmtoff) / 60;
  std::snprintf(m_zone, sizeof m_zone, "%c%02ld:%02ld", local.tm_gmtoff < 0 ? '-' : '+',
                minutes / 60 % 100, minutes % 60);
}

void LogLineWriter::Append(const LogLine& line, std::string* out) {
  Remember(line.seconds);
  out->append(m_date);
  char fraction[] = ".000000";
  std::uint32_t rest = line.microseconds;
  for (char* digit = fraction + 6; rest != 0 && digit != fraction; rest /= 10) {
    *digit-- = static_cast<char>('0' + rest % 10);
  }
  out->append(fraction, 7);
  out->append(m_zone);
  for (const std::string_view word : {line.level, line.className}) {
    out->push_back(' ');
    out->append(word);
  }
  out->push_back(' ');
  AppendWord(line.identity, out);
  out->push_back('[');
  AppendNumber(line.process, out);
  out->push_back(',');
  AppendNumber(line.user, out);
  out->push_back(']');
  for (const unsigned int number : {line.session, line.thread}) {
    out->push_back(' ');
    AppendNumber(number, out);
  }
  out->push_back(' ');
  AppendEscaped(line.text, out);
  out->push_back('\n');
}

std::optional<LogLineFields> ParseLogLine(std::string_view line) {
  LogLineFields fields;
  for (std::string_view* field : {&fields.time, &fields.level, &fields.className, &fields.identity,
                                  &fields.session, &fields.thread}) {
    const std::size_t blank = line.find(' ');
    if (blank == 0 || blank == std::string_view::npos) return std::nullopt;
    *field = line.substr(0, blank);
    line.remove_prefix(blank + 1);
  }
  fields.text = line;
  SplitPeer(&fields);
  if (!IsTime(fields.time) || !IsNumber(fields.session) || !IsNumber(fields.thread)) {
    return std::nullopt;
  }
  return fields;
}

std::string Unescaped(std::string_view field) {
  std::string bytes;
  while (!field.empty()) {
    const std::size_t plain = std::min(field.find('\\'), field.size());
    bytes.append(field.substr(0, plain));
    field.remove_prefix(plain);
    if (field.size() < 2) break;
    unsigned char byte = 0;
    if (field[1] == 'x' && field.size() >= 4 &&
        std::from_chars(field.data() + 2, field.data() + 4, byte, 16).ptr == field.data() + 4) {
      bytes.push_back(static_cast<char>(byte));
      field.remove_prefix(4);
      continue;
    }
    for (std::size_t i = 0; i < kShort.size(); i += 2) {
      if (kShort[i] == field[1]) bytes.push_back(kShort[i + 1]);
    }
    field.remove_prefix(2);
  }
  return bytes;
}
