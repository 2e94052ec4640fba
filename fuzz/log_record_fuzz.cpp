// Streams of records: how they are cut into pieces changes nothing, and every line that comes out
// of one stands on one line of the log and can be read back from it.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "LogLine.h"
#include "RecordReader.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

// The lines of a stream, and last what became of it.
std::vector<std::string> LinesOf(std::string_view stream, std::size_t piece) {
  RecordReader reader;
  LogLineWriter writer;
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < stream.size(); at += piece) {
    // In memory of its own, so that a read beyond a piece is found.
    const std::string_view part = stream.substr(at, piece);
    const auto copy = std::make_unique<char[]>(part.size());
    part.copy(copy.get(), part.size());
    reader.Feed({copy.get(), part.size()});
    for (LogRecord record{}; reader.Next(&record);) {
      std::string& line = lines.emplace_back();
      writer.Append({record.seconds, record.microseconds, "WARNING", "YRAFT_RW", reader.identity(),
                     4711, 1000, reader.session(), record.thread, record.text},
                    &line);
      Require(line.find('\n') == line.size() - 1);
      line.pop_back();
      const auto fields = ParseLogLine(line);
      Require(fields && Unescaped(fields->text) == record.text &&
              Unescaped(fields->identity) == reader.identity() && fields->process == "4711" &&
              fields->user == "1000");
      for (const unsigned char c : line) Require(c >= ' ' && c != 0x7f);
    }
  }
  lines.push_back(reader.error() +
                  (reader.error().empty() && !reader.Partial().empty() ? " inside" : ""));
  return lines;
}

}  // namespace

// The first byte says how long a piece is.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::string_view stream(reinterpret_cast<const char*>(data) + 1, size - 1);
  Require(LinesOf(stream, data[0] + std::size_t{1}) == LinesOf(stream, stream.size()));
  return 0;
}
