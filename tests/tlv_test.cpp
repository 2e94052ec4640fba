// Records, items and blocks of the shared header, to the byte.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "yraft.h"

namespace {

using namespace std::string_literals;

template <class T>
std::unique_ptr<T, decltype(&free)> Own(T* p) {
  return {p, free};
}

auto NewBlock(unsigned short size) {
  YRAFT_TLV_BLOCKS* block = nullptr;
  EXPECT_EQ(Yraft_TlvBlocksAllocate(&block, size), 0U);
  return Own(block);
}

auto NewItem(const std::string& payload) {
  return Own(Yraft_TlvItemAllocate(payload.data(), static_cast<unsigned short>(payload.size())));
}

std::string Bytes(YRAFT_TLV_BLOCKS* block) {
  unsigned short size = 0;
  EXPECT_EQ(Yraft_TlvBlocksGetSize(block, &size), 0U);
  return {reinterpret_cast<char*>(block), size};
}

TEST(Tlv, FillsABlockToItsLastByteAndNoFurther) {
  const auto block = NewBlock(68);
  const auto first = NewItem("small!!\0"s);
  const auto second = NewItem(std::string(32, 'x'));
  EXPECT_EQ(Yraft_TlvBlocksAddItem(block.get(), 68, first.get(), 16), 0U);
  EXPECT_EQ(Yraft_TlvBlocksAddItem(block.get(), 67, second.get(), 40), 9U);
  EXPECT_EQ(Yraft_TlvBlocksAddItem(block.get(), 68, second.get(), 40), 0U);
  EXPECT_EQ(Yraft_TlvBlocksAddItem(block.get(), 68, first.get(), 16), 9U);
  EXPECT_EQ(Bytes(block.get()),
            "\x0C\0\x02\0\0\0\0\0\0\0\0\0\x10\0\0\0\0\0\0\0small!!\0"
            "\x28\0\0\0\0\0\0\0"s.append(32, 'x'));

  const auto largest = NewBlock(65535);
  const auto most = NewItem(std::string(65507, 'y'));
  ASSERT_EQ(Yraft_TlvBlocksAddItem(largest.get(), INT32_MAX, most.get(), most->cbSize), 0U);
  for (const int capacity : {65535, 65536, INT32_MAX}) {
    EXPECT_EQ(Yraft_TlvBlocksAddItem(largest.get(), capacity, first.get(), 16), 9U);
  }
  EXPECT_EQ(Bytes(largest.get()).size(), 65527U);
}

TEST(Tlv, RefusesLengthsAtAndBeyondTheEdges) {
  const auto item = NewItem("12345678");
  const auto block = NewBlock(99);
  for (const int size : {-1, 0, 7}) {  // shorter than a head, and agreed on
    item->cbSize = static_cast<uint16_t>(size);
    EXPECT_EQ(Yraft_TlvBlocksAddItem(block.get(), 99, item.get(), size), 9U);
  }
  const std::string bytes(65535, 'p');
  EXPECT_EQ(Yraft_TlvItemAllocate(bytes.data(), 65528), nullptr);
  EXPECT_EQ(Yraft_FileInfoItemAllocate(nullptr, -1, 0, 0), nullptr);
  for (const int length : {0, -25, 65511, INT32_MAX}) {
    EXPECT_EQ(Yraft_FileInfoItemAllocate(bytes.data(), length, 0, 0), nullptr);
  }
  const auto record = Own(Yraft_FileInfoItemAllocate(bytes.data(), 65510, 7, 1ULL << 40));
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(record.get()), 24),
            "\xE6\xFF\xFF\xFF\x07\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x01\0\0"s);
  EXPECT_EQ(record->name, bytes.substr(0, 65510));
  const auto message = Own(Yraft_ErrorMessageAllocate(nullptr, "main", "more"));
  EXPECT_EQ(std::string(reinterpret_cast<char*>(message.get()), message->cbSize),
            "\x13\0\0\0\x04\0\x04\0\0main\0more\0"s);
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
    names += record == nullptr ? "?" : record->name;
  }
  return names + (walk.left == 0 ? "" : "…");
}

TEST(Tlv, WalksABlockNoFurtherThanItsBytesGo) {
  const auto block = NewBlock(200);
  for (const auto& name : {"ab"s, "c"s, ""s}) {
    const auto record = Own(Yraft_FileInfoItemAllocate(name.empty() ? nullptr : name.c_str(),
                                                       static_cast<int>(name.size()), 0, 1));
    const auto item = Own(Yraft_TlvItemAllocate(record.get(), record->cbSize));
    ASSERT_EQ(Yraft_TlvBlocksAddItem(block.get(), 200, item.get(), item->cbSize), 0U);
  }
  const std::string whole = Bytes(block.get());
  EXPECT_EQ(NamesOf(whole + "more"), "abc");
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    const char* names = length < 12 ? "no block" : length < 47 ? "…" : length < 81 ? "ab…" : "abc…";
    EXPECT_EQ(NamesOf(whole.substr(0, length)), length < whole.size() ? names : "abc") << length;
  }
  const auto with = [&](std::size_t at, char byte) {
    return NamesOf(std::string(whole).replace(at, 1, 1, byte));
  };
  EXPECT_EQ(with(0, 11), "no block");    // the first item inside the header
  EXPECT_EQ(with(1, 1), "no block");     // … behind the end
  EXPECT_EQ(with(12, 7), "…");           // an item without a whole head
  EXPECT_EQ(with(12 + 8, 3), "?c");      // a name longer than its record
  EXPECT_EQ(with(12 + 10, 26), "?c");    // a record longer than its item
  EXPECT_EQ(with(12 + 33, '\0'), "?c");  // a name that ends early
  EXPECT_EQ(with(12 + 34, 'x'), "?c");   // … and one that does not end
}

}  // namespace
