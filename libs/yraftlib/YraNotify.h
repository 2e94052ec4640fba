// The one way the library calls the host.
#pragma once

#include "yrafiletransfer.h"

extern "C" {
void YraSetYraNotifyFun(YRAFT_NOTIFY_FUN pFun);
// Answers what the host answered, or 70 when no function is registered.
unsigned int YraCallbackYraNotify(unsigned int event, unsigned int subCode, unsigned int status,
                                  unsigned int value, void* pData);
}

// Tells the host what became of a choice. The block, if any, is the host's afterwards, or released
// here when no one was registered to receive it.
void YraNotifyChoice(unsigned int event, unsigned int status, YRAFT_TLV_BLOCKS* pBlock,
                     unsigned short blockLen);
