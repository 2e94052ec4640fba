// One file on its way to a server of SFTP, in pieces that several connections send at once. A piece
// that was lost with its connection is sent again.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <future>
#include <memory>
#include <optional>
#include <string>

#include "Endpoints.h"
#include "Lanes.h"
#include "RemoteFile.h"

// How many bytes a connection takes at a time: as many as it sends while a user does not wait long.
class PieceSize {
 public:
  static constexpr std::size_t kMost = 4UL << 20;
  std::size_t Get() const { return m_bytes; }
  void Took(std::chrono::steady_clock::duration time);

 private:
  std::size_t m_bytes = 256UL << 10;
};

class SftpSink : public Sink {
 public:
  // pieces   of all files that go there
  // resumes  go on where another process has stopped
  SftpSink(Lanes& lanes, const RemoteFile& file, const FileInfo& info, PieceSize& pieces,
           bool resumes);

  // What was begun and not published goes.
  ~SftpSink() override;

  // Waits for the server a moment at most.
  Step Take(Source& source, std::size_t length) override;

  // Lets the file arrive, soon. Has that been decided after a moment, Given answers under which
  // name.
  void Publish();
  bool IsDecided() const;
  std::string Given() { return m_given.get(); }

  // Lets it not arrive, unless it has.
  void GiveUp() { m_wanted = false; }

 private:
  using Clock = std::chrono::steady_clock;
  struct Piece {
    std::shared_ptr<unsigned char[]> bytes;
    std::size_t room = 0;
    std::size_t length = 0;
    std::uint64_t offset = 0;  // in the file
  };

  Step TakeWord();
  void Resume(Source& source);
  std::size_t Read(Source& source, std::size_t length);
  void Send();
  Clock::duration Put(Server& server, const Piece& piece);
  std::optional<CURLcode> PutOnce(Server& server, const Piece& piece);
  std::uint64_t SizeThere(Server& server) const;

  Lanes& m_lanes;
  const RemoteFile m_file;
  const FileInfo m_info;
  PieceSize& m_pieces;
  std::future<std::uint64_t> m_there;                   // what another process has sent
  Piece m_piece;                                        // that is being read
  std::deque<std::future<Clock::duration>> m_underWay;  // in their order
  std::future<std::string> m_given;
  Clock::time_point m_sent = Clock::now();  // the last piece
  bool m_end = false;                       // of the source
  bool m_begun = false;                     // the server may have something of it
  bool m_made = false;                      // and has
  std::atomic<std::uint64_t> m_handed = 0;  // bytes, to the connections
  std::atomic<bool> m_wanted = true;
  std::atomic<bool> m_published = false;
};
