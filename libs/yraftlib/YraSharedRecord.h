// A record that one thread replaces while another reads it, without a lock and without a torn copy.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>
#include <thread>
#include <type_traits>

// The record stands in whole words. A writer makes the version odd, writes the words, and makes it
// even again; a reader that saw the version move starts over. A writer waits for another writer,
// and a reader for a writer, no longer than the copy of one record takes.
template <class Record>
class SharedRecord {
  static_assert(std::is_trivially_copyable_v<Record>);

 public:
  void Store(const Record& record) {
    Update([&record](Record& copy) { copy = record; });
  }

  // Changes part of the record in place, as one step for every reader.
  template <class Change>
  void Update(Change change) {
    const std::uint32_t version = Claim();
    Record record = Read();
    change(record);
    Write(record);
    m_version.store(version + 2, std::memory_order_release);
  }

  Record Load() const {
    for (;;) {
      const std::uint32_t version = m_version.load(std::memory_order_acquire);
      if ((version & 1) == 0) {
        const Record record = Read();
        if (m_version.load(std::memory_order_relaxed) == version) return record;
      }
      std::this_thread::yield();
    }
  }

  // The copy itself, for callers that know of no writer meanwhile.
  Record* Get() { return reinterpret_cast<Record*>(m_words); }

 private:
  using Word = std::uint64_t __attribute__((may_alias));
  static constexpr std::size_t kWords = (sizeof(Record) + sizeof(Word) - 1) / sizeof(Word);

  std::uint32_t Claim() {
    std::uint32_t version = m_version.load(std::memory_order_relaxed);
    while ((version & 1) != 0 ||
           !m_version.compare_exchange_weak(version, version + 1, std::memory_order_acquire)) {
      std::this_thread::yield();
      version = m_version.load(std::memory_order_relaxed);
    }
    return version;
  }

  // Acquire and release on every word keep the version's reads and writes on their side of the
  // copy.
  Record Read() const {
    Word words[kWords];
    for (std::size_t i = 0; i < kWords; ++i) {
      words[i] = __atomic_load_n(&m_words[i], __ATOMIC_ACQUIRE);
    }
    Record record;
    std::memcpy(&record, words, sizeof(record));
    return record;
  }

  void Write(const Record& record) {
    Word words[kWords] = {};
    std::memcpy(words, &record, sizeof(record));
    for (std::size_t i = 0; i < kWords; ++i) {
      __atomic_store_n(&m_words[i], words[i], __ATOMIC_RELEASE);
    }
  }

  std::atomic<std::uint32_t> m_version{0};
  Word m_words[kWords] = {};
};
