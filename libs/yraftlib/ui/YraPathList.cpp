// The object's ordered list of paths.
#include <iterator>
#include <utility>

#include "YraTrace.h"
#include "YraWinUI.h"

namespace {

unsigned int Answer(WinTrace trace, std::size_t size) {
  TRACE_VERBOSE(trace, "[%s] Out: size=%d.", kLayerWin.tag, static_cast<int>(size));
  return static_cast<unsigned int>(size);
}

}  // namespace

unsigned int YraWinUI::YraListAppend(std::string path) {
  const WinTrace trace;
  m_paths.push_back(std::move(path));
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraListInsert(std::string path, int position) {
  const WinTrace trace;
  if (position < 0) {
    TRACE_ERROR(trace, "iPlace is invaild.(%d)", position);
    return trace.Ret(YRAFT_STATUS_BAD_ARGUMENT);
  }
  auto place = m_paths.begin();
  for (; position > 0 && place != m_paths.end(); --position) ++place;
  m_paths.insert(place, std::move(path));
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraListDelEnd() {
  const WinTrace trace;
  if (!m_paths.empty()) m_paths.pop_back();
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraListFind(std::string path) {  // NOLINT: hosts bind to the signature
  constexpr unsigned int kNotFound = 1;
  const WinTrace trace;
  for (const std::string& element : m_paths) {
    if (element == path) {
      TRACE_WARNING(trace, "find it");
      return trace.Ret(YRAFT_STATUS_SUCCESS);
    }
  }
  TRACE_WARNING(trace, "not find it");
  return trace.Ret(kNotFound);
}

unsigned int YraWinUI::YraListGetFileNum() {
  const WinTrace trace;
  return Answer(trace, m_paths.size());
}

unsigned int YraWinUI::YraListGetFileListOffset() {
  const WinTrace trace;
  std::size_t size = 0;
  for (const std::string& element : m_paths) size += element.size() + 1;
  return Answer(trace, size);
}

unsigned int YraWinUI::YraListDelAll() {
  const WinTrace trace;
  TRACE_VERBOSE(trace, "start: list num=%d", static_cast<int>(m_paths.size()));
  for (int i = 1; !m_paths.empty(); ++i) {
    m_paths.pop_front();
    TRACE_VERBOSE(trace, "delete %d.", i);
  }
  TRACE_VERBOSE(trace, "end: list num=%d", static_cast<int>(m_paths.size()));
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}
