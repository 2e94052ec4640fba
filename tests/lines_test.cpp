// Calls every function of the interface with all levels of the log open, and writes down what each
// answers and the lines that it leaves: lines_test OUTPUT. lines_test.sh holds that against the
// stored text. Addresses are masked; figures are not, as nothing here is left to chance.
#include "dialogs/YraDialogs.h"
// The trace vocabulary comes first.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <mutex>
#include <regex>
#include <sstream>
#include <utility>

#include "YraWinUI.h"
#include "kvolocalise.h"
#include "support/allocation.h"
#include "support/desktop.h"
#include "support/host.h"
#include "support/log_service.h"

namespace {

// ---- What is written down ----------------------------------------------------------------------

void Require(bool holds, const std::string& what) {
  if (holds) return;
  fprintf(stderr, "%s\n", what.c_str());
  _exit(1);
}

std::string Masked(std::string text) {
  static const std::regex newline("\n"), home("/tmp/yra-home-[A-Za-z0-9]{6}"),
      id("signalID=[0-9]+"), address("0x(?!0\\b)[0-9a-fA-F]+"), fromGtk(" - 0x(?!0\\b)[0-9a-f]+");
  const auto has = [&](const char* part) { return text.find(part) != std::string::npos; };
  text = std::regex_replace(text, newline, "\\n");
  text = std::regex_replace(text, home, "~");
  text = std::regex_replace(text, id, "signalID=*");
  // Where a hexadecimal number is a code and no address.
  for (const char* code : {"ret=", "ret = ", "tatusCode=", "code is ", "failed.(", "from UI",
                           "thread.(", "message 0x", "ACCEPT. (", "Host: "}) {
    if (has(code)) return text;
  }
  return has("from GTK") ? std::regex_replace(text, fromGtk, " - 0x*")
                         : std::regex_replace(text, address, "0x*");
}

template <class T>
std::string Shown(const T& value) {
  return Masked(testing::PrintToString(value));
}

class Transcript {
 public:
  explicit Transcript(const char* path) : m_out(path) {
    Require(KvoLogInit() == 1 && m_service.Accept(), "no log");
    m_out << "Behind ==, a call and its answer. Then the lines: class, level, function, text; "
             "behind --\n"
             "those of another thread. 0x* is an address, ~ the home directory, and \"Host\" the "
             "notify\n"
             "function and its arguments.\n\n";
    KvoLogSetCurrentLevel(KVO_CLASS_ALL, KVO_LOG_VERBOSE);
    m_reader = std::thread([this] {
      while (const auto record = m_service.Next()) {
        const Line line(*record);
        // The toolkit asks the filter for each entry of a folder as it likes.
        if (line.head.head.type != KVO_LOG_RECORD_TRACE ||
            (line.head.thread != m_own &&
             line.text.starts_with("YraChooseDirectoryDiagFilterCallback"))) {
          continue;
        }
        const std::lock_guard lock(m_mutex);
        m_lines.push_back(line);
        m_came.notify_all();
      }
    });
  }
  ~Transcript() {
    KvoLogShutdown();
    m_reader.join();
  }

  // Whether a UI thread serves, whose lines belong to the calls.
  void Serve(bool serves) { m_serves = serves; }

  template <class Call>
  void Do(const std::string& heading, Call call) {
    if (m_quiet > 0) return static_cast<void>(call());
    Begin(heading);
    if constexpr (std::is_void_v<decltype(call())>) {
      call();
    } else {
      m_out << " = " << Shown(call());
    }
    End();
  }

  // What `body` does is not written down.
  template <class Body>
  void Quietly(Body body) {
    ++m_quiet;
    KvoLogSetCurrentLevel(KVO_CLASS_ALL, KVO_LOG_NONE);
    body();
    if (m_serves) InUI([] {});
    if (--m_quiet == 0) KvoLogSetCurrentLevel(KVO_CLASS_ALL, KVO_LOG_VERBOSE);
  }

 private:
  void Begin(const std::string& heading) {
    Take();
    m_out << "== " << heading;
  }
  void End() {
    m_out << std::endl;         // the last one is the one that broke
    if (m_serves) InUI([] {});  // what was queued there is done with
    std::ostringstream own, others;
    for (const Line& line : Take()) {
      (line.head.thread == m_own ? own : others)
          << int{line.head.classId} << ' ' << int{line.head.level} << ' ' << Masked(line.text)
          << '\n';
    }
    m_out << own.str() << (others.str().empty() ? "" : "--\n") << others.str();
  }
  // The lines since the last time: those in front of a mark.
  std::vector<Line> Take() {
    const std::string mark = ": mark " + std::to_string(++m_marks);
    __KvoTrace(KVO_CLASS_ALL, KVO_LOG_FATAL, "", "", 0, "%s", mark.c_str() + 2);
    std::unique_lock lock(m_mutex);
    const bool came = m_came.wait_for(
        lock, kPatience, [&] { return !m_lines.empty() && m_lines.back().text == mark; });
    Require(came, "a line is missing");
    m_lines.pop_back();
    return std::exchange(m_lines, {});
  }

  const uint16_t m_own = static_cast<uint16_t>(gettid());
  std::ofstream m_out;
  LogService m_service;
  std::thread m_reader;
  std::mutex m_mutex;
  std::condition_variable m_came;
  std::vector<Line> m_lines;
  int m_marks = 0;
  bool m_serves = false;
  int m_quiet = 0;
};

Transcript* g_text = nullptr;

#define CALL(...) g_text->Do(#__VA_ARGS__, [&] { return __VA_ARGS__; })
// One call after the other.
#define CALLS(...) EXPAND(FIRST_CALL(__VA_ARGS__))
#define FIRST_CALL(call, ...) \
  CALL(call);                 \
  __VA_OPT__(NEXT_CALLS PARENS(__VA_ARGS__))
#define NEXT_CALLS() FIRST_CALL
#define PARENS ()
#define EXPAND(...) EXPAND_MORE(EXPAND_MORE(EXPAND_MORE(EXPAND_MORE(__VA_ARGS__))))
#define EXPAND_MORE(...) EXPAND_ONCE(EXPAND_ONCE(EXPAND_ONCE(EXPAND_ONCE(__VA_ARGS__))))
#define EXPAND_ONCE(...) EXPANDED(EXPANDED(EXPANDED(EXPANDED(__VA_ARGS__))))
#define EXPANDED(...) __VA_ARGS__
// The call's nth allocation finds no memory.
#define WITHOUT_MEMORY(nth, ...)                           \
  g_text->Do(#__VA_ARGS__ ", allocation " #nth " failing", \
             [&] { return WithFailingAllocation(nth, [&] { return __VA_ARGS__; }); })

// ---- The queue store ---------------------------------------------------------------------------

// A file record of more than 32 bytes, which fits every container. Who owns it differs, and what
// nobody does stays in reach.
YRAFT_FILEINFO_ITEM* NewRecord(int length = 6) {
  static auto& all = *new std::vector<void*>;  // also when the process ends
  static const std::string name = "a name" + std::string(65500, 's');
  YRAFT_FILEINFO_ITEM* item = nullptr;
  g_text->Quietly([&] { item = Yraft_FileInfoItemAllocate(name.c_str(), length, 9, 100); });
  item->fileTransferOperation = YRAFT_OPERATION_UPLOAD;
  all.push_back(realloc(item, item->cbSize + sizeof(YRAFT_FILES_UI)));
  return static_cast<YRAFT_FILEINFO_ITEM*>(all.back());
}
unsigned char* NewElement() { return reinterpret_cast<unsigned char*>(NewRecord()); }

void OneContainer(int type) {
  YraRW* store = nullptr;
  unsigned char* data = nullptr;
  unsigned int weight = 0;
  int size = 0;
  g_text->Quietly([&] { YraftRWCreate(&store); });
  CALLS(YraftRWPush(store, type, 3, NewElement(), 50),
        YraftRWPush(store, type, 7, NewElement(), 50));
  if (type == YRAFT_MAP_UITHREAD) {
    CALLS(YraftRWPush(store, type, 3, NewElement(), 50),
          YraftRWPush(store, type, 65536, NewElement(), 50));
  }
  CALL(YraftRWGetAll(store, type, &data));
  free(data);
  if (type != YRAFT_QUEUE_READ && type != YRAFT_QUEUE_WRITE) {
    CALLS(YraftRWSize(store, type, &size), YraftRWContextSize(store, type, &weight),
          YraftRWEmpty(store, type), YraftRWFind(store, type, 7), YraftRWFind(store, type, 5),
          YraftRWFront(store, type, 3, &data), YraftRWPop(store, type, 3),
          YraftRWPopFront(store, type, 7, &data), YraftRWPop(store, type, 7),
          YraftRWFront(store, type, 7, &data), YraftRWPopFront(store, type, 7, &data));
    g_text->Quietly([&] {
      for (const int key : {4, 2}) YraftRWPush(store, type, key, NewElement(), 50);
    });
    CALL(store->YraRW_QueueGetAllPop(type, &data));
    free(data);
    g_text->Quietly([&] { YraftRWPush(store, type, 1, NewElement(), 50); });
    CALL(YraftRWClear(store, type));
  }
  g_text->Quietly([&] { YraftRWDestory(&store); });
}

void StoreRefusals() {
  YraRW* store = nullptr;
  unsigned char* data = nullptr;
  unsigned char element[sizeof(YRAFT_FILEINFO_ITEM)] = {};
  unsigned int weight = 0;
  int size = 0;
  WITHOUT_MEMORY(1, YraftRWCreate(&store));
  WITHOUT_MEMORY(4, YraftRWCreate(&store));
  CALLS(YraftRWCreate(nullptr), YraftRWCreate(&store), YraftRWPush(nullptr, 1, 0, element, 1),
        YraftRWFront(nullptr, 1, 0, &data), YraftRWPopFront(store, 1, 0, nullptr),
        YraftRWPop(nullptr, 1, 0), YraftRWFind(nullptr, 7, 0), YraftRWSize(nullptr, 1, &size),
        YraftRWEmpty(nullptr, 1), YraftRWClear(nullptr, 1), YraftRWReset(nullptr),
        YraftRWContextSize(store, 1, nullptr), YraftRWGetAll(store, 1, nullptr),
        store->YraRW_QueuePush(1, 0, nullptr, 1), store->YraRW_QueuePush(1, 0, element, 0),
        store->YraRW_QueueFront(1, 0, nullptr), store->YraRW_QueuePopFront(1, 0, nullptr),
        store->YraRW_QueueSize(1, nullptr), store->YraRW_QueueContextSize(1, nullptr),
        store->YraRW_QueueGetAll(1, nullptr), store->YraRW_QueueGetAllPop(1, nullptr),
        store->YraRW_QueueTypeCheck(0), store->YraRW_QueueTypeCheck(7));
  CALLS(YraftRWPush(store, 8, 0, element, 1), YraftRWFront(store, 0, 0, &data),
        YraftRWPopFront(store, -1, 0, &data), YraftRWPop(store, 8, 0), YraftRWFind(store, 8, 0),
        YraftRWSize(store, 8, &size), YraftRWEmpty(store, 8), YraftRWClear(store, 8),
        YraftRWContextSize(store, 8, &weight), YraftRWGetAll(store, 8, &data),
        store->YraRW_QueueGetAllPop(8, &data), YraftRWReset(store));
  // What a failure leaves where the answer would be.
  data = element;
  size = 5;
  weight = 5;
  CALLS((store->YraRW_QueuePopFront(8, 0, &data), data), (store->YraRW_QueueGetAll(8, &data), data),
        (store->YraRW_QueueSize(8, &size), size),
        (store->YraRW_QueueContextSize(8, &weight), weight),
        (YraftRWPopFront(store, 7, 0, &data), data), (YraftRWSize(store, 8, &size), size),
        (YraftRWContextSize(store, 8, &weight), weight));
  data = element;
  CALL((YraftRWGetAll(store, 8, &data), data));
  data = element;
  CALL((store->YraRW_QueueFront(1, 0, &data), data));
  WITHOUT_MEMORY(1, store->YraRW_QueuePush(6, 0, element, 1));
  CALLS(YraftRWDestory(&store), YraftRWDestory(&store), YraftRWDestory(nullptr), Yraft_GetFile());
}

// Records that fit no item or no block, and blocks for which there is no memory.
void SnapshotFailures() {
  YraRW* store = nullptr;
  unsigned char* data = nullptr;
  YRAFT_FILEINFO_ITEM* records[] = {NewRecord(), NewRecord(), NewRecord()};
  const auto push = [&](YRAFT_FILEINFO_ITEM* record) {
    YraftRWPush(store, 4, 0, reinterpret_cast<unsigned char*>(record), 50);
  };
  g_text->Quietly([&] {
    YraftRWCreate(&store);
    for (YRAFT_FILEINFO_ITEM* record : records) push(record);
  });
  WITHOUT_MEMORY(1, YraftRWGetAll(store, 4, &data));
  WITHOUT_MEMORY(2, YraftRWGetAll(store, 4, &data));
  free(data);
  const uint16_t size = records[0]->cbSize;
  for (const int lie : {-size, 17}) {
    records[0]->cbSize = static_cast<uint16_t>(size + lie);
    CALL(YraftRWGetAll(store, 4, &data));
    free(data);
  }
  records[0]->cbSize = size;
  // A block of 65535 bytes, then one of a byte more.
  g_text->Quietly([&] {
    for (const int length : {65490, 65491}) {
      YraftRWClear(store, 4);
      push(NewRecord(length));
      if (length == 65490) Require(store->YraRW_QueueGetAll(4, &data) == 0, "a full block");
    }
  });
  free(std::exchange(data, nullptr));
  CALL((store->YraRW_QueueGetAll(4, &data), data));
  CALL(store->YraRW_QueueGetAllPop(4, &data));
  g_text->Quietly([&] { YraftRWDestory(&store); });
}

// ---- Records and blocks ------------------------------------------------------------------------

void Blocks() {
  YRAFT_TLV_BLOCKS* block = nullptr;
  YRAFT_TLV_ITEM* item = nullptr;
  unsigned short size = 0;
  volatile int tooMuch = 17;  // the compiler warns of what it can see
  WITHOUT_MEMORY(1, Yraft_TlvBlocksAllocate(&block, 30));
  WITHOUT_MEMORY(1, Yraft_TlvItemAllocate("12345678", 8));
  CALLS(Yraft_TlvBlocksAllocate(nullptr, 12), Yraft_TlvBlocksAllocate(&block, 11),
        Yraft_TlvBlocksAllocate(&block, 30), Yraft_TlvItemAllocate(nullptr, 8),
        Yraft_TlvItemAllocate("12345678", 0), item = Yraft_TlvItemAllocate("12345678", 8),
        Yraft_TlvBlocksAddItem(nullptr, 30, item, 16),
        Yraft_TlvBlocksAddItem(block, 30, nullptr, 16),
        Yraft_TlvBlocksAddItem(block, 30, item, tooMuch),
        Yraft_TlvBlocksAddItem(block, 30, item, 16), Yraft_TlvBlocksAddItem(block, 30, item, 16),
        Yraft_TlvBlocksGetSize(block, &size), Yraft_TlvBlocksGetSize(block, nullptr));
  free(item);
  free(block);
}

void Records() {
  YRAFT_FILEINFO_ITEM* record = nullptr;
  YRAFT_ERROR_MESSAGE_INFO* message = nullptr;
  const std::string longText(65535, 't');
  const std::string file = Home() + "/one/a.txt";
  WITHOUT_MEMORY(1, Yraft_FileInfoItemAllocate("name", 4, 0, 0));
  WITHOUT_MEMORY(1, Yraft_ErrorMessageAllocate("title", "first", "second"));
  CALLS(Yraft_FileInfoItemAllocate(nullptr, 5, 0, 0), Yraft_FileInfoItemAllocate("name", -1, 0, 0),
        record = Yraft_FileInfoItemAllocate("name", 4, 7, 1 << 20));
  free(record);
  CALL(record = Yraft_FileInfoItemAllocate(nullptr, 0, 0, 0));
  free(record);
  CALLS(Yraft_GetFileSize(nullptr), Yraft_GetFileSize("/nowhere"), Yraft_GetFileSize(file.c_str()),
        Yraft_GetFileNameFromFilePath("/tmp/a.txt", '/'),
        Yraft_GetFileNameFromFilePath("a.txt", '/'), Yraft_GetFileNameFromFilePath(nullptr, '/'),
        Yraft_ErrorMessageAllocate(longText.c_str(), nullptr, nullptr),
        message = Yraft_ErrorMessageAllocate("title", "first", "second"));
  free(message);
}

// ---- Texts -------------------------------------------------------------------------------------

void OpenCatalog(const char* language) {
  g_text->Quietly([&] {
    KvoLocaliseShutdown();
    setenv("LANG", language, 1);
    Require(KvoLocaliseInit() == 1, language);
  });
}

std::string Text(int number) {
  std::string text;
  g_text->Quietly([&] { text = KvoLocalise(number); });
  return text;
}

void Texts() {
  unsetenv("LC_ALL");
  setenv("LC_MESSAGES", "xx", 1);
  setenv("LANG", "", 1);
  CALLS(KvoLocalise(0x20068), KvoLocaliseInit(), KvoLocaliseInit(), KvoLocalise(0x300BA),
        KvoLocalise(7), KvoLocaliseLookupByName("YRAFT_ENG_BUTTON_PAUSE"),
        KvoLocaliseLookupByName("yraft_eng_button_pause"), KvoLocaliseLookupByName(nullptr),
        KvoLocaliseShutdown(), KvoLocaliseShutdown());
  setenv("LANG", "tlh_KX", 1);
  CALL(KvoLocaliseInit());
  g_text->Quietly(KvoLocaliseShutdown);
  rename("/opt/Brelka/AVK/qmz/en", "/opt/Brelka/AVK/qmz/away");
  setenv("LANG", "tlh_KX", 1);
  CALL(KvoLocaliseInit());
  rename("/opt/Brelka/AVK/qmz/away", "/opt/Brelka/AVK/qmz/en");
  setenv("LC_ALL", "C.UTF-8", 1);
  OpenCatalog("en_US.UTF-8");
  CALLS(KvoPrint("%d files", 3), KvoPrintError("%s", "100%"));
}

// ---- The object without a screen ---------------------------------------------------------------

// What was queued for the object is not run: there is no main loop that it was queued in.
void Forget(YraWinUI& object) {
  while (g_source_remove_by_user_data(&object)) {
  }
}

#define WIDGET(name)                                         \
  CALLS(object.YraSet##name(widget), object.YraGet##name()); \
  g_text->Quietly([&] { object.YraSet##name(nullptr); })

void State() {
  CALL(YraWinUI().YraRWGet());
  YraWinUI object;
  auto* widget = reinterpret_cast<GtkWidget*>(&object);
  WIDGET(WinUIWidget);
  WIDGET(ChildWinDiag);
  WIDGET(ChooseFilesDiag);
  WIDGET(ChooseDirectoryDiag);
  WIDGET(ErrorMessageDiag);
  WIDGET(ProgressBarDiag);
  WIDGET(ProgressBarPauseButton);
  WIDGET(ProgressBarCancelButton);
  WIDGET(ProgressBarLabel);
  YRAFT_PROGRESS_BAR_INFO progress = {1, 2, 3, 4, 5, "dir/name", YRAFT_OPERATION_UPLOAD, 6, {}};
  YRAFT_THRESHOLD_INFO limits = {1, 2, 3, 4, 5, 6};
  YRAFT_FILEINFO_ITEM* record = NewRecord();
  YRAFT_ERROR_MESSAGE_INFO* message = nullptr;
  g_text->Quietly([&] { message = Yraft_ErrorMessageAllocate("title", "first", "second"); });
  CALLS(object.YraSetProgressBarPauseStatus(true), object.YraGetProgressBarPauseStatus(),
        object.YraSetProgressBarCancelStatus(true), object.YraGetProgressBarCancelStatus(),
        object.YraSetChooseOptStatusCode(4), object.YraGetChooseOptStatusCode(),
        object.YraOperationTypeGet(), object.YraSetProgressBarInfo(&progress),
        object.YraSetProgressBarInfo(nullptr),
        memcmp(object.YraGetProgressBarInfo(), &progress, sizeof(progress)),
        object.YraProgressBarInfoClear(), object.YraGetProgressBarInfo()->name,
        object.YraSetThresholdInfo(&limits), object.YraSetThresholdInfo(nullptr),
        memcmp(object.YraGetThresholdInfo(), &limits, sizeof(limits)),
        object.YraSetFileItemInfo(record), object.YraSetFileItemInfo(nullptr),
        memcmp(object.YraGetFileItemInfo(), record, sizeof(*record)),
        object.YraSetErrorMessageInfo(message), object.YraGetErrorMessageInfo());
}

void ChoiceAndPaths() {
  YraWinUI object;
  YRAFT_TLV_BLOCKS* block = nullptr;
  int size = 0;
  CALLS(object.YraGetChooseFilesNum(nullptr), object.YraGetChooseFilesNum(&size),
        object.YraGetAllChooseFiles(nullptr), object.YraGetAllChooseFiles(&block),
        object.YraGetAllChooseTlvBlocksPop(&block), object.YraRWCreate(), object.YraRWCreate(),
        object.YraRWGet(), object.YraGetChooseFilesNum(&size), object.YraGetAllChooseFiles(&block));
  free(block);
  WITHOUT_MEMORY(1, object.YraGetAllChooseFiles(&block));
  WITHOUT_MEMORY(1, object.YraGetAllChooseTlvBlocksPop(&block));
  CALL(object.YraGetAllChooseTlvBlocksPop(&block));
  free(block);
  CALLS(object.YraRWSet(nullptr), object.YraRWSet(new YraRW), object.YraRWSet(object.YraRWGet()),
        object.YraRWDestory());
  CALLS(object.YraListDelEnd(), object.YraListInsert("bb", 0), object.YraListInsert("", 0),
        object.YraListInsert("ccc", 5), object.YraListInsert("no", -1), object.YraListAppend("d"),
        object.YraListDelEnd(), object.YraListGetFileNum(), object.YraListGetFileListOffset(),
        object.YraListFind("cc"), object.YraListFind("ccc"), object.YraListDelAll());
}

// What no dialog comes up for.
void Refusals() {
  YRAFT_THRESHOLD_INFO limits = {};
  YRAFT_FILEINFO_ITEM* record = NewRecord();
  YRAFT_TLV_BLOCKS* block = nullptr;
  YRAFT_SELF_SIGNAL table = {};
  YraWinUI* winUI = nullptr;
  unsigned int status = 0;
  CALLS(YraGetChooseFilesList(0, nullptr, &limits, nullptr, &block),
        YraGetChooseFilesList(0, nullptr, nullptr, &status, &block),
        YraGetChooseFilesList(0, nullptr, &limits, &status, nullptr),
        YraGetChooseDirectory(0, nullptr, nullptr, nullptr, &block),
        YraGetChooseDirectory(0, nullptr, nullptr, &status, nullptr),
        YraMainWinUICreate(0, nullptr, nullptr, &winUI),
        YraMainWinUICreate(0, nullptr, &table, nullptr), YraMainWinUIDestory(nullptr));
  WITHOUT_MEMORY(1, YraGetChooseFilesList(0, nullptr, &limits, &status, &block));
  WITHOUT_MEMORY(1, YraMainWinUICreate(0, nullptr, &table, &winUI));
  // The store is the sixth, behind the object, its inside and the dialogs.
  WITHOUT_MEMORY(6, YraGetChooseFilesList(0, nullptr, &limits, &status, &block));
  WITHOUT_MEMORY(6, YraGetChooseDirectory(0, nullptr, record, &status, &block));
  CALL(YraWinUI(0, nullptr, nullptr).YraOperationTypeGet());
  for (int type = 0; type <= 6; ++type) {
    CALLS(YraWinUI(type, 0, nullptr, nullptr).YraOperationTypeGet(),
          YraSendSelfSignal(&table, type, 0, 0, nullptr));
  }
  CALL(YraSendSelfSignal(nullptr, 1, 0, 0, nullptr));
}

void WithoutDisplay() {
  const std::string display = getenv("DISPLAY");
  unsetenv("DISPLAY");
  YRAFT_THRESHOLD_INFO limits = {};
  YRAFT_TLV_BLOCKS* block = nullptr;
  YRAFT_SELF_SIGNAL table = {};
  YraWinUI* winUI = nullptr;
  YRAFT_PROGRESS_BAR_INFO progress = {};
  unsigned int status = 0;
  CALLS(YraMainWinUICreate(0, nullptr, &table, &winUI), YraMainWinUIDestory(winUI),
        YraGetChooseFilesList(0, nullptr, &limits, &status, &block),
        YraGetChooseDirectory(0, nullptr, NewRecord(), &status, &block),
        YraWinUI(3, 0, nullptr, &progress).YraOperationTypeGet(),
        YraWinUI().YraErrorMessageDiagCreate(0, nullptr, "title", "first", nullptr));
  setenv("DISPLAY", display.c_str(), 1);
}

void DialogsWithoutStore() {
  YraWinUI object;
  YRAFT_THRESHOLD_INFO limits = {};
  char path[] = "/tmp";
  CALLS(object.YraChooseFilesThresholdCheck(0, 0),
        object.YraChooseDirectoryThresholdCheck(2, nullptr),
        object.YraChooseDirectoryThresholdCheck(2, path), object.YraChooseFilesDiagCreate(),
        object.YraChooseDirectoryDiagCreate(), object.YraChooseFilesDiagCreate(0, nullptr, nullptr),
        object.YraChooseFilesDiagCreate(0, nullptr, &limits),
        object.YraChooseFilesDiagCreate(nullptr), object.YraChooseDirectoryDiagCreate(nullptr),
        object.YraProgressBarDiagCreate(nullptr), object.YraProgressBarDiagRefresh(nullptr),
        object.YraErrorMessageDiagCreate(nullptr),
        object.YraErrorMessageDiagCreate(0, nullptr, "title", nullptr, nullptr));
  CALLS(YraChooseFilesSelfSignalIdleFunc(nullptr), YraChooseDirectorySelfSignalIdleFunc(nullptr),
        YraProgressBarSelfSignalCreateIdleFunc(nullptr), YraErrorMsgIdleFunc(nullptr),
        YraProgressBarSelfSignalRefreshIdleFunc(nullptr), YraErrorMsgSelfSignalIdleFunc(nullptr));
  Forget(object);
}

// ---- Notifications -----------------------------------------------------------------------------

std::atomic<unsigned int> g_hostAnswer{0};

// Writes down what the host is told, in its place between the lines.
unsigned int Hear(unsigned int event, unsigned int subCode, unsigned int status, unsigned int value,
                  void* data) {
  __KvoTrace(KVO_CLASS_ALL, KVO_LOG_WARNING, "", "Host", 0, "%u, %u, 0x%x, %u, %s", event, subCode,
             status, value, data != nullptr ? "data" : "null");
  if (event != YRAFT_NOTIFY_PROGRESS_BAR) free(data);
  return g_hostAnswer;
}

void Registration() {
  CALLS(YraCallbackYraNotify(3, 7, 5, 0, nullptr), YraSetYraNotifyFun(Hear),
        YraCallbackYraNotify(3, 7, 5, 0, nullptr), YraSetYraNotifyCallback(nullptr),
        YraSetYraNotifyCallback(Hear));
}

// ---- What the user does, in the UI thread ------------------------------------------------------

void Act(const std::string& titlePart, const std::function<bool(GtkWidget*)>& act) {
  Require(With(titlePart, act), titlePart);
}

void Click(const std::string& label) {
  Act("%", [&](GtkWidget*) {
    GtkWidget* button = FindButton("%", label);
    if (button != nullptr) gtk_button_clicked(GTK_BUTTON(button));
    return button != nullptr;
  });
}

void SelectAll(const std::string& titlePart, const std::string& path) {
  Require(Select(titlePart, path, true), path);
}

void Answer(const std::string& titlePart, int response, int failing = 0) {
  Act(titlePart, [&](GtkWidget* window) {
    if (GTK_IS_FILE_CHOOSER(window) && response == GTK_RESPONSE_ACCEPT && !IsSelected(window, "")) {
      return false;
    }
    FailAllocation(failing);
    return gtk_dialog_response(GTK_DIALOG(window), response), EndFailing(), true;
  });
}

// As by a click on the window's close control.
void Close(const std::string& titlePart) {
  Act(titlePart, [](GtkWidget* window) {
    GdkEvent* event = gdk_event_new(GDK_DELETE);
    event->any.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(window)));
    gtk_main_do_event(event);
    return gdk_event_free(event), true;
  });
}

// A message that says of its size what it does not hold.
void* NewMessage(const char* first, int lie = 0) {
  YRAFT_ERROR_MESSAGE_INFO* message = nullptr;
  g_text->Quietly([&] { message = Yraft_ErrorMessageAllocate("Oops", first, "more"); });
  message->SecLen = static_cast<uint16_t>(message->SecLen + lie);
  return message;
}

// ---- Dialogs that are built and used without a main loop ---------------------------------------

void ProgressWindow() {
  YraWinUI object;
  const std::string bad = "mkdir -p /opt/Brelka/AVK/qmz/xx && sed 's/%d/%s/' " CATALOG_SOURCE
                          " >/opt/Brelka/bad.msg && LC_ALL=C.UTF-8 gencat"
                          " /opt/Brelka/AVK/qmz/xx/strings.cat /opt/Brelka/bad.msg";
  Require(system(bad.c_str()) == 0, "no bad catalog");
  OpenCatalog("xx");
  CALL(object.YraProgressBarDiagCreate());
  OpenCatalog("en_US.UTF-8");
  GtkWidget* window = nullptr;
  g_text->Quietly([&] { window = object.YraGetChildWinDiag(); });
  const auto create = [&] { return YraProgressBarSelfSignalCreateIdleFunc(&object); };
  const auto refresh = [&] { return YraProgressBarSelfSignalRefreshIdleFunc(&object); };
  // One part after the other is missing: the store, the button, the label, the window, the bar.
  CALLS(object.YraProgressBarDiagCreate(), create(), object.YraSetProgressBarPauseButton(nullptr),
        create(), refresh(), object.YraSetProgressBarLabel(nullptr), create(), refresh(),
        object.YraSetChildWinDiag(nullptr), create(), refresh(), object.YraSetChildWinDiag(window),
        object.YraSetProgressBarDiag(nullptr), refresh(), object.YraProgressBarDiagHideDestory(),
        object.YraProgressBarDiagDestory(), object.YraProgressBarDiagDestory());
}

void BuiltDialogs() {
  YraWinUI object;
  YRAFT_THRESHOLD_INFO limits = {};
  g_text->Quietly([&] { object.YraRWCreate(); });
  CALLS(object.YraMainWinCreate(), object.YraMainWinCreate(), object.YraMainWinDestory(),
        object.YraMainWinDestory(), object.YraChooseFilesDiagCreate(),
        object.YraChooseFilesDiagCreate(), object.YraChooseDirectoryDiagCreate(),
        object.YraChooseDirectoryDiagCreate(), object.YraErrorMessageDiagCreate(),
        object.YraErrorMessageDiagCreate(), object.YraChooseFilesDiagCreate(0, nullptr, &limits),
        object.YraChooseDirectoryDiagCreate(0, nullptr, NewRecord()),
        object.YraErrorMessageDiagCreate(0, nullptr, "title", "first", nullptr));
  GtkWidget* folders = nullptr;
  g_text->Quietly([&] { folders = object.YraGetChooseDirectoryDiag(); });
  GtkFileFilter* filter = gtk_file_chooser_get_filter(GTK_FILE_CHOOSER(folders));
  Require(mount("none", "/var/qmz", "tmpfs", MS_RDONLY, nullptr) == 0,
          "no folder for reading only");
  for (const char* name : {"/", "/nowhere", "/var/qmz", static_cast<const char*>(nullptr)}) {
    GtkFileFilterInfo info = {GTK_FILE_FILTER_DISPLAY_NAME, nullptr, nullptr, name, nullptr};
    CALL(gtk_file_filter_filter(filter, &info));
  }
  umount("/var/qmz");
  CALLS(object.YraChooseFilesDiagDestory(), object.YraChooseFilesDiagDestory(),
        object.YraChooseDirectoryDiagDestory(), object.YraErrorMessageDiagDestory(),
        object.YraErrorMessageDiagDestory());
  // Destroyed while the object does not hold them.
  GtkWidget* windows[4];
  g_text->Quietly([&] {
    object.YraChooseFilesDiagCreate();
    object.YraChooseDirectoryDiagCreate();
    object.YraErrorMessageDiagCreate();
    object.YraProgressBarDiagCreate();
    windows[0] = object.YraGetChooseFilesDiag();
    windows[1] = object.YraGetChooseDirectoryDiag();
    windows[2] = object.YraGetErrorMessageDiag();
    windows[3] = object.YraGetChildWinDiag();
  });
  CALLS(object.YraSetChooseFilesDiag(nullptr), object.YraSetChooseDirectoryDiag(nullptr),
        object.YraSetErrorMessageDiag(nullptr), object.YraSetChildWinDiag(nullptr));
  for (GtkWidget* window : windows) CALL(gtk_widget_destroy(window));
}

// Requests of an object that has neither dialogs nor a store, and no store only.
void RequestsWithoutDialogs() {
  YraWinUI object;
  YRAFT_THRESHOLD_INFO limits = {};
  for (void* data : {static_cast<void*>(nullptr), static_cast<void*>(&object)}) {
    CALLS((g_idle_add(YraChooseFilesIdleFunc, data), gtk_main()),
          (g_idle_add(YraChooseDirectoryIdleFunc, data), gtk_main()));
  }
  CALLS(object.YraChooseFilesDiagCreate(&limits), YraChooseFilesSelfSignalIdleFunc(&object),
        object.YraChooseDirectoryDiagCreate(NewRecord()),
        YraChooseDirectorySelfSignalIdleFunc(&object));
  g_text->Quietly([&] {
    object.YraRWCreate();
    object.YraChooseFilesDiagCreate();
    object.YraChooseDirectoryDiagCreate();
    object.YraRWDestory();
    object.YraChooseFilesDiagCreate(&limits);
    object.YraChooseDirectoryDiagCreate(NewRecord());
  });
  CALLS(YraChooseFilesSelfSignalIdleFunc(&object), YraChooseDirectorySelfSignalIdleFunc(&object),
        YraErrorMsgSelfSignalIdleFunc(&object));
  Forget(object);
}

// ---- A persistent UI ---------------------------------------------------------------------------

YRAFT_SELF_SIGNAL g_table;
YraWinUI* g_winUI = nullptr;
std::thread g_uiThread;

void StartUI() {
  g_table = {};
  g_uiThread = std::thread([] { YraMainWinUICreate(0, nullptr, &g_table, &g_winUI); });
  Require(WaitUntil(
              [] { return __atomic_load_n(&g_table.entries[5].signalId, __ATOMIC_ACQUIRE) != 0; }),
          "no UI");
  InUI([] {});
}

// Sends what the heading names.
void Send(const std::string& what, int type, void* record, int event = 0) {
  g_text->Do("YraSendSelfSignal of " + what,
             [&] { return YraSendSelfSignal(&g_table, type, event, 7, record); });
}

// A request that is not written down, and what the user does then, which is.
void Request(const std::string& user, int type, void* record, const std::function<void()>& act,
             int event = 0) {
  g_text->Quietly([&] { Send("", type, record, event); });
  g_text->Do("the user " + user, act);
}

void Choices() {
  const std::string files = Text(0x3001D);
  const std::string folder = Text(0x300BA);
  const std::string home = Home();
  const auto limits = [] { return calloc(1, sizeof(YRAFT_THRESHOLD_INFO)); };
  constexpr int kFiles = YRAFT_UI_SIGNAL_SELECT_FLIES;
  constexpr int kFolder = YRAFT_UI_SIGNAL_SELECT_DIR;
  Send("a choice of files without a record", kFiles, nullptr);
  Send("a choice of files", kFiles, limits());
  SelectAll(files, home + "/two/a.txt");
  g_text->Do("the user chooses two files", [&] { Answer(files, GTK_RESPONSE_ACCEPT); });
  for (const int nth : {1, 2, 3}) {
    g_text->Quietly([&] {
      Send("", kFiles, limits());
      SelectAll(files, home + "/one/a.txt");
    });
    g_text->Do("the user chooses a file, allocation " + std::to_string(nth) + " failing",
               [&] { Answer(files, GTK_RESPONSE_ACCEPT, nth); });
  }
  Send("a choice of a folder without a record", kFolder, nullptr);
  Send("a choice of a folder", kFolder, NewRecord());
  g_text->Do("the user chooses the folder", [&] { Answer(folder, GTK_RESPONSE_ACCEPT); });
  Request("chooses the folder, allocation 1 failing", kFolder, NewRecord(),
          [&] { Answer(folder, GTK_RESPONSE_ACCEPT, 1); });
  for (const int type : {kFiles, kFolder}) {
    const std::string title = type == kFiles ? files : folder;
    const auto record = [&] { return type == kFiles ? limits() : NewRecord(); };
    Request("cancels", type, record(), [&] { Answer(title, GTK_RESPONSE_CANCEL); });
    Request("closes the window", type, record(), [&] { Close(title); });
    Request("answers otherwise", type, record(), [&] { Answer(title, GTK_RESPONSE_HELP); });
  }
  g_hostAnswer = 5;
  Request("cancels, and the host answers 5", kFiles, limits(),
          [&] { Answer(files, GTK_RESPONSE_CANCEL); });
  g_hostAnswer = 0;
  g_text->Quietly([] { YraSetYraNotifyCallback(nullptr); });
  Request("cancels, and nobody is registered", kFiles, limits(),
          [&] { Answer(files, GTK_RESPONSE_CANCEL); });
  Send("a choice of files without a record or a host", kFiles, nullptr);
  g_text->Quietly([] { YraSetYraNotifyCallback(Hear); });
}

void ProgressEvents() {
  const auto send = [](const char* what, int event, void* record) {
    Send(what, YRAFT_UI_SIGNAL_PROGRESS_BAR, record, event);
  };
  send("an event without a record", 1, nullptr);
  send("an unknown event", 9, NewProgress("a", 0, 1, 4, 9));
  send("a download's begin", 1, NewProgress("dir/name", 1, 4, 4, 9));
  send("its progress", 2, NewProgress("dir/name", 3, 4, 4, 9));
  send("progress of another file", 2, NewProgress("other", 2, 8, 4, 9));
  g_text->Do("the user pauses", [] { Click("_Pause"); });
  g_text->Do("the user resumes", [] { Click("_Resume"); });
  g_hostAnswer = 5;
  g_text->Do("the user pauses, and the host answers 5", [] { Click("_Pause"); });
  g_text->Do("the user cancels, and the host answers 5", [] { Click("_Cancel"); });
  g_hostAnswer = 0;
  send("an upload's begin", 1, NewProgress("name", 0, 4, 4, 9, YRAFT_OPERATION_UPLOAD));
  send("its end", 2, NewProgress("name", 4, 4, 4, 9));
  send("the begin of a file of no direction", 1, NewProgress("x", 0, 0, 4, 9, 0));
  send("its close", 3, NewProgress("x", 0, 0, 4, 9));
  Request(
      "closes the window", YRAFT_UI_SIGNAL_PROGRESS_BAR, NewProgress("y", 1, 4, 4, 9),
      [] { Close("25%"); }, 1);
  send("progress without a window", 2, NewProgress("y", 2, 4, 4, 9));
  send("the begin of a file without a window", 1, NewProgress("y", 2, 4, 4, 9));
}

void Messages() {
  constexpr int kMessage = YRAFT_UI_SIGNAL_MESSAGE;
  Send("no message", kMessage, nullptr);
  Send("a message whose lengths do not fit it", kMessage, NewMessage("first", 9));
  Send("a message", kMessage, NewMessage("<b>first</b>"));
  g_text->Do("the user closes the box", [] { Answer("Oops", GTK_RESPONSE_CLOSE); });
  Request("closes its window", kMessage, NewMessage("a & b"), [] { Close("Oops"); });
  for (const int response : {GTK_RESPONSE_CANCEL, GTK_RESPONSE_ACCEPT, GTK_RESPONSE_HELP}) {
    Request("answers " + std::to_string(response), kMessage, NewMessage("first"),
            [&] { Answer("Oops", response); });
  }
}

void PersistentUI() {
  YRAFT_SELF_SIGNAL other = {};
  YraWinUI* second = nullptr;
  CALL(StartUI());
  g_text->Serve(true);
  CALLS(YraMainWinUICreate(0, nullptr, &other, &second), YraMainWinUIDestory(second));
  Choices();
  ProgressEvents();
  Messages();
  g_text->Quietly([] {
    for (int i = 0; i < 2; ++i) {
      Send("", YRAFT_UI_SIGNAL_SELECT_FLIES, calloc(1, sizeof(YRAFT_THRESHOLD_INFO)));
      Send("", YRAFT_UI_SIGNAL_SELECT_DIR, NewRecord());
    }
  });
  g_text->Serve(false);
  CALLS((YraSendSelfSignal(&g_table, YRAFT_UI_SIGNAL_THREAD_DESTORY, 0, 7, nullptr),
         g_uiThread.join()),
        YraMainWinUIDestory(g_winUI));
  // Another, whose main window goes without the main loop's end.
  g_text->Quietly([] {
    StartUI();
    InUI([] {
      GtkWidget* main = MainWindow();
      g_signal_handlers_disconnect_by_func(main, reinterpret_cast<void*>(gtk_main_quit), nullptr);
      gtk_widget_destroy(main);
    });
  });
  Send("the end without a main window", YRAFT_UI_SIGNAL_THREAD_DESTORY, nullptr);
  g_text->Quietly([] {
    InUI(gtk_main_quit);
    g_uiThread.join();
    YraMainWinUIDestory(g_winUI);
  });
}

// ---- Dialogs of one call -----------------------------------------------------------------------

// A call in a thread of its own, and the user.
void OneCall(const std::string& heading, const std::function<std::string()>& call,
             const std::function<void()>& user) {
  g_text->Do(heading, [&] {
    auto answer = std::async(std::launch::async, call);
    user();
    return Await(answer);
  });
}

std::string Told(unsigned int ret, unsigned int status, YRAFT_TLV_BLOCKS* block) {
  const std::string items =
      block == nullptr ? "no block" : std::to_string(block->ListCount) + " items";
  free(block);
  return Shown(ret) + ", status " + Shown(status) + ", " + items;
}

void ChoiceCalls() {
  const std::string box = Text(0x200C0);
  const std::string home = Home();
  YRAFT_THRESHOLD_INFO limits = {1, 2, 30, 2, 5, 6};
  unsigned int status = 0;
  YRAFT_TLV_BLOCKS* block = nullptr;
  const auto files = [&] {
    const unsigned int ret = YraGetChooseFilesList(0, nullptr, &limits, &status, &block);
    return Told(ret, status, block);
  };
  const auto folder = [&] {
    const unsigned int ret = YraGetChooseDirectory(0, nullptr, NewRecord(), &status, &block);
    return Told(ret, status, block);
  };
  const auto choose = [](const std::string& title, const std::string& path) {
    SelectAll(title, path);
    Answer(title, GTK_RESPONSE_ACCEPT);
  };
  for (const bool isFiles : {true, false}) {
    const std::string title = isFiles ? "Open:" : "Upload To";
    const std::string name =
        isFiles ? "YraGetChooseFilesList, the user " : "YraGetChooseDirectory, the user ";
    const std::function<std::string()> call =
        isFiles ? std::function<std::string()>(files) : folder;
    OneCall(name + "cancels", call, [&] { Answer(title, GTK_RESPONSE_CANCEL); });
    OneCall(name + "closes the window", call, [&] { Close(title); });
    OneCall(name + "answers otherwise", call, [&] { Answer(title, GTK_RESPONSE_HELP); });
    OneCall(name + "chooses two", call,
            [&] { choose(title, home + (isFiles ? "/two/a.txt" : "/folders/a")); });
  }
  OneCall("YraGetChooseDirectory, the user chooses one", folder,
          [] { Answer("Upload To", GTK_RESPONSE_ACCEPT); });
  for (const bool many : {false, true}) {
    const std::string reason = Text(many ? 0x20082 : 0x20021);
    limits = {1, 2, 29, static_cast<uint16_t>(many ? 1 : 2), 5, 6};
    OneCall(std::string("YraGetChooseFilesList, the user chooses too ") + (many ? "many" : "much"),
            files, [&] {
              choose("Open:", home + "/two/a.txt");
              Require(WaitUntil([&] { return LabelText(box, 1) == reason; }), reason);
              Answer(box, GTK_RESPONSE_CLOSE);
            });
  }
}

void OtherCalls() {
  const std::unique_ptr<void, decltype(&free)> progress(NewProgress("dir/name", 1, 4, 4, 9), free);
  const std::unique_ptr<void, decltype(&free)> message(NewMessage("first"), free);
  const std::unique_ptr<void, decltype(&free)> lie(NewMessage("first", 9), free);
  const auto run = [](int type, void* input) {
    return [=] { return Shown(YraWinUI(type, 0, nullptr, input).YraOperationTypeGet()); };
  };
  OneCall("YraWinUI(3, 0, nullptr, progress)", run(3, progress.get()), [] {
    Click("_Pause");
    Click("_Cancel");
    Close("25%");
  });
  g_hostAnswer = 5;
  OneCall("YraWinUI(3, 0, nullptr, progress), and the host answers 5", run(3, progress.get()),
          [] { Close("25%"); });
  OneCall("YraWinUI(4, 0, nullptr, message)", run(4, message.get()),
          [] { Answer("Oops", GTK_RESPONSE_CLOSE); });
  CALL(YraWinUI(4, 0, nullptr, lie.get()).YraOperationTypeGet());
}

}  // namespace

int main(int, char** argv) try {
  for (const char* folder : {"one", "two", "folders/a", "folders/b"}) {
    AddFolder(folder);
  }
  for (const char* file : {"one/a.txt", "two/a.txt", "two/b.txt"}) AddFile(file, 15);
  // The race detector's first block of a size may look like null in a line, which has 32 bits of
  // it.
  const std::unique_ptr<void, decltype(&free)> first(NewProgress("", 0, 0), free);
  Transcript text(argv[1]);
  g_text = &text;
  StoreRefusals();
  for (int type = YRAFT_QUEUE_BUFFER; type <= YRAFT_MAP_UITHREAD; ++type) OneContainer(type);
  SnapshotFailures();
  Blocks();
  Records();
  Texts();
  Refusals();
  WithoutDisplay();
  State();
  ChoiceAndPaths();
  DialogsWithoutStore();
  Registration();
  gtk_init_check(nullptr, nullptr);
  ProgressWindow();
  BuiltDialogs();
  RequestsWithoutDialogs();
  PersistentUI();
  ChoiceCalls();
  OtherCalls();
  text.Quietly(KvoLocaliseShutdown);
  return 0;
} catch (...) {
  return 1;
}
