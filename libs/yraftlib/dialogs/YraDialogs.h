// The dialogs, one file each: what the floor above makes them by, and their idle functions.
#pragma once

#include <memory>

#include "ui/YraDialog.h"

// The dialogs of a persistent UI, without a widget. May throw std::bad_alloc.
std::unique_ptr<YraDialog> YraMakeChooseFiles(YraWinUI* pWinUI);
std::unique_ptr<YraDialog> YraMakeChooseDirectory(YraWinUI* pWinUI);
std::unique_ptr<YraDialog> YraMakeErrorMessage(YraWinUI* pWinUI);

// Shows the texts of an error record in a box of its own until the user closes it.
unsigned int YraShowErrorRecord(WinTrace trace, YraWinUI* pWinUI, int argc, char** argv,
                                const YRAFT_ERROR_MESSAGE_INFO& info);

// Idle functions, by GLib's prototype. `data` is the YraWinUI, in YraErrorMsgIdleFunc the texts.
int YraChooseFilesIdleFunc(void* data);
int YraChooseFilesSelfSignalIdleFunc(void* data);
int YraChooseDirectoryIdleFunc(void* data);
int YraChooseDirectorySelfSignalIdleFunc(void* data);
int YraProgressBarSelfSignalCreateIdleFunc(void* data);
int YraProgressBarSelfSignalRefreshIdleFunc(void* data);
int YraErrorMsgIdleFunc(void* data);
int YraErrorMsgSelfSignalIdleFunc(void* data);
