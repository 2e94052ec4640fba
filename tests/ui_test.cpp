// The dialogs of a persistent UI on a real screen, used by a user and driven by a host.
#include "dialogs/YraDialogs.h"
// The trace vocabulary comes first.
#include <fcntl.h>

#include <ctime>

#include "ui_fixture.h"

namespace {

// ---- Choosing files ----------------------------------------------------------------------------

TEST_F(UI, HandsOverWhatTheUserTypesAndStartsTheNextChoiceFromTheHomeFolder) {
  const std::string first = AddFile("first.txt", 1024);
  AddFolder("deep/er");
  const std::string second = AddFile("deep/er/second.txt", 5);
  Host host;
  const auto type = [&](const std::string& text, const char* last) {
    host.RequestFiles();
    ASSERT_TRUE(WaitUntil([&] { return HasFocus(chooser); }));  // by itself
    user.Key("ctrl+l");
    user.Type(text);
    EXPECT_TRUE(user.WaitCentred(user.WaitWindow(chooser)));
    if (last != nullptr) user.Key(last);
  };
  type(second, "Return");
  ExpectChoice({{second, 5}});
  type("first.txt", "Return");
  ExpectChoice({{first, 1024}});
  type("deep/er/sec", nullptr);
  user.Close(user.WaitWindow(chooser));
  ExpectDeclined();
  EXPECT_TRUE(user.WaitNoWindow(chooser));
}

TEST_F(UI, HandsOverEveryNameAFileCanHaveForEachOfSeveralRequests) {
  const Files files = AddFiles(
      "names",
      {"with some spaces.txt", "100% sure %s %n.txt", "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E.txt",
       "latin1-\xE4\xF6.txt", std::string(255, 'n')},
      3);
  const std::string big = AddFiles("big", {"sparse"}, (2ULL << 30) + 5)[0].first;
  Host host;
  for (int i = 0; i < 4; ++i) host.RequestFiles();
  ChooseIn(chooser, files[0].first, true);
  ExpectChoice(files);
  Choose(big);
  ExpectChoice({{big, 0xFFFFFFFF80000005}});
  ChooseIn(chooser, AddFiles("many", LongNames(300), 1)[0].first, true);
  ExpectNote(3, 15, YRAFT_OPT_STATUS_FAILED, 0);
  YraSetYraNotifyCallback(nullptr);
  Choose(big);
  EXPECT_TRUE(user.WaitNoWindow(chooser));
}

TEST_F(UI, TakesAnAnsweredChooserAwayBeforeItTellsTheHost) {
  Host host;
  for (const std::string& title : {chooser, folderChooser}) {
    for (const bool byKey : {true, false}) {
      title == chooser ? host.RequestFiles() : host.RequestDirectory(77);
      ASSERT_TRUE(Face(title));
      notes.OnNext([&] { EXPECT_TRUE(user.WaitNoWindow(title)); });
      if (!byKey && title == chooser) Click("gtk-open");  // nothing is selected
      byKey ? user.Key("Escape") : Click("gtk-cancel");
      ExpectDeclined(title == chooser ? 3 : 5);
    }
  }
  EXPECT_EQ(notes.Pending(), 0U);
}

TEST_F(UI, EndsWhileTheHostHearsOfARefusalAndServesAgainByTheSameSignals) {
  uint32_t ids[2];
  for (uint32_t& id : ids) {
    Host host;
    for (const int type : {-1, 0, 6, 7}) {
      EXPECT_EQ(YraSendSelfSignal(&host.table, type, 0, 0, nullptr), YRAFT_STATUS_INVALID_PARAM);
    }
    notes.OnNext([&] { EXPECT_TRUE(host.End()); });
    host.Send(1, 0, nullptr);
    ExpectNote(3, 7, YRAFT_OPT_STATUS_FAILED, 0);
    EXPECT_EQ(notes.Pending(), 0U);
    EXPECT_EQ(host.Send(4, 0, calloc(1, 1)), YRAFT_STATUS_BAD_STATE);  // and the record is ours
    id = host.table.entries[1].signalId;
  }
  EXPECT_EQ(ids[0], ids[1]);
}

// A host's other threads, which use the toolkit under its lock, wait while a dialog comes up.
TEST_F(UI, OpensADialogUnderTheLock) {
  if (getenv("YRA_GDK_THREADS") == nullptr) return;
  static std::future<void> other;
  const auto onShow = [](GSignalInvocationHint*, guint, const GValue* values, void*) -> gboolean {
    if (!GTK_IS_DIALOG(g_value_get_object(values))) return TRUE;
    other = std::async(std::launch::async, [] {
      gdk_threads_enter();
      gdk_threads_leave();
    });
    EXPECT_NE(other.wait_for(std::chrono::milliseconds(200)), std::future_status::ready);
    return FALSE;
  };
  Host host;
  g_signal_add_emission_hook(g_signal_lookup("show", GTK_TYPE_WIDGET), 0, onShow, nullptr, nullptr);
  host.Error("Oops", "main text", "");
  ASSERT_TRUE(Face("Oops"));
  Await(other);
}

// ---- Progress ----------------------------------------------------------------------------------

TEST_F(UI, ShowsWhichFileIsUnderWayAndHowFarItHasCome) {
  Host host;
  host.Progress(YRAFT_PROGRESS_CREATE, "dir/sub/name.txt", 10, 100, 0, 3);
  ASSERT_NE(user.WaitWindow(TitleAt(10)), None);
  EXPECT_EQ(LabelText(TitleAt(10)), Text("YRAFT_ENG_TRANSFER_DOWNLOAD") + "1 of 3\nname.txt");
  // The bar never moves back while a file is under way; the title tells the truth.
  host.Progress(YRAFT_PROGRESS_REFRESH, "x", 60, 100);
  ASSERT_NE(user.WaitWindow(TitleAt(60)), None);
  host.Progress(YRAFT_PROGRESS_REFRESH, "x", 30, 100);
  ASSERT_NE(user.WaitWindow(TitleAt(30)), None);
  EXPECT_DOUBLE_EQ(BarFraction(), 0.6);
  host.Progress(YRAFT_PROGRESS_REFRESH, "x", 250, 100);
  EXPECT_TRUE(user.WaitNoWindow("%"));
  EXPECT_DOUBLE_EQ(BarFraction(), 1.0);
  // A refresh does not show the window again, a create does, with what comes right behind it.
  host.Progress(YRAFT_PROGRESS_REFRESH, "x", 20, 100);
  host.Progress(YRAFT_PROGRESS_CREATE, "empty", 0, 0, 1, 3);
  ASSERT_NE(user.WaitWindow(TitleAt(100)), None);
  InUI([&] {
    host.Progress(YRAFT_PROGRESS_CREATE, "x", 0, 100);
    host.Progress(YRAFT_PROGRESS_REFRESH, "x", 40, 100);
  });
  ASSERT_NE(user.WaitWindow(TitleAt(40)), None);
  EXPECT_DOUBLE_EQ(BarFraction(), 0.4);
  host.Progress(YRAFT_PROGRESS_CREATE, std::string(518, '\xFF'), 4294967295U, 1, 2, 3);
  ASSERT_NE(user.WaitWindow("2147483647%"), None);
  host.Progress(YRAFT_PROGRESS_CLOSE, "x", 0, 0);
  EXPECT_TRUE(user.WaitNoWindow("%"));
  EXPECT_EQ(notes.Pending(), 0U);
}

TEST_F(UI, KeepsTheWindowSmallWhateverTheNameAndTheFont) {
  Host host;
  for (const char* font : {"Sans 10", "Sans 20"}) {
    InUI([&] { g_object_set(gtk_settings_get_default(), "gtk-font-name", font, nullptr); });
    for (const std::string& name :
         {std::string(255, 'W'), std::string(200, '\xFF'), std::string(200, '\n'),
          std::string("\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E.txt"), std::string("a.txt")}) {
      host.Progress(YRAFT_PROGRESS_CREATE, name, 1, 2);
      ASSERT_NE(user.WaitWindow(TitleAt(50)), None);
      if (name[0] != '\n') {
        EXPECT_EQ(CutLabels(TitleAt(50)), "");
      }
      const Window window = user.WaitWindow(TitleAt(50));
      ASSERT_NE(window, None);
      EXPECT_TRUE(user.WaitCentred(window));
      EXPECT_LE(user.Geometry(window).width, 480);
      EXPECT_GE(user.Geometry(window).width, 350);
      EXPECT_LE(user.Geometry(window).height, font == std::string("Sans 10") ? 140 : 240);
      const std::string label = LabelText(TitleAt(50));
      EXPECT_LE(label.size(), 359U);
      EXPECT_TRUE(g_utf8_validate(label.c_str(), -1, nullptr));
      if (name[0] == 'W') {
        EXPECT_NE(label.find(name), std::string::npos);  // whole for those who listen
      }
      host.Progress(YRAFT_PROGRESS_CLOSE, "x", 0, 0);
      EXPECT_TRUE(user.WaitNoWindow("%"));
    }
  }
  InUI([] { g_object_set(gtk_settings_get_default(), "gtk-font-name", "Sans 10", nullptr); });
}

TEST_F(UI, StaysWhereTheUserPutItBetweenTheFilesOfABatch) {
  Host host;
  host.Progress(YRAFT_PROGRESS_CREATE, std::string(60, 'W'), 1, 2, 0, 3);
  const Window window = user.WaitWindow(TitleAt(50));
  ASSERT_TRUE(user.WaitCentred(window));
  user.Do(xdo_move_window, window, 90, 90);
  ASSERT_TRUE(WaitUntil([&] { return user.Geometry(window).x < 120; }));
  const User::Box moved = user.Geometry(window);
  for (uint16_t i = 1; i < 3; ++i) {
    host.Progress(YRAFT_PROGRESS_REFRESH, "", 2, 2, i, 3);
    host.Progress(YRAFT_PROGRESS_CREATE, "a", i, 4, i, 3);
    ASSERT_EQ(user.WaitWindow(TitleAt(25 * i)), window);
    InUI([] {});
    const User::Box box = user.Geometry(window);
    EXPECT_EQ(std::tie(box.x, box.y, box.width), std::tie(moved.x, moved.y, moved.width));
  }
  host.Progress(YRAFT_PROGRESS_REFRESH, "", 4, 4, 2, 3);
  EXPECT_TRUE(user.WaitNoWindow("%"));
  // Nor does the window of the next batch go with the last one's.
  host.Progress(YRAFT_PROGRESS_CREATE, "a", 1, 4, 0, 1);
  EXPECT_TRUE(user.WaitCentred(user.WaitWindow(TitleAt(25))));
}

TEST_F(UI, HearsTheButtonsAndPressesNoneWithoutTheUser) {
  Host host;
  host.Progress(YRAFT_PROGRESS_CREATE, "a", 1, 2, 7, 9);
  ASSERT_NE(user.WaitWindow(TitleAt(50)), None);
  Click(Text("YRAFT_ENG_BUTTON_PAUSE"));
  ExpectNote(8, 7, YRAFT_OPT_STATUS_PAUSED, 7);
  // The next file starts unpaused.
  host.Progress(YRAFT_PROGRESS_CREATE, "b", 1, 2, 8, 9);
  Click(Text("YRAFT_ENG_BUTTON_PAUSE"));
  ExpectNote(8, 7, YRAFT_OPT_STATUS_PAUSED, 8);
  Click(Text("YRAFT_ENG_BUTTON_CANCEL"));
  ExpectNote(10, 7, YRAFT_OPT_STATUS_CANCELLED, 8);
  EXPECT_TRUE(user.WaitNoWindow("%"));
  // What the user types goes elsewhere, and presses nothing until the user goes to a button.
  host.Progress(YRAFT_PROGRESS_CREATE, "c", 1, 2, 9, 10);
  const Window window = user.WaitWindow(TitleAt(50));
  user.Do(xdo_activate_window, window);
  ASSERT_TRUE(Face(TitleAt(50)));
  for (const char* key : {"space", "Return", "Escape", "Tab", "space"}) user.Key(key);
  ExpectNote(8, 7, YRAFT_OPT_STATUS_PAUSED, 9);
  EXPECT_EQ(notes.Pending(), 0U);
  // The window's own control ends it, and the next file gets another.
  for (int i = 0; i < 2; ++i) {
    user.Close(user.WaitWindow(TitleAt(50)));
    EXPECT_TRUE(user.WaitNoWindow("%"));
    host.Progress(YRAFT_PROGRESS_REFRESH, "d", 1, 2);
    host.Progress(YRAFT_PROGRESS_CREATE, "d", 1, 2);
  }
  ASSERT_NE(user.WaitWindow(TitleAt(50)), None);
}

// ---- The other dialogs -------------------------------------------------------------------------

TEST_F(UI, HandsOverTheChosenDirectoryWithTheSizeOfTheUpload) {
  const std::string folder = AddFolder("target");
  Host host;
  host.RequestDirectory(77);
  ChooseIn(folderChooser, folder);
  ExpectChoice({{folder, 77}}, 5);
  // The files that arrive there then are none of the chooser's business.
  InUI([] {});
  const clock_t before = clock();
  for (int i = 0; i < 3000; ++i) close(creat((folder + "/" + std::to_string(i)).c_str(), 0600));
  host.RequestDirectory(1);
  ASSERT_TRUE(Face(folderChooser));
  user.Key("Escape");
  ExpectDeclined(5);
  EXPECT_LT((clock() - before) / CLOCKS_PER_SEC, 3);
}

TEST_F(UI, ShowsEveryErrorInTheOrderOfArrival) {
  constexpr int kErrors = 1000;
  Host host;
  const auto title = [](int i) { return "Oops " + std::to_string(i) + "."; };
  for (int i = 0; i < kErrors; ++i) {
    host.Error(title(i), i % 2 ? "<b>bold</b>" : "a & b <c", "100% %s");
  }
  // The first are closed by the user, who then lets the box answer, which is faster.
  for (int i = 0; i < kErrors - 2; ++i) {
    if (i >= 9) {
      ASSERT_TRUE(Respond(title(i), GTK_RESPONSE_CLOSE)) << i;
      continue;
    }
    ASSERT_TRUE(Face(title(i))) << i;
    EXPECT_EQ(LabelText("Oops"), i % 2 ? "bold" : "a & b <c");
    if (i == 4) {
      user.Close(user.WaitWindow(title(i)));
    } else {
      user.Key(i % 3 == 0 ? "Escape" : "Return");
    }
  }
  EXPECT_TRUE(WaitUntil([&] { return LabelText(title(kErrors - 2)) == "a & b <c"; }));
  EXPECT_TRUE(host.End());  // the rest is released
  EXPECT_TRUE(user.WaitNoWindow("Oops"));
  EXPECT_EQ(notes.Pending(), 0U);
}

TEST_F(UI, IsNeitherAnsweredByWhatTheUserWasTypingNorMinimised) {
  Host host;
  const auto type = [&] {
    for (const char* key : {"space", "Return", "Escape"}) user.Key(key);
  };
  host.Error("Oops", "main text", "");
  ASSERT_TRUE(WaitUntil([&] { return type(), user.HasFocus("Oops"); }));
  type();
  ASSERT_TRUE(WaitUntil([&] { return HasFocus("Oops"); }));
  // Nor is it lost where a window manager minimises it, which has no entry for it in a task bar.
  user.Do(xdo_minimize_window, user.WaitWindow("Oops"));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  ASSERT_TRUE(WaitUntil([&] { return HasFocus("Oops"); }));
  user.Key("Return");
  EXPECT_TRUE(user.WaitNoWindow("Oops"));
}

TEST_F(UI, KeepsTheErrorBoxOnTheScreenWhateverTheText) {
  Host host;
  const std::string texts[] = {std::string(60000, 'W'), std::string(60000, '\n'),
                               "<b>" + std::string(60000, '\t') + "</b>"};
  for (const char* font : {"Sans 10", "Sans 48"}) {
    InUI([&] { g_object_set(gtk_settings_get_default(), "gtk-font-name", font, nullptr); });
    for (const std::string& text : texts) {
      host.Error("first", text, "more");
      host.Error("second", "main <i>text</i>", text);
      host.Error("both", text.substr(0, 30000), text.substr(0, 30000));
      for (const std::string title : {"first", "second", "both"}) {
        EXPECT_TRUE(user.WaitCentred(user.WaitWindow(title)));
        EXPECT_EQ(CutLabels(title), "");
        // Only what is too long is shortened.
        EXPECT_EQ(LabelText(title, 0).ends_with("\u2026"), title != "second") << title;
        EXPECT_EQ(LabelText(title, 1).ends_with("\u2026"), title != "first") << title;
        Click("gtk-close");
        EXPECT_TRUE(user.WaitNoWindow(title));
      }
    }
  }
  InUI([] { g_object_set(gtk_settings_get_default(), "gtk-font-name", "Sans 10", nullptr); });
}

}  // namespace
