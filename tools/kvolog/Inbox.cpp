#include "Inbox.h"

#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "Failure.h"

namespace {

constexpr std::uint32_t kLayout = 1;  // another one is of another version
constexpr std::size_t kHead = 4096;
constexpr std::size_t kHalf = std::size_t{32} << 20;  // for a stall; only what is used is there
constexpr std::size_t kSize = kHead + 2 * kHalf;
constexpr std::size_t kUsual = std::size_t{1} << 20;
constexpr std::uint32_t kBoth = 2;

}  // namespace

struct Inbox::Shared {
  std::uint32_t layout;
  std::atomic<std::uint32_t> state;  // the half that is the first, and whether the other one counts
};

// A piece of a half. The bytes stand at its start one behind the other, the entries at its end one
// in front of the other, up to one without a length.
struct Inbox::Entry {
  mmsghdr message;  // the kernel notes the length
  std::uint64_t client;
  bool carried;
};

// One piece more, and the entry that ends them.
bool Inbox::Fits(std::size_t count, std::size_t used, std::size_t size) {
  return used + size + (count + 2) * sizeof(Entry) <= kHalf;
}

Inbox::Inbox(UniqueFd kept) : m_fd(std::move(kept)) {
  if (!m_fd) m_fd = UniqueFd(memfd_create("inbox", MFD_CLOEXEC));
  struct stat status {};
  fstat(m_fd.get(), &status);
  m_fresh = status.st_size == 0 && ftruncate(m_fd.get(), kSize) == 0;
  void* memory = MAP_FAILED;
  if (m_fresh || status.st_size == kSize) {
    memory = mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED, m_fd.get(), 0);
  }
  if (memory == MAP_FAILED) throw Refused(std::string("no memory for lines: ") + strerror(errno));
  m_shared = static_cast<Shared*>(memory);
  if (m_fresh) m_shared->layout = kLayout;
  if (m_shared->layout != kLayout) throw Refused("another version has kept lines for itself");
  Since([this](std::uint64_t, std::string_view bytes, bool carried) {
    ++m_count;
    m_carried += carried ? 1 : 0;
    m_used += bytes.size();
  });
}

Inbox::~Inbox() { munmap(m_shared, kSize); }

bool Inbox::Both() const { return (m_shared->state & kBoth) != 0; }
unsigned int Inbox::First() const { return m_shared->state & 1; }

char* Inbox::Half(unsigned int half) const {
  return reinterpret_cast<char*>(m_shared) + kHead + half * kHalf;
}

Inbox::Entry& Inbox::At(unsigned int half, std::size_t number) const {
  return reinterpret_cast<Entry*>(Half(half) + kHalf)[-1 - static_cast<std::ptrdiff_t>(number)];
}

ssize_t Inbox::Receive(int fd, std::uint64_t client, std::string_view* bytes) {
  ssize_t n = 0;
  if (!Fits(m_count, m_used, kTurn)) {
    m_overflow.resize(kTurn);
    n = recv(fd, m_overflow.data(), kTurn, MSG_DONTWAIT);
    *bytes = {m_overflow.data(), static_cast<std::size_t>(n < 0 ? 0 : n)};
    return n;
  }
  char* const data = Half(Receiving()) + m_used;
  iovec place{data, kTurn};
  At(Receiving(), m_count + 1).message.msg_len = 0;
  Entry& entry = At(Receiving(), m_count);
  entry = {};
  entry.client = client;
  entry.message.msg_hdr.msg_iov = &place;
  entry.message.msg_hdr.msg_iovlen = 1;
  if (recvmmsg(fd, &entry.message, 1, MSG_DONTWAIT, nullptr) < 0) return -1;
  *bytes = {data, entry.message.msg_len};
  m_count += bytes->empty() ? 0 : 1;
  m_used += bytes->size();
  return static_cast<ssize_t>(bytes->size());
}

void Inbox::Carry(std::uint64_t client, std::string_view bytes) {
  const unsigned int next = 1 - Receiving();
  if (!Fits(m_nextCount, m_nextUsed, bytes.size())) return;
  bytes.copy(Half(next) + m_nextUsed, bytes.size());
  Entry& entry = At(next, m_nextCount++);
  entry = {};
  entry.client = client;
  entry.carried = true;
  entry.message.msg_len = static_cast<unsigned int>(bytes.size());
  m_nextUsed += bytes.size();
}

void Inbox::Turn() {
  const unsigned int now = Receiving();
  At(1 - now, m_nextCount).message.msg_len = 0;
  m_shared->state = now | kBoth;
  m_usedBefore = std::exchange(m_used, std::exchange(m_nextUsed, 0));
  m_count = m_carried = std::exchange(m_nextCount, 0);
}

void Inbox::Free() {
  if (!Both()) return;
  const unsigned int done = First();
  m_shared->state = 1 - done;
  if (std::exchange(m_usedBefore, 0) > kUsual) madvise(Half(done), kHalf, MADV_REMOVE);
}

void Inbox::Before(const Visitor& visit) const {
  if (Both()) Visit(First(), visit);
}

void Inbox::Since(const Visitor& visit) const { Visit(Receiving(), visit); }

void Inbox::Visit(unsigned int half, const Visitor& visit) const {
  std::size_t used = 0;
  for (std::size_t number = 0;; ++number) {
    const Entry& entry = At(half, number);
    const std::size_t size = entry.message.msg_len;
    if (size == 0 || !Fits(number, used, size)) return;
    visit(entry.client, {Half(half) + used, size}, entry.carried);
    used += size;
  }
}
