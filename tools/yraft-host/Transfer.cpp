#include "Transfer.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <optional>
#include <utility>

#include "FileCopy.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::size_t kBlockSize = 256UL * 1024;
constexpr auto kRefreshInterval = milliseconds(50);
constexpr std::uint64_t kBlocksPerSecond = 20;  // of a limited rate, so that the bar moves evenly

// The records number files with 16 bits.
std::uint16_t Number(std::size_t value) {
  return static_cast<std::uint16_t>(std::min<std::size_t>(value, UINT16_MAX));
}

// What the progress window is told of a file, in its 32 bits: a large file's figures are scaled.
// A file under way stays below its size, since reaching it makes the window go.
struct Figures {
  std::uint32_t offset;
  std::uint32_t size;
};

Figures Scaled(std::uint64_t offset, std::uint64_t size) {
  while (size > UINT32_MAX) {
    size >>= 1;
    offset >>= 1;
  }
  if (size > 0) offset = std::min(offset, size - 1);
  return {static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(size)};
}

// Lets a byte count pass at a limited rate. Time in which nothing was to be done is not made up.
class Throttle {
 public:
  explicit Throttle(std::uint64_t rate) : m_rate(rate) {}

  // How long to wait until `moved` more bytes may count as done.
  milliseconds Delay(std::size_t moved) {
    if (m_rate == 0 || moved == 0) return milliseconds(0);
    const auto cost = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(static_cast<double>(moved) / static_cast<double>(m_rate)));
    const auto now = Clock::now();
    m_due = std::max(m_due, now - milliseconds(100)) + cost;
    return std::chrono::ceil<milliseconds>(std::max(m_due - now, Clock::duration::zero()));
  }

  std::size_t BlockSize() const {
    if (m_rate == 0) return kBlockSize;
    return std::clamp<std::uint64_t>(m_rate / kBlocksPerSecond, 1, kBlockSize);
  }

 private:
  const std::uint64_t m_rate;
  Clock::time_point m_due = Clock::now();
};

// Lives in the channel thread; what the user presses is looked at between two blocks.
class Transfer {
 public:
  Transfer(Session& session, Console& console, const TransferOrder& order)
      : m_session(session), m_console(console), m_order(order), m_throttle(order.rate) {}

  ExitStatus Run();

 private:
  bool Copy(std::size_t index);
  bool BlockDone(std::uint64_t offset, std::size_t moved);
  void Begin(std::size_t index, std::uint64_t size);
  void Refresh();
  void Report(int evtType);
  void Handle(const Event& event);
  void HandleFor(milliseconds time);
  void WaitWhilePaused();

  Session& m_session;
  Console& m_console;
  const TransferOrder& m_order;
  Throttle m_throttle;

  bool m_paused = false;
  bool m_cancelled = false;
  bool m_windowGone = false;

  std::size_t m_shown = 0;  // number of the file that the window shows; name and figures are its
  std::string m_name;
  std::uint64_t m_offset = 0;
  std::uint64_t m_size = 0;
  Clock::time_point m_refreshed;
};

ExitStatus Transfer::Run() {
  const std::size_t count = m_order.paths.size();
  std::size_t arrived = 0;
  for (std::size_t i = 0; i < count && !m_cancelled; ++i) {
    if (Copy(i)) ++arrived;
  }
  Report(YRAFT_PROGRESS_CLOSE);
  if (arrived == count) return kExitDone;
  m_console.Complain((m_cancelled ? "cancelled; " : "") + std::to_string(arrived) + " of " +
                     std::to_string(count) + (count == 1 ? " file" : " files") + " arrived");
  return kExitIncomplete;
}

bool Transfer::Copy(std::size_t index) {
  const std::string& path = m_order.paths[index];
  std::string why;
  const std::optional<Source> source = OpenSource(path, why);
  if (!source) {
    m_console.Complain(Printable(path) + ": " + why);
    return false;
  }
  // A pause pressed while the file before was being finished holds as any other.
  HandleFor(milliseconds(0));
  WaitWhilePaused();
  if (m_cancelled) return false;

  Begin(index, source->size);
  const CopyResult result = CopyInto(
      m_order.folder, m_name, *source, m_throttle.BlockSize(),
      [this](std::uint64_t offset, std::size_t moved) { return BlockDone(offset, moved); });
  if (result.outcome == CopyResult::Outcome::kFailed) {
    m_console.Complain(Printable(path) + ": " + result.detail);
  }
  if (result.outcome != CopyResult::Outcome::kWhole) return false;
  std::string line = Printable(m_name) + ": " + std::to_string(source->size) + " bytes";
  if (result.detail != m_name) line += ", kept as " + Printable(result.detail);
  m_console.Say(line);
  return true;
}

bool Transfer::BlockDone(std::uint64_t offset, std::size_t moved) {
  m_offset = offset;
  HandleFor(m_throttle.Delay(moved));
  WaitWhilePaused();
  if (!m_cancelled && Clock::now() - m_refreshed >= kRefreshInterval) Refresh();
  return !m_cancelled;
}

void Transfer::Begin(std::size_t index, std::uint64_t size) {
  m_shown = index;
  m_name = BaseName(m_order.paths[index]);
  m_offset = 0;
  m_size = size;
  m_refreshed = Clock::now();
  Report(YRAFT_PROGRESS_CREATE);
}

void Transfer::Refresh() {
  m_refreshed = Clock::now();
  Report(YRAFT_PROGRESS_REFRESH);
  m_console.ShowProgress({m_shown + 1, m_order.paths.size(), m_name, m_offset, m_size, m_paused});
}

void Transfer::Report(int evtType) {
  auto record = NewRecord<YRAFT_PROGRESS_BAR_INFO>();
  if (!record || m_windowGone) return;  // the files matter, the picture of them does not
  const Figures figures = Scaled(m_offset, m_size);
  record->evtType = static_cast<std::uint32_t>(evtType);
  record->fileContext = Number(m_shown);
  record->filesNum = Number(m_order.paths.size());
  record->fileOffset = figures.offset;
  record->fileSize = figures.size;
  record->fileTransferOperation = m_order.operation;
  std::memcpy(record->name, m_name.c_str(), std::min(m_name.size(), sizeof(record->name) - 1));
  m_session.Send(YRAFT_UI_SIGNAL_PROGRESS_BAR, evtType, std::move(record));
}

// Beginning a file resets the window's Pause button, so a press that still named the file before
// was undone on the screen and counts no more.
void Transfer::Handle(const Event& event) {
  if (event.kind == Event::Kind::kInterrupted) m_cancelled = true;
  if (event.kind == Event::Kind::kUiEnded) {
    m_console.Complain("the dialogs have ended; the transfer goes on without them");
    m_windowGone = true;
    m_paused = false;
  }
  if (event.kind != Event::Kind::kNotification) return;
  if (event.code == YRAFT_NOTIFY_CANCEL) m_cancelled = true;
  if (event.value != Number(m_shown)) return;
  if (event.code == YRAFT_NOTIFY_PAUSE) m_paused = true;
  if (event.code == YRAFT_NOTIFY_RESUME) m_paused = false;
}

// Handles every event that waits, and those of the time to come unless the user wants to stop.
void Transfer::HandleFor(milliseconds time) {
  const auto end = Clock::now() + time;
  do {
    const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
    const auto event = m_session.Next(std::max(left, milliseconds(0)));
    if (!event && Clock::now() >= end) return;
    if (event) Handle(*event);
  } while (!m_cancelled && !m_paused);
}

void Transfer::WaitWhilePaused() {
  if (!m_paused || m_cancelled) return;
  Refresh();
  while (m_paused && !m_cancelled) {
    if (const auto event = m_session.Next(Session::kForever)) Handle(*event);
  }
}

}  // namespace

ExitStatus RunTransfer(Session& session, Console& console, const TransferOrder& order) {
  return Transfer(session, console, order).Run();
}
