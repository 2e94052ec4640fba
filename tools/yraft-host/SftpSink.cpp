#include "SftpSink.h"

#include <algorithm>
#include <cstring>
#include <thread>
#include <utility>

namespace {

using std::chrono::milliseconds;

constexpr std::size_t kMostTogether = 4;
constexpr auto kLate = milliseconds(250);   // what has been read does not wait for more
constexpr auto kMoment = milliseconds(50);  // the user's wishes are looked at as often
constexpr auto kShort = milliseconds(250);  // for a piece
constexpr auto kLong = milliseconds(1000);
constexpr std::size_t kLeast = 64UL << 10;
constexpr int kAttempts = 3;   // at a connection that was lost
constexpr long kStalled = 30;  // seconds without a byte lose it

// Pieces under way: their encryption takes a processor each.
std::size_t Together() {
  return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 2, kMostTogether);
}

// What a request reads of a piece.
struct Reader {
  const unsigned char* bytes;
  std::size_t left;
  std::atomic<std::uint64_t>& handed;
};

std::size_t OnRead(char* bytes, std::size_t size, std::size_t count, void* self) {
  auto* reader = static_cast<Reader*>(self);
  const std::size_t length = std::min(size * count, reader->left);
  std::memcpy(bytes, reader->bytes, length);
  reader->bytes += length;
  reader->left -= length;
  reader->handed += length;
  return length;
}

// A piece begins where curl wants to go on.
int OnSeek(void*, curl_off_t, int) { return CURL_SEEKFUNC_OK; }

// Where the server has bytes of the file already it says so, and curl asks to go on from there.
int OnSeekFromEnd(void* size, curl_off_t offset, int) {
  *static_cast<std::uint64_t*>(size) = static_cast<std::uint64_t>(offset);
  return CURL_SEEKFUNC_OK;
}

template <typename T>
bool IsReady(const std::future<T>& result) {
  return result.wait_for(kMoment) == std::future_status::ready;
}

}  // namespace

void PieceSize::Took(std::chrono::steady_clock::duration time) {
  if (time > kLong) m_bytes = std::max(m_bytes / 2, kLeast);
  if (time < kShort) m_bytes = std::min(m_bytes * 2, kMost);
}

SftpSink::SftpSink(Lanes& lanes, const RemoteFile& file, const FileInfo& info, PieceSize& pieces,
                   bool resumes)
    : m_lanes(lanes), m_file(file), m_info(info), m_pieces(pieces) {
  if (resumes) m_there = lanes.Do([this](Server& server) { return SizeThere(server); });
}

SftpSink::~SftpSink() {
  GiveUp();
  if (m_there.valid()) m_there.wait();
  if (m_given.valid()) m_given.wait();
  for (const auto& piece : m_underWay) piece.wait();
  if (!m_begun || m_published) return;
  m_lanes.Do([file = m_file](Server& server) { file.Remove(server); });
}

Step SftpSink::Take(Source& source, std::size_t length) {
  if (m_there.valid()) {
    if (IsReady(m_there)) Resume(source);
    return {.done = m_handed};
  }
  const bool isFull = m_piece.length > 0 && m_piece.length == m_piece.room;
  const bool goes = isFull || (m_end ? m_begun : Clock::now() - m_sent >= kLate);
  // The first piece makes the file that the others go into.
  if (goes && m_piece.length > 0 && m_underWay.size() < (m_made ? Together() : 1)) {
    Send();
  } else if (m_end || isFull) {
    return TakeWord();
  }
  const std::size_t moved = m_end ? 0 : Read(source, length);
  m_end = moved == 0;
  return {m_handed, moved, false};
}

// The server's word for the first piece under way, if there is one.
Step SftpSink::TakeWord() {
  if (m_underWay.empty()) return {m_piece.offset + m_piece.length, 0, true};
  if (!IsReady(m_underWay.front())) return {.done = m_handed};
  auto first = std::move(m_underWay.front());
  m_underWay.pop_front();
  m_pieces.Took(first.get());
  m_made = true;
  return {.done = m_handed};
}

// Pieces arrive in any order, so the last of those that are there may have others missing in front
// of them.
void SftpSink::Resume(Source& source) {
  constexpr std::uint64_t kUnsure = kMostTogether * PieceSize::kMost;
  const std::uint64_t there = m_there.get();
  if (there <= kUnsure || there > m_info.size) return;
  m_piece.offset = m_handed = there - kUnsure;
  m_begun = m_made = true;
  source.Seek(m_piece.offset);
}

std::size_t SftpSink::Read(Source& source, std::size_t length) {
  if (!m_piece.bytes) {
    m_piece.room = std::min(m_pieces.Get(), RoomFor(m_info, m_piece.offset));
    m_piece.bytes = std::make_shared_for_overwrite<unsigned char[]>(m_piece.room);
  }
  length = source.Read(m_piece.bytes.get() + m_piece.length,
                       std::min(length, m_piece.room - m_piece.length));
  m_piece.length += length;
  return length;
}

void SftpSink::Send() {
  Piece next;
  next.offset = m_piece.offset + m_piece.length;
  m_underWay.push_back(m_lanes.Do(
      [this, piece = std::exchange(m_piece, next)](Server& server) { return Put(server, piece); }));
  m_begun = true;
  m_sent = Clock::now();
}

// A small file is one piece, which has waited for this.
void SftpSink::Publish() {
  const bool isSent = std::exchange(m_begun, true);
  m_given = m_lanes.Do([this, isSent](Server& server) {
    if (!isSent) Put(server, m_piece);
    if (!m_wanted) throw FileFailed("cancelled");
    std::string given = m_file.Publish(server);
    m_published = true;
    return given;
  });
}

bool SftpSink::IsDecided() const { return IsReady(m_given); }

// ---- In a lane's thread ------------------------------------------------------------------------

SftpSink::Clock::duration SftpSink::Put(Server& server, const Piece& piece) {
  const auto begun = Clock::now();
  for (int attempt = 0;; ++attempt) {
    const auto result = PutOnce(server, piece);
    if (result == CURLE_OK) return Clock::now() - begun;
    if (!result) throw FileFailed("cancelled");
    if (!IsLost(*result) || attempt == kAttempts) {
      throw FileFailed(server.Words(nullptr, *result));
    }
    std::this_thread::sleep_for(milliseconds(300 << attempt));
  }
}

// Answers nothing where the file is not wanted any more.
std::optional<CURLcode> SftpSink::PutOnce(Server& server, const Piece& piece) {
  const auto request = m_file.Upload(server);
  Reader reader{piece.bytes.get(), piece.length, m_handed};
  const auto offset = static_cast<curl_off_t>(piece.offset);
  curl_easy_setopt(request.get(), CURLOPT_READFUNCTION, OnRead);
  curl_easy_setopt(request.get(), CURLOPT_READDATA, &reader);
  curl_easy_setopt(request.get(), CURLOPT_SEEKFUNCTION, OnSeek);
  curl_easy_setopt(request.get(), CURLOPT_RESUME_FROM_LARGE, offset);
  curl_easy_setopt(request.get(), CURLOPT_INFILESIZE_LARGE,
                   offset + static_cast<curl_off_t>(piece.length));
  curl_easy_setopt(request.get(), CURLOPT_LOW_SPEED_LIMIT, 1L);
  curl_easy_setopt(request.get(), CURLOPT_LOW_SPEED_TIME, kStalled);
  const auto result = server.Run(request.get(), [this] { return !m_wanted; });
  server.Drop(request.get());
  if (result != CURLE_OK) m_handed -= piece.length - reader.left;
  return result;
}

std::uint64_t SftpSink::SizeThere(Server& server) const {
  std::uint64_t size = 0;
  const auto request = m_file.Upload(server);
  curl_easy_setopt(request.get(), CURLOPT_READFUNCTION,
                   [](char*, size_t, size_t, void*) -> size_t { return 0; });
  curl_easy_setopt(request.get(), CURLOPT_SEEKFUNCTION, OnSeekFromEnd);
  curl_easy_setopt(request.get(), CURLOPT_SEEKDATA, &size);
  curl_easy_setopt(request.get(), CURLOPT_RESUME_FROM_LARGE, curl_off_t{-1});
  server.Run(request.get(), [this] { return !m_wanted; });
  server.Drop(request.get());
  return size;
}
