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
    ASSERT_TRUE(Face(title)) << title;
    user.Key("Escape");
    if (title != "Oops") ExpectDeclined(title == chooser ? 3 : 5);
    EXPECT_TRUE(user.WaitNoWindow(title));
    EXPECT_EQ(notes.Pending(), 0U);
  }
};

TEST_F(Order, KeepsEveryOpenWindowUsableAndAnswersInTheOrderInWhichTheUserCloses) {
  const std::string pause = Text("YRAFT_ENG_BUTTON_PAUSE");
  std::vector<std::string> titles = {chooser, folderChooser, "Oops"};
  Host host;
  for (uint16_t first = 0; first < 3; ++first) {
    OpenAll(host);
    ASSERT_TRUE(Face(titles[0]));
    // A file's progress takes nothing from the user who types.
    host.Progress(YRAFT_PROGRESS_CREATE, "a", 1, 2, first, 3);
    ASSERT_NE(user.WaitWindow(TitleAt(50)), None);
    EXPECT_TRUE(HasFocus(titles[0]));
    ASSERT_TRUE(Face(TitleAt(50)));
    Click(pause);
    ExpectNote(8, 7, YRAFT_OPT_STATUS_PAUSED, first);
    for (const std::string& title : titles) Decline(title);
    std::rotate(titles.begin(), titles.begin() + 1, titles.end());
  }
}

// ---- The end -----------------------------------------------------------------------------------

TEST_F(Order, EndsAtOnceWhateverIsOpenAndWhateverEndsIt) {
  const std::function<void()> ways[] = {
      [] {},  // the host's signal alone
      gtk_main_quit,
      [] { gtk_widget_destroy(MainWindow()); },
  };
  for (const auto& end : ways) {
    Host host;
    OpenAll(host);
    host.Progress(YRAFT_PROGRESS_CREATE, "a", 1, 2);
    ASSERT_NE(user.WaitWindow(TitleAt(50)), None);
    InUI(end);
    YraWinUI* object = host.Return();
    EXPECT_TRUE(WaitUntil([&] { return user.Windows().empty(); }));
    ExpectDeclined();
    ExpectDeclined(5);
    EXPECT_EQ(notes.Pending(), 0U);
    EXPECT_EQ(YraMainWinUIDestory(object), YRAFT_STATUS_SUCCESS);
  }
  // A box that the toolkit itself put up over the chooser: the folder is gone.
  const std::string folder = AddFolder("gone");
  Host host;
  host.RequestFiles();
  ASSERT_TRUE(Face(chooser));
  user.Key("ctrl+l");
  user.Type("gone/file");
  EXPECT_TRUE(With(chooser, [&](GtkWidget*) {
    const char* text = "";
    for (std::size_t i = 0; GtkWidget* entry = Find(chooser, GTK_TYPE_ENTRY, i); ++i) {
      if (gtk_widget_get_mapped(entry)) text = gtk_entry_get_text(GTK_ENTRY(entry));
    }
    return text == std::string("gone/file");
  }));
  InUI([] {});  // what the last key has set off is done with
  std::filesystem::remove(folder);
  int looks = 0;
  ASSERT_TRUE(WaitUntil([&] {
    if (looks++ % 2000 == 0) user.Key("Return");  // a chooser that is busy may drop it
    return user.Windows().size() == 2;
  }));
  EXPECT_TRUE(host.End());
  ExpectDeclined();
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
    // Beside a UI in another thread it takes the lock.
    if (!inUI && getenv("YRA_GDK_THREADS") == nullptr) continue;
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
  // A dialog would wait for the lock that its caller holds, which GTK 3 lets nobody see.
  if (GTK_MAJOR_VERSION > 2 || getenv("YRA_GDK_THREADS") == nullptr) return;
  gdk_threads_enter();
  EXPECT_FALSE(call());
  gdk_threads_leave();
}

std::atomic<bool> g_sending{false};

// A sender that takes its time in the middle of a signal.
gboolean HoldSender(GSignalInvocationHint*, guint, const GValue*, void*) {
  g_sending = true;
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  return FALSE;
}

TEST_F(Order, AnswersWhatIsSentWhileItEnds) {
  for (int round = 0; round < 3; ++round) {
    Host host;
    std::atomic<std::size_t> accepted{0};
    const auto send = [&](int count) {
      for (int i = 0; i < count; ++i) {
        auto* info = calloc(1, sizeof(YRAFT_THRESHOLD_INFO));
        if (host.Send(YRAFT_UI_SIGNAL_SELECT_FLIES, 0, info) == 0) ++accepted;
      }
    };
    std::thread other(send, 2000);
    ASSERT_TRUE(Face(chooser));
    other.join();
    g_sending = false;
    g_signal_add_emission_hook(host.table.entries[YRAFT_UI_SIGNAL_SELECT_FLIES].signalId, 0,
                               HoldSender, nullptr, nullptr);
    other = std::thread(send, 1);
    WaitUntil([] { return g_sending.load(); });
    YraWinUI* object = host.Return();
    other.join();
    EXPECT_EQ(notes.Pending(), accepted.load());
    while (notes.Pending() > 0) ExpectDeclined();
    YraMainWinUIDestory(object);
  }
}

// ---- Many --------------------------------------------------------------------------------------

TEST_F(Order, HearsTheUserThroughTenThousandEvents) {
  Host host;
  // Files that begin, go on and end.
  const auto transfer = [&host](int events) {
    for (int i = 0; i < events; ++i) {
      const int step = i % 100;
      const int event = step == 0    ? YRAFT_PROGRESS_CREATE
                        : step == 99 ? YRAFT_PROGRESS_CLOSE
                                     : YRAFT_PROGRESS_REFRESH;
      host.Progress(event, "burst", static_cast<uint32_t>(step), 100, 3, 9);
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
  ASSERT_TRUE(WaitUntil([] { return LabelText("%").find("long") != std::string::npos; }));
  ASSERT_NE(user.WaitWindow("%"), None);
  Click(Text("YRAFT_ENG_BUTTON_PAUSE"));
  ExpectNote(8, 7, YRAFT_OPT_STATUS_PAUSED, 7);
  Click(Text("YRAFT_ENG_BUTTON_CANCEL"));
  ExpectNote(10, 7, YRAFT_OPT_STATUS_CANCELLED, 7);
  EXPECT_TRUE(user.WaitNoWindow("%"));
  heard = true;
  sender.join();
  // A file that is complete when its window comes up takes it down again, also behind others.
  InUI([&] {
    host.Progress(YRAFT_PROGRESS_REFRESH, "other", 50, 100);
    host.Progress(YRAFT_PROGRESS_CREATE, "small", 0, 100);
    host.Progress(YRAFT_PROGRESS_REFRESH, "small", 100, 100);
  });
  EXPECT_TRUE(WaitInUI([] { return Find("%", GTK_TYPE_WINDOW) == nullptr; }));
  EXPECT_DOUBLE_EQ(BarFraction(), 1.0);
  EXPECT_EQ(notes.Pending(), 0U);
}

// Kilobytes of this process that nobody else shares.
long PrivateMemory() {
  const std::string rollup = Contents("/proc/self/smaps_rollup");
  const std::size_t at = rollup.find("Private_Dirty:");
  return at == std::string::npos ? -1 : std::stol(rollup.substr(at + 14));
}

TEST_F(Order, ServesRequestAfterRequestInTheSameMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "whose own memory grows";
#endif
  const Files files = AddFiles("long", LongNames(60), 1);
  Host host;
  long grown = 0;
  // What is lost is lost each time; a heap that finds its size grows once or twice.
  for (int time = 0; time < 5 && (time == 0 || grown > 512); ++time) {
    const long before = PrivateMemory();
    for (int i = 0; i < 30; ++i) {
      host.RequestFiles();
      host.RequestDirectory(1);
      host.Error("Oops", "main text", "");
      ASSERT_TRUE(Respond(folderChooser, GTK_RESPONSE_ACCEPT));  // as soon as it lets itself be
      ExpectChoice({{Home(), 1}}, 5);
      ASSERT_TRUE(Select(chooser, files[0].first, true));
      ASSERT_TRUE(Respond(chooser, GTK_RESPONSE_ACCEPT));
      ExpectChoice(files);
      ASSERT_TRUE(Respond("Oops", GTK_RESPONSE_CLOSE));
    }
    grown = PrivateMemory() - before;
  }
  EXPECT_LE(grown, 512);
}

}  // namespace
