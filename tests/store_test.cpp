// The queue store: what every operation answers and leaves, who owns what, and how it does over a
// long life and without memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "YraRW.h"
#include "store_model.h"
#include "support/allocation.h"
#include "support/log_service.h"
#include "yrafiletransfer.h"

namespace {

constexpr int kTypes[] = {1, 2, 3, 4, 5, 6, 7};
constexpr int kUnknownTypes[] = {INT_MIN, -1, 0, 8, INT_MAX};
constexpr unsigned int kLength = 50;  // said of every pushed element

// An element that fits every container: a file record of more than 32 bytes.
unsigned char* NewElement(const std::string& name = "a name", uint64_t size = 0) {
  auto* item = Yraft_FileInfoItemAllocate(name.data(), static_cast<int>(name.size()), 0, size);
  return static_cast<unsigned char*>(realloc(item, item->cbSize + sizeof(YRAFT_FILES_UI)));
}

// What an element weighs that Filled has pushed.
unsigned int Weight(int type) {
  constexpr unsigned int kWeights[] = {0, kLength, kLength, kLength, 7, 32, 7, 14};
  return kWeights[type];
}

// A store whose elements are watched: what the store has not released at its end is released here.
class Filled {
 public:
  // Elements of a type, in the map under 3, 5, 7 and so on.
  Filled(int type, int count) {
    EXPECT_EQ(YraftRWCreate(&store), 0U);
    for (int i = 0; i < count; ++i) {
      EXPECT_EQ(YraftRWPush(store, type, 3 + 2 * i, New(), kLength), 0U);
    }
  }
  ~Filled() {
    Watch([&] { return YraftRWDestory(&store); });
    for (unsigned char* element : elements) free(element);
  }

  unsigned char* New() { return elements.emplace_back(NewElement()); }

  // Answers what a call answers, and notes which elements it released: R each, the others -.
  template <class Call>
  unsigned int Watch(Call call) {
    AllocationWatch watch;
    const unsigned int answer = call();
    watch.End();
    released.clear();
    for (unsigned char*& element : elements) {
      const int releases = element != nullptr ? watch.Releases(element) : 0;
      EXPECT_LE(releases, 1);
      released += releases != 0 ? 'R' : '-';
      if (releases != 0) element = nullptr;
    }
    return answer;
  }

  YraRW* store = nullptr;
  std::vector<unsigned char*> elements;
  std::string released;
};

// A log service that gets every line of the store.
class Log {
 public:
  Log() {
    EXPECT_EQ(KvoLogInit(), 1);
    EXPECT_TRUE(m_service.Accept());
    EXPECT_EQ(KvoLogSetCurrentLevel(KVO_CLASS_YRAFT, KVO_LOG_VERBOSE), 1);
    Lines();  // the registration
  }
  ~Log() { KvoLogShutdown(); }

  // The lines since the last time.
  std::vector<Line> Lines() {
    std::vector<Line> lines;
    const std::string bytes = m_service.Waiting();
    for (std::size_t at = 0; at < bytes.size();) {
      KvoLogRecordHead head;
      memcpy(&head, bytes.data() + at, sizeof(head));
      const std::size_t size = sizeof(head) + head.length;
      if (head.type == KVO_LOG_RECORD_TRACE) {
        Line& line = lines.emplace_back(bytes.substr(at, size));
        line.text.pop_back();  // the NUL
      }
      at += size;
    }
    return lines;
  }

 private:
  LogService m_service;
};

// ---- Every operation in every situation --------------------------------------------------------

constexpr uintptr_t kUntouched = 0x5A5A;

struct Arguments {
  YraRW* store;
  int type;
  int key;
  unsigned char* element;  // to push
  bool null;               // in place of the element or of the out-parameter
  uintptr_t out = kUntouched;

  unsigned char** Data() { return null ? nullptr : reinterpret_cast<unsigned char**>(&out); }
  // Calls something that wants a number to write to.
  template <class T, class Function>
  unsigned int WithNumber(Function function) {
    T number = static_cast<T>(out);
    const unsigned int answer = function(null ? nullptr : &number);
    out = static_cast<uintptr_t>(number);
    return answer;
  }
};

enum Out { kNoOut, kTruth, kElement, kBlock, kSize, kContext };  // what is put out or answered
enum Moves { kNothing, kAdds, kFront, kEverything };             // into the container, or out of it

constexpr unsigned int kNone = 999;  // there is no such argument
constexpr unsigned int kTrue = 1;
constexpr unsigned int kFalse = 0;

struct Operation {
  const char* name;
  unsigned int (*call)(Arguments& with);
  // The answers without a store, without element or out-parameter, for an unknown type, on an empty
  // container, on a filled queue or list, on the map for a key that it holds and one that it lacks.
  unsigned int nullStore, nullArgument, unknown, empty, filled, keyHeld, keyLacked;
  Out out;
  bool clearsOut;  // a failed call leaves null or 0 in the out-parameter; else what was there
  Moves moves;
  const char* releases;  // the types whose leaving elements are released
};

// clang-format off
const Operation kOperations[] = {
    {"YraftRWPush", [](Arguments& w) { return YraftRWPush(w.store, w.type, w.key, w.null ? nullptr : w.element, kLength); },
     70, 70, 70, 0, 0, 104, 0, kNoOut, false, kAdds, ""},
    {"YraftRWPush of length 0", [](Arguments& w) { return YraftRWPush(w.store, w.type, w.key, w.element, 0); },
     70, kNone, 70, 70, 70, 70, 70, kNoOut, false, kNothing, ""},
    {"YraftRWFront", [](Arguments& w) { return YraftRWFront(w.store, w.type, w.key, w.Data()); },
     70, 70, 70, 19, 0, 0, 19, kElement, true, kNothing, ""},
    {"YraftRWPopFront", [](Arguments& w) { return YraftRWPopFront(w.store, w.type, w.key, w.Data()); },
     70, 70, 70, 19, 0, 0, 19, kElement, true, kFront, ""},
    {"YraftRWPop", [](Arguments& w) { return YraftRWPop(w.store, w.type, w.key); },
     70, kNone, 70, 0, 0, 0, 0, kNoOut, false, kFront, "4"},
    {"YraftRWFind", [](Arguments& w) { return unsigned{YraftRWFind(w.store, w.type, w.key)}; },
     kFalse, kNone, kFalse, kFalse, kFalse, kTrue, kFalse, kTruth, false, kNothing, ""},
    {"YraftRWSize", [](Arguments& w) { return w.WithNumber<int>([&](int* n) { return YraftRWSize(w.store, w.type, n); }); },
     70, 70, 70, 0, 0, 0, 0, kSize, true, kNothing, ""},
    {"YraftRWEmpty", [](Arguments& w) { return unsigned{YraftRWEmpty(w.store, w.type)}; },
     kTrue, kNone, kTrue, kTrue, kFalse, kFalse, kFalse, kTruth, false, kNothing, ""},
    {"YraftRWClear", [](Arguments& w) { return YraftRWClear(w.store, w.type); },
     70, kNone, 70, 0, 0, 0, 0, kNoOut, false, kEverything, "12345"},
    {"YraftRWReset", [](Arguments& w) { return YraftRWReset(w.store); },
     70, kNone, kNone, 0, 0, 0, 0, kNoOut, false, kEverything, "12345"},
    {"YraftRWContextSize", [](Arguments& w) { return w.WithNumber<unsigned>([&](unsigned* n) { return YraftRWContextSize(w.store, w.type, n); }); },
     70, 70, 70, 0, 0, 0, 0, kContext, true, kNothing, ""},
    {"YraftRWGetAll", [](Arguments& w) { return YraftRWGetAll(w.store, w.type, w.Data()); },
     70, 70, 70, 0, 0, 0, 0, kBlock, true, kNothing, ""},
    {"YraRW_QueueTypeCheck", [](Arguments& w) { return unsigned{w.store->YraRW_QueueTypeCheck(w.type)}; },
     kNone, kNone, kNone, kTrue, kTrue, kTrue, kTrue, kTruth, false, kNothing, ""},
    {"YraRW_QueueFront", [](Arguments& w) { return w.store->YraRW_QueueFront(w.type, w.key, w.Data()); },
     kNone, 70, 70, 19, 0, 0, 19, kElement, true, kNothing, ""},
    {"YraRW_QueuePopFront", [](Arguments& w) { return w.store->YraRW_QueuePopFront(w.type, w.key, w.Data()); },
     kNone, 70, 70, 19, 0, 0, 19, kElement, false, kFront, ""},
    {"YraRW_QueueSize", [](Arguments& w) { return w.WithNumber<int>([&](int* n) { return w.store->YraRW_QueueSize(w.type, n); }); },
     kNone, 70, 70, 0, 0, 0, 0, kSize, false, kNothing, ""},
    {"YraRW_QueueContextSize", [](Arguments& w) { return w.WithNumber<unsigned>([&](unsigned* n) { return w.store->YraRW_QueueContextSize(w.type, n); }); },
     kNone, 70, 70, 0, 0, 0, 0, kContext, false, kNothing, ""},
    {"YraRW_QueueGetAll", [](Arguments& w) { return w.store->YraRW_QueueGetAll(w.type, w.Data()); },
     kNone, 70, 70, 0, 0, 0, 0, kBlock, false, kNothing, ""},
    {"YraRW_QueueGetAllPop", [](Arguments& w) { return w.store->YraRW_QueueGetAllPop(w.type, w.Data()); },
     kNone, 70, 70, 0, 0, 0, 0, kBlock, false, kEverything, "4"},
};
// clang-format on

// Holds what the log got of a call against what the call answered: its first and its last line, and
// whether there is a complaint. The C functions complain of null arguments at a level of their own.
void CompareLines(const std::vector<Line>& lines, const Operation& operation, bool nullArgument,
                  bool unknownType, unsigned int answer) {
  const std::string name(operation.name, strcspn(operation.name, " "));
  const bool exported = name.starts_with("Yraft");
  const std::string layer = name + (exported ? ": [YRAFT_LIB_UI] " : ": [YRAFT_LIB_RW] ");
  const bool spaced = exported && name != "YraftRWFind";
  std::ostringstream out;
  out << layer << "Out: ret" << (spaced ? " = " : "=");
  if (operation.out == kTruth) {
    out << (answer != 0 ? "True." : "False.");
  } else {
    out << "0x" << std::hex << answer << '.';
  }
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.front().text, layer + "In.");
  EXPECT_EQ(lines.back().text, out.str());
  const auto any = [&](int level, const char* what) {
    return std::any_of(lines.begin(), lines.end(), [&](const Line& line) {
      return line.head.level == level && line.text.find(what) != std::string::npos;
    });
  };
  const bool itsOwnComplaint = exported && nullArgument;
  EXPECT_EQ(any(KVO_LOG_INFO, " is NULL."), itsOwnComplaint);
  EXPECT_EQ(any(KVO_LOG_ERROR, ""), (answer > kTrue || unknownType) && !itsOwnComplaint);
}

// Calls an operation on a store with `count` elements of a type.
void Try(const Operation& operation, int type, int count, int key, bool nullStore, bool null,
         unsigned int expected, Log* log) {
  if (expected == kNone) return;
  SCOPED_TRACE(testing::Message() << operation.name << ", type " << type << ", " << count
                                  << " elements, key " << key << (nullStore ? ", no store" : "")
                                  << (null ? ", no argument" : ""));
  const bool known = type >= 1 && type <= 7;
  Filled filled(known ? type : 1, count);
  Arguments with{nullStore ? nullptr : filled.store, type, key, filled.New(), null};
  if (log != nullptr) log->Lines();
  ASSERT_EQ(filled.Watch([&] { return operation.call(with); }), expected);
  if (log != nullptr) {
    const bool nullOut = null && operation.out > kTruth;
    CompareLines(log->Lines(), operation, nullStore || nullOut, !known, expected);
  }

  const bool failed = expected > kTrue;
  const bool absent = type == YRAFT_MAP_UITHREAD && (key - 3) / 2 >= count;
  int taken = 0;
  if (!failed && !nullStore && known && operation.moves == kFront) taken = count > 0 && !absent;
  if (!failed && !nullStore && operation.moves == kEverything) taken = count;
  const bool pushed = !failed && operation.moves == kAdds;

  const bool releases = strchr(operation.releases, known ? '0' + type : '1') != nullptr;
  std::string released(static_cast<std::size_t>(count) + 1, '-');
  if (releases) released.replace(0, static_cast<std::size_t>(taken), taken, 'R');
  EXPECT_EQ(filled.released, released);

  int size = -1;
  EXPECT_EQ(YraftRWSize(filled.store, known ? type : 1, &size), 0U);
  EXPECT_EQ(size, count - taken + (pushed ? 1 : 0));
  if (operation.out <= kTruth) return;
  if (failed) {
    EXPECT_EQ(with.out, operation.clearsOut && !nullStore && !null ? 0U : kUntouched);
  } else if (operation.out == kElement) {
    EXPECT_EQ(with.out, reinterpret_cast<uintptr_t>(filled.elements[0]));
  } else if (operation.out == kSize) {
    EXPECT_EQ(with.out, static_cast<uintptr_t>(count));
  } else if (operation.out == kContext) {
    EXPECT_EQ(with.out, count * Weight(type));
  } else {
    auto* block = reinterpret_cast<YRAFT_TLV_BLOCKS*>(with.out);
    EXPECT_EQ(block->ListCount, count);
    free(block);
  }
}

void TryEverything(Log* log) {
  for (const Operation& operation : kOperations) {
    for (const int type : kUnknownTypes) {
      Try(operation, type, 3, 3, false, false, operation.unknown, log);
    }
    for (const int type : kTypes) {
      const bool map = type == YRAFT_MAP_UITHREAD;
      Try(operation, type, 3, 3, true, false, operation.nullStore, log);
      Try(operation, type, 3, 3, false, true, operation.nullArgument, log);
      Try(operation, type, 0, 3, false, false, operation.empty, log);
      Try(operation, type, 3, 3, false, false, map ? operation.keyHeld : operation.filled, log);
      if (map) Try(operation, type, 3, 9, false, false, operation.keyLacked, log);
    }
  }
}

TEST(Store, AnswersAndLeavesWhatEveryOperationDocuments) { TryEverything(nullptr); }

TEST(Store, TellsTheLogWhatItAnswers) {
  Log log;
  TryEverything(&log);
}

// Class, level and text of each line; addresses are told by their low half.
constexpr char kLines[] = R"(177 1 YraftRWPush: [YRAFT_LIB_UI] In.
177 1 YraftRWPush: Push: queueType=6, key=0, pData=ADDRESS, dataLen=50.
187 1 YraRW_QueuePush: [YRAFT_LIB_RW] In.
187 1 YraRW_QueuePush: queue type: 6 (FileInfo List) <ADDRESS - 50>
187 1 YraRW_QueuePush: length=50, file length=6, name[a name].
187 1 YraRW_QueuePush: [YRAFT_LIB_RW] Out: ret=0x0.
177 1 YraftRWPush: [YRAFT_LIB_UI] Out: ret = 0x0.
177 1 YraftRWPop: [YRAFT_LIB_UI] In.
177 1 YraftRWPop: Pop: queueType=7, key9.
187 1 YraRW_QueuePop: [YRAFT_LIB_RW] In.
187 1 YraRW_QueuePop: queue type: 7 (UiThread Map)
187 1 YraRW_QueuePop: Key 9 do not find.
187 1 YraRW_QueuePop: [YRAFT_LIB_RW] Out: ret=0x0.
177 1 YraftRWPop: [YRAFT_LIB_UI] Out: ret = 0x0.
177 1 YraftRWGetAll: [YRAFT_LIB_UI] In.
177 1 YraftRWGetAll: Pop: queueType=6.
187 1 YraRW_QueueGetAll: [YRAFT_LIB_RW] In.
187 1 YraRW_QueueGetAll: queue type: 6 (FileInfo List)
187 1 YraRW_QueueContextSize: [YRAFT_LIB_RW] In.
187 1 YraRW_QueueContextSize: queue type: 6 (FileInfo List)
187 1 YraRW_QueueContextSize: Get context size is 7.
187 1 YraRW_QueueContextSize: [YRAFT_LIB_RW] Out: ret=0x0.
187 1 YraRW_QueueGetAll: list size=1.
187 1 YraRW_QueueGetAll: bufferLen=51, size=1, contextSize=7.
175 1 Yraft_TlvBlocksAllocate: [YRAFT] In.
175 1 Yraft_TlvBlocksAllocate: [YRAFT] Out: ret=0x0.
187 1 YraRW_QueueGetAll: [1]: iter=ADDRESS, *iter=ADDRESS.
187 1 YraRW_QueueGetAll: [1]: file context=0, size=0, length=6, name[a name].
175 1 Yraft_TlvItemAllocate: [YRAFT] In.
175 2 Yraft_TlvItemAllocate: item attrs is invaild.(0 - 39)
175 2 Yraft_TlvItemAllocate: End: cbSize=39, Reserved=0.
175 1 Yraft_TlvItemAllocate: [YRAFT] Out: Data=ADDRESS.
175 1 Yraft_TlvBlocksAddItem: [YRAFT] In.
175 1 Yraft_TlvBlocksAddItem: pktLen=12, cbSize=39, Reserved=0.
175 1 Yraft_TlvBlocksAddItem: pktLen=12, ListBlocks=12, ListCount=0.
175 1 Yraft_TlvBlocksAddItem: [YRAFT] Out: ret=0x0.
187 1 YraRW_QueueGetAll: Get 1 files list.
187 1 YraRW_QueueGetAll: Get buffer is ADDRESS.
187 1 YraRW_QueueGetAll: [YRAFT_LIB_RW] Out: ret=0x0.
177 1 YraftRWGetAll: [YRAFT_LIB_UI] Out: ret = 0x0.
187 1 YraRW_QueueIsEmpty: [YRAFT_LIB_RW] In.
187 1 YraRW_QueueIsEmpty: queue type: 9 (Unknown)
187 4 YraRW_QueueIsEmpty: queue type is unknown.(9)
187 1 YraRW_QueueIsEmpty: [YRAFT_LIB_RW] Out: ret=1.
177 3 Yraft_GetFile: [YRAFT_LIB] In.
177 3 Yraft_GetFile: [YRAFT_LIB] callback successful.
177 3 Yraft_GetFile: [YRAFT_LIB] Out: ret=0x0.
)";

TEST(Store, TellsTheLogEveryStep) {
  Filled filled(YRAFT_QUEUE_BUFFER, 0);
  unsigned char* element = filled.New();
  unsigned char* data = nullptr;
  Log log;
  YraftRWPush(filled.store, YRAFT_LIST_FILEINFO, 0, element, kLength);
  YraftRWPop(filled.store, YRAFT_MAP_UITHREAD, 9);
  YraftRWGetAll(filled.store, YRAFT_LIST_FILEINFO, &data);
  free(data);
  filled.store->YraRW_QueueIsEmpty(9);
  Yraft_GetFile();
  const std::regex address("(Data=|iter=|buffer is |<)0[xX][0-9a-fA-F]+");
  std::string text;
  for (const Line& line : log.Lines()) {
    text += std::to_string(line.head.classId) + ' ' + std::to_string(line.head.level) + ' ' +
            std::regex_replace(line.text, address, "$1ADDRESS") + '\n';
  }
  EXPECT_EQ(text, kLines);
}

TEST(Store, IsCreatedAndDestroyedByItsHandle) {
  YraRW* store = nullptr;
  EXPECT_EQ(YraftRWCreate(nullptr), 70U);
  EXPECT_EQ(YraftRWDestory(nullptr), 0U);
  EXPECT_EQ(YraftRWDestory(&store), 0U);
  for (const int type : kTypes) {
    Filled filled(type, 3);
    EXPECT_EQ(filled.Watch([&] { return YraftRWDestory(&filled.store); }), 0U);
    EXPECT_EQ(filled.released, type <= YRAFT_QUEUE_FILEUI ? "RRR" : "---");
    EXPECT_EQ(filled.store, nullptr);
  }
}

// ---- Snapshots ---------------------------------------------------------------------------------

TEST(Snapshot, IsABlockOfItemsBackToBack) {
  Filled filled(YRAFT_QUEUE_FILEINFO, 0);
  for (const char* name : {"fives", "nine nine"}) {
    unsigned char* element = filled.elements.emplace_back(NewElement(name, strlen(name)));
    ASSERT_EQ(YraftRWPush(filled.store, YRAFT_QUEUE_FILEINFO, 0, element, 1), 0U);
  }
  unsigned char* block = nullptr;
  ASSERT_EQ(YraftRWGetAll(filled.store, YRAFT_QUEUE_FILEINFO, &block), 0U);
  const char expected[] =
      "\x0C\0\x02\0\x0E\0\0\0\0\0\0\0"
      "\x26\0\0\0\0\0\0\0"
      "\x05\0\x1E\0\0\0\0\0\0\0\0\0\0\0\0\0\x05\0\0\0\0\0\0\0fives\0"
      "\x2A\0\0\0\0\0\0\0"
      "\x09\0\x22\0\0\0\0\0\0\0\0\0\0\0\0\0\x09\0\0\0\0\0\0\0nine nine";
  ASSERT_EQ(sizeof(expected), 92U);
  EXPECT_EQ(memcmp(block, expected, sizeof(expected)), 0);
  free(block);
}

TEST(Snapshot, RefusesABlockOverTheLimitAndKeepsTheQueue) {
  constexpr int kFits[] = {0, 4095, 4095, 4095, 65523 / 39, 65523 / 40, 65523 / 39, 65523 / 46};
  for (const int type : kTypes) {
    const int fits = kFits[type];
    Filled filled(type, fits);
    unsigned char* block = nullptr;
    EXPECT_EQ(YraftRWGetAll(filled.store, type, &block), 0U);
    EXPECT_EQ(reinterpret_cast<YRAFT_TLV_BLOCKS*>(block)->ListCount, fits);
    free(block);
    EXPECT_EQ(YraftRWPush(filled.store, type, 1, filled.New(), kLength), 0U);
    EXPECT_EQ(YraftRWGetAll(filled.store, type, &block), 9U);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(filled.store->YraRW_QueueGetAllPop(type, &block), 9U);
    EXPECT_EQ(block, nullptr);
    int size = 0;
    EXPECT_EQ(YraftRWSize(filled.store, type, &size), 0U);
    EXPECT_EQ(size, fits + 1);
  }
}

// ---- Beside a model ----------------------------------------------------------------------------

// Does a step again and again, with the first allocation failing, then the second and so on, until
// none is left to fail. Answers how many there were.
int FailAtEveryAllocation(StoreModel& model, uint8_t operation, uint8_t type, uint8_t key) {
  const int before = model.Failures();
  for (int nth = 1; model.Failures() - before == nth - 1; ++nth) {
    EXPECT_STREQ(model.Do({operation, type, key, 0, static_cast<uint8_t>(nth), kLength}), nullptr);
  }
  return model.Failures() - before;
}

TEST(Store, LosesNothingWhenMemoryRunsOutAtAnyAllocation) {
  for (const uint8_t type : kTypes) {
    StoreModel model;
    int inPushes = 0;
    for (uint8_t i = 0; i < 250; ++i) {
      inPushes += FailAtEveryAllocation(model, StoreModel::kPush, type, i);
    }
    // A queue allocates for every 32nd element and when it outgrows its table, a list for each; the
    // map takes ten of the keys.
    const bool queue = type <= YRAFT_QUEUE_FILEUI;
    EXPECT_EQ(inPushes, queue ? 7 + 1 : type == YRAFT_LIST_FILEINFO ? 250 : 10);
    EXPECT_EQ(FailAtEveryAllocation(model, StoreModel::kGetAll, type, 0), 1);
    EXPECT_EQ(FailAtEveryAllocation(model, StoreModel::kGetAllPop, type, 0), 1);
    EXPECT_GT(FailAtEveryAllocation(model, StoreModel::kCreateAnother, type, 0), 1);
  }
}

// Operations as they come, with times in which the containers fill and times in which they drain.
class RandomSteps {
 public:
  explicit RandomSteps(unsigned int seed) : m_random(seed) {}
  StoreModel::Step Next() {
    const bool filling = (m_count++ / 1024) % 2 == 0;
    return {Operation(filling),
            Byte(Below(64) == 0 ? Below(9) : 1 + Below(7)),
            Byte(Below(256)),
            Byte(Below(256)),
            Byte(Below(8) == 0 ? 1 + Below(12) : 0),
            static_cast<uint16_t>(Below(4096) == 0 ? Below(65536) : Below(80))};
  }

 private:
  static uint8_t Byte(unsigned int value) { return static_cast<uint8_t>(value); }
  unsigned int Below(unsigned int limit) { return static_cast<unsigned int>(m_random()) % limit; }
  uint8_t Operation(bool filling) {
    const unsigned int dice = Below(400);
    if (dice < (filling ? 220U : 140U)) return StoreModel::kPush;
    if (dice < 300) return StoreModel::kPopFront;
    if (dice < 360) return StoreModel::kPop;
    if (dice < 390) return StoreModel::kFront;
    if (dice < 399) return Below(2) == 0 ? StoreModel::kGetAll : StoreModel::kCreateAnother;
    constexpr StoreModel::Operation kEmptying[] = {StoreModel::kClear, StoreModel::kGetAllPop,
                                                   StoreModel::kReset};
    return kEmptying[Below(3)];
  }

  std::mt19937 m_random;
  unsigned int m_count = 0;
};

void RunBesideAModel(unsigned int seed, int count) {
  RandomSteps steps(seed);
  StoreModel model;
  for (int i = 0; i < count; ++i) {
    ASSERT_STREQ(model.Do(steps.Next()), nullptr) << "after step " << i << " of seed " << seed;
  }
}

TEST(Store, BehavesAsASimpleModelOverAMillionOperations) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  RunBesideAModel(7, 100000);  // each takes many times as long
#else
  RunBesideAModel(7, 1000000);
#endif
}

TEST(Store, IsIndependentOfAnotherThreadsStore) {
  std::thread other(RunBesideAModel, 8, 5000);
  RunBesideAModel(9, 5000);
  other.join();
}

}  // namespace
