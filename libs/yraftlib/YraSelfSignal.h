// The one-way channel from the host's channel thread into the UI thread.
#pragma once

#include "yrafiletransfer.h"

// A thread that sends a signal of a table. The UI does not go away meanwhile. Any thread.
class YraSender {
 public:
  explicit YraSender(const void* pTable);
  ~YraSender();
  YraSender(const YraSender&) = delete;
  YraSender& operator=(const YraSender&) = delete;
  // The table's signals reach a UI.
  bool Served() const { return m_bServed; }

 private:
  bool m_bServed;
};

// "ProgressBar Create" and its like.
const char* YraProgressEventName(unsigned int evtType);
// "yraft-signal-select-files" and its like; "Unknown" outside 1 to 5.
const char* YraSelfSignalName(int signalType);
