// The dialogs that one call shows and waits for.
#include <gtk/gtk.h>

#include <memory>

#include "YraWinUI.h"
// The trace vocabulary comes first.
#include "ui_fixture.h"

namespace {

struct FreeBlock {
  void operator()(YRAFT_TLV_BLOCKS* block) const { free(block); }
};

struct Answer {
  unsigned int ret;
  unsigned int status;
  std::unique_ptr<YRAFT_TLV_BLOCKS, FreeBlock> block;
};

using Pending = std::future<Answer>;

template <class Call>
Pending Start(Call call) {
  return std::async(std::launch::async, [call] {
    auto* block = reinterpret_cast<YRAFT_TLV_BLOCKS*>(1);
    unsigned int status = 77;
    const unsigned int ret = call(&status, &block);
    return Answer{ret, status, std::unique_ptr<YRAFT_TLV_BLOCKS, FreeBlock>(block)};
  });
}

Pending ChooseFiles(unsigned short maxFiles = 1000, unsigned int maxFileSize = 1 << 30) {
  return Start([=](unsigned int* status, YRAFT_TLV_BLOCKS** block) {
    YRAFT_THRESHOLD_INFO limits = {};
    limits.maxFiles = maxFiles;
    limits.maxFileSize = maxFileSize;
    char name[] = "host";
    char* arguments[] = {name, nullptr};
    return YraGetChooseFilesList(1, arguments, &limits, status, block);
  });
}

Pending ChooseDirectory(uint64_t size) {
  return Start([=](unsigned int* status, YRAFT_TLV_BLOCKS** block) {
    const std::unique_ptr<YRAFT_FILEINFO_ITEM, decltype(&free)> item(
        Yraft_FileInfoItemAllocate("upload.bin", 10, 3, size), free);
    return YraGetChooseDirectory(0, nullptr, item.get(), status, block);
  });
}

// A synchronous object; answers the operation type that it keeps.
std::future<int> Show(int operationType, void* input) {
  return std::async(std::launch::async, [=] {
    return YraWinUI(operationType, 0, nullptr, input).YraOperationTypeGet();
  });
}

class Call : public UI {
 protected:
  void ExpectItems(Pending& pending, Files files) {
    const Answer answer = Await(pending);
    EXPECT_EQ(answer.ret, 0U);
    EXPECT_EQ(answer.status, 0U);
    ExpectFiles(answer.block.get(), std::move(files), true);
  }

  void ExpectNothing(Pending& pending, unsigned int ret, unsigned int status) {
    const Answer answer = Await(pending);
    EXPECT_EQ(answer.ret, ret);
    EXPECT_EQ(answer.status, status);
    EXPECT_EQ(answer.block, nullptr);
  }

  const Files three = AddFiles("three", {"xyz", "abc def", "mno"}, 1000);
  const std::string files = "Open:";
  const std::string directory = "Upload To";
};

TEST_F(Call, HandsOverWhatTheUserChose) {
  Pending pending = ChooseFiles();
  ChooseAllIn(files, "three", 3);
  ExpectItems(pending, three);
  // At once again, from the home folder.
  const std::string first = Desktop::Get().AddFile("first.txt", 0);
  pending = ChooseFiles();
  ChooseIn(files, "first.txt");
  ExpectItems(pending, {{first, 0}});
  const std::string folder = Desktop::Get().AddFolder("three");
  pending = ChooseDirectory((3ULL << 32) + 1);
  ChooseIn(directory, folder);
  ExpectItems(pending, {{folder, (3ULL << 32) + 1}});
  // Declined, by a key, the window's control and the button.
  const std::function<void()> ways[] = {
      [&] { user.Key("Escape"); },
      [&] { user.Close(user.WaitWindow(files)); },
      [&] { Click("gtk-cancel"); },
  };
  for (const auto& decline : ways) {
    pending = ChooseFiles();
    ASSERT_TRUE(Face(files));
    decline();
    ExpectItems(pending, {});
  }
  EXPECT_TRUE(user.WaitNoWindow(files));
  EXPECT_TRUE(user.WaitNoWindow(directory));
  EXPECT_EQ(notes.Pending(), 0U);
}

TEST_F(Call, HoldsAChoiceAgainstItsLimits) {
  const std::string box = Text("YRAFT_ENG_ERROR_DIALOG_TITLE");
  const std::string many = Text("YRAFT_ENG_ERROR_TOO_MANY_FILES");
  const std::string large = Text("YRAFT_ENG_ERROR_FILE_SIZE_EXCEEDED");
  const struct {
    unsigned short maxFiles;
    unsigned int maxFileSize;
    std::string refusal;
  } kCases[] = {{3, 3000, ""}, {2, 1 << 30, many}, {2, 10, many}, {0, 0, many}, {3, 2999, large}};
  int way = 0;
  for (const auto& limits : kCases) {
    Pending pending = ChooseFiles(limits.maxFiles, limits.maxFileSize);
    ChooseAllIn(files, "three", 3);
    if (limits.refusal.empty()) {
      ExpectItems(pending, three);
      continue;
    }
    ASSERT_TRUE(Face(box));
    EXPECT_EQ(LabelText(box, 0), Text("YRAFT_ENG_ERROR_DIALOG_MAIN_TEXT"));
    EXPECT_EQ(LabelText(box, 1), limits.refusal);
    switch (way++ % 3) {
      case 0:
        user.Key("Escape");
        break;
      case 1:
        user.Close(user.WaitWindow(box));
        break;
      default:
        Click("gtk-close");
    }
    ExpectNothing(pending, 0, YRAFT_OPT_STATUS_LIMIT_EXCEEDED);
    EXPECT_TRUE(user.WaitNoWindow(box));
  }
}

TEST_F(Call, RefusesAChoiceThatFitsNoBlock) {
  Pending pending = ChooseFiles();
  ChooseAllIn(files, "many", AddTooMany("many"));
  ExpectNothing(pending, YRAFT_STATUS_BUFFER_TOO_SMALL, YRAFT_OPT_STATUS_FAILED);
}

// ---- The progress window -----------------------------------------------------------------------

TEST_F(Call, KeepsTheProgressWindowUntilItIsClosed) {
  YRAFT_PROGRESS_BAR_INFO info = {};
  info.fileContext = 2;
  info.filesNum = 5;
  info.fileOffset = 25;
  info.fileSize = 100;
  strcpy(info.name, "dir/name.txt");
  std::future<int> type = Show(3, &info);
  const auto note = notes.Next();
  ASSERT_TRUE(note.has_value());
  auto* object = static_cast<YraWinUI*>(note->pData);
  ASSERT_NE(user.WaitWindow(TitleAt(25)), None);
  EXPECT_EQ(LabelText(TitleAt(25)), Text("YRAFT_ENG_TRANSFER_DOWNLOAD") + "3 of 5\nname.txt");
  Click(Text("YRAFT_ENG_BUTTON_PAUSE"));
  ExpectNote(8, 7, YRAFT_OPT_STATUS_PAUSED, 2);
  // Cancelling is the host's business; the window stays.
  Click(Text("YRAFT_ENG_BUTTON_CANCEL"));
  ExpectNote(10, 7, YRAFT_OPT_STATUS_CANCELLED, 2);
  InUI([] {});
  EXPECT_FALSE(object->YraGetProgressBarPauseStatus());
  user.Close(user.WaitWindow(TitleAt(25)));
  EXPECT_EQ(Await(type), 3);
  EXPECT_TRUE(user.WaitNoWindow("%"));
}

unsigned int DestroyAtOnce(unsigned int, unsigned int, unsigned int, unsigned int, void* data) {
  gdk_threads_enter();
  static_cast<YraWinUI*>(data)->YraMainWinDestory();
  gdk_threads_leave();
  return 0;
}

TEST_F(Call, ReturnsWhenTheHostDestroysTheProgressWindowAtOnce) {
  YRAFT_PROGRESS_BAR_INFO info = {};
  info.fileSize = 1;
  YraSetYraNotifyCallback(DestroyAtOnce);
  std::future<int> type = Show(3, &info);
  EXPECT_EQ(Await(type), 3);
}

// ---- The error box -----------------------------------------------------------------------------

TEST_F(Call, ShowsTheTextsOfARecordAsTheyAre) {
  const std::string title = "100% Oops";
  const std::string main = "<b>a & b</b> %s\xFF";
  const std::string more = "%d more";
  const std::unique_ptr<YRAFT_ERROR_MESSAGE_INFO, decltype(&free)> record(
      Yraft_ErrorMessageAllocate(title.c_str(), main.c_str(), more.c_str()), free);
  std::future<int> type = Show(4, record.get());
  ASSERT_TRUE(Face(title));
  EXPECT_EQ(LabelText(title, 0), "<b>a & b</b> %s\xEF\xBF\xBD");
  EXPECT_EQ(LabelText(title, 1), more);
  user.Key("Return");
  EXPECT_EQ(Await(type), 4);
  EXPECT_TRUE(user.WaitNoWindow(title));
  --record->cbSize;
  type = Show(4, record.get());
  EXPECT_EQ(Await(type), 0);
}

TEST_F(Call, WaitsForTheLockBeforeItDestroysAWindow) {
  if (getenv("YRA_GDK_THREADS") == nullptr) return;
  auto object = std::make_unique<YraWinUI>();
  gdk_threads_enter();
  ASSERT_EQ(object->YraErrorMessageDiagCreate(), 0U);
  auto gone = std::async(std::launch::async, [&object] { object.reset(); });
  EXPECT_EQ(gone.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
  gdk_threads_leave();
  gone.get();
}

// ---- Beside the other mode ---------------------------------------------------------------------

TEST_F(Call, FollowsAPersistentUIAndPrecedesOne) {
  const std::string first = Desktop::Get().AddFile("first.txt", 1024);
  for (int round = 0; round < 2; ++round) {
    Host host;
    host.RequestFiles();
    Choose("first.txt");
    ExpectChoice({{first, 1024}});
    EXPECT_TRUE(host.End());
    Pending pending = ChooseFiles();
    ChooseIn(files, "first.txt");
    ExpectItems(pending, {{first, 1024}});
  }
}

}  // namespace
