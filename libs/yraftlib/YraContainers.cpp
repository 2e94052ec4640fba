// How the elements of the containers are reported.
#include "YraContainers.h"

namespace {
constexpr TraceLayer kLayer = kLayerRw;
}

namespace yra_rules {

void TraceRecord(const char* kCaller, int index, const void*, int, const Element& element) {
  const YRAFT_FILEINFO_ITEM* pInfo = FileInfo(element.pData);
  TRACE_VERBOSE("[%d]: file context=%u, size=%u, length=%d, name[%s].", index, pInfo->fileContext,
                static_cast<unsigned int>(pInfo->fileSize), pInfo->nameLen,
                YRAFT_FILEINFO_NAME(pInfo));
}

void TraceListRecord(const char* kCaller, int index, const void* pNode, int key,
                     const Element& element) {
  TRACE_VERBOSE("[%d]: iter=0x%x, *iter=0x%X.", index, TraceAddress(pNode),
                TraceAddress(element.pData));
  TraceRecord(kCaller, index, pNode, key, element);
}

void TraceThreadInfo(const char* kCaller, int index, const void* pNode, int key,
                     const Element& element) {
  const auto* pInfo = reinterpret_cast<const YRAFT_UI_THREADINFO*>(element.pData);
  TRACE_VERBOSE("[%d]: iter=0x%x, *iter=0x%x, second=0x%x, *second=0x%x.", index,
                TraceAddress(pNode), static_cast<unsigned int>(key), TraceAddress(&element.pData),
                TraceAddress(pInfo));
  TRACE_VERBOSE("[%d]: currentFileNo=%u, fileTransferOperation=%d, pThreadId=0x%x.", index,
                pInfo->currentFileNo, static_cast<int>(pInfo->fileTransferOperation),
                static_cast<unsigned int>(pInfo->pThreadId));
}

}  // namespace yra_rules
