// The queue store: what enters, what leaves, who owns it, and what a whole container becomes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "YraRW.h"
#include "support/allocation.h"
#include "yrafiletransfer.h"

namespace {

constexpr int kTypes[] = {1, 2, 3, 4, 5, 6, 7};
constexpr int kUnknownTypes[] = {-1, 0, 8, 9};

bool OwnedByPusher(int type) { return type == YRAFT_LIST_FILEINFO || type == YRAFT_MAP_UITHREAD; }

// An element that fits every container: a file record in at least the 32 bytes of the largest
// other.
unsigned char* NewElement(const std::string& name = "name", uint64_t size = 0) {
  YRAFT_FILEINFO_ITEM* item =
      Yraft_FileInfoItemAllocate(name.c_str(), static_cast<int>(name.size()), 0, size);
  return static_cast<unsigned char*>(realloc(item, item->cbSize + sizeof(YRAFT_FILES_UI)));
}

// A store through the C interface that also releases what only its pusher may.
class Store {
 public:
  Store() { EXPECT_EQ(YraftRWCreate(&m_store), 0U); }
  ~Store() {
    for (const int type : {YRAFT_LIST_FILEINFO, YRAFT_MAP_UITHREAD}) {
      for (int key = 0; !YraftRWEmpty(m_store, type); ++key) {
        unsigned char* data = nullptr;
        if (YraftRWPopFront(m_store, type, key, &data) == 0) free(data);
      }
    }
    YraftRWDestory(&m_store);
  }
  operator YraRW*() { return m_store; }  // NOLINT: stands in for the handle
  YraRW* operator->() { return m_store; }

  unsigned char* Push(int type, int key = 1, const std::string& name = "name", uint64_t size = 0) {
    unsigned char* data = NewElement(name, size);
    EXPECT_EQ(YraftRWPush(m_store, type, key, data, 50), 0U);
    return data;
  }
  int Size(int type) {
    int size = -1;
    EXPECT_EQ(YraftRWSize(m_store, type, &size), 0U);
    return size;
  }
  unsigned int Context(int type) {
    unsigned int size = 0;
    EXPECT_EQ(YraftRWContextSize(m_store, type, &size), 0U);
    return size;
  }

 private:
  YraRW* m_store = nullptr;
};

// The context size of one element of Store::Push.
unsigned int Weight(int type, const std::string& name = "name") {
  if (type <= YRAFT_QUEUE_WRITE) return 50;
  if (type == YRAFT_QUEUE_FILEUI) return 32;
  if (type == YRAFT_MAP_UITHREAD) return 14;
  return static_cast<unsigned int>(name.size()) + 1;
}

using Block = std::unique_ptr<YRAFT_TLV_BLOCKS, decltype(&free)>;

std::vector<std::string> Payloads(const YRAFT_TLV_BLOCKS* block) {
  std::vector<std::string> payloads;
  const char* at = reinterpret_cast<const char*>(block) + block->ListBlocks;
  for (int i = 0; i < block->ListCount; ++i) {
    YRAFT_TLV_ITEM head;
    memcpy(&head, at, sizeof(head));
    EXPECT_EQ(head.Reserved, 0);
    EXPECT_EQ(head.reserved2, 0U);
    payloads.emplace_back(at + sizeof(head), head.cbSize - sizeof(head));
    at += head.cbSize;
  }
  return payloads;
}

Block GetAll(YraRW* store, int type, unsigned int expected = 0) {
  unsigned char* data = nullptr;
  EXPECT_EQ(YraftRWGetAll(store, type, &data), expected);
  return {reinterpret_cast<YRAFT_TLV_BLOCKS*>(data), free};
}

Block GetAllPop(YraRW* store, int type, unsigned int expected = 0) {
  unsigned char* data = nullptr;
  EXPECT_EQ(store->YraRW_QueueGetAllPop(type, &data), expected);
  return {reinterpret_cast<YRAFT_TLV_BLOCKS*>(data), free};
}

// ---- Refusals ----------------------------------------------------------------------------------

TEST(Store, RefusesNullArgumentsInEveryFunction) {
  Store store;
  unsigned char* data = nullptr;
  int n = 0;
  unsigned int context = 0;
  for (const int type : {1, 4, 6, 7, 9}) {
    for (YraRW* handle : {static_cast<YraRW*>(nullptr), static_cast<YraRW*>(store)}) {
      unsigned char** ppData = handle == nullptr ? &data : nullptr;
      EXPECT_EQ(YraftRWFront(handle, type, 0, ppData), 70U);
      EXPECT_EQ(YraftRWPopFront(handle, type, 0, ppData), 70U);
      EXPECT_EQ(YraftRWGetAll(handle, type, ppData), 70U);
      EXPECT_EQ(YraftRWSize(handle, type, handle == nullptr ? &n : nullptr), 70U);
      EXPECT_EQ(YraftRWContextSize(handle, type, handle == nullptr ? &context : nullptr), 70U);
      EXPECT_EQ(YraftRWPush(handle, type, 0, nullptr, 1), 70U);
    }
    unsigned char byte = 0;
    EXPECT_EQ(YraftRWPush(store, type, 0, &byte, 0), 70U);
    EXPECT_EQ(YraftRWPop(nullptr, type, 0), 70U);
    EXPECT_EQ(YraftRWClear(nullptr, type), 70U);
    EXPECT_FALSE(YraftRWFind(nullptr, type, 0));
    EXPECT_TRUE(YraftRWEmpty(nullptr, type));
    EXPECT_EQ(store->YraRW_QueueGetAllPop(type, nullptr), 70U);
  }
  EXPECT_EQ(YraftRWReset(nullptr), 70U);
  EXPECT_EQ(YraftRWCreate(nullptr), 70U);
  YraRW* none = nullptr;
  EXPECT_EQ(YraftRWDestory(&none), 0U);
  EXPECT_EQ(YraftRWDestory(nullptr), 0U);
}

TEST(Store, RefusesUnknownTypesAndLeavesTheArgumentsAsDocumented) {
  Store store;
  for (const int type : kUnknownTypes) {
    unsigned char byte = 0;
    unsigned char* data = &byte;
    int n = 5;
    unsigned int context = 5;
    EXPECT_FALSE(store->YraRW_QueueTypeCheck(type));
    EXPECT_EQ(YraftRWPush(store, type, 0, &byte, 1), 70U);
    EXPECT_EQ(store->YraRW_QueuePopFront(type, 0, &data), 70U);
    EXPECT_EQ(store->YraRW_QueueGetAll(type, &data), 70U);
    EXPECT_EQ(store->YraRW_QueueSize(type, &n), 70U);
    EXPECT_EQ(data, &byte);
    EXPECT_EQ(n, 5);
    EXPECT_EQ(YraftRWFront(store, type, 0, &data), 70U);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(YraftRWSize(store, type, &n), 70U);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(YraftRWContextSize(store, type, &context), 70U);
    EXPECT_EQ(context, 0U);
    EXPECT_EQ(YraftRWPop(store, type, 0), 70U);
    EXPECT_EQ(YraftRWClear(store, type), 70U);
    EXPECT_FALSE(YraftRWFind(store, type, 0));
    EXPECT_TRUE(YraftRWEmpty(store, type));
  }
}

TEST(Store, AnswersForNothingThere) {
  Store store;
  for (const int type : kTypes) {
    unsigned char byte = 0;
    unsigned char* data = &byte;
    EXPECT_TRUE(store->YraRW_QueueTypeCheck(type));
    EXPECT_EQ(store->YraRW_QueuePopFront(type, 3, &data), 19U);
    EXPECT_EQ(data, &byte);
    EXPECT_EQ(YraftRWFront(store, type, 3, &data), 19U);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(YraftRWPop(store, type, 3), 0U);
    EXPECT_EQ(YraftRWClear(store, type), 0U);
    EXPECT_TRUE(YraftRWEmpty(store, type));
    EXPECT_EQ(store.Size(type), 0);
    const Block block = GetAll(store, type);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->ListCount, 0);
  }
}

// ---- Elements ----------------------------------------------------------------------------------

TEST(Store, CountsWhatIsThereByWhateverRoadItLeaves) {
  for (const int type : kTypes) {
    Store store;
    std::vector<unsigned char*> out;
    for (int i = 0; i < 4; ++i) out.push_back(store.Push(type, i));
    EXPECT_EQ(store.Size(type), 4);
    EXPECT_FALSE(YraftRWEmpty(store, type));
    EXPECT_EQ(store.Context(type), 4 * Weight(type));
    unsigned char* data = nullptr;
    EXPECT_EQ(YraftRWFront(store, type, 0, &data), 0U);
    EXPECT_EQ(data, out[0]);
    EXPECT_EQ(YraftRWPopFront(store, type, 0, &data), 0U);
    EXPECT_EQ(data, out[0]);
    free(data);
    EXPECT_EQ(store.Context(type), 3 * Weight(type));
    EXPECT_EQ(YraftRWPop(store, type, 1), 0U);
    if (type != YRAFT_QUEUE_FILEINFO) free(out[1]);  // every other pop leaves it to us
    EXPECT_EQ(store.Context(type), 2 * Weight(type));
    EXPECT_EQ(store.Size(type), 2);
    EXPECT_EQ(YraftRWClear(store, type), 0U);
    EXPECT_EQ(store.Context(type), 0U);
    EXPECT_TRUE(YraftRWEmpty(store, type));
    if (OwnedByPusher(type)) {
      free(out[2]);
      free(out[3]);
    }
  }
}

TEST(Store, FindsEntriesOfTheMapByTheirWholeKey) {
  Store store;
  unsigned char* three = store.Push(7, 3);
  store.Push(7, 7);
  unsigned char* other = NewElement();
  EXPECT_EQ(YraftRWPush(store, 7, 3, other, 1), 104U);
  for (const int key : {-1, 65536, 65536 + 3, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(YraftRWPush(store, 7, key, other, 1), 70U);
    EXPECT_FALSE(YraftRWFind(store, 7, key));
  }
  free(other);
  unsigned char* data = nullptr;
  EXPECT_EQ(YraftRWFront(store, 7, 3, &data), 0U);
  EXPECT_EQ(data, three);
  EXPECT_TRUE(YraftRWFind(store, 7, 7));
  EXPECT_FALSE(YraftRWFind(store, 7, 5));
  for (const int type : {1, 2, 3, 4, 5, 6}) EXPECT_FALSE(YraftRWFind(store, type, 3));
}

TEST(Store, ResetAndDestructionLeaveWhatIsHeldByReference) {
  YraRW* store = nullptr;
  ASSERT_EQ(YraftRWCreate(&store), 0U);
  std::vector<unsigned char*> held;
  for (int round = 0; round < 2; ++round) {
    for (const int type : kTypes) {
      unsigned char* data = NewElement();
      ASSERT_EQ(YraftRWPush(store, type, 9, data, 1), 0U);
      if (OwnedByPusher(type)) held.push_back(data);
    }
    if (round == 0) {
      EXPECT_EQ(YraftRWReset(store), 0U);
    }
  }
  EXPECT_EQ(YraftRWDestory(&store), 0U);
  EXPECT_EQ(store, nullptr);
  for (unsigned char* data : held) {
    EXPECT_STREQ(YRAFT_FILEINFO_NAME(reinterpret_cast<YRAFT_FILEINFO_ITEM*>(data)), "name");
    free(data);
  }
}

// ---- Snapshots ---------------------------------------------------------------------------------

TEST(Snapshot, CarriesEveryElementInOrderAndKeepsOrEmptiesTheContainer) {
  for (const int type : kTypes) {
    Store store;
    std::vector<std::string> expected;
    for (const int key : {7, 3, 5}) {
      const std::string name(static_cast<std::size_t>(key), 'n');
      unsigned char* data = store.Push(type, key, name, 10);
      std::string payload;
      if (type <= YRAFT_QUEUE_WRITE) {
        payload.assign(reinterpret_cast<char*>(&data), sizeof(data));
      } else {
        const auto* info = reinterpret_cast<YRAFT_FILEINFO_ITEM*>(data);
        const std::size_t size = type == 5 ? 32 : type == 7 ? 14 : info->cbSize;
        payload.assign(reinterpret_cast<char*>(data), size);
      }
      expected.push_back(payload);
    }
    if (type == YRAFT_MAP_UITHREAD) expected = {expected[1], expected[2], expected[0]};
    for (int i = 0; i < 2; ++i) {
      const Block block = GetAll(store, type);
      EXPECT_EQ(block->ListBlocks, 12);
      EXPECT_EQ(Payloads(block.get()), expected);
      EXPECT_EQ(uint64_t{block->FilesSize}, type == 4 ? 30U : 0U);
      EXPECT_EQ(store.Size(type), 3);
    }
    const auto address = [&](int i) {
      unsigned char* data = nullptr;
      memcpy(&data, expected[static_cast<std::size_t>(i)].data(), sizeof(data));
      return data;
    };
    std::vector<unsigned char*> ours;
    if (OwnedByPusher(type) || type == YRAFT_QUEUE_FILEUI) {
      for (const int key : {3, 5, 7}) {
        unsigned char* data = nullptr;
        store->YraRW_QueuePopFront(type, key, &data);
        ours.push_back(data);
      }
      for (int key = 0; key < 3; ++key) YraftRWPush(store, type, key, ours[key], 50);
    }
    const Block block = GetAllPop(store, type);
    EXPECT_EQ(block->ListCount, 3);
    EXPECT_EQ(store.Size(type), 0);
    EXPECT_EQ(store.Context(type), 0U);
    if (type <= YRAFT_QUEUE_WRITE) {
      for (int i = 0; i < 3; ++i) free(address(i));  // the block's receiver owns them now
    }
    for (unsigned char* data : ours) free(data);
  }
}

TEST(Snapshot, RefusesABlockOverTheLimitAndKeepsTheQueue) {
  for (const int type : {1, 5, 6, 7}) {
    const int fits = type == 1 ? 4095 : type == 5 ? 1638 : type == 6 ? 65523 / 37 : 65523 / 46;
    Store store;
    for (int i = 0; i < fits; ++i) store.Push(type, i);
    EXPECT_EQ(GetAll(store, type)->ListCount, fits);
    store.Push(type, fits);
    unsigned char* block = nullptr;
    EXPECT_EQ(YraftRWGetAll(store, type, &block), 9U);
    EXPECT_EQ(store->YraRW_QueueGetAllPop(type, &block), 9U);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(store.Size(type), fits + 1);
  }
}

TEST(Snapshot, SkipsARecordThatMakesNoItem) {
  Store store;
  store.Push(4, 0, "a", 10);
  auto* empty = reinterpret_cast<YRAFT_FILEINFO_ITEM*>(store.Push(4, 0, "b", 5));
  empty->cbSize = 0;
  auto* large = reinterpret_cast<YRAFT_FILEINFO_ITEM*>(store.Push(4, 0, "c", 1));
  EXPECT_EQ(Payloads(GetAll(store, 4).get()).size(), 2U);
  large->cbSize = 65535;  // says more than it counted for
  const Block block = GetAllPop(store, 4, 9);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(Payloads(block.get()).size(), 1U);
  EXPECT_EQ(uint64_t{block->FilesSize}, 16U);
  EXPECT_EQ(store.Size(4), 0);
}

// ---- No memory ---------------------------------------------------------------------------------

TEST(Store, LosesNothingWhenMemoryRunsOutAtAnyAllocation) {
  for (int nth = 1; nth <= 16; ++nth) {
    YraRW* store = nullptr;
    const unsigned int created = WithFailingAllocation(nth, [&] { return YraftRWCreate(&store); });
    if (created != 0) {
      EXPECT_EQ(created, 87U);
      EXPECT_EQ(store, nullptr);
      continue;
    }
    for (const int type : kTypes) {
      for (int i = 0; i < 200; ++i) {
        unsigned char* data = NewElement();
        const unsigned int ret =
            WithFailingAllocation(1, [&] { return YraftRWPush(store, type, i, data, 50); });
        if (ret == 0) {
          if (OwnedByPusher(type)) YraftRWPop(store, type, i), free(data);
          continue;
        }
        EXPECT_EQ(ret, 86U);
        free(data);  // still ours
      }
      unsigned char* block = nullptr;
      EXPECT_EQ(WithFailingAllocation(1, [&] { return YraftRWGetAll(store, type, &block); }), 86U);
      EXPECT_EQ(block, nullptr);
    }
    YraftRWDestory(&store);
    break;
  }
}

// ---- A model -----------------------------------------------------------------------------------

TEST(Store, BehavesAsASimpleModelOverAMillionOperations) {
  std::minstd_rand random(7);
  Store store;
  std::vector<std::pair<int, unsigned char*>> model[8];  // key and element, by type
  const auto at = [&](int type, int key) {
    auto& elements = model[type];
    if (type != 7) return elements.begin();
    return std::find_if(elements.begin(), elements.end(),
                        [key](const auto& entry) { return entry.first == key; });
  };
  for (int i = 0; i < 1000000; ++i) {
    const int type = 1 + static_cast<int>(random() % 7);
    const int key = static_cast<int>(random() % 8);
    auto& elements = model[type];
    unsigned char* data = nullptr;
    switch (random() % 8) {
      case 0:
      case 1:
      case 2: {
        data = NewElement("n");
        const bool present = type == 7 && at(7, key) != elements.end();
        ASSERT_EQ(YraftRWPush(store, type, key, data, 50), present ? 104U : 0U);
        if (present) {
          free(data);
        } else {
          elements.emplace_back(key, data);
        }
        break;
      }
      case 3:
      case 4: {
        const auto entry = at(type, key);
        const bool there = entry != elements.end();
        ASSERT_EQ(YraftRWPopFront(store, type, key, &data), there ? 0U : 19U);
        if (there) {
          ASSERT_EQ(data, entry->second);
          free(data);
          elements.erase(entry);
        }
        break;
      }
      case 5: {
        const auto entry = at(type, key);
        ASSERT_EQ(YraftRWPop(store, type, key), 0U);
        if (entry != elements.end()) {
          if (type != 4) free(entry->second);
          elements.erase(entry);
        }
        break;
      }
      case 6:
        if (random() % 64 != 0) break;
        ASSERT_EQ(YraftRWClear(store, type), 0U);
        if (OwnedByPusher(type)) {
          for (const auto& entry : elements) free(entry.second);
        }
        elements.clear();
        break;
      default: {
        const auto entry = at(type, key);
        ASSERT_EQ(YraftRWFront(store, type, key, &data), entry != elements.end() ? 0U : 19U);
        if (entry != elements.end()) {
          ASSERT_EQ(data, entry->second);
        }
        if (elements.size() < 100 && random() % 16 == 0) {
          ASSERT_EQ(GetAll(store, type)->ListCount, elements.size());
        }
      }
    }
    ASSERT_EQ(store.Size(type), static_cast<int>(elements.size()));
    ASSERT_EQ(store.Context(type), elements.size() * Weight(type, "n"));
  }
}

}  // namespace
