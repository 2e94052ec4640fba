// Whatever order requests, answers and the end come in, each request gets its one answer.
#include <filesystem>

#include "ui_fixture.h"

namespace {

class Order : public UI {
 protected:
  // Opens all three dialogs, the error box last and in front.
  void OpenAll(Host& host) {
    host.RequestFiles();
    ASSERT_TRUE(Face(chooser));
    host.RequestDirectory(1);
    ASSERT_TRUE(Face(folderChooser));
    host.Error("Oops", "main text", "");
    ASSERT_TRUE(Face("Oops"));
  }

  void Decline(const std::string& title) {
    PressIn(title, "Escape");
    if (title != "Oops") ExpectDeclined(title == chooser ? 3 : 5);
    EXPECT_TRUE(user.WaitNoWindow(title));
    EXPECT_EQ(notes.Pending(), 0U);
  }
};

TEST_F(Order, AnswersInTheOrderInWhichTheUserCloses) {
  std::vector<std::string> titles = {chooser, folderChooser, "Oops"};
  std::sort(titles.begin(), titles.end());
  Host host;
  do {
    OpenAll(host);
    for (const std::string& title : titles) Decline(title);
  } while (std::next_permutation(titles.begin(), titles.end()));
}

TEST_F(Order, KeepsEveryOpenWindowUsable) {
  const std::string first = Desktop::Get().AddFile("first.txt", 1024);
  const std::string pause = Text("YRAFT_ENG_BUTTON_PAUSE");
  Host host;
  OpenAll(host);
  host.Progress(YRAFT_PROGRESS_CREATE, "a", 1, 2);
  ASSERT_TRUE(Face(TitleAt(50)));
  Click(pause);
  ExpectNote(8, 7, YRAFT_OPT_STATUS_PAUSED, 0);
  // The next file's progress takes nothing from the user who types.
  ASSERT_TRUE(Face(chooser));
  host.Progress(YRAFT_PROGRESS_CREATE, "b", 1, 4);
  ASSERT_NE(user.WaitWindow(TitleAt(25)), None);
  Choose("first.txt");
  ExpectChoice({{first, 1024}});
  ASSERT_TRUE(Face(TitleAt(25)));
  Click(pause);
  ExpectNote(8, 7, YRAFT_OPT_STATUS_PAUSED, 0);
  Decline(folderChooser);
  Decline("Oops");
}

// ---- The end -----------------------------------------------------------------------------------

void DestroyMainWindow() {
  GList* windows = gtk_window_list_toplevels();
  GtkWidget* main = nullptr;
  for (GList* node = windows; node != nullptr; node = node->next) {
    const char* title = gtk_window_get_title(GTK_WINDOW(node->data));
    if (g_strcmp0(title, "Main Win") == 0) main = GTK_WIDGET(node->data);
  }
  g_list_free(windows);
  gtk_widget_destroy(main);
}

TEST_F(Order, EndsAtOnceWhateverIsOpenAndWhateverEndsIt) {
  const std::function<void()> ways[] = {
      [] {},  // the host's signal alone
      gtk_main_quit,
      DestroyMainWindow,
  };
  for (const auto& end : ways) {
    Host host;
    OpenAll(host);
    host.Progress(YRAFT_PROGRESS_CREATE, "a", 1, 2);
    ASSERT_NE(user.WaitWindow(TitleAt(50)), None);
    InUI(end);
    EXPECT_TRUE(host.End());
    ExpectDeclined();
    ExpectDeclined(5);
    EXPECT_EQ(notes.Pending(), 0U);
    for (const std::string& title : {chooser, folderChooser, std::string("Oops"), TitleAt(50)}) {
      EXPECT_TRUE(user.WaitNoWindow(title));
    }
  }
  // A box that the toolkit itself put up over the chooser: the folder is gone.
  const std::string folder = Desktop::Get().AddFolder("gone");
  Host host;
  host.RequestFiles();
  ASSERT_TRUE(Face(chooser));
  user.Key("l", true);
  user.Type("gone/file");
  ASSERT_TRUE(WaitEntry(chooser, "gone/file"));
  std::filesystem::remove(folder);
  user.Key("Return");
  ASSERT_TRUE(user.WaitWindows(2));
  EXPECT_TRUE(host.End());
  ExpectDeclined();
  EXPECT_EQ(notes.Pending(), 0U);
}

// A call that stands on top of the UI, in its thread or in another, ends before it and as declined.
TEST_F(Order, EndsTheCallsThatStandOnTopOfIt) {
  static const auto call = [] {
    YRAFT_THRESHOLD_INFO limits = {};
    unsigned int status = 77;
    YRAFT_TLV_BLOCKS* block = nullptr;
    EXPECT_EQ(YraGetChooseFilesList(0, nullptr, &limits, &status, &block), 0U);
    const bool declined = status == 0 && block != nullptr && block->ListCount == 0;
    free(block);
    return declined;
  };
  static std::atomic<std::promise<bool>*> told;  // a hand-over that race detectors can see
  for (const bool inUI : {true, false}) {
    Host host;
    std::promise<bool> promise;
    std::future<bool> answer;
    if (inUI) {
      answer = promise.get_future();
      told = &promise;
      g_idle_add([](void*) { return told.load()->set_value(call()), FALSE; }, nullptr);
    } else {
      answer = std::async(std::launch::async, call);
    }
    ASSERT_TRUE(Face("Open:"));
    EXPECT_TRUE(host.End());
    EXPECT_TRUE(Await(answer));
    EXPECT_TRUE(user.WaitNoWindow("Open:"));
  }
  // A dialog would wait for the lock that its caller holds.
  if (getenv("YRA_GDK_THREADS") == nullptr) return;
  gdk_threads_enter();
  EXPECT_FALSE(call());
  gdk_threads_leave();
}

TEST_F(Order, AnswersWhatIsSentWhileItEnds) {
  for (int round = 0; round < 5; ++round) {
    Host host;
    std::atomic<int> accepted{0};
    std::thread other([&] {
      for (int i = 0; i < 2000; ++i) {
        auto* info = calloc(1, sizeof(YRAFT_THRESHOLD_INFO));
        if (host.Send(YRAFT_UI_SIGNAL_SELECT_FLIES, 0, info) == 0) ++accepted;
      }
    });
    ASSERT_TRUE(Face(chooser));
    YraWinUI* object = host.Return();
    other.join();
    EXPECT_EQ(notes.Pending(), static_cast<std::size_t>(accepted));
    while (notes.Pending() > 0) ExpectDeclined();
    YraMainWinUIDestory(object);
  }
}

// ---- Many --------------------------------------------------------------------------------------

TEST_F(Order, HearsTheUserThroughTenThousandEvents) {
  Host host;
  // Files that begin, go on and end.
  const auto transfer = [&host](int events) {
    for (uint32_t i = 0; static_cast<int>(i) < events; ++i) {
      const uint32_t step = i % 100;
      const int event = step == 0    ? YRAFT_PROGRESS_CREATE
                        : step == 99 ? YRAFT_PROGRESS_CLOSE
                                     : YRAFT_PROGRESS_REFRESH;
      host.Progress(event, "burst", step, 100, 3, 9);
    }
  };
  std::atomic<bool> heard{false};
  std::thread sender([&] {
    transfer(4000);
    host.Progress(YRAFT_PROGRESS_CREATE, "long", 0, 100000000, 7, 9);
    for (uint32_t i = 1; i < 2000 || !heard; ++i) {
      host.Progress(YRAFT_PROGRESS_REFRESH, "long", i, 100000000, 7, 9);
    }
    transfer(4000);
  });
  ASSERT_TRUE(WaitLabel("%", "long"));
  ASSERT_NE(user.WaitWindow("%"), None);
  Click(Text("YRAFT_ENG_BUTTON_PAUSE"));
  ExpectNote(8, 7, YRAFT_OPT_STATUS_PAUSED, 7);
  Click(Text("YRAFT_ENG_BUTTON_CANCEL"));
  ExpectNote(10, 7, YRAFT_OPT_STATUS_CANCELLED, 7);
  EXPECT_TRUE(user.WaitNoWindow("%"));
  heard = true;
  sender.join();
  EXPECT_TRUE(user.WaitNoWindow("%"));
  // A file that is complete when its window comes up takes it down again.
  host.Progress(YRAFT_PROGRESS_CREATE, "small", 0, 100);
  host.Progress(YRAFT_PROGRESS_REFRESH, "small", 100, 100);
  InUI([] {});
  EXPECT_TRUE(user.WaitNoWindow("%"));
  EXPECT_DOUBLE_EQ(BarFraction(), 1.0);
  EXPECT_EQ(notes.Pending(), 0U);
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;  // whose own memory grows
#else
constexpr bool kSanitized = false;
#endif

// Kilobytes of this process that nobody else shares.
long PrivateMemory() {
  const std::string rollup = Contents("/proc/self/smaps_rollup");
  const std::size_t at = rollup.find("Private_Dirty:");
  return at == std::string::npos ? -1 : std::stol(rollup.substr(at + 14));
}

// The first requests are answered by keys; then the user lets the dialogs answer, which is faster.
TEST_F(Order, ServesRequestAfterRequestInTheSameMemory) {
  const char* setting = getenv("YRA_REQUESTS");
  const int requests = setting != nullptr ? atoi(setting) : 300;
  const std::string first = Desktop::Get().AddFile("first.txt", 1024);
  Host host;
  const auto byKeys = [&] {
    OpenAll(host);
    Decline("Oops");
    Decline(folderChooser);
    Choose("first.txt");
    ExpectChoice({{first, 1024}});
  };
  const auto byItself = [&] {
    host.RequestFiles();
    host.RequestDirectory(1);
    host.Error("Oops", "main text", "");
    ASSERT_TRUE(Respond(chooser, GTK_RESPONSE_CANCEL));
    ExpectDeclined();
    ASSERT_TRUE(Respond("Oops", GTK_RESPONSE_CLOSE));
    ASSERT_TRUE(Respond(folderChooser, GTK_RESPONSE_ACCEPT));
    ExpectChoice({{Desktop::Get().Home(), 1}}, 5);
  };
  const auto serve = [&](int count) {
    for (int i = 0; i < count && !HasFatalFailure(); i += 3) i < 9 ? byKeys() : byItself();
  };
  serve(300);
  const long before = PrivateMemory();
  serve(requests);
  const long growth = PrivateMemory() - before;
  RecordProperty("kilobytes", std::to_string(growth));
  if (!kSanitized) {
    EXPECT_LT(growth, 1024);
  }
}

}  // namespace
