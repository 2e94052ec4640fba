// What the UI object holds beside its documented fields.
#pragma once

#include <atomic>
#include <cstring>
#include <memory>
#include <thread>

#include "ui/YraCall.h"
#include "ui/YraDialog.h"
#include "ui/YraSelfSignal.h"

struct YraWinUI::Inside {
  // Makes the dialogs of a persistent UI, without their widgets.
  explicit Inside(YraWinUI* pWinUI);

  static Inside& Of(YraWinUI* pWinUI) { return *pWinUI->m_pInside; }

  // ---- Copies of the records -------------------------------------------------------------------
  //
  // The channel thread overwrites a record that the UI thread may be reading. Both copy under this
  // flag, for which they wait no longer than the other copies at most 560 bytes.
  class Guard {
   public:
    explicit Guard(Inside& inside) : m_copying(inside.m_copying) {
      while (m_copying.test_and_set(std::memory_order_acquire)) std::this_thread::yield();
    }
    ~Guard() { m_copying.clear(std::memory_order_release); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

   private:
    std::atomic_flag& m_copying;
  };

  YRAFT_PROGRESS_BAR_INFO Progress() {
    const Guard guard(*this);
    return m_pWinUI->m_progressBarInfo;
  }
  static void TraceProgress(WinTrace trace, const YRAFT_PROGRESS_BAR_INFO& info);
  YRAFT_FILEINFO_ITEM FileItem() {
    const Guard guard(*this);
    YRAFT_FILEINFO_ITEM item;
    std::memcpy(&item, m_pWinUI->m_fileItemInfo, sizeof(item));
    return item;
  }
  // Takes over what a refresh may change, and answers the record before.
  YRAFT_PROGRESS_BAR_INFO RefreshProgress(const YRAFT_PROGRESS_BAR_INFO& next);

  // ---- The life of a persistent UI
  // ---------------------------------------------------------------

  // Registers the signals into the table, builds the windows, hidden, and serves from then on.
  // Answers false, traced, where there can be no UI.
  bool Start(WinTrace trace, int argc, char** argv, YRAFT_SELF_SIGNAL* pTable);
  // The one end, whatever ended the main loop: serves no more, and answers every request. The
  // caller holds GDK's lock, which is given up meanwhile.
  void Finish();
  // In signal 5's idle function: leaves the main loop, with all that stands on top of it in this
  // thread.
  void Quit();

  // Without a line.
  YraRW* Store() const { return m_pWinUI->m_pRW; }
  GtkWidget* ProgressWindow() const { return m_pWinUI->m_pChildWin; }
  // Forgets the widgets of a progress window that is being destroyed.
  void ForgetProgressWindow();

  std::unique_ptr<YraDialog> pFiles;
  std::unique_ptr<YraDialog> pDirectory;
  std::unique_ptr<YraDialog> pErrors;
  std::atomic<bool> progressIsNews{false};  // the window does not show the latest figures yet
  unsigned int hiding = 0;   // the source that will hide the window of a complete file
  YraCall* pCall = nullptr;  // the one call that the object runs

 private:
  YraWinUI* m_pWinUI;
  std::atomic_flag m_copying;
  YraSelfSignals m_signals;
};
