// A screen, a user, and the notifications of the library: what the tests of the dialogs have in
// common.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "kvolocalise.h"
#include "support/desktop.h"
#include "support/host.h"

inline std::string Text(const char* name) {
  return KvoLocalise(static_cast<int>(KvoLocaliseLookupByName(name)));
}

class UI : public testing::Test {
 public:
  static void SetUpTestSuite() {
    Desktop::Get();
    // As a host does that uses the toolkit from several threads.
    if (getenv("YRA_GDK_THREADS") != nullptr) gdk_threads_init();
    ASSERT_EQ(KvoLocaliseInit(), 1);
  }
  UI()
      : chooser(Text("YRAFT_ENG_CHOOSE_DIALOG_TITLE")),
        folderChooser(Text("YRAFT_ENG_DIRECTORY_DIALOG_TITLE")) {}

  // A window with this title part has the keyboard focus and hears the keys. A window manager under
  // load leaves one without that comes up quickly after another; a user then clicks it.
  bool Face(const std::string& title) {
    int looks = 0;
    return WaitUntil([&] {
      if (HasFocus(title, true)) return true;
      const Window window = user.Find(title);
      if (window != None && ++looks % 100 == 0) user.Activate(window);
      return false;
    });
  }

  // Chooses a file or folder, or all that stands beside it, that the chooser has come to list.
  void ChooseIn(const std::string& title, const std::string& path, bool all = false) {
    ASSERT_TRUE(Face(title)) << title;
    ASSERT_TRUE(Select(title, path, all)) << path;
    ASSERT_TRUE(Respond(title, GTK_RESPONSE_ACCEPT));
  }
  void Choose(const std::string& path) { ChooseIn(chooser, path); }

  void ExpectNote(unsigned int event, unsigned int subCode, unsigned int status,
                  unsigned int value) {
    const auto note = notes.Next();
    ASSERT_TRUE(note.has_value()) << "event " << event;
    EXPECT_EQ(note->event, event);
    EXPECT_EQ(note->subCode, subCode);
    EXPECT_EQ(note->status, status);
    EXPECT_EQ(note->value, value);
    EXPECT_EQ(note->pData, nullptr);
    // Refusals come from the thread that asked, everything else from the UI thread.
    const bool refusal = event < 8 && subCode == (event == 7 ? 15 : 7);
    EXPECT_EQ(note->thread == std::this_thread::get_id(), refusal) << "event " << event;
  }

  void ExpectDeclined(unsigned int event = 3) {
    ExpectNote(event, 15, YRAFT_OPT_STATUS_CANCELLED, 0);
  }

  using Files = std::vector<std::pair<std::string, uint64_t>>;

  // A block holds these files, in whatever order, numbered or not.
  static void ExpectFiles(const YRAFT_TLV_BLOCKS* block, Files files, bool numbered) {
    ASSERT_NE(block, nullptr);
    uint64_t total = 0;
    unsigned int number = 0;
    Files chosen;
    for (const Item& item : ItemsOf(block)) {
      EXPECT_EQ(item.context, numbered ? number++ : 0U);
      chosen.emplace_back(item.name, item.size);
      total += item.size;
    }
    std::sort(chosen.begin(), chosen.end());
    std::sort(files.begin(), files.end());
    EXPECT_EQ(chosen, files);
    EXPECT_EQ(uint64_t{block->FilesSize}, total);
  }

  void ExpectChoice(Files files, unsigned int event = 3) {
    const auto note = notes.Next();
    ASSERT_TRUE(note.has_value());
    EXPECT_EQ(note->event, event);
    EXPECT_EQ(note->subCode, 15U);
    ASSERT_EQ(note->status, 0U);
    auto* block = static_cast<YRAFT_TLV_BLOCKS*>(note->pData);
    ExpectFiles(block, std::move(files), false);
    unsigned short length = 0;
    Yraft_TlvBlocksGetSize(block, &length);
    EXPECT_EQ(note->value, length);
    free(block);
  }

  // Files below a folder of the home directory.
  static Files AddFiles(const std::string& folder, const std::vector<std::string>& names,
                        std::size_t size) {
    Desktop::Get().AddFolder(folder);
    Files files;
    for (const std::string& name : names) {
      files.emplace_back(Desktop::Get().AddFile(std::string(folder).append("/").append(name), size),
                         size);
    }
    return files;
  }

  // More than a block can hold; answers one of them.
  static std::string AddTooMany() {
    std::vector<std::string> names(300);
    for (std::size_t i = 0; i < names.size(); ++i) {
      names[i] = std::string(240, 'm') + std::to_string(i);
    }
    return AddFiles("many", names, 1)[0].first;
  }

  void Click(const std::string& label) {
    const Spot spot = ButtonSpot(label);
    user.ClickAt(spot.x, spot.y);
  }

  // Brings a window to the front as a task bar does, and presses a key in it.
  void PressIn(const std::string& title, const char* key) {
    ASSERT_TRUE(Face(title)) << title;
    user.Key(key);
  }

  std::string TitleAt(int percent) { return std::to_string(percent) + "%"; }

  Notes notes;
  std::string chooser;
  std::string folderChooser;
  User user;
};
