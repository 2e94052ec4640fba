// The queue store beside a simple model of it: order, weights, bytes, and what is left when memory
// ends. What is released twice or never is for the sanitizers to find.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <random>
#include <string>
#include <utility>

#include "YraRW.h"
#include "support/allocation.h"
#include "yrafiletransfer.h"

namespace {

bool IsBuffers(int type) { return type <= YRAFT_QUEUE_WRITE; }
bool IsFiles(int type) { return type == YRAFT_QUEUE_FILEINFO || type == YRAFT_LIST_FILEINFO; }
bool IsMap(int type) { return type == YRAFT_MAP_UITHREAD; }

class Model {
 public:
  explicit Model(unsigned int seed) : m_random(seed) { EXPECT_EQ(YraftRWCreate(&m_store), 0U); }
  ~Model() {
    EXPECT_EQ(YraftRWDestory(&m_store), 0U);
    for (int type = 1; type <= 7; ++type) Leave(type, type <= YRAFT_QUEUE_FILEUI);
  }

  // Does something to both, sometimes with an allocation that fails, and compares what it touched.
  void Step() {
    const bool filling = (m_steps++ / 1024) % 2 == 0;
    const int type = Below(7) + 1;
    const int key = kKeys[Below(std::size(kKeys))];
    const int failing = Below(8) == 0 ? 1 + Below(12) : 0;
    const int dice = Below(400);
    if (dice < (filling ? 220 : 140)) {
      Push(type, key, failing);
    } else if (dice < 390) {
      Access(type, key, dice % 3);
    } else if (dice < 397) {
      GetAll(type, failing, false);
    } else if (Below(3) == 0) {
      GetAll(type, failing, true);
    } else {
      EXPECT_EQ(dice < 399 ? YraftRWClear(m_store, type) : YraftRWReset(m_store), 0U);
      for (int each = 1; each <= 7; ++each) {
        if (each == type || dice == 399) Leave(each, each <= YRAFT_QUEUE_FILEUI);
      }
    }
    Compare(type);
  }
  int Failures() const { return m_failures; }

 private:
  struct Element {
    int key;
    unsigned char* data;
    unsigned int weight;
  };

  // Few enough to meet again, and those at the edges of what the map takes.
  static constexpr int kKeys[] = {0,  1,     2,     3,         4,       5,      6,
                                  -1, 65535, 65536, 65536 + 3, INT_MIN, INT_MAX};

  int Below(std::size_t limit) { return static_cast<int>(m_random() % limit); }

  std::deque<Element>::iterator Find(int type, int key) {
    auto& elements = m_elements[type];
    return IsMap(type) ? std::find_if(elements.begin(), elements.end(),
                                      [key](const Element& e) { return e.key == key; })
                       : elements.begin();
  }

  // A file record that fills the records of the other containers. Some tell a size that is not
  // theirs.
  YRAFT_FILEINFO_ITEM* NewRecord(int nameLen) {
    static const std::string name(YRAFT_NAME_MAX, 'n');
    auto* item = Yraft_FileInfoItemAllocate(name.data(), std::max(nameLen, 32), 1, m_random());
    const int lie = Below(32);
    if (lie > 4) return item;
    const int told = lie == 0 ? 0 : std::min<int>(item->cbSize + lie, UINT16_MAX);
    item = static_cast<YRAFT_FILEINFO_ITEM*>(realloc(item, item->cbSize + 4U));
    memset(reinterpret_cast<char*>(item) + item->cbSize, 0, 4);
    item->cbSize = static_cast<uint16_t>(told);
    return item;
  }

  void Push(int type, int key, int failing) {
    const unsigned int length =
        static_cast<unsigned int>(Below(2048) == 0 ? Below(YRAFT_NAME_MAX) : Below(80));
    YRAFT_FILEINFO_ITEM* record = NewRecord(static_cast<int>(length));
    auto* data = reinterpret_cast<unsigned char*>(record);
    FailAllocation(failing);
    const unsigned int ret = YraftRWPush(m_store, type, key, data, length);
    const bool failed = EndFailing();
    m_failures += failed ? 1 : 0;
    const bool keyFits = !IsMap(type) || (key >= 0 && key <= UINT16_MAX);
    const bool isThere = IsMap(type) && Find(type, key) != m_elements[type].end();
    EXPECT_EQ(ret, length == 0 || !keyFits ? 70U : isThere ? 104U : failed ? 86U : 0U);
    if (ret != 0) return free(data);
    const unsigned int weight = IsBuffers(type)              ? length
                                : IsFiles(type)              ? record->nameLen + 1U
                                : type == YRAFT_QUEUE_FILEUI ? 32U
                                                             : 14U;
    auto& elements = m_elements[type];
    elements.insert(IsMap(type) ? std::find_if(elements.begin(), elements.end(),
                                               [key](const Element& e) { return e.key > key; })
                                : elements.end(),
                    {key, data, weight});
  }

  void Access(int type, int key, int how) {
    enum { kFront, kPopFront, kPop };
    unsigned char* data = nullptr;
    const unsigned int ret = how == kFront      ? YraftRWFront(m_store, type, key, &data)
                             : how == kPopFront ? YraftRWPopFront(m_store, type, key, &data)
                                                : YraftRWPop(m_store, type, key);
    const auto element = Find(type, key);
    if (element == m_elements[type].end()) {
      EXPECT_EQ(ret, how == kPop ? 0U : 19U);
      return;
    }
    EXPECT_EQ(ret, 0U);
    EXPECT_EQ(data, how == kPop ? nullptr : element->data);
    if (how == kFront) return;
    if (how != kPop || type != YRAFT_QUEUE_FILEINFO) free(element->data);
    m_elements[type].erase(element);
  }

  void GetAll(int type, int failing, bool removes) {
    const auto [status, block] = Block(type);
    unsigned char* data = nullptr;
    FailAllocation(failing);
    const unsigned int ret =
        removes ? m_store->YraRW_QueueGetAllPop(type, &data) : YraftRWGetAll(m_store, type, &data);
    if (EndFailing()) {  // no block, or one that tells of the item that is missing
      ++m_failures;
      EXPECT_TRUE(data == nullptr ? ret == 86 : ret != 0);
    } else {
      EXPECT_EQ(ret, status);
      ASSERT_EQ(data == nullptr, block.empty());
      EXPECT_TRUE(data == nullptr || memcmp(data, block.data(), block.size()) == 0);
    }
    if (removes && data != nullptr) Leave(type, type == YRAFT_QUEUE_FILEINFO);
    free(data);
  }

  // What a snapshot answers, and its block to the last byte of its room.
  std::pair<unsigned int, std::string> Block(int type) {
    std::size_t room = sizeof(YRAFT_TLV_BLOCKS);
    for (const Element& e : m_elements[type]) {
      room += IsBuffers(type) ? 16 : type == YRAFT_QUEUE_FILEUI ? 40 : 32 + e.weight;
    }
    if (room > YRAFT_BLOCK_MAX) return {YRAFT_STATUS_BUFFER_TOO_SMALL, {}};
    YRAFT_TLV_BLOCKS header = {sizeof(header), 0, 0};
    std::string items;
    unsigned int status = 0;
    for (const Element& e : m_elements[type]) {
      const auto* record = reinterpret_cast<const YRAFT_FILEINFO_ITEM*>(e.data);
      if (type == YRAFT_QUEUE_FILEINFO) header.FilesSize += record->fileSize;
      const std::size_t size = IsBuffers(type) ? 8 : IsFiles(type) ? record->cbSize : e.weight;
      if (size == 0) continue;
      if (sizeof(header) + items.size() + 8 + size > room) {
        status = YRAFT_STATUS_BUFFER_TOO_SMALL;
        continue;
      }
      const YRAFT_TLV_ITEM head = {static_cast<uint16_t>(8 + size), 0, 0};
      items.append(reinterpret_cast<const char*>(&head), sizeof(head));
      items.append(IsBuffers(type) ? reinterpret_cast<const char*>(&e.data)
                                   : reinterpret_cast<const char*>(e.data),
                   size);
      ++header.ListCount;
    }
    std::string block = std::string(reinterpret_cast<const char*>(&header), sizeof(header)) + items;
    block.resize(room);
    return {status, block};
  }

  void Leave(int type, bool released) {
    for (const Element& e : m_elements[type]) {
      if (!released) free(e.data);
    }
    m_elements[type].clear();
  }

  void Compare(int type) {
    const auto& elements = m_elements[type];
    int size = -1;
    unsigned int weight = 0;
    unsigned int expected = 0;
    for (const Element& e : elements) expected += e.weight;
    EXPECT_EQ(YraftRWSize(m_store, type, &size) + YraftRWContextSize(m_store, type, &weight), 0U);
    EXPECT_EQ(static_cast<std::size_t>(size), elements.size());
    EXPECT_EQ(YraftRWEmpty(m_store, type), elements.empty());
    EXPECT_EQ(weight, expected);
    for (const int key : kKeys) {
      EXPECT_EQ(YraftRWFind(m_store, type, key), IsMap(type) && Find(type, key) != elements.end());
    }
  }

  std::mt19937 m_random;
  unsigned int m_steps = 0;
  int m_failures = 0;
  YraRW* m_store = nullptr;
  std::deque<Element> m_elements[8];  // by type; the map's by ascending key
};

TEST(Store, BehavesAsASimpleModel) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  constexpr int kSteps = 50000;  // each takes many times as long
#else
  constexpr int kSteps = 500000;
#endif
  Model model(7);
  for (int i = 0; i < kSteps && !HasFailure(); ++i) model.Step();
  EXPECT_GT(model.Failures(), kSteps / 4000);
}

}  // namespace
