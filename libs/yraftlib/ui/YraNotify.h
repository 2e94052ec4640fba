// The one way the library calls the host.
#pragma once

#include "YraTrace.h"
#include "yrafiletransfer.h"

// Tells the host what became of a choice, with sub-code 15. The block goes to the host; it is freed
// when no host is registered.
void YraNotifyChoice(WinTrace trace, unsigned int event, unsigned int status,
                     YRAFT_TLV_BLOCKS* pBlock, unsigned short blockLen);
