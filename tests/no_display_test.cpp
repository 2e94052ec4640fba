// A session without a display: every call comes back and says so.
#include <gtest/gtest.h>

#include <cstdlib>

#include "YraWinUI.h"

namespace {

unsigned int g_notifications = 0;

unsigned int Count(unsigned int, unsigned int, unsigned int, unsigned int, void*) {
  ++g_notifications;
  return 0;
}

class NoDisplay : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    unsetenv("DISPLAY");
    YraSetYraNotifyCallback(Count);
  }
};

TEST_F(NoDisplay, ThePersistentUIReturnsAndAcceptsNothing) {
  for (int round = 0; round < 2; ++round) {
    YRAFT_SELF_SIGNAL table = {};
    YraWinUI* winUI = nullptr;
    EXPECT_EQ(YraMainWinUICreate(0, nullptr, &table, &winUI), 0U);
    ASSERT_NE(winUI, nullptr);
    EXPECT_EQ(YraSendSelfSignal(&table, 1, 0, 0, nullptr), YRAFT_STATUS_BAD_STATE);
    EXPECT_EQ(YraMainWinUIDestory(winUI), 0U);
  }
  EXPECT_EQ(g_notifications, 0U);
}

TEST_F(NoDisplay, TheOneCallDialogsFailWithoutABlock) {
  YRAFT_THRESHOLD_INFO limits = {};
  YRAFT_FILEINFO_ITEM* item = Yraft_FileInfoItemAllocate("a", 1, 0, 1);
  YRAFT_TLV_BLOCKS* block = nullptr;
  unsigned int status = 0;
  EXPECT_EQ(YraGetChooseFilesList(0, nullptr, &limits, &status, &block), 0U);
  EXPECT_EQ(status, YRAFT_OPT_STATUS_FAILED);
  EXPECT_EQ(block, nullptr);
  EXPECT_EQ(YraGetChooseDirectory(0, nullptr, item, &status, &block), 0U);
  EXPECT_EQ(status, YRAFT_OPT_STATUS_FAILED);
  EXPECT_EQ(block, nullptr);
  free(item);
}

TEST_F(NoDisplay, RefusesBadArgumentsBeforeAnyDialog) {
  YRAFT_THRESHOLD_INFO limits = {};
  YRAFT_TLV_BLOCKS* block = nullptr;
  unsigned int status = 0;
  YRAFT_SELF_SIGNAL table = {};
  YraWinUI* winUI = nullptr;
  EXPECT_EQ(YraGetChooseFilesList(0, nullptr, &limits, nullptr, &block), 3U);
  EXPECT_EQ(YraGetChooseFilesList(0, nullptr, nullptr, &status, &block), 3U);
  EXPECT_EQ(status, YRAFT_OPT_STATUS_FAILED);
  EXPECT_EQ(YraGetChooseFilesList(0, nullptr, &limits, &status, nullptr), 3U);
  EXPECT_EQ(YraGetChooseDirectory(0, nullptr, nullptr, nullptr, &block), 3U);
  EXPECT_EQ(YraGetChooseDirectory(0, nullptr, nullptr, &status, nullptr), 3U);
  EXPECT_EQ(YraMainWinUICreate(0, nullptr, nullptr, &winUI), 70U);
  EXPECT_EQ(YraMainWinUICreate(0, nullptr, &table, nullptr), 70U);
  EXPECT_EQ(YraMainWinUIDestory(nullptr), 0U);
  for (const int type : {-1, 0, 5, 6, 9}) {
    EXPECT_EQ(YraWinUI(type, 0, nullptr, &limits).YraOperationTypeGet(), 0);
  }
  EXPECT_EQ(YraWinUI(4, 0, nullptr, nullptr).YraOperationTypeGet(), 0);
}

// ---- The object without a dialog ---------------------------------------------------------------

TEST_F(NoDisplay, TheObjectKeepsItsRecordsAndItsStore) {
  YraWinUI winUI;
  YRAFT_THRESHOLD_INFO limits = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(winUI.YraSetThresholdInfo(&limits), 0U);
  EXPECT_EQ(winUI.YraSetThresholdInfo(nullptr), 70U);
  EXPECT_EQ(memcmp(winUI.YraGetThresholdInfo(), &limits, sizeof(limits)), 0);
  YRAFT_PROGRESS_BAR_INFO progress = {};
  memset(&progress, 'x', sizeof(progress));
  EXPECT_EQ(winUI.YraSetProgressBarInfo(&progress), 0U);
  EXPECT_EQ(memcmp(winUI.YraGetProgressBarInfo(), &progress, sizeof(progress)), 0);
  EXPECT_EQ(winUI.YraProgressBarInfoClear(), 0U);
  EXPECT_EQ(winUI.YraGetProgressBarInfo()->name[519], 0);
  EXPECT_EQ(winUI.YraSetFileItemInfo(nullptr), 70U);

  YRAFT_TLV_BLOCKS* block = reinterpret_cast<YRAFT_TLV_BLOCKS*>(&limits);
  int n = 5;
  EXPECT_EQ(winUI.YraGetAllChooseFiles(&block), 27U);
  EXPECT_EQ(block, nullptr);
  EXPECT_EQ(winUI.YraGetChooseFilesNum(nullptr), 70U);
  EXPECT_EQ(winUI.YraGetChooseFilesNum(&n), 27U);
  EXPECT_EQ(n, 0);
  EXPECT_EQ(winUI.YraRWCreate(), 0U);
  EXPECT_EQ(winUI.YraRWCreate(), 0U);
  EXPECT_EQ(winUI.YraGetChooseFilesNum(&n), 0U);
  EXPECT_EQ(winUI.YraRWSet(nullptr), 0U);
  EXPECT_EQ(winUI.YraRWGet(), nullptr);
  EXPECT_EQ(winUI.YraChooseFilesDiagCreate(), 43U);
  EXPECT_EQ(winUI.YraChooseDirectoryDiagCreate(), 43U);
}

TEST_F(NoDisplay, ThePathListKeepsItsOrder) {
  YraWinUI winUI;
  EXPECT_EQ(winUI.YraListDelEnd(), 0U);
  EXPECT_EQ(winUI.YraListInsert("bb", 0), 0U);
  EXPECT_EQ(winUI.YraListInsert("", 0), 0U);
  EXPECT_EQ(winUI.YraListInsert("ccc", 5), 0U);
  EXPECT_EQ(winUI.YraListInsert("no", -1), 3U);
  EXPECT_EQ(winUI.YraListGetFileNum(), 3U);
  EXPECT_EQ(winUI.YraListGetFileListOffset(), 8U);
  EXPECT_EQ(winUI.YraListFind("cc"), 1U);
  EXPECT_EQ(winUI.YraListFind("ccc"), 0U);
  EXPECT_EQ(winUI.YraListDelEnd(), 0U);
  EXPECT_EQ(winUI.YraListFind("ccc"), 1U);
  EXPECT_EQ(winUI.YraListAppend("bb"), 0U);
  EXPECT_EQ(winUI.YraListDelAll(), 0U);
  EXPECT_EQ(winUI.YraListGetFileNum(), 0U);
}

}  // namespace
