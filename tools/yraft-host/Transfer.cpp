#include "Transfer.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <memory>
#include <utility>

#include "ErrorBox.h"
#include "FileNames.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr auto kRefreshInterval = milliseconds(100);  // what is over sooner is not shown at all
constexpr auto kLong = std::chrono::seconds(1);
constexpr std::size_t kNone = SIZE_MAX;
constexpr std::size_t kListed = 10;             // files in the box at the end
constexpr std::uint64_t kPiecesPerSecond = 20;  // of a limited rate, so that the bar moves evenly

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

  std::size_t PieceSize() const {
    if (m_rate == 0) return kPiece;
    return std::clamp<std::uint64_t>(m_rate / kPiecesPerSecond, 1, kPiece);
  }

 private:
  const std::uint64_t m_rate;
  Clock::time_point m_due = Clock::now();
};

// Lives in the channel thread; what the user presses is looked at between two pieces.
class Transfer {
 public:
  Transfer(Session& session, Console& console, const TransferOrder& order)
      : m_session(session), m_console(console), m_order(order), m_throttle(order.options.rate) {}

  ExitStatus Run();

 private:
  void Copy(std::size_t index, Target& target);
  bool PieceDone(const Step& step);
  void Arrived(std::size_t index, std::uint64_t size, const std::string& given, const Text& why);
  void Failed(std::size_t index, const Text& why);
  ExitStatus Sum();
  void Refresh();
  void ShowLine();
  void Report(int evtType);
  void Handle(const Event& event);
  void HandleFor(milliseconds time);
  void WaitWhilePaused(Target& target);

  Session& m_session;
  Console& m_console;
  const TransferOrder& m_order;
  Throttle m_throttle;
  std::size_t m_current = 0;    // the file under way
  std::size_t m_shown = kNone;  // the file that the window shows
  std::uint64_t m_offset = 0;
  std::uint64_t m_size = 0;
  std::vector<Arrival> m_arrivals;
  std::vector<std::string> m_failures;         // in the user's language
  std::uint64_t m_total = 0;                   // bytes of all files, 0 where it is not known
  std::uint64_t m_passed = 0;                  // of them, of files that are done with
  std::uint64_t m_moved = 0;                   // bytes, by the transfer itself
  Clock::time_point m_started = Clock::now();  // as if there had been no pause
  Clock::time_point m_refreshed = Clock::now();
  bool m_paused = false;
  bool m_cancelled = false;
  bool m_windowGone = false;
};

ExitStatus Transfer::Run() {
  Target& target = m_order.target;
  m_order.permission.goOn = [this] { return PieceDone({.done = m_offset}); };
  for (const TransferItem& item : m_order.items) m_total += item.bytes;
  for (std::size_t i = 0; i < m_order.items.size() && !m_cancelled; ++i) Copy(i, target);
  target.Settle();
  m_order.permission.goOn = [] { return true; };
  m_shown = m_shown == kNone ? 0 : m_shown;
  Report(YRAFT_PROGRESS_CLOSE);
  return Sum();
}

void Transfer::Copy(std::size_t index, Target& target) try {
  const TransferItem& item = m_order.items[index];
  m_current = index;
  m_passed += m_offset;
  m_offset = 0;
  m_size = item.bytes;
  const auto source = m_order.open(item.place);
  const FileInfo& info = source->Info();
  m_size = info.size;
  auto sink = target.Begin(item.name, info);
  const auto begun = Clock::now();
  Step step;
  do {
    // A pause pressed while the file before was being finished holds as any other.
    if (!PieceDone(step)) return;
    WaitWhilePaused(target);
    if (m_cancelled) return;
    step = sink->Take(*source, m_throttle.PieceSize());
    if (Clock::now() - begun >= kLong) target.Settle();  // small ones do not wait for a large one
  } while (!step.end);
  if (!PieceDone(step)) return;
  source->ExpectUnchanged();
  target.Finish(std::move(sink),
                [this, index, size = step.done](const std::string& given, const Text& why) {
                  Arrived(index, size, given, why);
                });
} catch (const FileFailed& failed) {
  if (!m_cancelled) Failed(index, failed.why);
}

// Answers false where the transfer is to end.
bool Transfer::PieceDone(const Step& step) {
  m_offset = step.done;
  m_moved += step.moved;
  HandleFor(m_throttle.Delay(step.moved));
  if (!m_cancelled && !m_paused && Clock::now() - m_refreshed >= kRefreshInterval) Refresh();
  return !m_cancelled;
}

void Transfer::Arrived(std::size_t index, std::uint64_t size, const std::string& given,
                       const Text& why) {
  if (!why.empty()) {
    Failed(index, why);
    return;
  }
  const std::string& name = m_order.items[index].name;
  const std::string folder = name.substr(0, name.size() - BaseName(name).size());
  m_arrivals.push_back({m_order.items[index].place, m_order.target.PlaceOf(folder + given), size});
  std::string line = Printable(name) + ": " + std::to_string(size) + " bytes";
  if (given != BaseName(name)) line += ", kept as " + Printable(given);
  m_console.Say(line);
}

void Transfer::Failed(std::size_t index, const Text& why) {
  const std::string head = Printable(m_order.items[index].place) + ": ";
  m_failures.push_back(head + why.local);
  m_console.Complain(head + why.english);
}

// Whoever looks at the screen is told there as well, unless it was they who ended the transfer.
ExitStatus Transfer::Sum() {
  const std::size_t count = m_order.items.size();
  if (m_order.options.format != PathFormat::kLines) {
    PrintArrivals(m_arrivals, m_order.options.format);
  }
  if (m_arrivals.size() == count) return kExitDone;
  const std::string arrived = std::to_string(m_arrivals.size()), all = std::to_string(count);
  m_console.Complain((m_cancelled ? "cancelled; " : "") + arrived + " of " + all +
                     (count == 1 ? " file" : " files") + " arrived");
  if (m_cancelled || m_windowGone) return kExitIncomplete;
  std::string list;
  for (std::size_t i = 0; i < std::min(m_failures.size(), kListed); ++i) {
    list += (i > 0 ? "\n" : "") + m_failures[i];
  }
  if (m_failures.size() > kListed) {
    list += "\n" + Say(Said::kMore, {std::to_string(m_failures.size() - kListed)}).local;
  }
  ShowFailure(m_session, m_console, Say(Said::kArrived, {arrived, all}), list);
  return kExitIncomplete;
}

// The window shows a file from the first time on that finds it under way, so that small files do
// not flicker past.
void Transfer::Refresh() {
  m_refreshed = Clock::now();
  const bool isNew = m_shown != m_current;
  m_shown = m_current;
  Report(isNew ? YRAFT_PROGRESS_CREATE : YRAFT_PROGRESS_REFRESH);
  ShowLine();
}

void Transfer::ShowLine() {
  const std::chrono::duration<double> elapsed = Clock::now() - m_started;
  const double rate = static_cast<double>(m_moved) / std::max(elapsed.count(), 0.001);
  const auto rest =
      static_cast<double>(m_total > m_passed + m_offset ? m_total - m_passed - m_offset : 0);
  m_console.ShowProgress({.number = m_current + 1,
                          .count = m_order.items.size(),
                          .name = m_order.items[m_current].name,
                          .offset = m_offset,
                          .size = m_size,
                          .paused = m_paused,
                          .rate = rate,
                          .left = m_total > 0 && rate > 0 ? rest / rate : -1});
}

void Transfer::Report(int evtType) {
  auto record = NewRecord<YRAFT_PROGRESS_BAR_INFO>();
  if (!record || m_windowGone) return;  // the files matter, the picture of them does not
  const Figures figures = Scaled(m_offset, m_size);
  const std::string name = BaseName(m_order.items[m_shown].name);
  record->evtType = static_cast<std::uint32_t>(evtType);
  record->fileContext = Number(m_shown);
  record->filesNum = Number(m_order.items.size());
  record->fileOffset = figures.offset;
  record->fileSize = figures.size;
  record->fileTransferOperation = m_order.operation;
  std::memcpy(record->name, name.c_str(), std::min(name.size(), sizeof(record->name) - 1));
  m_session.Send(YRAFT_UI_SIGNAL_PROGRESS_BAR, evtType, std::move(record));
}

// Beginning a file resets the window's Pause button, so a press that still named the file before
// was undone on the screen and counts no more. A window that the window manager closed comes back,
// since nothing else controls the transfer; like any that comes up, it is not paused.
void Transfer::Handle(const Event& event) {
  if (event.kind == Event::Kind::kInterrupted) m_cancelled = true;
  if (event.kind == Event::Kind::kUiEnded) {
    m_console.Complain("the dialogs have ended; the transfer goes on without them");
    m_windowGone = true;
    m_paused = false;
  }
  if (event.kind == Event::Kind::kWindowClosed) {
    m_shown = kNone;
    m_paused = false;
  }
  if (event.kind != Event::Kind::kNotification) return;
  if (event.code == YRAFT_NOTIFY_CANCEL) m_cancelled = true;
  if (event.value != Number(m_shown)) return;
  if (event.code == YRAFT_NOTIFY_PAUSE) m_paused = true;
  if (event.code == YRAFT_NOTIFY_RESUME) m_paused = false;
}

// Handles every event that waits, and those of the time to come unless the user wants to stop. A
// Cancel may wait behind a Pause.
void Transfer::HandleFor(milliseconds time) {
  const auto end = Clock::now() + time;
  while (!m_cancelled) {
    const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
    const auto event = m_session.Next(m_paused ? milliseconds(0) : std::max(left, milliseconds(0)));
    if (!event && (m_paused || Clock::now() >= end)) return;
    if (event) Handle(*event);
  }
}

// What is finished arrives before the wait, however long that is. The window shows the file that it
// was paused at.
void Transfer::WaitWhilePaused(Target& target) {
  if (!m_paused || m_cancelled) return;
  target.Settle();
  ShowLine();
  const auto since = Clock::now();
  while (m_paused && !m_cancelled) {
    if (const auto event = m_session.Next(Session::kForever)) Handle(*event);
  }
  m_started += Clock::now() - since;
}

}  // namespace

std::uint64_t SizeOf(const std::string& path) {
  std::error_code unreadable;
  const std::uint64_t size = std::filesystem::file_size(path, unreadable);
  return unreadable ? 0 : size;
}

ExitStatus RunTransfer(Session& session, Console& console, const TransferOrder& order) {
  return Transfer(session, console, order).Run();
}
