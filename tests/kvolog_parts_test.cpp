// The parts of the log service that need no service: streams of records, lines, rolling files.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "LogFollower.h"
#include "LogLine.h"
#include "RecordReader.h"
#include "RollingFile.h"
#include "support/await.h"
#include "support/log_service.h"

namespace {

std::string Hello(const std::string& identity) { return HelloRecord(identity, 65535); }

std::string Line(std::string_view text, unsigned int level = 3, unsigned int classId = 187,
                 std::int64_t seconds = 1, unsigned int microseconds = 2) {
  return LineRecord(text, level, classId, seconds, microseconds);
}

// All texts of a stream that arrives in pieces of one size, and what is wrong with it.
std::string ReadInPieces(std::string_view stream, std::size_t piece) {
  RecordReader reader;
  std::string texts;
  for (std::size_t at = 0; at < stream.size(); at += piece) {
    const std::string copy(stream.substr(at, piece));  // a read beyond it is found
    reader.Feed(copy);
    for (LogRecord record{}; reader.Next(&record);) texts.append(record.text) += '|';
  }
  return texts + (reader.InsideRecord() ? "..." : "") + reader.error();
}

TEST(RecordReader, ReadsTheSameInWhateverPieces) {
  const std::string longest(8191, 'x');
  const std::string stream = Hello("brelka-vcagent") + Line("one") + Line("") + Line(longest) +
                             Line(std::string("a\0b", 3)) + Line("last") +
                             Line("cut").substr(0, 20);
  const std::string expected = "one||" + longest + "|" + std::string("a\0b", 3) + "|last|...";
  for (const std::size_t piece : {1UL, 2UL, 3UL, 5UL, 22UL, 23UL, 4096UL, 8213UL, 100000UL}) {
    EXPECT_EQ(ReadInPieces(stream, piece), expected) << piece;
  }
}

TEST(RecordReader, TakesTheFieldsOfALineAsTheyAre) {
  RecordReader reader;
  LogRecord record{};
  const std::string stream = Hello(std::string(31, 'i')) + Line("t", 5, 200, 253370764799, 999999);
  reader.Feed(stream);
  ASSERT_TRUE(reader.Next(&record)) << reader.error();
  EXPECT_EQ(reader.identity(), std::string(31, 'i'));
  EXPECT_EQ(reader.session(), 65535U);
  EXPECT_EQ(
      std::tie(record.level, record.classId, record.thread, record.seconds, record.microseconds),
      std::tuple(5U, 200U, getpid() & 0xFFFFU, 253370764799, 999999U));
}

TEST(RecordReader, SaysWhatIsWrongAndReadsNothingBehindIt) {
  const std::string hello = Hello("brelka");
  const struct {
    std::string stream;
    const char* error;
  } kCases[] = {
      {Line("x"), "a line before the registration"},
      {hello + hello, "a second registration"},
      {hello + Record(19, 3, std::string(19, '\0')), "a record of the unknown type 3"},
      {Record(0, 2, ""), "a record of type 2 with the length 0"},
      {Record(3, 2, std::string(3, '\0')), "a record of type 2 with the length 3"},
      {Record(35, 2, std::string(35, 'i')), "a record of type 2 with the length 35"},
      {Record(6, 2, "12brel"), "an identity that ends nowhere"},
      {Record(7, 2, std::string("12b\0ela", 7)), "an identity that ends nowhere"},
      {hello + Record(18, 1, std::string(18, '\1')), "a record of type 1 with the length 18"},
      {hello + Record(8211, 1, ""), "a record of type 1 with the length 8211"},
      {hello + Record(65535, 1, ""), "a record of type 1 with the length 65535"},
      {hello + Line("x", 0), "a line of level 0"},
      {hello + Line("x", 6), "a line of level 6"},
      {hello + Line("x", 3, 201), "a line of class 201"},
      {hello + Line("x", 3, 0, -1), "a line of second -1"},
      {hello + Line("x", 3, 0, INT64_MAX), "a line of second 9223372036854775807"},
      {hello + Line("x", 3, 0, 0, 1000000), "a line of microsecond 1000000"},
      {hello + Record(19, 1, Line("").substr(4, 18) + "x"), "a line that ends nowhere"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(ReadInPieces(c.stream + hello + Line("never"), 7), c.error);
    EXPECT_EQ(ReadInPieces(c.stream, 100000), c.error);
  }
}

TEST(LogLine, StaysOneLineAndCanBeReadBack) {
  setenv("TZ", "IST-5:30", 1);
  tzset();
  LogLineWriter writer;
  const struct {
    std::string text;
    const char* written;
  } kCases[] = {
      {"plain  text ", "plain  text "},
      {"", ""},
      {"two\nlines\r\tand \x1b[31m red \x7f", R"(two\nlines\r\tand \x1b[31m red \x7f)"},
      {"C:\\new\\x41", R"(C:\\new\\x41)"},
      {std::string("nul\0end", 7), R"(nul\x00end)"},
      {"Größe \u00a0 \u4e2d \u009b31m \xc2", "Größe \u00a0 \u4e2d \\xc2\\x9b31m \xc2"},
  };
  for (const auto& c : kCases) {
    std::string line;
    writer.Append({1700000000, 42, "WARNING", "YRAFT_RW", "brelka-Web Co\nntent", 17, 4711, c.text},
                  &line);
    EXPECT_EQ(line,
              "2023-11-15T03:43:20.000042+05:30 WARNING YRAFT_RW brelka-Web\\x20Co\\nntent "
              "17 4711 " +
                  std::string(c.written) + "\n");
    line.pop_back();
    const auto fields = ParseLogLine(line);
    ASSERT_TRUE(fields) << line;
    EXPECT_EQ(fields->level, "WARNING");
    EXPECT_EQ(fields->className, "YRAFT_RW");
    EXPECT_EQ(Unescaped(fields->identity), "brelka-Web Co\nntent");
    EXPECT_EQ(Unescaped(fields->text), c.text);
  }
  for (const char* foreign : {"", "a line", "2023-11-15T03:43:20.000042+05:30 WARNING",
                              " 1 2 3 4 5 6", "yesterday WARNING YRAFT_RW brelka 1 2 x"}) {
    EXPECT_FALSE(ParseLogLine(foreign)) << foreign;
  }
}

class Files : public testing::Test {
 protected:
  Files() {
    char name[] = "/tmp/kvolog-files-XXXXXX";
    m_folder = mkdtemp(name);
  }
  ~Files() override { std::filesystem::remove_all(m_folder); }

  std::string Path(const std::string& name) const { return m_folder + "/" + name; }
  // What is in the log and its old files, up to the first that there is not.
  std::vector<std::string> All(const std::string& name) const {
    std::vector<std::string> all;
    for (unsigned int i = 0; std::filesystem::exists(OldLogFile(Path(name), i)); ++i) {
      all.push_back(Contents(OldLogFile(Path(name), i)));
    }
    return all;
  }
  void Write(RollingFile* file, const std::string& lines) {
    file->buffer() += lines;
    file->Flush();
  }
  RollingFile::Report Report() {
    return [this](const std::string& what) { m_reports += what + "\n"; };
  }

  std::string m_folder;
  std::string m_reports;
};

using Texts = std::vector<std::string>;

TEST_F(Files, RollOverBetweenLinesAndKeepSoManyOldOnes) {
  RollingFile file(Report());
  file.Use(Path("new/deep/log"), 10, 2);
  Write(&file, "1234\n5678\nabcd\nefgh\nijkl\n");
  EXPECT_EQ(All("new/deep/log"), (Texts{"ijkl\n", "abcd\nefgh\n", "1234\n5678\n"}));
  const std::string tooLong = "a line that is longer than a whole file\n";
  Write(&file, tooLong + "x\n");
  EXPECT_EQ(All("new/deep/log"), (Texts{"x\n", tooLong, "ijkl\n"}));
  file.Use(Path("new/deep/log"), 10, 0);
  Write(&file, "123456789\n");
  EXPECT_EQ(All("new/deep/log"), Texts{"123456789\n"});
  EXPECT_FALSE(std::filesystem::exists(Path("new/deep/log.2")));
  EXPECT_EQ(m_reports, "");
  std::ofstream(Path("log")) << "whole\ntor";  // by somebody who was cut off
  file.Use(Path("log"), 100, 1);
  Write(&file, "next\n");
  EXPECT_EQ(All("log"), Texts{"whole\ntor\nnext\n"});
}

TEST_F(Files, SayOnceThatTheyCannotBeWrittenOrRolledOver) {
  RollingFile file(Report());
  file.Use("/dev/null/log", 100, 1);
  Write(&file, "waits\n");
  file.Retry();
  EXPECT_EQ(m_reports, "cannot open '/dev/null/log': Not a directory; trying again\n");
  file.Use(Path("log"), 6, 1);
  EXPECT_EQ(All("log"), Texts{"waits\n"});
  EXPECT_NE(m_reports.find("log' is written again\n"), std::string::npos);
  m_reports.clear();
  std::filesystem::create_directories(Path("log.1/in the way"));
  Write(&file, "more\n");
  file.Retry();
  Write(&file, "more\n");
  EXPECT_EQ(Contents(Path("log")), "waits\nmore\nmore\n");
  EXPECT_EQ(m_reports, "cannot roll over '" + Path("log") + "': Is a directory; trying again\n");
  std::filesystem::remove_all(Path("log.1"));
  file.Retry();
  Write(&file, "last\n");
  EXPECT_EQ(All("log"), (Texts{"last\n", "waits\nmore\nmore\n"}));
}

TEST_F(Files, KeepWholeLinesOnAFullDiskAndCountWhatIsLost) {
  ASSERT_EQ(mount("tmpfs", m_folder.c_str(), "tmpfs", 0, "size=64k"), 0) << strerror(errno);
  RollingFile file(Report());
  file.Use(Path("log"), 1 << 30, 1);
  const std::string line(99, 'x');
  const std::size_t count = (RollingFile::kMostWaiting + (std::size_t{1} << 20)) / 100;
  for (std::size_t i = 0; i < count; ++i) Write(&file, line + "\n");
  EXPECT_EQ(std::filesystem::file_size(Path("log")) % 100, 0U);
  EXPECT_EQ(m_reports,
            "cannot write '" + Path("log") + "': No space left on device; trying again\n");
  EXPECT_EQ(file.TakeLost(), 0U);
  ASSERT_EQ(mount("tmpfs", m_folder.c_str(), "tmpfs", MS_REMOUNT, "size=16m"), 0);
  file.Retry();
  const auto lost = file.TakeLost();
  EXPECT_GT(lost, 0U);
  EXPECT_EQ(std::filesystem::file_size(Path("log")), (count - lost) * 100);
  EXPECT_EQ(file.TakeLost() + file.Unwritten(), 0U);
  file.Use("/dev/null", 1, 1);
  umount(m_folder.c_str());
}

TEST_F(Files, AreFollowedAcrossRolloversAndIntoAnotherFile) {
  RollingFile file(Report());
  file.Use(Path("log"), 10, 5);
  Write(&file, "1234\n5678\nabcd\nef");
  LogFollower follower(Path("log"));
  const auto all = [](std::string_view) { return true; };
  EXPECT_EQ(follower.Last(2, all), (Texts{"5678", "abcd"}));
  std::string read;
  const auto readOn = [&] {
    follower.Read([&](std::string_view line) { read.append(line) += ' '; });
  };
  Write(&file, "gh\nijkl\nmnop\nqrst\nuvwx\n");
  readOn();
  EXPECT_EQ(read, "efgh ijkl mnop qrst uvwx ");
  std::filesystem::rename(Path("log"), Path("elsewhere"));
  Write(&file, "late\n");
  file.Reopen();
  Write(&file, "new\n");
  read.clear();
  readOn();
  EXPECT_EQ(read, "late new ");
  follower.GoOnIn(Path("other"));
  Write(&file, "old\n");
  readOn();
  file.Use(Path("other"), 100, 1);
  Write(&file, "moved\n");
  readOn();
  EXPECT_EQ(read, "late new old moved ");
  // An unfinished line is taken back, then all lines are.
  read.clear();
  Write(&file, "thr");
  readOn();
  std::filesystem::resize_file(Path("other"), strlen("moved\n"));
  readOn();
  Write(&file, "three\n");
  readOn();
  EXPECT_EQ(read, "three ");
  std::filesystem::resize_file(Path("other"), 0);
  Write(&file, "emptied\n");
  readOn();
  EXPECT_EQ(read, "three emptied ");
}

}  // namespace
