// A small file on its way to a server of SFTP: read first, and sent as a whole together with
// others.
#pragma once

#include <atomic>
#include <future>
#include <string>
#include <vector>

#include "Endpoints.h"
#include "Lanes.h"
#include "RemoteFile.h"

class SmallSink : public Sink {
 public:
  // Whether a file is one: so much is held in memory.
  static bool Takes(const FileInfo& info) { return info.size > 0 && info.size <= 256UL << 10; }

  SmallSink(Lanes& lanes, const RemoteFile& file, const FileInfo& info)
      : m_lanes(lanes), m_file(file), m_info(info) {}

  // What was begun and not published goes.
  ~SmallSink() override;

  Step Take(Source& source, std::size_t length) override;

  // Lets the file arrive, soon. Once that is decided, which may be asked again and again, Given
  // answers under which name.
  void Publish();
  bool IsDecided() const;
  std::string Given() { return m_given.get(); }

  // Lets it not arrive, unless it has.
  void GiveUp() { m_wanted = false; }

 private:
  void Put(Server& server);

  Lanes& m_lanes;
  const RemoteFile m_file;
  const FileInfo m_info;
  std::vector<unsigned char> m_bytes;
  std::future<std::string> m_given;
  std::atomic<bool> m_wanted = true;
  std::atomic<bool> m_published = false;
};
