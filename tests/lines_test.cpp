// Calls every function of the interface with all levels of the log open, and writes down what each
// answers and the lines that it leaves: lines_test OUTPUT. lines_test.sh holds that against the
// stored text.
//
// Under a call's heading stand the lines of the thread that called, and behind "--" those of
// another, the UI's. Addresses are masked; figures are not, as nothing here is left to chance.
#include "dialogs/YraDialogs.h"
// The trace vocabulary comes first.
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <future>
#include <memory>
#include <mutex>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "YraWinUI.h"
#include "kvolocalise.h"
#include "support/allocation.h"
#include "support/desktop.h"
#include "support/host.h"
#include "support/log_service.h"

namespace {

// ---- What is written down ----------------------------------------------------------------------

void Require(bool holds, const char* what) {
  if (holds) return;
  fprintf(stderr, "%s\n", what);
  fflush(stderr);
  _exit(1);
}

std::string Masked(const std::string& text) {
  static const std::regex address("0x(?!0\\b)[0-9a-fA-F]+");
  static const std::regex block("( - )0x(?!0\\b)[0-9a-f]+");
  static const std::regex newLine("\n");
  static const std::regex home("/tmp/yra-home-[A-Za-z0-9]{6}");
  static const std::regex signal("signalID=[0-9]+");
  const auto has = [&](const char* part) { return text.find(part) != std::string::npos; };
  std::string masked =
      std::regex_replace(std::regex_replace(text, home, "~"), signal, "signalID=*");
  masked = std::regex_replace(masked, newLine, "\\n");
  if (has("from GTK")) return std::regex_replace(masked, block, "$010x*");
  // Where a hexadecimal number is a code and no address.
  for (const char* code : {"ret=", "ret = ", "tatusCode=", "code is ", "failed.(", "from UI",
                           "thread.(", "message 0x", "ACCEPT. (", "Host: "}) {
    if (has(code)) return masked;
  }
  return std::regex_replace(masked, address, "0x*");
}

template <class T>
std::string Shown(T value) {
  char number[32];
  if constexpr (std::is_same_v<T, std::string>) {
    return value;
  } else if constexpr (std::is_same_v<T, bool>) {
    return value ? "true" : "false";
  } else if constexpr (std::is_convertible_v<T, const char*>) {
    return value == nullptr ? "null" : '"' + std::string(value) + '"';
  } else if constexpr (std::is_pointer_v<T>) {
    return value == nullptr ? "null" : "a pointer";
  } else {
    snprintf(number, sizeof(number), value > 0xFFFF ? "0x%llX" : "%lld",
             static_cast<long long>(value));
    return number;
  }
}

class Transcript {
 public:
  explicit Transcript(const char* path) : m_out(path) {
    Require(KvoLogInit() == 1 && m_service.Accept(), "no log");
    m_out << "Behind ==, a call and its answer. Then the lines: class, level, function, text; "
             "behind --\n"
             "those of another thread. 0x* is an address, ~ the home directory, and … the lines of "
             "a\n"
             "function that stand above already. \"Host\" is the notify function and its "
             "arguments.\n\n";
    KvoLogSetCurrentLevel(KVO_CLASS_ALL, KVO_LOG_VERBOSE);
    m_reader = std::thread([this] {
      while (const auto record = m_service.Next()) Arrive(*record);
    });
  }
  ~Transcript() {
    KvoLogShutdown();
    m_reader.join();
  }

  // What `type` stands for in the headings that follow.
  void Name(const char* name) { m_type = name; }
  // Whether a UI thread serves, whose lines belong to the calls.
  void Serve(bool serves) { m_serves = serves; }

  template <class Call>
  void Do(const std::string& heading, Call call) {
    if (m_quiet > 0) return static_cast<void>(call());
    Take();
    m_out << "== " << std::regex_replace(heading, std::regex("\\btype\\b"), m_type);
    if constexpr (std::is_void_v<decltype(call())>) {
      call();
    } else {
      m_out << " = " << Shown(call());
    }
    m_out << std::endl;         // the last one is the one that broke
    if (m_serves) InUI([] {});  // what was queued there is done with
    const std::vector<Line> lines = Take();
    const auto own = static_cast<uint16_t>(gettid());
    for (const bool mine : {true, false}) {
      std::vector<std::string> texts;
      for (const Line& line : lines) {
        if ((line.head.thread == own) != mine) continue;
        texts.push_back(std::to_string(line.head.classId) + ' ' + std::to_string(line.head.level) +
                        ' ' + Masked(line.text) + '\n');
      }
      if (!mine && !texts.empty()) m_out << "--\n";
      Write(texts);
    }
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
  void Arrive(const std::string& record) {
    Line line(record);
    // The toolkit asks the filter for each entry of a folder as it likes.
    if (line.head.head.type != KVO_LOG_RECORD_TRACE ||
        (!m_filter && line.text.starts_with("YraChooseDirectoryDiagFilterCallback"))) {
      return;
    }
    const std::lock_guard lock(m_mutex);
    m_lines.push_back(std::move(line));
    m_came.notify_all();
  }

  // Behind the lines of the function that enters at a line; the next line where none does.
  static std::size_t Behind(const std::vector<std::string>& lines, std::size_t at) {
    if (!lines[at].ends_with("] In.\n")) return at + 1;
    const auto who = [&](std::size_t i) { return lines[i].substr(5, lines[i].find("] ") - 5); };
    int depth = 0;
    for (std::size_t i = at; i < lines.size(); ++i) {
      if (lines[i].size() < 6 || who(i) != who(at)) continue;
      if (lines[i].ends_with("] In.\n")) ++depth;
      if (lines[i].find("] Out") != std::string::npos && --depth == 0) return i + 1;
    }
    return at + 1;
  }

  // Writes lines down. Of a function that another one calls, and whose lines are all the same as
  // they were before, stand the first and the last in one.
  void Write(const std::vector<std::string>& lines) {
    for (std::size_t i = 0; i < lines.size();) {
      const std::size_t behind = Behind(lines, i);
      std::string text;
      for (std::size_t j = i; j < behind; ++j) text += lines[j];
      const bool known = !m_known.insert(text).second;
      if (known && i > 0 && behind - i > 1) {
        const std::string& last = lines[behind - 1];
        m_out << lines[i].substr(0, lines[i].size() - 1) << " …"
              << last.substr(last.find("] ") + 1);
        i = behind;
      } else {
        m_out << lines[i++];
      }
    }
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

  std::ofstream m_out;
  LogService m_service;
  std::thread m_reader;
  std::mutex m_mutex;
  std::condition_variable m_came;
  std::vector<Line> m_lines;
  std::set<std::string> m_known;  // what functions have written
  int m_marks = 0;
  std::string m_type;
  bool m_serves = false;
  int m_quiet = 0;

 public:
  std::atomic<bool> m_filter{false};
};

Transcript* g_text = nullptr;

#define CALL(...) g_text->Do(#__VA_ARGS__, [&] { return __VA_ARGS__; })
// The same where the call's nth allocation finds no memory.
#define CALL_WITHOUT_MEMORY(nth, ...)                      \
  g_text->Do(#__VA_ARGS__ ", allocation " #nth " failing", \
             [&] { return WithFailingAllocation(nth, [&] { return __VA_ARGS__; }); })

// ---- The queue store ---------------------------------------------------------------------------

constexpr unsigned int kLength = 50;

// An element that fits every container: a file record of more than 32 bytes.
unsigned char* NewElement(unsigned short number = 0) {
  YRAFT_FILEINFO_ITEM* item = nullptr;
  g_text->Quietly([&] { item = Yraft_FileInfoItemAllocate("a name", 6, number, 100); });
  item->fileTransferOperation = YRAFT_OPERATION_UPLOAD;
  return static_cast<unsigned char*>(realloc(item, item->cbSize + sizeof(YRAFT_FILES_UI)));
}

// What is pushed, with what the store leaves to its pusher.
struct Pushed {
  YraRW* store = nullptr;
  int type = 0;
  std::vector<unsigned char*> elements;

  unsigned int Push(int key, unsigned int len = kLength) {
    elements.push_back(NewElement(static_cast<unsigned short>(elements.size())));
    const unsigned int ret = YraftRWPush(store, type, key, elements.back(), len);
    if (ret != 0) Drop(elements.size() - 1);
    return ret;
  }
  void Drop(std::size_t at) {
    free(elements[at]);
    elements.erase(elements.begin() + static_cast<std::ptrdiff_t>(at));
  }
  // All have left the container.
  void Left(bool released) {
    while (!released && !elements.empty()) Drop(0);
    elements.clear();
  }
};

void OneContainer(int type, const char* name) {
  g_text->Name(name);
  Pushed with{nullptr, type, {}};
  YraRW* store = nullptr;
  unsigned char* data = nullptr;
  unsigned int weight = 0;
  int size = 0;
  g_text->Quietly([&] { YraftRWCreate(&store); });
  with.store = store;
  const auto push = [&](int key) {
    g_text->Do("YraftRWPush(store, type, " + std::to_string(key) + ", element, 50)",
               [&] { return with.Push(key); });
  };
  push(3);
  push(7);
  if (type == YRAFT_MAP_UITHREAD) {
    push(3);
    push(65536);
  }
  CALL(YraftRWGetAll(store, type, &data));
  free(data);
  if (type == YRAFT_QUEUE_READ || type == YRAFT_QUEUE_WRITE) {
    return g_text->Quietly([&] { YraftRWDestory(&store); });
  }
  CALL(YraftRWSize(store, type, &size));
  CALL(YraftRWContextSize(store, type, &weight));
  CALL(YraftRWEmpty(store, type));
  CALL(YraftRWFind(store, type, 7));
  CALL(YraftRWFind(store, type, 5));
  CALL(YraftRWFront(store, type, 3, &data));
  CALL(YraftRWPop(store, type, 3));
  if (type == YRAFT_QUEUE_FILEINFO) {
    with.elements.erase(with.elements.begin());
  } else {
    with.Drop(0);
  }
  CALL(YraftRWPopFront(store, type, 7, &data));
  with.Drop(0);
  CALL(YraftRWPop(store, type, 7));
  CALL(YraftRWFront(store, type, 7, &data));
  CALL(YraftRWPopFront(store, type, 7, &data));
  g_text->Quietly([&] { with.Push(4), with.Push(2); });
  CALL(store->YraRW_QueueGetAllPop(type, &data));
  free(data);
  with.Left(type == YRAFT_QUEUE_FILEINFO);
  g_text->Quietly([&] { with.Push(1); });
  CALL(YraftRWClear(store, type));
  with.Left(type <= YRAFT_QUEUE_FILEUI);
  g_text->Quietly([&] { YraftRWDestory(&store); });
}

void StoreRefusals() {
  YraRW* store = nullptr;
  YraRW* none = nullptr;
  unsigned char* data = nullptr;
  unsigned char element[1] = {};
  unsigned int weight = 0;
  int size = 0;
  CALL(YraftRWCreate(nullptr));
  CALL(YraftRWCreate(&store));
  CALL_WITHOUT_MEMORY(1, YraftRWCreate(&none));
  CALL(YraftRWPush(nullptr, 1, 0, element, 1));
  CALL(YraftRWFront(nullptr, 1, 0, &data));
  CALL(YraftRWPopFront(store, 1, 0, nullptr));
  CALL(YraftRWPop(nullptr, 1, 0));
  CALL(YraftRWFind(nullptr, 7, 0));
  CALL(YraftRWSize(nullptr, 1, &size));
  CALL(YraftRWEmpty(nullptr, 1));
  CALL(YraftRWClear(nullptr, 1));
  CALL(YraftRWReset(nullptr));
  CALL(YraftRWContextSize(store, 1, nullptr));
  CALL(YraftRWGetAll(store, 1, nullptr));
  CALL(store->YraRW_QueuePush(1, 0, nullptr, 1));
  CALL(store->YraRW_QueuePush(1, 0, element, 0));
  CALL_WITHOUT_MEMORY(1, store->YraRW_QueuePush(6, 0, element, 1));
  CALL(store->YraRW_QueueFront(1, 0, nullptr));
  CALL(store->YraRW_QueuePopFront(1, 0, nullptr));
  CALL(store->YraRW_QueueSize(1, nullptr));
  CALL(store->YraRW_QueueContextSize(1, nullptr));
  CALL(store->YraRW_QueueGetAll(1, nullptr));
  CALL(store->YraRW_QueueGetAllPop(1, nullptr));
  CALL(store->YraRW_QueueTypeCheck(0));
  CALL(store->YraRW_QueueTypeCheck(7));
  CALL(YraftRWPush(store, 8, 0, element, 1));
  CALL(YraftRWFront(store, 0, 0, &data));
  CALL(YraftRWPopFront(store, -1, 0, &data));
  CALL(YraftRWPop(store, 8, 0));
  CALL(YraftRWFind(store, 8, 0));
  CALL(YraftRWSize(store, 8, &size));
  CALL(YraftRWEmpty(store, 8));
  CALL(YraftRWClear(store, 8));
  CALL(YraftRWContextSize(store, 8, &weight));
  CALL(YraftRWGetAll(store, 8, &data));
  CALL(store->YraRW_QueueGetAllPop(8, &data));
  CALL(YraftRWReset(store));
  CALL(YraftRWDestory(&store));
  CALL(YraftRWDestory(&store));
  CALL(YraftRWDestory(nullptr));
  CALL(Yraft_GetFile());
}

// Records that fit no item or no block, and blocks for which there is no memory.
void SnapshotFailures() {
  Pushed with{nullptr, YRAFT_QUEUE_FILEINFO, {}};
  unsigned char* data = nullptr;
  g_text->Quietly([&] {
    YraftRWCreate(&with.store);
    for (int i = 0; i < 3; ++i) with.Push(0);
  });
  YraRW* store = with.store;
  constexpr int type = YRAFT_QUEUE_FILEINFO;
  g_text->Name("YRAFT_QUEUE_FILEINFO");
  const auto lie = [&](std::size_t which, uint16_t cbSize) {
    reinterpret_cast<YRAFT_FILEINFO_ITEM*>(with.elements[which])->cbSize = cbSize;
  };
  CALL_WITHOUT_MEMORY(1, YraftRWGetAll(store, type, &data));
  CALL_WITHOUT_MEMORY(2, YraftRWGetAll(store, type, &data));
  free(data);
  lie(0, 0);
  CALL(YraftRWGetAll(store, type, &data));
  free(data);
  lie(0, 31);
  lie(1, 31 + 17);
  CALL(YraftRWGetAll(store, type, &data));
  free(data);
  data = nullptr;
  lie(1, 31);
  g_text->Quietly([&] {
    while (with.elements.size() <= 65523 / 39) with.Push(0);
  });
  CALL(store->YraRW_QueueGetAll(type, &data));
  CALL(store->YraRW_QueueGetAllPop(type, &data));
  g_text->Quietly([&] { YraftRWDestory(&store); });
}

// ---- Records and blocks ------------------------------------------------------------------------

void Records() {
  YRAFT_TLV_BLOCKS* block = nullptr;
  unsigned short size = 0;
  CALL(Yraft_TlvBlocksAllocate(nullptr, 12));
  CALL(Yraft_TlvBlocksAllocate(&block, 11));
  CALL_WITHOUT_MEMORY(1, Yraft_TlvBlocksAllocate(&block, 30));
  CALL(Yraft_TlvBlocksAllocate(&block, 30));
  CALL(Yraft_TlvItemAllocate(nullptr, 8));
  CALL(Yraft_TlvItemAllocate("12345678", 0));
  CALL_WITHOUT_MEMORY(1, Yraft_TlvItemAllocate("12345678", 8));
  YRAFT_TLV_ITEM* item = nullptr;
  g_text->Do("Yraft_TlvItemAllocate(\"12345678\", 8)",
             [&] { return item = Yraft_TlvItemAllocate("12345678", 8); });
  CALL(Yraft_TlvBlocksAddItem(nullptr, 30, item, 16));
  CALL(Yraft_TlvBlocksAddItem(block, 30, nullptr, 16));
  volatile int tooMuch = 17;  // the compiler warns of what it can see
  CALL(Yraft_TlvBlocksAddItem(block, 30, item, tooMuch));
  CALL(Yraft_TlvBlocksAddItem(block, 30, item, 16));
  CALL(Yraft_TlvBlocksAddItem(block, 30, item, 16));
  CALL(Yraft_TlvBlocksGetSize(block, &size));
  CALL(Yraft_TlvBlocksGetSize(block, nullptr));
  free(item);
  free(block);
  YRAFT_FILEINFO_ITEM* record = nullptr;
  CALL(Yraft_FileInfoItemAllocate(nullptr, 5, 0, 0));
  CALL(Yraft_FileInfoItemAllocate("name", -1, 0, 0));
  CALL_WITHOUT_MEMORY(1, Yraft_FileInfoItemAllocate("name", 4, 0, 0));
  g_text->Do("Yraft_FileInfoItemAllocate(\"name\", 4, 7, 1 << 20)",
             [&] { return record = Yraft_FileInfoItemAllocate("name", 4, 7, 1 << 20); });
  free(record);
  g_text->Do("Yraft_FileInfoItemAllocate(nullptr, 0, 0, 0)",
             [&] { return record = Yraft_FileInfoItemAllocate(nullptr, 0, 0, 0); });
  free(record);
  CALL(Yraft_GetFileSize(nullptr));
  CALL(Yraft_GetFileSize("/nowhere"));
  const std::string file = Desktop::Get().Home() + "/one/a.txt";
  CALL(Yraft_GetFileSize(file.c_str()));
  CALL(Yraft_GetFileNameFromFilePath("/tmp/a.txt", '/'));
  CALL(Yraft_GetFileNameFromFilePath("a.txt", '/'));
  CALL(Yraft_GetFileNameFromFilePath(nullptr, '/'));
  YRAFT_ERROR_MESSAGE_INFO* message = nullptr;
  const std::string longText(65535, 't');
  CALL(Yraft_ErrorMessageAllocate(longText.c_str(), nullptr, nullptr));
  CALL_WITHOUT_MEMORY(1, Yraft_ErrorMessageAllocate("title", "first", "second"));
  g_text->Do("Yraft_ErrorMessageAllocate(\"title\", \"first\", \"second\")",
             [&] { return message = Yraft_ErrorMessageAllocate("title", "first", "second"); });
  free(message);
}

// ---- Texts -------------------------------------------------------------------------------------

// Puts the English catalog, changed, where a language of its own is looked for.
void AddBadCatalog() {
  const std::string made = "mkdir -p /opt/Brelka/AVK/qmz/xx && sed 's/%d/%s/' " CATALOG_SOURCE
                           " >/opt/Brelka/bad.msg && LC_ALL=C.UTF-8 gencat"
                           " /opt/Brelka/AVK/qmz/xx/strings.cat /opt/Brelka/bad.msg";
  Require(system(made.c_str()) == 0, "no bad catalog");
}

void Texts() {
  unsetenv("LC_ALL");
  setenv("LC_MESSAGES", "xx", 1);
  CALL(KvoLocalise(0x20068));
  setenv("LANG", "", 1);
  CALL(KvoLocaliseInit());
  CALL(KvoLocaliseInit());
  CALL(KvoLocalise(0x300BA));
  CALL(KvoLocalise(7));
  CALL(KvoLocaliseLookupByName("YRAFT_ENG_BUTTON_PAUSE"));
  CALL(KvoLocaliseLookupByName("yraft_eng_button_pause"));
  CALL(KvoLocaliseLookupByName(nullptr));
  CALL(KvoLocaliseShutdown());
  CALL(KvoLocaliseShutdown());
  setenv("LANG", "tlh_KX", 1);
  CALL(KvoLocaliseInit());
  g_text->Quietly(KvoLocaliseShutdown);
  rename("/opt/Brelka/AVK/qmz/en", "/opt/Brelka/AVK/qmz/away");
  setenv("LANG", "tlh_KX", 1);
  CALL(KvoLocaliseInit());
  rename("/opt/Brelka/AVK/qmz/away", "/opt/Brelka/AVK/qmz/en");
  setenv("LC_ALL", "C.UTF-8", 1);
  CALL(KvoPrint("%d files", 3));
  CALL(KvoPrintError("%s", "100%"));
}

// What was queued for the object is not run: there is no main loop that it would be queued in.
void Forget(YraWinUI& object) {
  while (g_source_remove_by_user_data(&object)) {
  }
}

// ---- The object without a screen ---------------------------------------------------------------

void Widgets(YraWinUI& object) {
  auto* widget = reinterpret_cast<GtkWidget*>(&object);
#define WIDGET(name)                 \
  CALL(object.YraSet##name(widget)); \
  CALL(object.YraGet##name());       \
  g_text->Quietly([&] { object.YraSet##name(nullptr); })
  WIDGET(WinUIWidget);
  WIDGET(ChildWinDiag);
  WIDGET(ChooseFilesDiag);
  WIDGET(ChooseDirectoryDiag);
  WIDGET(ErrorMessageDiag);
  WIDGET(ProgressBarDiag);
  WIDGET(ProgressBarPauseButton);
  WIDGET(ProgressBarCancelButton);
  WIDGET(ProgressBarLabel);
#undef WIDGET
}

void State(YraWinUI& object) {
  CALL(object.YraSetProgressBarPauseStatus(true));
  CALL(object.YraGetProgressBarPauseStatus());
  CALL(object.YraSetProgressBarCancelStatus(true));
  CALL(object.YraGetProgressBarCancelStatus());
  CALL(object.YraSetChooseOptStatusCode(YRAFT_OPT_STATUS_FAILED));
  CALL(object.YraGetChooseOptStatusCode());
  CALL(object.YraOperationTypeGet());
  YRAFT_PROGRESS_BAR_INFO progress = {1, 2, 3, 4, 5, "dir/name", YRAFT_OPERATION_UPLOAD, 6, {}};
  YRAFT_THRESHOLD_INFO limits = {1, 2, 3, 4, 5, 6};
  auto* item = reinterpret_cast<YRAFT_FILEINFO_ITEM*>(NewElement(9));
  YRAFT_ERROR_MESSAGE_INFO* message = nullptr;
  g_text->Quietly([&] { message = Yraft_ErrorMessageAllocate("title", "first", "second"); });
  CALL(object.YraSetProgressBarInfo(&progress));
  CALL(object.YraSetProgressBarInfo(nullptr));
  CALL(object.YraGetProgressBarInfo());
  CALL(object.YraProgressBarInfoClear());
  CALL(object.YraSetThresholdInfo(&limits));
  CALL(object.YraSetThresholdInfo(nullptr));
  CALL(object.YraGetThresholdInfo());
  CALL(object.YraSetFileItemInfo(item));
  CALL(object.YraSetFileItemInfo(nullptr));
  CALL(object.YraGetFileItemInfo());
  CALL(object.YraSetErrorMessageInfo(message));
  CALL(object.YraGetErrorMessageInfo());
  free(item);
}

void ChoiceInStore(YraWinUI& object) {
  YRAFT_TLV_BLOCKS* block = nullptr;
  int size = 0;
  CALL(object.YraGetChooseFilesNum(nullptr));
  CALL(object.YraGetChooseFilesNum(&size));
  CALL(object.YraGetAllChooseFiles(nullptr));
  CALL(object.YraGetAllChooseFiles(&block));
  CALL(object.YraGetAllChooseTlvBlocksPop(&block));
  CALL(object.YraChooseFilesDiagCreate());
  CALL(object.YraChooseDirectoryDiagCreate());
  CALL(object.YraRWCreate());
  CALL(object.YraRWCreate());
  CALL(object.YraRWGet());
  CALL(object.YraGetChooseFilesNum(&size));
  CALL(object.YraGetAllChooseFiles(&block));
  free(block);
  CALL_WITHOUT_MEMORY(1, object.YraGetAllChooseFiles(&block));
  CALL_WITHOUT_MEMORY(1, object.YraGetAllChooseTlvBlocksPop(&block));
  CALL(object.YraGetAllChooseTlvBlocksPop(&block));
  free(block);
  CALL(object.YraRWSet(nullptr));
  CALL(object.YraRWSet(nullptr));
  g_text->Quietly([&] { object.YraRWCreate(); });
  CALL(object.YraRWDestory());
}

void Paths(YraWinUI& object) {
  CALL(object.YraListDelEnd());
  CALL(object.YraListInsert("bb", 0));
  CALL(object.YraListInsert("", 0));
  CALL(object.YraListInsert("ccc", 5));
  CALL(object.YraListInsert("no", -1));
  CALL(object.YraListAppend("d"));
  CALL(object.YraListDelEnd());
  CALL(object.YraListGetFileNum());
  CALL(object.YraListGetFileListOffset());
  CALL(object.YraListFind("cc"));
  CALL(object.YraListFind("ccc"));
  CALL(object.YraListDelAll());
}

// Refusals, for which no dialog comes up.
void Refusals() {
  YRAFT_THRESHOLD_INFO limits = {};
  auto* item = reinterpret_cast<YRAFT_FILEINFO_ITEM*>(NewElement());
  YRAFT_TLV_BLOCKS* block = nullptr;
  YRAFT_SELF_SIGNAL table = {};
  YraWinUI* winUI = nullptr;
  unsigned int status = 0;
  CALL(YraGetChooseFilesList(0, nullptr, &limits, nullptr, &block));
  CALL(YraGetChooseFilesList(0, nullptr, nullptr, &status, &block));
  CALL(YraGetChooseFilesList(0, nullptr, &limits, &status, nullptr));
  CALL(YraGetChooseDirectory(0, nullptr, nullptr, nullptr, &block));
  CALL(YraGetChooseDirectory(0, nullptr, nullptr, &status, nullptr));
  CALL_WITHOUT_MEMORY(1, YraGetChooseFilesList(0, nullptr, &limits, &status, &block));
  // The store is the sixth, behind the object, its inside and the dialogs.
  CALL_WITHOUT_MEMORY(6, YraGetChooseFilesList(0, nullptr, &limits, &status, &block));
  CALL_WITHOUT_MEMORY(6, YraGetChooseDirectory(0, nullptr, item, &status, &block));
  free(item);
  CALL(YraMainWinUICreate(0, nullptr, nullptr, &winUI));
  CALL(YraMainWinUICreate(0, nullptr, &table, nullptr));
  CALL_WITHOUT_MEMORY(1, YraMainWinUICreate(0, nullptr, &table, &winUI));
  CALL(YraMainWinUIDestory(nullptr));
  CALL(YraWinUI(0, nullptr, nullptr).YraOperationTypeGet());
  CALL(YraWinUI(0, 0, nullptr, &limits).YraOperationTypeGet());
  CALL(YraWinUI(5, 0, nullptr, &limits).YraOperationTypeGet());
  CALL(YraWinUI(9, 0, nullptr, &limits).YraOperationTypeGet());
  for (int type = 1; type <= 4; ++type) {
    g_text->Name(std::to_string(type).c_str());
    CALL(YraWinUI(type, 0, nullptr, nullptr).YraOperationTypeGet());
  }
  CALL(YraSendSelfSignal(nullptr, 1, 0, 0, nullptr));
  CALL(YraSendSelfSignal(&table, 0, 0, 0, nullptr));
  CALL(YraSendSelfSignal(&table, 6, 0, 0, nullptr));
  for (int type = 1; type <= 5; ++type) {
    g_text->Name(std::to_string(type).c_str());
    CALL(YraSendSelfSignal(&table, type, 0, 0, nullptr));
  }
}

void WithoutDisplay() {
  const std::string display = getenv("DISPLAY");
  unsetenv("DISPLAY");
  YRAFT_THRESHOLD_INFO limits = {};
  YRAFT_TLV_BLOCKS* block = nullptr;
  YRAFT_SELF_SIGNAL table = {};
  YraWinUI* winUI = nullptr;
  unsigned int status = 0;
  YRAFT_PROGRESS_BAR_INFO progress = {};
  auto* item = reinterpret_cast<YRAFT_FILEINFO_ITEM*>(NewElement());
  CALL(YraMainWinUICreate(0, nullptr, &table, &winUI));
  CALL(YraMainWinUIDestory(winUI));
  CALL(YraGetChooseFilesList(0, nullptr, &limits, &status, &block));
  CALL(YraGetChooseDirectory(0, nullptr, item, &status, &block));
  CALL(YraWinUI(3, 0, nullptr, &progress).YraOperationTypeGet());
  CALL(YraWinUI().YraErrorMessageDiagCreate(0, nullptr, "title", "first", nullptr));
  CALL(YraWinUI().YraErrorMessageDiagCreate(0, nullptr, "title", nullptr, nullptr));
  free(item);
  setenv("DISPLAY", display.c_str(), 1);
}

void Object() {
  CALL(YraWinUI().YraRWGet());
  YraWinUI object;
  Widgets(object);
  State(object);
  ChoiceInStore(object);
  Paths(object);
  YRAFT_THRESHOLD_INFO limits = {};
  char path[] = "/tmp";
  CALL(object.YraChooseFilesThresholdCheck(0, 0));
  CALL(object.YraChooseDirectoryThresholdCheck(2, nullptr));
  CALL(object.YraChooseDirectoryThresholdCheck(2, path));
  CALL(object.YraChooseFilesDiagCreate(0, nullptr, nullptr));
  CALL(object.YraChooseFilesDiagCreate(0, nullptr, &limits));
  CALL(object.YraChooseFilesDiagCreate(nullptr));
  CALL(object.YraChooseDirectoryDiagCreate(nullptr));
  CALL(object.YraProgressBarDiagCreate(nullptr));
  CALL(object.YraProgressBarDiagRefresh(nullptr));
  CALL(object.YraErrorMessageDiagCreate(nullptr));
  for (const auto idle :
       {YraChooseFilesSelfSignalIdleFunc, YraChooseDirectorySelfSignalIdleFunc,
        YraProgressBarSelfSignalCreateIdleFunc, YraProgressBarSelfSignalRefreshIdleFunc,
        YraErrorMsgIdleFunc, YraErrorMsgSelfSignalIdleFunc}) {
    CALL(idle(nullptr));
  }
  Forget(object);
}

// ---- Notifications -----------------------------------------------------------------------------

std::atomic<int> g_notifications{0};
std::atomic<unsigned int> g_hostAnswer{0};
std::atomic<YraWinUI*> g_shown{nullptr};  // the object of a one-call progress window

// Writes down what the host is told, in its place between the lines.
unsigned int Hear(unsigned int event, unsigned int subCode, unsigned int status, unsigned int value,
                  void* data) {
  __KvoTrace(KVO_CLASS_ALL, KVO_LOG_WARNING, "", "Host", 0, "%u, %u, 0x%x, %u, %s", event, subCode,
             status, value, data != nullptr ? "data" : "null");
  if (event == YRAFT_NOTIFY_PROGRESS_BAR && data != nullptr) {
    g_shown = static_cast<YraWinUI*>(data);
  } else {
    free(data);
  }
  ++g_notifications;
  return g_hostAnswer;
}

void Registration() {
  CALL(YraCallbackYraNotify(3, 7, YRAFT_OPT_STATUS_FAILED, 0, nullptr));
  CALL(YraSetYraNotifyFun(Hear));
  CALL(YraCallbackYraNotify(3, 7, YRAFT_OPT_STATUS_FAILED, 0, nullptr));
  CALL(YraSetYraNotifyCallback(nullptr));
  CALL(YraSetYraNotifyCallback(Hear));
}

// ---- Windows -----------------------------------------------------------------------------------

// The visible window with this title part. In the UI thread, as all that follow unless they say so.
GtkWidget* VisibleWindow(const std::string& titlePart) {
  GtkWidget* found = nullptr;
  GList* windows = gtk_window_list_toplevels();
  for (GList* node = windows; node != nullptr; node = node->next) {
    const char* title = gtk_window_get_title(GTK_WINDOW(node->data));
    if (gtk_widget_get_visible(GTK_WIDGET(node->data)) && title != nullptr &&
        strstr(title, titlePart.c_str()) != nullptr) {
      found = GTK_WIDGET(node->data);
    }
  }
  g_list_free(windows);
  return found;
}

void Press(GtkWidget* widget, void* label) {
  if (GTK_IS_BUTTON(widget) &&
      g_strcmp0(gtk_button_get_label(GTK_BUTTON(widget)), static_cast<const char*>(label)) == 0) {
    gtk_button_clicked(GTK_BUTTON(widget));
  } else if (GTK_IS_CONTAINER(widget)) {
    gtk_container_foreach(GTK_CONTAINER(widget), Press, label);
  }
}

// From another thread: the window is on the screen, and `act` is done to it in the UI thread.
void With(const std::string& titlePart, const std::function<bool(GtkWidget*)>& act) {
  const bool done = WaitUntil([&] {
    bool did = false;
    InUI([&] {
      GtkWidget* window = VisibleWindow(titlePart);
      did = window != nullptr && act(window);
    });
    return did;
  });
  Require(done, titlePart.c_str());
}

void Click(const std::string& titlePart, const char* label) {
  With(titlePart, [&](GtkWidget* window) {
    Press(window, const_cast<char*>(label));
    return true;
  });
}

// Finds what a chooser lists its entries with.
void FindList(GtkWidget* widget, void* found) {
  if (GTK_IS_TREE_VIEW(widget) && gtk_widget_get_mapped(widget)) {
    GtkTreeSelection* selection = gtk_tree_view_get_selection(GTK_TREE_VIEW(widget));
    if (gtk_tree_selection_get_mode(selection) == GTK_SELECTION_MULTIPLE) {
      *static_cast<GtkTreeSelection**>(found) = selection;
    }
  } else if (GTK_IS_CONTAINER(widget)) {
    gtk_container_forall(GTK_CONTAINER(widget), FindList, found);
  }
}

// How many entries a chooser lists; 0 before it has read its folder.
int Listed(GtkTreeSelection* list) {
  GtkTreeModel* model =
      list != nullptr ? gtk_tree_view_get_model(gtk_tree_selection_get_tree_view(list)) : nullptr;
  return model != nullptr ? gtk_tree_model_iter_n_children(model, nullptr) : 0;
}

// A chooser that is answered before it has read its folder answers nothing, and the toolkit trips.
bool IsRead(GtkWidget* window) {
  if (!GTK_IS_FILE_CHOOSER(window)) return true;
  GtkFileChooser* chooser = GTK_FILE_CHOOSER(window);
  GtkTreeSelection* list = nullptr;
  FindList(window, &list);
  if (list != nullptr) return Listed(list) > 0;
  char* selected = gtk_file_chooser_get_filename(chooser);  // the folder itself
  g_free(selected);
  return selected != nullptr;
}

// Selects all that is in a folder below the home directory.
void SelectAll(const std::string& titlePart, const std::string& folder, int count) {
  const std::string path = Desktop::Get().Home() + "/" + folder;
  With(titlePart, [&](GtkWidget* window) {
    if (!IsRead(window)) return false;
    gtk_file_chooser_set_select_multiple(GTK_FILE_CHOOSER(window), TRUE);
    return gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(window), path.c_str()) != FALSE;
  });
  With(titlePart, [&](GtkWidget* window) {
    GtkTreeSelection* list = nullptr;
    FindList(window, &list);
    if (Listed(list) != count) return false;
    gtk_tree_selection_select_all(list);
    return true;
  });
}

void Answer(const std::string& titlePart, int response, int failing = 0) {
  With(titlePart, [&](GtkWidget* window) {
    if (!IsRead(window)) return false;
    const AllocationWatch watch(failing);
    gtk_dialog_response(GTK_DIALOG(window), response);
    return true;
  });
}

// As by a click on the window's close control.
void Close(const std::string& titlePart) {
  With(titlePart, [](GtkWidget* window) {
    if (!IsRead(window)) return false;
    GdkEvent* event = gdk_event_new(GDK_DELETE);
    event->any.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(window)));
    gtk_main_do_event(event);
    gdk_event_free(event);
    return true;
  });
}

std::string Text(int number) {
  std::string text;
  g_text->Quietly([&] { text = KvoLocalise(number); });
  return text;
}

void* NewProgress(const char* name, uint32_t offset, uint32_t size,
                  uint32_t operation = YRAFT_OPERATION_DOWNLOAD) {
  auto* info = static_cast<YRAFT_PROGRESS_BAR_INFO*>(calloc(1, sizeof(YRAFT_PROGRESS_BAR_INFO)));
  info->fileContext = 4;
  info->filesNum = 9;
  info->fileOffset = offset;
  info->fileSize = size;
  info->fileTransferOperation = operation;
  strcpy(info->name, name);
  return info;
}

void* NewMessage(const char* first) {
  void* message = nullptr;
  g_text->Quietly([&] { message = Yraft_ErrorMessageAllocate("Oops", first, "more"); });
  return message;
}

// ---- Dialogs that are built and used without a main loop ---------------------------------------

void ProgressWindow() {
  YraWinUI object;
  AddBadCatalog();
  g_text->Quietly([] {
    KvoLocaliseShutdown();
    setenv("LANG", "xx", 1);
    KvoLocaliseInit();
  });
  CALL(object.YraProgressBarDiagCreate());
  g_text->Quietly([&] {
    KvoLocaliseShutdown();
    setenv("LANG", "en_US.UTF-8", 1);
    KvoLocaliseInit();
  });
  CALL(object.YraProgressBarDiagCreate());
  CALL(YraProgressBarSelfSignalCreateIdleFunc(&object));  // without a store
  const auto without = [&](const char* what, GtkWidget* (YraWinUI::*get)(),
                           unsigned int (YraWinUI::*set)(GtkWidget*)) {
    GtkWidget* widget = nullptr;
    g_text->Quietly([&] { widget = (object.*get)(), (object.*set)(nullptr); });
    if (strcmp(what, "bar") != 0) {
      g_text->Do(std::string("YraProgressBarSelfSignalCreateIdleFunc without the ") + what,
                 [&] { return YraProgressBarSelfSignalCreateIdleFunc(&object); });
    }
    g_text->Do(std::string("YraProgressBarSelfSignalRefreshIdleFunc without the ") + what,
               [&] { return YraProgressBarSelfSignalRefreshIdleFunc(&object); });
    g_text->Quietly([&] { (object.*set)(widget); });
  };
  using Object = YraWinUI;
  without("label", &Object::YraGetProgressBarLabel, &Object::YraSetProgressBarLabel);
  without("button", &Object::YraGetProgressBarPauseButton, &Object::YraSetProgressBarPauseButton);
  without("window", &Object::YraGetChildWinDiag, &Object::YraSetChildWinDiag);
  without("bar", &Object::YraGetProgressBarDiag, &Object::YraSetProgressBarDiag);
  CALL(object.YraProgressBarDiagHideDestory());
  CALL(object.YraProgressBarDiagDestory());
  CALL(object.YraProgressBarDiagDestory());
}

// The toolkit destroys a dialog that the object does not hold any more.
template <class Get, class Set>
void DestroyUnheld(const char* what, YraWinUI& object, Get get, Set set) {
  GtkWidget* widget = nullptr;
  g_text->Quietly([&] { widget = (object.*get)(), (object.*set)(nullptr); });
  g_text->Do(std::string("gtk_widget_destroy of ") + what + " that is not held",
             [&] { gtk_widget_destroy(widget); });
}

void Filter(YraWinUI& object) {
  GtkFileFilter* filter = nullptr;
  g_text->Quietly([&] {
    filter = gtk_file_chooser_get_filter(GTK_FILE_CHOOSER(object.YraGetChooseDirectoryDiag()));
  });
  g_text->m_filter = true;
  for (const char* name : {"/", "/nowhere", static_cast<const char*>(nullptr)}) {
    GtkFileFilterInfo info = {GTK_FILE_FILTER_DISPLAY_NAME, nullptr, nullptr, name, nullptr};
    g_text->Do(std::string("the folder chooser's filter for ") + (name != nullptr ? name : "null"),
               [&] { return gtk_file_filter_filter(filter, &info); });
  }
  g_text->m_filter = false;
}

void BuiltDialogs() {
  YraWinUI object;
  g_text->Quietly([&] { object.YraRWCreate(); });
  CALL(object.YraMainWinCreate());
  CALL(object.YraMainWinCreate());
  CALL(object.YraMainWinDestory());
  CALL(object.YraMainWinDestory());
  CALL(object.YraChooseFilesDiagCreate());
  CALL(object.YraChooseFilesDiagCreate());
  CALL(object.YraChooseDirectoryDiagCreate());
  CALL(object.YraChooseDirectoryDiagCreate());
  CALL(object.YraErrorMessageDiagCreate());
  CALL(object.YraErrorMessageDiagCreate());
  YRAFT_THRESHOLD_INFO limits = {};
  auto* item = reinterpret_cast<YRAFT_FILEINFO_ITEM*>(NewElement());
  CALL(object.YraChooseFilesDiagCreate(0, nullptr, &limits));
  CALL(object.YraChooseDirectoryDiagCreate(0, nullptr, item));
  CALL(object.YraErrorMessageDiagCreate(0, nullptr, "title", "first", nullptr));
  free(item);
  Filter(object);
  CALL(object.YraChooseFilesDiagDestory());
  CALL(object.YraChooseFilesDiagDestory());
  CALL(object.YraChooseDirectoryDiagDestory());
  CALL(object.YraErrorMessageDiagDestory());
  CALL(object.YraErrorMessageDiagDestory());
  g_text->Quietly([&] {
    object.YraChooseFilesDiagCreate();
    object.YraChooseDirectoryDiagCreate();
    object.YraErrorMessageDiagCreate();
    object.YraProgressBarDiagCreate();
  });
  using Object = YraWinUI;
  DestroyUnheld("a file chooser", object, &Object::YraGetChooseFilesDiag,
                &Object::YraSetChooseFilesDiag);
  DestroyUnheld("a folder chooser", object, &Object::YraGetChooseDirectoryDiag,
                &Object::YraSetChooseDirectoryDiag);
  DestroyUnheld("an error box", object, &Object::YraGetErrorMessageDiag,
                &Object::YraSetErrorMessageDiag);
  DestroyUnheld("a progress window", object, &Object::YraGetChildWinDiag,
                &Object::YraSetChildWinDiag);
}

// Requests of an object that has neither dialogs nor a store.
void RequestsWithoutDialogs() {
  YraWinUI object;
  YRAFT_THRESHOLD_INFO limits = {};
  auto* item = reinterpret_cast<YRAFT_FILEINFO_ITEM*>(NewElement());
  CALL(object.YraChooseFilesDiagCreate(&limits));
  CALL(YraChooseFilesSelfSignalIdleFunc(&object));
  CALL(object.YraChooseDirectoryDiagCreate(item));
  CALL(YraChooseDirectorySelfSignalIdleFunc(&object));
  g_text->Quietly([&] {
    object.YraRWCreate();
    object.YraChooseFilesDiagCreate();
    object.YraChooseDirectoryDiagCreate();
    object.YraRWDestory();
    object.YraChooseFilesDiagCreate(&limits);
    object.YraChooseDirectoryDiagCreate(item);
  });
  CALL(YraChooseFilesSelfSignalIdleFunc(&object));
  CALL(YraChooseDirectorySelfSignalIdleFunc(&object));
  CALL(YraErrorMsgSelfSignalIdleFunc(&object));
  free(item);
  Forget(object);
  for (const auto idle : {YraChooseFilesIdleFunc, YraChooseDirectoryIdleFunc}) {
    for (void* data : {static_cast<void*>(nullptr), static_cast<void*>(&object)}) {
      g_text->Do(data != nullptr ? "a chooser without a store" : "a chooser without an object",
                 [&] { g_idle_add(idle, data), gtk_main(); });
    }
  }
}

// ---- A persistent UI ---------------------------------------------------------------------------

class Persistent {
 public:
  Persistent() {
    m_thread = std::thread([this] { YraMainWinUICreate(0, nullptr, &table, &winUI); });
    Require(WaitUntil([this] {
              return __atomic_load_n(&table.entries[5].signalId, __ATOMIC_ACQUIRE) != 0;
            }),
            "no UI");
    InUI([] {});
  }
  void Join() { m_thread.join(); }
  // What `arguments` says is sent.
  void Send(const char* arguments, int type, void* record, int event = 0) {
    g_text->Do(std::string("YraSendSelfSignal of ") + arguments,
               [&] { return YraSendSelfSignal(&table, type, event, 7, record); });
  }

  YRAFT_SELF_SIGNAL table = {};
  YraWinUI* winUI = nullptr;

 private:
  std::thread m_thread;
};

void FileRequests(Persistent& ui) {
  const std::string title = Text(0x3001D);
  const auto request = [&] {
    ui.Send("a choice of files", YRAFT_UI_SIGNAL_SELECT_FLIES,
            calloc(1, sizeof(YRAFT_THRESHOLD_INFO)));
  };
  ui.Send("a choice of files without a record", YRAFT_UI_SIGNAL_SELECT_FLIES, nullptr);
  request();
  SelectAll(title, "two", 2);
  g_text->Do("the user chooses two files", [&] { Answer(title, GTK_RESPONSE_ACCEPT); });
  g_text->Quietly(request);
  g_text->Do("the user cancels", [&] { Answer(title, GTK_RESPONSE_CANCEL); });
  g_text->Quietly(request);
  g_text->Do("the user closes the window", [&] { Close(title); });
  g_text->Quietly(request);
  g_text->Do("the dialog answers otherwise", [&] { Answer(title, GTK_RESPONSE_HELP); });
  for (const int nth : {1, 2, 3}) {
    g_text->Quietly(request);
    SelectAll(title, "one", 1);
    g_text->Do("the user chooses a file, allocation " + std::to_string(nth) + " failing",
               [&] { Answer(title, GTK_RESPONSE_ACCEPT, nth); });
  }
  g_hostAnswer = 5;
  g_text->Quietly(request);
  g_text->Do("the user cancels, and the host answers 5",
             [&] { Answer(title, GTK_RESPONSE_CANCEL); });
  g_hostAnswer = 0;
  g_text->Quietly(request);
  g_text->Quietly([] { YraSetYraNotifyCallback(nullptr); });
  g_text->Do("the user cancels, and nobody is registered",
             [&] { Answer(title, GTK_RESPONSE_CANCEL); });
  ui.Send("a choice of files without a record or a host", YRAFT_UI_SIGNAL_SELECT_FLIES, nullptr);
  g_text->Quietly([] { YraSetYraNotifyCallback(Hear); });
}

void DirectoryRequests(Persistent& ui) {
  const std::string title = Text(0x300BA);
  const auto request = [&] {
    ui.Send("a choice of a folder", YRAFT_UI_SIGNAL_SELECT_DIR, NewElement());
  };
  ui.Send("a choice of a folder without a record", YRAFT_UI_SIGNAL_SELECT_DIR, nullptr);
  request();
  g_text->Do("the user chooses the folder", [&] { Answer(title, GTK_RESPONSE_ACCEPT); });
  g_text->Quietly(request);
  g_text->Do("the user cancels", [&] { Answer(title, GTK_RESPONSE_CANCEL); });
  g_text->Quietly(request);
  g_text->Do("the user closes the window", [&] { Close(title); });
  g_text->Quietly(request);
  g_text->Do("the dialog answers otherwise", [&] { Answer(title, GTK_RESPONSE_HELP); });
  g_text->Quietly(request);
  g_text->Do("the user chooses the folder, allocation 1 failing",
             [&] { Answer(title, GTK_RESPONSE_ACCEPT, 1); });
}

void ProgressEvents(Persistent& ui) {
  const auto send = [&](const char* what, int event, void* record) {
    ui.Send(what, YRAFT_UI_SIGNAL_PROGRESS_BAR, record, event);
  };
  send("an event without a record", YRAFT_PROGRESS_CREATE, nullptr);
  send("an unknown event", 9, NewProgress("a", 0, 1));
  send("a download's begin", YRAFT_PROGRESS_CREATE, NewProgress("dir/name", 1, 4));
  send("its progress", YRAFT_PROGRESS_REFRESH, NewProgress("dir/name", 3, 4));
  send("progress of another file", YRAFT_PROGRESS_REFRESH, NewProgress("other", 2, 8));
  g_text->Do("the user pauses", [] { Click("%", "Pause"); });
  g_text->Do("the user resumes", [] { Click("%", "Resume"); });
  g_hostAnswer = 5;
  g_text->Do("the user pauses, and the host answers 5", [] { Click("%", "Pause"); });
  g_text->Do("the user cancels, and the host answers 5", [] { Click("%", "Cancel"); });
  g_hostAnswer = 0;
  send("an upload's begin", YRAFT_PROGRESS_CREATE,
       NewProgress("name", 0, 4, YRAFT_OPERATION_UPLOAD));
  send("its end", YRAFT_PROGRESS_REFRESH, NewProgress("name", 4, 4));
  send("the begin of a file of no direction", YRAFT_PROGRESS_CREATE, NewProgress("x", 0, 0, 0));
  send("its close", YRAFT_PROGRESS_CLOSE, NewProgress("x", 0, 0));
  g_text->Quietly([&] { send("", YRAFT_PROGRESS_CREATE, NewProgress("y", 1, 4)); });
  g_text->Do("the window is closed", [] { Close("25%"); });
  send("progress without a window", YRAFT_PROGRESS_REFRESH, NewProgress("y", 2, 4));
  send("the begin of a file without a window", YRAFT_PROGRESS_CREATE, NewProgress("y", 2, 4));
}

void Messages(Persistent& ui) {
  const auto send = [&](const char* what, void* record) {
    ui.Send(what, YRAFT_UI_SIGNAL_MESSAGE, record);
  };
  void* tooLong = NewMessage("first");
  static_cast<YRAFT_ERROR_MESSAGE_INFO*>(tooLong)->SecLen = 99;
  send("no message", nullptr);
  send("a message whose lengths do not fit it", tooLong);
  send("a message", NewMessage("<b>first</b>"));
  g_text->Do("the user closes the box", [] { Answer("Oops", GTK_RESPONSE_CLOSE); });
  g_text->Quietly([&] { send("", NewMessage("a & b")); });
  g_text->Do("the box is closed", [] { Close("Oops"); });
  for (const int response : {GTK_RESPONSE_CANCEL, GTK_RESPONSE_ACCEPT, GTK_RESPONSE_HELP}) {
    g_text->Quietly([&] { send("", NewMessage("first")); });
    g_text->Do("the box answers " + std::to_string(response), [&] { Answer("Oops", response); });
  }
}

void PersistentUI() {
  std::unique_ptr<Persistent> ui;
  g_text->Do("YraMainWinUICreate(0, nullptr, &table, &winUI)",
             [&] { ui = std::make_unique<Persistent>(); });
  g_text->Serve(true);
  YRAFT_SELF_SIGNAL other = {};
  YraWinUI* second = nullptr;
  CALL(YraMainWinUICreate(0, nullptr, &other, &second));
  CALL(YraMainWinUIDestory(second));
  FileRequests(*ui);
  DirectoryRequests(*ui);
  ProgressEvents(*ui);
  Messages(*ui);
  ui->Send("a choice of files", YRAFT_UI_SIGNAL_SELECT_FLIES,
           calloc(1, sizeof(YRAFT_THRESHOLD_INFO)));
  g_text->Quietly([&] { ui->Send("", YRAFT_UI_SIGNAL_SELECT_DIR, NewElement()); });
  g_text->Serve(false);
  g_text->Do("YraSendSelfSignal of the end", [&] {
    const unsigned int ret =
        YraSendSelfSignal(&ui->table, YRAFT_UI_SIGNAL_THREAD_DESTORY, 0, 7, nullptr);
    ui->Join();
    return ret;
  });
  CALL(YraMainWinUIDestory(ui->winUI));
  // Another, whose main window goes without the main loop's end.
  g_text->Quietly([&] { ui = std::make_unique<Persistent>(); });
  g_text->Quietly([&] {
    InUI([] {
      GList* windows = gtk_window_list_toplevels();
      for (GList* node = windows; node != nullptr; node = node->next) {
        const char* title = gtk_window_get_title(GTK_WINDOW(node->data));
        if (g_strcmp0(title, "Main Win") != 0) continue;
        g_signal_handlers_disconnect_by_func(node->data, reinterpret_cast<void*>(gtk_main_quit),
                                             nullptr);
        gtk_widget_destroy(GTK_WIDGET(node->data));
      }
      g_list_free(windows);
    });
  });
  ui->Send("the end without a main window", YRAFT_UI_SIGNAL_THREAD_DESTORY, nullptr);
  g_text->Quietly([&] {
    InUI(gtk_main_quit);
    ui->Join();
    YraMainWinUIDestory(ui->winUI);
  });
}

// ---- Dialogs of one call -----------------------------------------------------------------------

// A call in a thread of its own, and the user.
template <class Call, class User>
void OneCall(const std::string& heading, Call call, User user) {
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

void FileCalls() {
  YRAFT_THRESHOLD_INFO limits = {1, 2, 30, 2, 5, 6};
  const auto call = [&] {
    YRAFT_TLV_BLOCKS* block = nullptr;
    unsigned int status = 0;
    const unsigned int ret = YraGetChooseFilesList(0, nullptr, &limits, &status, &block);
    return Told(ret, status, block);
  };
  const std::string title = "Open:";
  const std::string heading = "YraGetChooseFilesList, and the user ";
  const auto choose = [&](int failing = 0) {
    SelectAll(title, "two", 2);
    Answer(title, GTK_RESPONSE_ACCEPT, failing);
  };
  OneCall(heading + "chooses two files", call, choose);
  OneCall(heading + "cancels", call, [&] { Answer(title, GTK_RESPONSE_CANCEL); });
  OneCall(heading + "closes the window", call, [&] { Close(title); });
  OneCall(heading + "answers otherwise", call, [&] { Answer(title, GTK_RESPONSE_HELP); });
  const std::string box = Text(0x200C0);
  const auto refused = [&] {
    choose();
    Answer(box, GTK_RESPONSE_CLOSE);
  };
  limits.maxFileSize = 29;
  OneCall(heading + "chooses too much", call, refused);
  limits.maxFiles = 1;
  OneCall(heading + "chooses too many files", call, refused);
}

void DirectoryCalls() {
  auto* item = reinterpret_cast<YRAFT_FILEINFO_ITEM*>(NewElement());
  const auto call = [&] {
    YRAFT_TLV_BLOCKS* block = nullptr;
    unsigned int status = 0;
    const unsigned int ret = YraGetChooseDirectory(0, nullptr, item, &status, &block);
    return Told(ret, status, block);
  };
  const std::string title = "Upload To";
  const std::string heading = "YraGetChooseDirectory, and the user ";
  OneCall(heading + "chooses a folder", call, [&] { Answer(title, GTK_RESPONSE_ACCEPT); });
  OneCall(heading + "cancels", call, [&] { Answer(title, GTK_RESPONSE_CANCEL); });
  OneCall(heading + "answers otherwise", call, [&] { Answer(title, GTK_RESPONSE_HELP); });
  OneCall(heading + "chooses two folders", call, [&] {
    SelectAll(title, "folders", 2);
    Answer(title, GTK_RESPONSE_ACCEPT);
  });
  free(item);
}

void OtherCalls() {
  const std::unique_ptr<void, decltype(&free)> progress(NewProgress("dir/name", 1, 4), free);
  const std::unique_ptr<void, decltype(&free)> message(NewMessage("first"), free);
  const auto run = [](int type, void* input) {
    return [=] { return YraWinUI(type, 0, nullptr, input).YraOperationTypeGet(); };
  };
  OneCall("YraWinUI(3, 0, nullptr, &progress).YraOperationTypeGet()", run(3, progress.get()), [] {
    Click("25%", "Pause");
    Click("25%", "Cancel");
    Close("25%");
  });
  g_hostAnswer = 5;
  OneCall("the same, and the host answers 5", run(3, progress.get()), [] {
    With("25%", [](GtkWidget*) { return g_shown.load()->YraMainWinDestory(), true; });
  });
  g_hostAnswer = 0;
  OneCall("YraWinUI(4, 0, nullptr, message).YraOperationTypeGet()", run(4, message.get()),
          [] { Answer("Oops", GTK_RESPONSE_CLOSE); });
  static_cast<YRAFT_ERROR_MESSAGE_INFO*>(message.get())->SecLen = 99;
  CALL(YraWinUI(4, 0, nullptr, message.get()).YraOperationTypeGet());
}

}  // namespace

int main(int, char** argv) {
  for (const char* folder : {"one", "two", "folders/a", "folders/b"}) {
    Desktop::Get().AddFolder(folder);
  }
  for (const char* file : {"one/a.txt", "two/a.txt", "two/b.txt"}) Desktop::Get().AddFile(file, 15);
  Transcript text(argv[1]);
  g_text = &text;
  StoreRefusals();
  OneContainer(YRAFT_QUEUE_BUFFER, "YRAFT_QUEUE_BUFFER");
  OneContainer(YRAFT_QUEUE_READ, "YRAFT_QUEUE_READ");
  OneContainer(YRAFT_QUEUE_WRITE, "YRAFT_QUEUE_WRITE");
  OneContainer(YRAFT_QUEUE_FILEINFO, "YRAFT_QUEUE_FILEINFO");
  OneContainer(YRAFT_QUEUE_FILEUI, "YRAFT_QUEUE_FILEUI");
  OneContainer(YRAFT_LIST_FILEINFO, "YRAFT_LIST_FILEINFO");
  OneContainer(YRAFT_MAP_UITHREAD, "YRAFT_MAP_UITHREAD");
  SnapshotFailures();
  Texts();
  text.Quietly([] { KvoLocaliseInit(); });
  Refusals();
  WithoutDisplay();
  Object();
  Registration();
  Records();
  gtk_init_check(nullptr, nullptr);
  ProgressWindow();
  BuiltDialogs();
  RequestsWithoutDialogs();
  PersistentUI();
  FileCalls();
  DirectoryCalls();
  OtherCalls();
  text.Quietly(KvoLocaliseShutdown);
  return 0;
}
