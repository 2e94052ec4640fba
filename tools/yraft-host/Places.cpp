#include "Places.h"

#include <unistd.h>

#include <utility>

#include "LocalFolder.h"
#include "LocalSource.h"
#include "RemoteFolder.h"
#include "RemoteSource.h"
#include "Request.h"
#include "Url.h"

namespace {

// Never from the command line, which everyone sees.
std::string AskForPassword(const std::string& host) {
  if (isatty(STDIN_FILENO) != 1) return {};
  const char* typed = getpass(("Password for " + Printable(host) + ": ").c_str());
  return typed != nullptr ? typed : "";
}

}  // namespace

Places::Places(Session& session, const TransferOptions& options)
    : m_session(session),
      m_options(options),
      m_from(m_permission, {[this](const auto& host, const auto& key) { return Trusts(host, key); },
                            AskForPassword}),
      m_to(m_permission, {[this](const auto& host, const auto& key) { return Trusts(host, key); },
                          AskForPassword}) {}

bool Places::Trusts(const std::string& host, const std::string& fingerprint) {
  Console console;
  // The box comes up once the UI runs; before that it waits in line.
  m_session.Ask(Say(Said::kQuestionTitle).local, Say(Said::kUnknownKey, {host, fingerprint}).local);
  const auto answer = Await(
      m_session, console, [](const Event& event) { return event.kind == Event::Kind::kAnswered; });
  return answer && answer->status == 1;
}

ExitStatus Places::OpenTarget(const std::string& place, Console& console) {
  Text why;
  if (!IsUrl(place)) {
    UniqueFd folder = OpenFolder(place, why);
    if (folder) TakeTarget(std::move(folder), place);
  } else {
    bool shown = true;
    m_permission.goOn = [this, &shown] {
      const auto event = m_session.Next(std::chrono::milliseconds(0));
      shown = shown && !(event && event->kind == Event::Kind::kUiEnded);
      return shown && !(event && event->kind == Event::Kind::kInterrupted);
    };
    auto target = std::make_unique<RemoteFolder>(m_to, Url(place), m_options.resumes, m_permission);
    try {
      target->Visit();
      m_target = std::move(target);
    } catch (const FileFailed& failed) {
      why = shown ? failed.why : kNoDisplay;
    }
    m_permission.goOn = [] { return true; };
  }
  if (m_target) return kExitDone;
  console.Complain(Printable(place) + ": " + why.english);
  return kExitNoStart;
}

void Places::TakeTarget(UniqueFd folder, const std::string& path) {
  m_target = std::make_unique<LocalFolder>(std::move(folder), path, m_options.rate == 0,
                                           m_options.resumes, m_permission);
}

std::unique_ptr<Source> Places::OpenSource(const std::string& place) {
  if (IsUrl(place)) return std::make_unique<RemoteSource>(m_from, place);
  return std::make_unique<LocalSource>(place, m_options.asItIs);
}

TransferOrder Places::Order(const std::vector<TransferItem>& items, std::uint32_t operation) {
  return {items,     operation,
          m_options, [this](const std::string& place) { return OpenSource(place); },
          *m_target, m_permission};
}
