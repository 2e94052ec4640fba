#include "store_model.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "YraRW.h"
#include "support/allocation.h"
#include "yrafiletransfer.h"

namespace {

// Few enough to meet again, and those at the edges of what the map takes.
constexpr int kKeys[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, -1, 65535, 65536, 65536 + 3, INT_MIN, INT_MAX};

constexpr uint8_t kMaxLie = 16;

bool Known(int type) { return type >= 1 && type <= StoreModel::kTypes; }
bool IsFileInfo(int type) { return type == YRAFT_QUEUE_FILEINFO || type == YRAFT_LIST_FILEINFO; }
bool IsBuffers(int type) { return type <= YRAFT_QUEUE_WRITE; }
bool ReleasedByClear(int type) { return type <= YRAFT_QUEUE_FILEUI; }

const YRAFT_FILEINFO_ITEM* Info(const unsigned char* data) {
  return reinterpret_cast<const YRAFT_FILEINFO_ITEM*>(data);
}

}  // namespace

StoreModel::StoreModel() { Expect(YraftRWCreate(&m_store) == YRAFT_STATUS_SUCCESS, "create"); }

StoreModel::~StoreModel() {
  const bool told = m_difference != nullptr;
  AllocationWatch watch;
  Expect(YraftRWDestory(&m_store) == 0 && m_store == nullptr, "destroy");
  watch.End();
  for (int type = 1; type <= kTypes; ++type) Leave(watch, type, ReleasedByClear(type));
  if (told || m_difference == nullptr) return;
  fprintf(stderr, "store and model differ at their end: %s\n", m_difference);
  abort();
}

void StoreModel::Expect(bool holds, const char* what) {
  if (!holds && m_difference == nullptr) m_difference = what;
}

const char* StoreModel::Do(const Step& step) {
  const int type = step.type % (kTypes + 2);
  const int key = kKeys[step.key % std::size(kKeys)];
  const auto operation = static_cast<Operation>(step.operation % kOperations);
  switch (operation) {
    case kPush:
      Push(type, key, step);
      break;
    case kClear:
    case kReset:
      Clear(type, operation == kReset);
      break;
    case kGetAll:
      GetAll(type, step.failing);
      break;
    case kGetAllPop:
      GetAllPop(type, step.failing);
      break;
    case kCreateAnother:
      CreateAnother(step.failing);
      break;
    default:
      Access(operation, type, key);
  }
  CompareAll();
  return m_difference;
}

// A file record that also fills the records of the other containers, and differs from the others.
unsigned char* StoreModel::NewElement(const Step& step) {
  static const std::string name(YRAFT_NAME_MAX, 'n');
  const int nameLen = std::clamp<int>(step.length, sizeof(YRAFT_FILES_UI), YRAFT_NAME_MAX);
  ++m_serial;
  auto* item = Yraft_FileInfoItemAllocate(name.data(), nameLen, m_serial, m_serial);
  if (step.lie == 0 || step.lie > kMaxLie) return reinterpret_cast<unsigned char*>(item);
  const int told = step.lie == 1   ? 0
                   : step.lie == 2 ? UINT16_MAX
                                   : std::min<int>(item->cbSize + step.lie, UINT16_MAX);
  if (told > item->cbSize) {
    item = static_cast<YRAFT_FILEINFO_ITEM*>(realloc(item, static_cast<std::size_t>(told)));
    memset(reinterpret_cast<char*>(item) + item->cbSize, 0,
           static_cast<std::size_t>(told - item->cbSize));
  }
  item->cbSize = static_cast<uint16_t>(told);
  return reinterpret_cast<unsigned char*>(item);
}

StoreModel::Elements::iterator StoreModel::Find(int type, int key) {
  Elements& elements = m_elements[type];
  if (type != YRAFT_MAP_UITHREAD) return elements.begin();
  return std::find_if(elements.begin(), elements.end(),
                      [key](const Element& element) { return element.key == key; });
}

void StoreModel::Push(int type, int key, const Step& step) {
  unsigned char* data = NewElement(step);
  AllocationWatch watch(step.failing);
  const unsigned int ret = YraftRWPush(m_store, type, key, data, step.length);
  watch.End();
  m_failures += watch.Failed() ? 1 : 0;
  const bool isMap = type == YRAFT_MAP_UITHREAD;
  unsigned int expected = 0;
  if (step.length == 0 || !Known(type) || (isMap && (key < 0 || key > UINT16_MAX))) {
    expected = 70;
  } else if (isMap && Find(type, key) != m_elements[type].end()) {
    expected = 104;
  } else if (watch.Failed()) {
    expected = 86;
  }
  Expect(ret == expected, "push");
  Expect(ret == 0 || watch.Balance() == 0, "a refused push keeps memory");
  if (ret != 0) {
    free(data);
    return;
  }
  const unsigned int weight = IsBuffers(type)              ? step.length
                              : IsFileInfo(type)           ? Info(data)->nameLen + 1U
                              : type == YRAFT_QUEUE_FILEUI ? 32U
                                                           : 14U;
  Elements& elements = m_elements[type];
  const auto behind = isMap ? std::find_if(elements.begin(), elements.end(),
                                           [key](const Element& e) { return e.key > key; })
                            : elements.end();
  elements.insert(behind, {key, data, weight});
}

void StoreModel::Access(Operation operation, int type, int key) {
  auto* const untouched = reinterpret_cast<unsigned char*>(this);
  unsigned char* data = untouched;
  AllocationWatch watch;
  const unsigned int ret = operation == kFront      ? YraftRWFront(m_store, type, key, &data)
                           : operation == kPopFront ? YraftRWPopFront(m_store, type, key, &data)
                                                    : YraftRWPop(m_store, type, key);
  watch.End();
  unsigned char* const nothing = operation == kPop ? untouched : nullptr;
  if (!Known(type)) {
    Expect(ret == 70 && data == nothing, "access to an unknown type");
    return;
  }
  const auto element = Find(type, key);
  if (element == m_elements[type].end()) {
    Expect(ret == (operation == kPop ? 0U : 19U) && data == nothing, "access to nothing");
    return;
  }
  Expect(ret == 0, "access");
  Expect(data == (operation == kPop ? untouched : element->data), "another element");
  const bool released = operation == kPop && type == YRAFT_QUEUE_FILEINFO;
  Expect(watch.Releases(element->data) == (released ? 1 : 0), "an access's releases");
  if (operation == kFront) return;
  if (!released) free(element->data);
  m_elements[type].erase(element);
}

void StoreModel::Clear(int type, bool all) {
  AllocationWatch watch;
  const unsigned int ret = all ? YraftRWReset(m_store) : YraftRWClear(m_store, type);
  watch.End();
  Expect(ret == (all || Known(type) ? 0U : 70U), "clear");
  for (int each = 1; each <= kTypes; ++each) {
    if (all || each == type) Leave(watch, each, ReleasedByClear(each));
  }
}

// Every element has left a container, and the call that was watched has released all or none.
void StoreModel::Leave(const AllocationWatch& watch, int type, bool released) {
  for (const Element& element : m_elements[type]) {
    // Memory that was released may have served the call again.
    Expect((watch.Releases(element.data) > 0) == released, "releases of the elements");
    if (!released) free(element.data);
  }
  m_elements[type].clear();
}

void StoreModel::GetAll(int type, int failing) {
  auto* const untouched = reinterpret_cast<unsigned char*>(this);
  unsigned char* data = untouched;
  const AllocationWatch watch(failing);
  const unsigned int ret = YraftRWGetAll(m_store, type, &data);
  Expect(data != untouched, "a snapshot leaves its out-parameter alone");
  if (data == untouched) return;
  if (watch.Failed()) {
    ++m_failures;
    // No block, or one that tells of the item that is missing.
    Expect(data == nullptr ? ret == 86 : ret != 0, "a snapshot without memory");
  } else {
    CompareBlock(type, ret, data);
  }
  free(data);
}

// Yields what the keeping form yields, which has been held against the elements.
void StoreModel::GetAllPop(int type, int failing) {
  unsigned char* kept = nullptr;
  unsigned char* data = nullptr;
  const unsigned int keptRet = YraftRWGetAll(m_store, type, &kept);
  AllocationWatch watch(failing);
  const unsigned int ret = m_store->YraRW_QueueGetAllPop(type, &data);
  watch.End();
  if (watch.Failed()) {
    ++m_failures;
    Expect(data == nullptr ? ret == 86 : ret != 0, "a snapshot without memory");
    if (data != nullptr) Leave(watch, type, type == YRAFT_QUEUE_FILEINFO);
  } else {
    Expect(ret == keptRet && (data == nullptr) == (kept == nullptr), "the removing snapshot");
  }
  if (!watch.Failed() && data != nullptr && kept != nullptr) {
    auto* block = reinterpret_cast<YRAFT_TLV_BLOCKS*>(kept);
    unsigned short used = 0;
    Yraft_TlvBlocksGetSize(block, &used);
    Expect(memcmp(data, kept, used) == 0, "the removing snapshot's block");
    // Of what the store owned it has released only the file records.
    Leave(watch, type, type == YRAFT_QUEUE_FILEINFO);
  }
  free(kept);
  free(data);
}

void StoreModel::CreateAnother(int failing) {
  YraRW* store = nullptr;
  const AllocationWatch watch(failing);
  const unsigned int ret = YraftRWCreate(&store);
  m_failures += watch.Failed() ? 1 : 0;
  Expect(ret == (watch.Failed() ? 87U : 0U), "create another");
  Expect((store == nullptr) == watch.Failed(), "another store");
  Expect(YraftRWDestory(&store) == 0 && store == nullptr, "destroy another");
  Expect(watch.Balance() == 0, "another store leaves memory");
}

// Holds a snapshot of a container against its elements, to the byte.
void StoreModel::CompareBlock(int type, unsigned int ret, const unsigned char* data) {
  if (!Known(type)) {
    Expect(ret == 70 && data == nullptr, "snapshot of an unknown type");
    return;
  }
  std::size_t capacity = sizeof(YRAFT_TLV_BLOCKS);
  for (const Element& element : m_elements[type]) {
    capacity += IsBuffers(type) ? 16 : type == YRAFT_QUEUE_FILEUI ? 40 : 32 + element.weight;
  }
  if (capacity > YRAFT_BLOCK_MAX) {
    Expect(ret == 9 && data == nullptr, "a snapshot too long for a block");
    return;
  }
  if (data == nullptr) return Expect(false, "no block");
  YRAFT_TLV_BLOCKS header = {sizeof(header), 0, 0};
  std::size_t used = sizeof(header);
  unsigned int status = 0;
  for (const Element& element : m_elements[type]) {
    if (type == YRAFT_QUEUE_FILEINFO) header.FilesSize += Info(element.data)->fileSize;
    const void* payload = IsBuffers(type) ? static_cast<const void*>(&element.data) : element.data;
    const std::size_t len = IsBuffers(type)              ? sizeof(element.data)
                            : IsFileInfo(type)           ? Info(element.data)->cbSize
                            : type == YRAFT_QUEUE_FILEUI ? 32
                                                         : 14;
    if (len == 0) continue;
    if (used + sizeof(YRAFT_TLV_ITEM) + len > capacity) {
      status = 9;
      continue;
    }
    const YRAFT_TLV_ITEM head = {static_cast<uint16_t>(sizeof(head) + len), 0, 0};
    Expect(memcmp(data + used, &head, sizeof(head)) == 0, "an item's head");
    Expect(memcmp(data + used + sizeof(head), payload, len) == 0, "an item's payload");
    used += head.cbSize;
    ++header.ListCount;
  }
  Expect(ret == status, "a snapshot's result");
  Expect(memcmp(data, &header, sizeof(header)) == 0, "a block's header");
  Expect(std::all_of(data + used, data + capacity, [](unsigned char byte) { return byte == 0; }),
         "bytes behind the last item");
}

void StoreModel::CompareAll() {
  for (int type = 1; type <= kTypes; ++type) {
    const Elements& elements = m_elements[type];
    int size = -1;
    Expect(YraftRWSize(m_store, type, &size) == 0, "size");
    Expect(static_cast<std::size_t>(size) == elements.size(), "number of elements");
    Expect(YraftRWEmpty(m_store, type) == elements.empty(), "empty");
    unsigned int expected = 0;
    for (const Element& element : elements) expected += element.weight;
    unsigned int context = 0;
    Expect(YraftRWContextSize(m_store, type, &context) == 0, "context size");
    Expect(context == expected, "sum of the weights");
    GetAll(type, 0);
  }
  for (const int key : kKeys) {
    Expect(YraftRWFind(m_store, YRAFT_MAP_UITHREAD, key) ==
               (Find(YRAFT_MAP_UITHREAD, key) != m_elements[YRAFT_MAP_UITHREAD].end()),
           "find");
  }
}
