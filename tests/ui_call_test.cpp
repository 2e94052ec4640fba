// The dialogs that one call shows and waits for. What each call answers to each way of ending
// stands among the stored lines; here is what the user sees, and what a host may do meanwhile.
#include <memory>

#include "YraWinUI.h"
// The trace vocabulary comes first.
#include "ui_fixture.h"

namespace {

template <class T>
using Owned = std::unique_ptr<T, decltype(&free)>;

class Call : public UI {
 protected:
  using Pending = std::future<YRAFT_TLV_BLOCKS*>;

  // A call of the file chooser, or of the folder chooser for an upload of this size.
  static Pending Choose(uint64_t uploadSize = 0) {
    return std::async(std::launch::async, [=] {
      YRAFT_TLV_BLOCKS* block = nullptr;
      YRAFT_THRESHOLD_INFO limits = {};
      limits.maxFiles = 1000;
      limits.maxFileSize = 1 << 30;
      unsigned int status = 77;
      char name[] = "host";
      char* arguments[] = {name, nullptr};
      const Owned<YRAFT_FILEINFO_ITEM> item(
          Yraft_FileInfoItemAllocate("upload.bin", 10, 3, uploadSize), free);
      const unsigned int ret = uploadSize == 0
                                   ? YraGetChooseFilesList(1, arguments, &limits, &status, &block)
                                   : YraGetChooseDirectory(0, nullptr, item.get(), &status, &block);
      EXPECT_EQ(ret == YRAFT_STATUS_BUFFER_TOO_SMALL, status == YRAFT_OPT_STATUS_FAILED);
      EXPECT_EQ(block == nullptr, status != 0);
      return block;
    });
  }
  static void ExpectItems(Pending pending, Files files) {
    const Owned<YRAFT_TLV_BLOCKS> block(Await(pending), free);
    ExpectFiles(block.get(), std::move(files), true);
  }

  // A synchronous object; answers the operation type that it keeps.
  static std::future<int> Show(int operationType, void* input) {
    return std::async(std::launch::async, [=] {
      return YraWinUI(operationType, 0, nullptr, input).YraOperationTypeGet();
    });
  }

  const std::string files = "Open:";
  const std::string directory = "Upload To";
};

TEST_F(Call, HandsOverWhatTheUserChoseAlsoBesideAPersistentUI) {
  const Files three = AddFiles("three", {"xyz", "abc def", "mno"}, 1000);
  const std::string folder = Home() + "/three";
  for (int round = 0; round < 2; ++round) {
    Pending pending = Choose();
    ChooseIn(files, three[0].first, true);
    ExpectItems(std::move(pending), three);
    pending = Choose((3ULL << 32) + 1);
    ChooseIn(directory, folder);
    ExpectItems(std::move(pending), {{folder, (3ULL << 32) + 1}});
    pending = Choose();
    ASSERT_TRUE(Face(files));
    user.Key("Escape");
    ExpectItems(std::move(pending), {});
    Host host;
    host.RequestFiles();
    ChooseIn(chooser, three[0].first);
    ExpectChoice({three[0]});
    EXPECT_TRUE(host.End());
  }
  Pending pending = Choose();
  ChooseIn(files, AddFiles("many", LongNames(300), 1)[0].first, true);
  EXPECT_EQ(Await(pending), nullptr);
  EXPECT_TRUE(user.WaitNoWindow(files));
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

TEST_F(Call, ShowsTheTextsOfARecordAsTheyAre) {
  const std::string title = "100% Oops";
  const Owned<YRAFT_ERROR_MESSAGE_INFO> record(
      Yraft_ErrorMessageAllocate(title.c_str(), "<b>a & b</b> %s\xFF", "%d more"), free);
  std::future<int> type = Show(4, record.get());
  ASSERT_TRUE(Face(title));
  EXPECT_EQ(LabelText(title, 0), "<b>a & b</b> %s\xEF\xBF\xBD");
  EXPECT_EQ(LabelText(title, 1), "%d more");
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

}  // namespace
