// The one-way channel from the host's channel thread into the UI thread.
#pragma once

#include "yrafiletransfer.h"

// The table's signals reach a UI. Any thread.
bool YraSelfSignalIsServed(const void* pTable);

// "ProgressBar Create" and its like.
const char* YraProgressEventName(unsigned int evtType);
// "yraft-signal-select-files" and its like; "Unknown" outside 1 to 5.
const char* YraSelfSignalName(int signalType);
