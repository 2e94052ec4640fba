// The queue store: what every operation answers and leaves, who owns what, and how it does over a
// long life and without memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "YraRW.h"
#include "store_model.h"
#include "support/log_service.h"
#include "yrafiletransfer.h"

namespace {

constexpr uint8_t kTypes[] = {1, 2, 3, 4, 5, 6, 7};
constexpr unsigned int kLength = 50;  // said of every pushed element

// An element that fits every container: a file record of more than 32 bytes.
unsigned char* NewElement() {
  auto* item = Yraft_FileInfoItemAllocate("a name", 6, 0, 0);
  return static_cast<unsigned char*>(realloc(item, item->cbSize + sizeof(YRAFT_FILES_UI)));
}

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
  std::vector<Line> Lines() { return m_service.WaitingLines(); }  // since the last time

 private:
  LogService m_service;
};

// ---- What the model does not do: refusals, and what the log is told -----------------------------

constexpr uintptr_t kUntouched = 0x5A5A;

struct Arguments {
  YraRW* store;
  int type;
  unsigned char* element;  // to push
  bool null;               // in place of the element or of the out-parameter
  int key = 0;
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

enum Out {
  kNoOut,
  kTruth,
  kOut,
  kOwned
};  // what is put out or answered; the caller frees the last

constexpr unsigned int kNone = 999;  // there is no such argument
constexpr unsigned int kTrue = 1;
constexpr unsigned int kFalse = 0;

struct Operation {
  const char* name;
  unsigned int (*call)(Arguments& with);
  // The answers without a store, without element or out-parameter, for an unknown type, and on a
  // queue of no and of one file record.
  unsigned int nullStore, nullArgument, unknown, none, one;
  Out out;
  bool clearsOut;  // a failed call leaves null or 0 in the out-parameter; else what was there
  int left;        // elements of the queue after the last call
};

// clang-format off
const Operation kOperations[] = {
    {"YraftRWPush", [](Arguments& w) { return YraftRWPush(w.store, w.type, w.key, w.null ? nullptr : w.element, kLength); },
     70, 70, 70, 0, 0, kNoOut, false, 2},
    {"YraftRWPush of length 0", [](Arguments& w) { return YraftRWPush(w.store, w.type, w.key, w.element, 0); },
     70, kNone, 70, 70, 70, kNoOut, false, 1},
    {"YraftRWFront", [](Arguments& w) { return YraftRWFront(w.store, w.type, w.key, w.Data()); },
     70, 70, 70, 19, 0, kOut, true, 1},
    {"YraftRWPopFront", [](Arguments& w) { return YraftRWPopFront(w.store, w.type, w.key, w.Data()); },
     70, 70, 70, 19, 0, kOwned, true, 0},
    {"YraftRWPop", [](Arguments& w) { return YraftRWPop(w.store, w.type, w.key); },
     70, kNone, 70, 0, 0, kNoOut, false, 0},
    {"YraftRWFind", [](Arguments& w) { return unsigned{YraftRWFind(w.store, w.type, w.key)}; },
     kFalse, kNone, kFalse, kFalse, kFalse, kTruth, false, 1},
    {"YraftRWSize", [](Arguments& w) { return w.WithNumber<int>([&](int* n) { return YraftRWSize(w.store, w.type, n); }); },
     70, 70, 70, 0, 0, kOut, true, 1},
    {"YraftRWEmpty", [](Arguments& w) { return unsigned{YraftRWEmpty(w.store, w.type)}; },
     kTrue, kNone, kTrue, kTrue, kFalse, kTruth, false, 1},
    {"YraftRWClear", [](Arguments& w) { return YraftRWClear(w.store, w.type); },
     70, kNone, 70, 0, 0, kNoOut, false, 0},
    {"YraftRWReset", [](Arguments& w) { return YraftRWReset(w.store); },
     70, kNone, kNone, 0, 0, kNoOut, false, 0},
    {"YraftRWContextSize", [](Arguments& w) { return w.WithNumber<unsigned>([&](unsigned* n) { return YraftRWContextSize(w.store, w.type, n); }); },
     70, 70, 70, 0, 0, kOut, true, 1},
    {"YraftRWGetAll", [](Arguments& w) { return YraftRWGetAll(w.store, w.type, w.Data()); },
     70, 70, 70, 0, 0, kOwned, true, 1},
    {"YraRW_QueueTypeCheck", [](Arguments& w) { return unsigned{w.store->YraRW_QueueTypeCheck(w.type)}; },
     kNone, kNone, kNone, kTrue, kTrue, kTruth, false, 1},
    {"YraRW_QueueFront", [](Arguments& w) { return w.store->YraRW_QueueFront(w.type, w.key, w.Data()); },
     kNone, 70, 70, 19, 0, kOut, true, 1},
    {"YraRW_QueuePopFront", [](Arguments& w) { return w.store->YraRW_QueuePopFront(w.type, w.key, w.Data()); },
     kNone, 70, 70, 19, 0, kOwned, false, 0},
    {"YraRW_QueueSize", [](Arguments& w) { return w.WithNumber<int>([&](int* n) { return w.store->YraRW_QueueSize(w.type, n); }); },
     kNone, 70, 70, 0, 0, kOut, false, 1},
    {"YraRW_QueueContextSize", [](Arguments& w) { return w.WithNumber<unsigned>([&](unsigned* n) { return w.store->YraRW_QueueContextSize(w.type, n); }); },
     kNone, 70, 70, 0, 0, kOut, false, 1},
    {"YraRW_QueueGetAll", [](Arguments& w) { return w.store->YraRW_QueueGetAll(w.type, w.Data()); },
     kNone, 70, 70, 0, 0, kOwned, false, 1},
    {"YraRW_QueueGetAllPop", [](Arguments& w) { return w.store->YraRW_QueueGetAllPop(w.type, w.Data()); },
     kNone, 70, 70, 0, 0, kOwned, false, 0},
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

TEST(Store, RefusesWhatItCannotDoAndTellsTheLogWhatItAnswers) {
  Log log;
  constexpr int kFiles = YRAFT_QUEUE_FILEINFO;
  const auto attempt = [&log](const Operation& operation, bool nullStore, bool null, int type,
                              int count, unsigned int expected) {
    if (expected == kNone) return;
    SCOPED_TRACE(testing::Message() << operation.name << ", type " << type << ", " << count
                                    << (nullStore ? ", no store" : "") << (null ? ", null" : ""));
    YraRW* store = nullptr;
    ASSERT_EQ(YraftRWCreate(&store), 0U);
    if (count > 0) {
      ASSERT_EQ(YraftRWPush(store, kFiles, 0, NewElement(), kLength), 0U);
    }
    Arguments with{nullStore ? nullptr : store, type, NewElement(), null};
    log.Lines();
    ASSERT_EQ(operation.call(with), expected);
    CompareLines(log.Lines(), operation, nullStore || (null && operation.out > kTruth),
                 type != kFiles, expected);
    const bool done = !nullStore && !null && type == kFiles && expected <= kTrue;
    const int moved = !done ? 0 : count > 0 ? operation.left - 1 : operation.left > 1 ? 1 : 0;
    int size = -1;
    EXPECT_EQ(YraftRWSize(store, kFiles, &size), 0U);
    EXPECT_EQ(size, count + moved);
    if (operation.out > kTruth && !done) {
      EXPECT_EQ(with.out, operation.clearsOut && !nullStore && !null ? 0U : kUntouched);
    }
    if (operation.out == kOwned && done) free(reinterpret_cast<void*>(with.out));
    if (moved <= 0) free(with.element);
    YraftRWDestory(&store);
  };
  for (const Operation& operation : kOperations) {
    attempt(operation, true, false, kFiles, 1, operation.nullStore);
    attempt(operation, false, true, kFiles, 1, operation.nullArgument);
    attempt(operation, false, false, kFiles, 0, operation.none);
    attempt(operation, false, false, kFiles, 1, operation.one);
    for (const int type : {INT_MIN, -1, 0, 8, INT_MAX}) {
      attempt(operation, false, false, type, 1, operation.unknown);
    }
  }
  YraRW* store = nullptr;
  EXPECT_EQ(YraftRWCreate(nullptr), 70U);
  EXPECT_EQ(YraftRWDestory(nullptr), 0U);
  EXPECT_EQ(YraftRWDestory(&store), 0U);
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
  YraRW* store = nullptr;
  ASSERT_EQ(YraftRWCreate(&store), 0U);
  unsigned char* element = NewElement();
  unsigned char* data = nullptr;
  Log log;
  YraftRWPush(store, YRAFT_LIST_FILEINFO, 0, element, kLength);
  YraftRWPop(store, YRAFT_MAP_UITHREAD, 9);
  YraftRWGetAll(store, YRAFT_LIST_FILEINFO, &data);
  free(data);
  store->YraRW_QueueIsEmpty(9);
  Yraft_GetFile();
  const std::regex address("(Data=|iter=|buffer is |<)0[xX][0-9a-fA-F]+");
  std::string text;
  for (const Line& line : log.Lines()) {
    text += std::to_string(line.head.classId) + ' ' + std::to_string(line.head.level) + ' ' +
            std::regex_replace(line.text, address, "$1ADDRESS") + '\n';
  }
  EXPECT_EQ(text, kLines);
  YraftRWDestory(&store);
  free(element);
}

TEST(Snapshot, RefusesABlockOverTheLimitAndKeepsTheQueue) {
  constexpr int kFits[] = {0, 4095, 4095, 4095, 65523 / 39, 65523 / 40, 65523 / 39, 65523 / 46};
  for (const int type : kTypes) {
    std::vector<std::unique_ptr<unsigned char, decltype(&free)>> elements;
    YraRW* store = nullptr;
    ASSERT_EQ(YraftRWCreate(&store), 0U);
    unsigned char* block = nullptr;
    for (int i = 0; i <= kFits[type]; ++i) {
      if (i == kFits[type]) {
        EXPECT_EQ(YraftRWGetAll(store, type, &block), 0U);
        EXPECT_EQ(reinterpret_cast<YRAFT_TLV_BLOCKS*>(block)->ListCount, i);
        free(block);
      }
      elements.emplace_back(NewElement(), free);
      EXPECT_EQ(YraftRWPush(store, type, i, elements.back().get(), kLength), 0U);
    }
    EXPECT_EQ(YraftRWGetAll(store, type, &block), 9U);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(store->YraRW_QueueGetAllPop(type, &block), 9U);
    EXPECT_EQ(block, nullptr);
    int size = 0;
    EXPECT_EQ(YraftRWSize(store, type, &size), 0U);
    EXPECT_EQ(size, kFits[type] + 1);
    if (type <= YRAFT_QUEUE_FILEUI) {
      for (auto& element : elements) static_cast<void>(element.release());  // the store's
    }
    YraftRWDestory(&store);
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

// Snapshots take another road then.
TEST(Store, BehavesAlikeWhileEveryLineIsRead) {
  constexpr int kSteps = 2000;
  LogService service;
  ASSERT_EQ(KvoLogInit(), 1);
  ASSERT_TRUE(service.Accept());
  EXPECT_EQ(KvoLogSetCurrentLevel(KVO_CLASS_YRAFT, KVO_LOG_VERBOSE), 1);
  int lines = 0;
  std::thread reader([&] {
    while (service.Next()) ++lines;
  });
  RunBesideAModel(10, kSteps);
  KvoLogShutdown();
  reader.join();
  EXPECT_GT(lines, 100 * kSteps);
}

TEST(Store, IsIndependentOfAnotherThreadsStore) {
  std::thread other(RunBesideAModel, 8, 5000);
  RunBesideAModel(9, 5000);
  other.join();
}

}  // namespace
