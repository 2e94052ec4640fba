#include "SmallSink.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

namespace {

using std::chrono::milliseconds;

constexpr auto kMoment = milliseconds(50);  // the user's wishes are looked at as often
constexpr int kAttempts = 3;                // at a connection that was lost
constexpr long kStalled = 30;               // seconds without a byte lose it

// What a request reads.
struct Reader {
  const unsigned char* bytes;
  std::size_t left;
};

std::size_t OnRead(char* bytes, std::size_t size, std::size_t count, void* self) {
  auto* reader = static_cast<Reader*>(self);
  const std::size_t length = std::min(size * count, reader->left);
  std::memcpy(bytes, reader->bytes, length);
  reader->bytes += length;
  reader->left -= length;
  return length;
}

}  // namespace

SmallSink::~SmallSink() {
  GiveUp();
  if (!m_given.valid()) return;
  m_given.wait();
  if (!m_published) m_lanes.Do([file = m_file](Server& server) { file.Remove(server); });
}

Step SmallSink::Take(Source& source, std::size_t length) {
  const std::size_t before = m_bytes.size();
  if (before > m_info.size) throw FileFailed(Say(Said::kChanged));
  m_bytes.resize(before + std::min(length, RoomFor(m_info, before)));
  const std::size_t moved = source.Read(&m_bytes[before], m_bytes.size() - before);
  m_bytes.resize(before + moved);
  return {m_bytes.size(), moved, moved == 0};
}

void SmallSink::Publish() {
  m_given = m_lanes.Do([this](Server& server) {
    Put(server);
    std::string given = m_file.Publish(server);
    m_published = true;
    return given;
  });
}

bool SmallSink::IsDecided() const { return m_given.wait_for(kMoment) == std::future_status::ready; }

// In a lane's thread.
void SmallSink::Put(Server& server) {
  for (int attempt = 0;; ++attempt) {
    const auto request = m_file.Upload(server);
    Reader reader{m_bytes.data(), m_bytes.size()};
    curl_easy_setopt(request.get(), CURLOPT_READFUNCTION, OnRead);
    curl_easy_setopt(request.get(), CURLOPT_READDATA, &reader);
    curl_easy_setopt(request.get(), CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(request.get(), CURLOPT_LOW_SPEED_TIME, kStalled);
    const auto result = server.Run(request.get(), [this] { return !m_wanted; });
    server.Drop(request.get());
    if (!m_wanted) throw FileFailed("cancelled");
    if (result == CURLE_OK) return;
    if (!IsLost(*result) || attempt == kAttempts) {
      throw FileFailed(server.Words(request.get(), *result));
    }
    std::this_thread::sleep_for(milliseconds(300 << attempt));
  }
}
