// Memory that ends amid a request, a call or a start: each allocation fails once.
#include "YraWinUI.h"
// The trace vocabulary comes first.
#include "support/allocation.h"
#include "ui_fixture.h"

namespace {

const std::string kText(40, 't');  // longer than what a string holds by itself

class Memory : public UI {
 protected:
  // Closes what comes up until it is so; the folder chooser, whose button's place is known, by
  // Save.
  template <class Condition>
  bool CloseUntil(Condition condition) {
    return WaitUntil([&] {
      if (condition()) return true;
      for (const Window window : user.Windows()) {
        user.Title(window) == folderChooser ? user.ClickAt(save.x, save.y) : user.Close(window);
      }
      return false;
    });
  }

  // Lets one allocation after the other fail, until all that `attempt` makes have: it answers
  // whether the chosen one was made. Each leaves no window.
  void Sweep(const std::function<bool(int nth)>& attempt) {
    bool failed = true;
    for (int nth = 1; failed; ++nth) {
      failed = attempt(nth);
      ASSERT_TRUE(CloseUntil([&] { return user.Windows().empty(); })) << nth;
    }
  }
  Spot save{};
};

TEST_F(Memory, AnswersARequestOnceOrDropsWhatHasNoAnswer) {
  const struct {
    int signalType, evtType;
    std::function<void*()> record;
  } kRequests[] = {
      {1, 0, [] { return calloc(1, sizeof(YRAFT_THRESHOLD_INFO)); }},
      {2, 0, [] { return Yraft_FileInfoItemAllocate("upload.bin", 10, 3, 1); }},
      {3, YRAFT_PROGRESS_CREATE, [] { return NewProgress(kText, 0, 2); }},
      {3, YRAFT_PROGRESS_REFRESH, [] { return NewProgress(kText, 0, 2); }},
      {4, 0,
       [] { return Yraft_ErrorMessageAllocate(kText.c_str(), kText.c_str(), kText.c_str()); }},
  };
  const auto isAnswered = [&] { return notes.Pending() > 0; };
  Host host;
  host.RequestDirectory(1);
  ASSERT_TRUE(user.WaitCentred(user.WaitWindow(folderChooser)));
  save = ButtonSpot("gtk-save");
  ASSERT_TRUE(CloseUntil(isAnswered));
  free(notes.Next().pData);
  for (const auto& request : kRequests) {
    for (const bool inUI : {false, true}) {
      Sweep([&](int nth) {
        void* record = request.record();
        const auto begin = [nth] { FailAllocation(nth); };
        inUI ? InUI(begin) : begin();
        host.Send(request.signalType, request.evtType, record);
        bool failed = !inUI && EndFailing();
        if (request.signalType <= YRAFT_UI_SIGNAL_SELECT_DIR) {
          EXPECT_TRUE(CloseUntil(isAnswered)) << nth;
          const Note note = notes.Next();
          EXPECT_EQ(note.status == YRAFT_OPT_STATUS_SUCCESS, note.pData != nullptr);
          free(note.pData);
        }
        InUI([&] { failed = failed || EndFailing(); });
        EXPECT_EQ(notes.Pending(), 0U) << nth;
        return failed;
      });
    }
  }
  EXPECT_TRUE(host.End());
}

TEST_F(Memory, EndsACallAndAStart) {
  YRAFT_THRESHOLD_INFO limits = {};
  YRAFT_PROGRESS_BAR_INFO info = {};
  const std::unique_ptr<YRAFT_ERROR_MESSAGE_INFO, decltype(&free)> error(
      Yraft_ErrorMessageAllocate(kText.c_str(), kText.c_str(), kText.c_str()), free);
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
    Sweep([&](int nth) {
      auto failed = std::async(std::launch::async, [&] {
        FailAllocation(nth);
        try {
          call();
        } catch (const std::bad_alloc&) {
          // A constructor may say so.
        }
        return EndFailing();
      });
      EXPECT_TRUE(CloseUntil([&] {
        YraSendSelfSignal(&table, YRAFT_UI_SIGNAL_THREAD_DESTORY, 0, 0, nullptr);
        return failed.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
      })) << nth;
      YraMainWinUIDestory(std::exchange(ui, nullptr));
      return failed.get();
    });
  }
  while (notes.Pending() > 0) notes.Next();  // of the progress window
}

}  // namespace
