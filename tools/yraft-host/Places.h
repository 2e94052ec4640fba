// The two ends of a transfer, by what the command line calls them: paths and URLs.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Server.h"
#include "Session.h"
#include "Transfer.h"
#include "UniqueFd.h"

class Places {
 public:
  Places(Session& session, const TransferOptions& options);

  // Opens a folder for files. Answers kExitDone, or complains and answers the status to exit with.
  ExitStatus OpenTarget(const std::string& place, Console& console);
  void TakeTarget(UniqueFd folder, const std::string& path);

  TransferOrder Order(const std::vector<TransferItem>& items, std::uint32_t operation);

 private:
  std::unique_ptr<Source> OpenSource(const std::string& place);
  bool Trusts(const std::string& host, const std::string& fingerprint);

  Session& m_session;
  const TransferOptions m_options;
  Permission m_permission;
  Server m_from, m_to;
  std::unique_ptr<Target> m_target;
};
