// Records, items and blocks of the shared header, to the byte.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "support/allocation.h"
#include "yraft.h"

namespace {

template <class T>
using Owned = std::unique_ptr<T, decltype(&free)>;

template <class T>
Owned<T> Own(T* p) {
  return {p, free};
}

Owned<YRAFT_TLV_BLOCKS> NewBlock(unsigned short size) {
  YRAFT_TLV_BLOCKS* block = nullptr;
  EXPECT_EQ(Yraft_TlvBlocksAllocate(&block, size), 0U);
  return Own(block);
}

unsigned short Used(YRAFT_TLV_BLOCKS* block) {
  unsigned short size = 0;
  EXPECT_EQ(Yraft_TlvBlocksGetSize(block, &size), 0U);
  return size;
}

TEST(Tlv, FillsABlockToItsLastByteAndNoFurther) {
  const auto block = NewBlock(68);
  const char small[8] = "small!!";
  const auto first = Own(Yraft_TlvItemAllocate(small, 8));
  const auto second = Own(Yraft_TlvItemAllocate(std::string(32, 'x').data(), 32));
  EXPECT_EQ(Used(block.get()), 12);
  volatile int tooMuch = 17;  // the compiler warns of what it can see
  EXPECT_EQ(Yraft_TlvBlocksAddItem(block.get(), 68, first.get(), tooMuch), 9U);
  EXPECT_EQ(Yraft_TlvBlocksAddItem(block.get(), 68, first.get(), 16), 0U);
  EXPECT_EQ(Yraft_TlvBlocksAddItem(block.get(), 68, second.get(), 40), 0U);
  EXPECT_EQ(Yraft_TlvBlocksAddItem(block.get(), 68, first.get(), 16), 9U);
  EXPECT_EQ(Used(block.get()), 68);
  std::string bytes("\x0C\0\x02\0\0\0\0\0\0\0\0\0\x10\0\0\0\0\0\0\0small!!\0\x28\0\0\0\0\0\0\0",
                    36);
  bytes += std::string(32, 'x');
  EXPECT_EQ(std::string(reinterpret_cast<char*>(block.get()), 68), bytes);
}

TEST(Tlv, RefusesBadBlocksAndItems) {
  YRAFT_TLV_BLOCKS* block = nullptr;
  EXPECT_EQ(Yraft_TlvBlocksAllocate(nullptr, 12), 70U);
  EXPECT_EQ(Yraft_TlvBlocksAllocate(&block, 11), 70U);
  const auto good = NewBlock(12);
  const auto item = Own(Yraft_TlvItemAllocate("12345678", 8));
  EXPECT_EQ(Yraft_TlvBlocksAddItem(good.get(), 12, item.get(), 16), 9U);
  EXPECT_EQ(Yraft_TlvBlocksAddItem(nullptr, 12, item.get(), 16), 70U);
  EXPECT_EQ(Yraft_TlvBlocksAddItem(good.get(), 12, nullptr, 16), 70U);
  for (const int size : {0, -1, 15}) {
    EXPECT_EQ(Yraft_TlvBlocksAddItem(good.get(), 99, item.get(), size), 9U);
  }
  unsigned short used = 0;
  EXPECT_EQ(Yraft_TlvBlocksGetSize(nullptr, &used), 70U);
  EXPECT_EQ(Yraft_TlvBlocksGetSize(good.get(), nullptr), 70U);
  EXPECT_EQ(good->ListCount, 0);
  const std::string payload(65535, 'p');
  EXPECT_EQ(Yraft_TlvItemAllocate(nullptr, 1), nullptr);
  EXPECT_EQ(Yraft_TlvItemAllocate(payload.data(), 0), nullptr);
  EXPECT_EQ(Yraft_TlvItemAllocate(payload.data(), 65528), nullptr);
  EXPECT_EQ(Own(Yraft_TlvItemAllocate(payload.data(), 65527))->cbSize, 65535);
}

TEST(Tlv, BuildsFileRecordsOfEveryLength) {
  const std::string name(65535, 'n');
  for (const int length : {1, 10, 65510}) {
    const auto item = Own(Yraft_FileInfoItemAllocate(name.data(), length, 7, 1ULL << 40));
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->nameLen, length);
    EXPECT_EQ(item->cbSize, length + 25);
    EXPECT_EQ(item->fileContext, 7);
    EXPECT_EQ(item->fileTransferOperation, 0U);
    EXPECT_EQ(uint64_t{item->fileSize}, 1ULL << 40);
    EXPECT_EQ(std::string(YRAFT_FILEINFO_NAME(item.get())), name.substr(0, length));
  }
  const auto unnamed = Own(Yraft_FileInfoItemAllocate(nullptr, 0, 0, 0));
  EXPECT_EQ(unnamed->cbSize, 25);
  EXPECT_STREQ(YRAFT_FILEINFO_NAME(unnamed.get()), "");
  EXPECT_EQ(Yraft_FileInfoItemAllocate(nullptr, 5, 0, 0), nullptr);
  EXPECT_EQ(Yraft_FileInfoItemAllocate(nullptr, -1, 0, 0), nullptr);
  for (const int length : {0, -1, -25, 65511, INT32_MAX}) {
    EXPECT_EQ(Yraft_FileInfoItemAllocate(name.data(), length, 0, 0), nullptr);
  }
}

TEST(Tlv, MeasuresFilesAndFindsNames) {
  char path[] = "/tmp/yra-size-XXXXXX";
  close(mkstemp(path));
  for (const off_t size : {off_t{0}, off_t{5}, off_t{0x7FFFFFFF}, off_t{1} << 31}) {
    ASSERT_EQ(truncate(path, size), 0);
    EXPECT_EQ(Yraft_GetFileSize(path), static_cast<int>(static_cast<uint32_t>(size)));
  }
  unlink(path);
  EXPECT_EQ(Yraft_GetFileSize(path), 0);
  EXPECT_EQ(Yraft_GetFileSize(nullptr), 0);
  EXPECT_STREQ(Yraft_GetFileNameFromFilePath("/tmp/a.txt", '/'), "a.txt");
  EXPECT_STREQ(Yraft_GetFileNameFromFilePath("a.txt", '/'), "a.txt");
  EXPECT_STREQ(Yraft_GetFileNameFromFilePath("/tmp/", '/'), "");
  EXPECT_EQ(Yraft_GetFileNameFromFilePath(nullptr, '/'), nullptr);
}

// Walks a block of exactly these bytes; answers the names in it, and "…" where it breaks off.
std::string NamesOf(const std::string& bytes) {
  const std::unique_ptr<char[]> exact(new char[bytes.size()]);
  bytes.copy(exact.get(), bytes.size());
  YRAFT_TLV_WALK walk;
  if (Yraft_TlvBlocksWalk(&walk, exact.get(), bytes.size()) != 0) return "no block";
  std::string names;
  while (const YRAFT_TLV_ITEM* item = Yraft_TlvBlocksNext(&walk)) {
    const YRAFT_FILEINFO_ITEM* record = Yraft_TlvItemFileInfo(item);
    names += record == nullptr ? "?" : YRAFT_FILEINFO_NAME(record);
  }
  EXPECT_EQ(Yraft_TlvBlocksNext(&walk), nullptr);
  return names + (walk.left == 0 ? "" : "…");
}

TEST(Tlv, WalksABlockNoFurtherThanItsBytesGo) {
  const auto block = NewBlock(200);
  for (const std::string name : {"ab", "c", ""}) {
    const auto record = Own(Yraft_FileInfoItemAllocate(name.empty() ? nullptr : name.c_str(),
                                                       static_cast<int>(name.size()), 0, 1));
    const auto item = Own(Yraft_TlvItemAllocate(record.get(), record->cbSize));
    ASSERT_EQ(Yraft_TlvBlocksAddItem(block.get(), 200, item.get(), item->cbSize), 0U);
  }
  const std::string whole(reinterpret_cast<char*>(block.get()), Used(block.get()));
  EXPECT_EQ(NamesOf(whole), "abc");
  EXPECT_EQ(NamesOf(whole + "more"), "abc");
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const char* names = length < 12 ? "no block" : length < 47 ? "…" : length < 81 ? "ab…" : "abc…";
    EXPECT_EQ(NamesOf(whole.substr(0, length)), names) << length;
  }
  const auto with = [&](std::size_t at, char byte) {
    std::string changed = whole;
    changed.at(at) = byte;
    return NamesOf(changed);
  };
  EXPECT_EQ(with(0, 11), "no block");    // the first item inside the header
  EXPECT_EQ(with(1, 1), "no block");     // … behind the end
  EXPECT_EQ(with(12, 7), "…");           // an item without a whole head
  EXPECT_EQ(with(12 + 8, 3), "?c");      // a name longer than its record
  EXPECT_EQ(with(12 + 10, 26), "?c");    // a record longer than its item
  EXPECT_EQ(with(12 + 33, '\0'), "?c");  // a name that ends early
  EXPECT_EQ(with(12 + 34, 'x'), "?c");   // … and one that does not end
  YRAFT_TLV_WALK walk;
  EXPECT_EQ(Yraft_TlvBlocksWalk(nullptr, block.get(), 12), 70U);
  EXPECT_EQ(Yraft_TlvBlocksWalk(&walk, nullptr, 12), 70U);
  EXPECT_EQ(Yraft_TlvBlocksNext(&walk), nullptr);
  EXPECT_EQ(Yraft_TlvBlocksNext(nullptr), nullptr);
  EXPECT_EQ(Yraft_TlvItemFileInfo(nullptr), nullptr);
}

TEST(Tlv, ReportsMissingMemory) {
  YRAFT_TLV_BLOCKS* block = nullptr;
  EXPECT_EQ(WithFailingAllocation(1, [&] { return Yraft_TlvBlocksAllocate(&block, 99); }), 86U);
  EXPECT_EQ(block, nullptr);
  free(block);
  EXPECT_EQ(WithFailingAllocation(1, [] { return Yraft_TlvItemAllocate("x", 1); }), nullptr);
  EXPECT_EQ(WithFailingAllocation(1, [] { return Yraft_FileInfoItemAllocate("x", 1, 0, 0); }),
            nullptr);
}

}  // namespace
