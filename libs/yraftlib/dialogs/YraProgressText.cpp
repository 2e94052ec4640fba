// The texts and figures of the progress window.
#include "dialogs/YraProgressText.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <limits>

#include "common/libs/kvolocalise/format.h"
#include "common/libs/kvolocalise/messages.h"
#include "kvolocalise.h"

YraProgress YraProgressOf(WinTrace trace, const YRAFT_PROGRESS_BAR_INFO& info) {
  // An empty file has arrived as soon as it is named.
  const double fraction = info.fileSize == 0 ? 1.0
                                             : static_cast<double>(info.fileOffset) /
                                                   static_cast<double>(info.fileSize);
  constexpr double kMax = std::numeric_limits<int>::max();
  const int percent = static_cast<int>(std::min(100.0 * fraction, kMax));
  TRACE_VERBOSE(trace, "percent double is %lf and int is %d.", fraction, percent);
  return {fraction, percent};
}

namespace {

// Bytes of a text, its NUL included.
constexpr std::size_t kTitleSize = 260;
constexpr std::size_t kLabelSize = 360;
constexpr std::size_t kWordSize = 20;

// A catalog's text as the format of the arguments that `kinds` names. A text that takes others is
// never used as a format: the built-in one stands in, and the log hears of it once.
const char* FormatFor(WinTrace trace, int number, const char* kinds, const char* builtIn,
                      std::atomic<bool>& told) {
  const char* pText = KvoLocalise(number);
  if (KvoLocaliseFormatFits(pText, kinds)) return pText;
  if (!told.exchange(true)) {
    TRACE_ERROR(trace, "text of message 0x%x does not take its arguments.",
                static_cast<unsigned>(number));
  }
  return builtIn;
}

// The one place where a catalog's text is a format; it was held against its arguments.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

std::string LabelText(WinTrace trace, const std::string& word, int number, int count,
                      const std::string& name) {
  static std::atomic<bool> told{false};
  const char* pFormat =
      FormatFor(trace, YRAFT_ENG_PROGRESSBAR_LABEL, "sdds", "%s%d of %d\n%s", told);
  // Room for the whole text: it is cut where a character ends, not where a buffer does.
  char label[4 * kLabelSize];
  snprintf(label, sizeof(label), pFormat, word.c_str(), number, count, name.c_str());
  return YraCutText(YraValidText(label), kLabelSize - 1);
}

std::string OperationWord(uint32_t operation) {
  int number = YRAFT_ENG_TRANSFER_FILE;
  if (operation == YRAFT_OPERATION_DOWNLOAD) number = YRAFT_ENG_TRANSFER_DOWNLOAD;
  if (operation == YRAFT_OPERATION_UPLOAD) number = YRAFT_ENG_TRANSFER_UPLOAD;
  return YraCutText(YraText(number), kWordSize - 1);
}

std::string FileName(const YRAFT_PROGRESS_BAR_INFO& info) {
  const std::string path(info.name, strnlen(info.name, sizeof(info.name)));
  return YraValidText(Yraft_GetFileNameFromFilePath(path.c_str(), '/'));
}

}  // namespace

std::string YraProgressTitle(WinTrace trace, int percent) {
  static std::atomic<bool> told{false};
  const char* pFormat =
      FormatFor(trace, YRAFT_ENG_PROGRESSBAR_TITLE, "d", "File transfer: %d%%", told);
  char title[kTitleSize];
  snprintf(title, sizeof(title), pFormat, percent);
  return YraCutText(YraValidText(title), kTitleSize - 1);
}

#pragma GCC diagnostic pop

std::string YraProgressLabel(WinTrace trace, const YRAFT_PROGRESS_BAR_INFO& info) {
  return LabelText(trace, OperationWord(info.fileTransferOperation), info.fileContext + 1,
                   info.filesNum, FileName(info));
}

std::string YraProgressFirstLabel(WinTrace trace) {
  const std::string word = YraText(YRAFT_ENG_TRANSFER_FILE);
  return LabelText(trace, word, 0, 0, word);
}

std::string YraProgressCallLabel(const YRAFT_PROGRESS_BAR_INFO& info) {
  const std::string label = YraText(YRAFT_ENG_TRANSFER_DOWNLOAD) +
                            std::to_string(info.fileContext + 1) + " of " +
                            std::to_string(info.filesNum) + "\n" + FileName(info);
  return YraCutText(label, kLabelSize - 1);
}
