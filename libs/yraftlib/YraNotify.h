// The one way the library calls the host.
#pragma once

#include "yrafiletransfer.h"

// Tells the host what became of a choice. The block, if any, is the host's afterwards, or released
// here when no one was registered to receive it.
void YraNotifyChoice(unsigned int event, unsigned int status, YRAFT_TLV_BLOCKS* pBlock,
                     unsigned short blockLen);
