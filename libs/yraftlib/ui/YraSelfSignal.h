// The one-way channel from the host's channel thread into the UI thread.
#pragma once

#include "YraTrace.h"
// After the trace vocabulary.
#include <gtk/gtk.h>

#include "yrafiletransfer.h"

// The UI thread's side: the five signals of one persistent UI.
class YraSelfSignals {
 public:
  YraSelfSignals() = default;
  ~YraSelfSignals() { Close(); }
  YraSelfSignals(const YraSelfSignals&) = delete;
  YraSelfSignals& operator=(const YraSelfSignals&) = delete;

  // Creates the signals' objects. Answers false while another UI serves: the names exist once a
  // process, and a host has one channel.
  bool Register();
  // Connects the handlers, opens the channel and fills the table, in this order: who finds an entry
  // is served.
  void Open(YraWinUI* pWinUI, YRAFT_SELF_SIGNAL* pTable);
  // Takes the channel away and waits for the threads that are sending: they may want GDK's lock, so
  // the caller does not hold it. Their requests have been accepted then. No other UI could register
  // before.
  void Close();

 private:
  friend unsigned int YraSendSelfSignal(void* pSelfSignal, int signalType, int evtType, int key,
                                        void* pInput);
  struct Signal {
    GObject* pSignalObj;
    unsigned int signalId;
    gulong handlerId;
  };

  bool m_registered = false;
  const void* m_pTable = nullptr;
  Signal m_signals[YRAFT_UI_SIGNAL_MAX] = {};
};
