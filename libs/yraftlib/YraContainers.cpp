// The rules of the seven containers.
#include "YraContainers.h"

namespace {

constexpr TraceLayer kLayer = kLayerRw;

using Element = YraContainers::Element;
using Payload = YraContainers::Payload;

const YRAFT_FILEINFO_ITEM* FileInfo(const unsigned char* pData) {
  return reinterpret_cast<const YRAFT_FILEINFO_ITEM*>(pData);
}

unsigned int LengthWeight(const unsigned char*, unsigned int len) { return len; }
unsigned int NameWeight(const unsigned char* pData, unsigned int) {
  return FileInfo(pData)->nameLen + 1U;
}
unsigned int NoWeight(const unsigned char*, unsigned int) { return 0; }

Payload AddressPayload(const Element& element) { return {&element.pData, sizeof(element.pData)}; }
Payload RecordPayload(const Element& element) {
  return {element.pData, FileInfo(element.pData)->cbSize};
}
Payload FilesUIPayload(const Element& element) { return {element.pData, sizeof(YRAFT_FILES_UI)}; }
Payload ThreadInfoPayload(const Element& element) {
  return {element.pData, sizeof(YRAFT_UI_THREADINFO)};
}

uint64_t RecordFileSize(const Element& element) { return FileInfo(element.pData)->fileSize; }

void TraceRecord(int index, const void*, int, const Element& element) {
  const YRAFT_FILEINFO_ITEM* pInfo = FileInfo(element.pData);
  TRACE_VERBOSE("[%d]: file context=%u, size=%u, length=%d, name[%s].", index, pInfo->fileContext,
                static_cast<unsigned int>(pInfo->fileSize), pInfo->nameLen,
                YRAFT_FILEINFO_NAME(pInfo));
}

void TraceListRecord(int index, const void* pNode, int key, const Element& element) {
  TRACE_VERBOSE("[%d]: iter=0x%x, *iter=0x%X.", index, TraceAddress(pNode),
                TraceAddress(element.pData));
  TraceRecord(index, pNode, key, element);
}

void TraceThreadInfo(int index, const void* pNode, int key, const Element& element) {
  const auto* pInfo = reinterpret_cast<const YRAFT_UI_THREADINFO*>(element.pData);
  TRACE_VERBOSE("[%d]: iter=0x%x, *iter=0x%x, second=0x%x, *second=0x%x.", index,
                TraceAddress(pNode), static_cast<unsigned int>(key), TraceAddress(&element.pData),
                TraceAddress(pInfo));
  TRACE_VERBOSE("[%d]: currentFileNo=%u, fileTransferOperation=%d, pThreadId=0x%x.", index,
                pInfo->currentFileNo, static_cast<int>(pInfo->fileTransferOperation),
                static_cast<unsigned int>(pInfo->pThreadId));
}

constexpr unsigned int kItemHead = sizeof(YRAFT_TLV_ITEM);
constexpr unsigned int kRecordHeads = kItemHead + sizeof(YRAFT_FILEINFO_ITEM);
constexpr unsigned int kAddress = sizeof(void*);

constexpr YraContainers::Row Buffers(const char* name, const char* countWord) {
  return {.name = name,
          .countWord = countWord,
          .weight = LengthWeight,
          .payload = AddressPayload,
          .traceElement = nullptr,
          .fileSize = nullptr,
          .roomPerItem = kItemHead,
          .pointerRoom = kAddress,
          .firstIndex = 0,
          .named = false,
          .freedOnClear = true,
          .freedOnPop = false,
          .freedWhenPacked = false};
}

constexpr YraContainers::Row kContainers[] = {
    Buffers("Buffer Queue", "old queue"),
    Buffers("Read Queue", "queue"),
    Buffers("Write Queue", "queue"),
    {.name = "FileInfo Queue",
     .countWord = "queue",
     .weight = NameWeight,
     .payload = RecordPayload,
     .traceElement = TraceRecord,
     .fileSize = RecordFileSize,
     .roomPerItem = kRecordHeads,
     .pointerRoom = 0,
     .firstIndex = 0,
     .named = true,
     .freedOnClear = true,
     .freedOnPop = true,
     .freedWhenPacked = true},
    {.name = "FileUI Queue",
     .countWord = "queue",
     .weight = NoWeight,
     .payload = FilesUIPayload,
     .traceElement = nullptr,
     .fileSize = nullptr,
     .roomPerItem = kItemHead,
     .pointerRoom = 0,
     .firstIndex = 0,
     .named = false,
     .freedOnClear = true,
     .freedOnPop = false,
     .freedWhenPacked = false},
    {.name = "FileInfo List",
     .countWord = "list",
     .weight = NameWeight,
     .payload = RecordPayload,
     .traceElement = TraceListRecord,
     .fileSize = nullptr,
     .roomPerItem = kRecordHeads,
     .pointerRoom = 0,
     .firstIndex = 1,
     .named = true,
     .freedOnClear = false,
     .freedOnPop = false,
     .freedWhenPacked = false},
    {.name = "UiThread Map",
     .countWord = "map",
     .weight = NoWeight,
     .payload = ThreadInfoPayload,
     .traceElement = TraceThreadInfo,
     .fileSize = nullptr,
     .roomPerItem = kRecordHeads,
     .pointerRoom = 0,
     .firstIndex = 1,
     .named = false,
     .freedOnClear = false,
     .freedOnPop = false,
     .freedWhenPacked = false},
};

}  // namespace

const YraContainers::Row* YraContainers::Find(int queueType) {
  const bool known = queueType >= YRAFT_QUEUE_BUFFER && queueType <= YRAFT_MAP_UITHREAD;
  return known ? &kContainers[queueType - YRAFT_QUEUE_BUFFER] : nullptr;
}
