// Memory that ends amid a request, a call or a start: each allocation fails once.
#include "YraWinUI.h"
// The trace vocabulary comes first.
#include "support/allocation.h"
#include "ui_fixture.h"

namespace {

class Memory : public UI {
 protected:
  // Closes what comes up until it is so; the folder chooser, whose button's place is known, by
  // Save.
  template <class Condition>
  bool CloseUntil(Condition condition) {
    return WaitUntil([&] {
      if (condition()) return true;
      for (const Window window : user.Windows()) {
        if (user.Title(window) == folderChooser) {
          user.ClickAt(save.x, save.y);
        } else {
          user.Close(window);
        }
      }
      return false;
    });
  }
  Spot save{};
};

void* NewProgress() {
  auto* info = static_cast<YRAFT_PROGRESS_BAR_INFO*>(calloc(1, sizeof(YRAFT_PROGRESS_BAR_INFO)));
  strcpy(info->name, "a/name that is longer than what a string holds by itself");
  info->fileSize = 2;
  return info;
}

TEST_F(Memory, AnswersARequestOnceOrDropsWhatHasNoAnswer) {
  const std::string text(40, 't');
  const struct {
    int signalType, evtType;
    bool answered;
    std::function<void*()> record;
  } kRequests[] = {
      {1, 0, true, [] { return calloc(1, sizeof(YRAFT_THRESHOLD_INFO)); }},
      {2, 0, true, [] { return Yraft_FileInfoItemAllocate("upload.bin", 10, 3, 1); }},
      {3, YRAFT_PROGRESS_CREATE, false, NewProgress},
      {3, YRAFT_PROGRESS_REFRESH, false, NewProgress},
      {4, 0, false,
       [&] { return Yraft_ErrorMessageAllocate(text.c_str(), text.c_str(), text.c_str()); }},
  };
  Host host;
  host.RequestDirectory(1);
  save = ButtonSpot("gtk-save");
  ASSERT_TRUE(CloseUntil([&] { return notes.Pending() > 0; }));
  free(notes.Next().pData);
  for (const auto& request : kRequests) {
    for (const bool inUI : {false, true}) {
      bool failed = true;
      for (int nth = 1; failed; ++nth) {
        void* record = request.record();
        std::optional<AllocationWatch> watch;
        if (inUI) {
          InUI([&] { watch.emplace(nth); });
          host.Send(request.signalType, request.evtType, record);
        } else {
          watch.emplace(nth);
          host.Send(request.signalType, request.evtType, record);
          watch->End();
        }
        if (request.answered) {
          ASSERT_TRUE(CloseUntil([&] { return notes.Pending() > 0; })) << nth;
          const Note note = notes.Next();
          EXPECT_EQ(note.status == YRAFT_OPT_STATUS_SUCCESS, note.pData != nullptr);
          free(note.pData);
        }
        InUI([&] {
          failed = watch->Failed();
          if (inUI) watch.reset();
        });
        ASSERT_TRUE(CloseUntil([&] { return user.Windows().empty(); }));
        ASSERT_EQ(notes.Pending(), 0U) << nth;
      }
    }
  }
  EXPECT_TRUE(host.End());
}

TEST_F(Memory, EndsACallAndAStart) {
  // GTK complains of a chooser that goes while it reads its folder, as no user is quick enough for.
  g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK));
  YRAFT_THRESHOLD_INFO limits = {};
  YRAFT_PROGRESS_BAR_INFO info = {};
  const std::string text(40, 't');
  const std::unique_ptr<YRAFT_ERROR_MESSAGE_INFO, decltype(&free)> error(
      Yraft_ErrorMessageAllocate(text.c_str(), text.c_str(), text.c_str()), free);
  YRAFT_SELF_SIGNAL table = {};
  YraWinUI* ui = nullptr;
  const std::function<void()> calls[] = {
      [&] {
        unsigned int status = 0;
        YRAFT_TLV_BLOCKS* block = nullptr;
        YraGetChooseFilesList(0, nullptr, &limits, &status, &block);
        free(block);
      },
      [&] { YraWinUI(3, 0, nullptr, &info); },
      [&] { YraWinUI(4, 0, nullptr, error.get()); },
      [&] { YraMainWinUICreate(0, nullptr, &table, &ui); },
  };
  for (const auto& call : calls) {
    bool failed = true;
    for (int nth = 1; failed; ++nth) {
      auto ended = std::async(std::launch::async, [&] {
        AllocationWatch watch(nth);
        try {
          call();
        } catch (const std::bad_alloc&) {
          // A constructor may say so.
        }
        watch.End();
        failed = watch.Failed();
      });
      ASSERT_TRUE(CloseUntil([&] {
        YraSendSelfSignal(&table, YRAFT_UI_SIGNAL_THREAD_DESTORY, 0, 0, nullptr);
        return ended.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
      })) << nth;
      YraMainWinUIDestory(std::exchange(ui, nullptr));
    }
  }
  while (notes.Pending() > 0) notes.Next();  // of the progress window
  EXPECT_TRUE(user.Windows().empty());
}

}  // namespace
