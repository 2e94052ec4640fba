// A screen, a user, and the notifications of the library: what the tests of the dialogs have in
// common.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <thread>
#include <tuple>
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
    // As a host does that uses the toolkit from several threads.
    if (getenv("YRA_GDK_THREADS") != nullptr) gdk_threads_init();
    ASSERT_EQ(KvoLocaliseInit(), 1);
  }
  UI()
      : chooser(Text("YRAFT_ENG_CHOOSE_DIALOG_TITLE")),
        folderChooser(Text("YRAFT_ENG_DIRECTORY_DIALOG_TITLE")) {}

  // A window with this title part has the keyboard focus and hears the keys.
  bool HasFocus(const std::string& title) { return user.HasFocus(title) && Hears(title); }
  // A window manager under load leaves one without that comes up quickly after another; a user then
  // clicks it.
  bool Face(const std::string& title) {
    int looks = 0;
    return WaitUntil([&] {
      if (HasFocus(title)) return true;
      const Window window = user.Find(title);
      if (window != None && ++looks % 100 == 0) user.Do(xdo_activate_window, window);
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
    const Note note = notes.Next();
    EXPECT_EQ(std::tie(note.event, note.subCode, note.status, note.value),
              std::tie(event, subCode, status, value));
    EXPECT_EQ(note.pData, nullptr);
    // Refusals come from the thread that asked, everything else from the UI thread.
    const bool refusal = event < 8 && subCode == (event == 7 ? 15 : 7);
    EXPECT_EQ(note.thread == std::this_thread::get_id(), refusal) << "event " << event;
  }

  void ExpectDeclined(unsigned int event = 3) {
    ExpectNote(event, 15, YRAFT_OPT_STATUS_CANCELLED, 0);
  }

  using Files = std::vector<std::pair<std::string, uint64_t>>;

  // A block holds these files, in whatever order, numbered or not; answers its length.
  static unsigned int ExpectFiles(YRAFT_TLV_BLOCKS* block, Files files, bool numbered) {
    unsigned short length = 0;
    if (Yraft_TlvBlocksGetSize(block, &length) != 0) return ADD_FAILURE() << "no block", 0;
    uint64_t total = 0;
    Files chosen;
    YRAFT_TLV_WALK walk = {};
    Yraft_TlvBlocksWalk(&walk, block, length);
    while (const YRAFT_TLV_ITEM* item = Yraft_TlvBlocksNext(&walk)) {
      const YRAFT_FILEINFO_ITEM* info = Yraft_TlvItemFileInfo(item);
      EXPECT_EQ(info->fileContext, numbered ? chosen.size() : 0);
      chosen.emplace_back(YRAFT_FILEINFO_NAME(info), info->fileSize);
      total += info->fileSize;
    }
    std::sort(chosen.begin(), chosen.end());
    std::sort(files.begin(), files.end());
    EXPECT_EQ(chosen, files);
    EXPECT_EQ(uint64_t{block->FilesSize}, total);
    return length;
  }

  void ExpectChoice(Files files, unsigned int event = 3) {
    const Note note = notes.Next();
    EXPECT_EQ(std::make_tuple(note.event, note.subCode, note.status),
              std::make_tuple(event, 15U, 0U));
    EXPECT_EQ(ExpectFiles(static_cast<YRAFT_TLV_BLOCKS*>(note.pData), std::move(files), false),
              note.value);
    free(note.pData);
  }

  // Files below a folder of the home directory.
  static Files AddFiles(const std::string& folder, const std::vector<std::string>& names,
                        std::size_t size) {
    Files files;
    AddFolder(folder);
    for (const std::string& name : names) {
      files.emplace_back(AddFile(folder + "/" + name, size), size);
    }
    return files;
  }

  // Of files, of which no block holds 300.
  static std::vector<std::string> LongNames(std::size_t count) {
    std::vector<std::string> names(count, std::string(240, 'm'));
    for (std::size_t i = 0; i < count; ++i) names[i] += std::to_string(i);
    return names;
  }

  // The toolkit may lose a click that comes with the pointer, as no person's does.
  void Click(const std::string& label) {
    EXPECT_TRUE(WaitUntil([&, looks = 0]() mutable {
      const Spot spot = ButtonSpot(label);
      user.Do(xdo_move_mouse, spot.x, spot.y + ++looks % 2, 0);
      return spot.lit;
    })) << label;
    user.Do(xdo_click_window, CURRENTWINDOW, 1);
  }

  std::string TitleAt(int percent) { return std::to_string(percent) + "%"; }

  Notes notes;
  std::string chooser;
  std::string folderChooser;
  User user;
};
