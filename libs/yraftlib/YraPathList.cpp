// The object's ordered list of paths.
#include <iterator>
#include <utility>

#include "YraWinUI.h"

namespace {

constexpr TraceLayer kLayer = kLayerWin;

unsigned int TraceSize(const char* function, unsigned int line, std::size_t size) {
  if (kvolog::Admits(kLayer.classId, KVO_LOG_VERBOSE)) {
    __KvoTrace(kLayer.classId, KVO_LOG_VERBOSE, __FILE__, function, line, "[%s] Out: size=%d.",
               kLayer.tag, static_cast<int>(size));
  }
  return static_cast<unsigned int>(size);
}

}  // namespace

unsigned int YraWinUI::YraListAppend(std::string path) {
  TRACE_IN();
  m_paths.push_back(std::move(path));
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraListInsert(std::string path, int position) {
  TRACE_IN();
  if (position < 0) {
    TRACE_ERROR("iPlace is invaild.(%d)", position);
    return TRACE_RET(YRAFT_STATUS_BAD_ARGUMENT);
  }
  auto place = m_paths.begin();
  for (; position > 0 && place != m_paths.end(); --position) ++place;
  m_paths.insert(place, std::move(path));
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraListDelEnd() {
  TRACE_IN();
  if (!m_paths.empty()) m_paths.pop_back();
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraListFind(std::string path) {  // NOLINT: hosts bind to the signature
  constexpr unsigned int kNotFound = 1;
  TRACE_IN();
  for (const std::string& element : m_paths) {
    if (element == path) {
      TRACE_WARNING("find it");
      return TRACE_RET(YRAFT_STATUS_SUCCESS);
    }
  }
  TRACE_WARNING("not find it");
  return TRACE_RET(kNotFound);
}

unsigned int YraWinUI::YraListGetFileNum() {
  TRACE_IN();
  return TraceSize(__func__, __LINE__, m_paths.size());
}

unsigned int YraWinUI::YraListGetFileListOffset() {
  TRACE_IN();
  std::size_t size = 0;
  for (const std::string& element : m_paths) size += element.size() + 1;
  return TraceSize(__func__, __LINE__, size);
}

unsigned int YraWinUI::YraListDelAll() {
  TRACE_IN();
  TRACE_VERBOSE("start: list num=%d", static_cast<int>(m_paths.size()));
  for (int i = 1; !m_paths.empty(); ++i) {
    m_paths.pop_front();
    TRACE_VERBOSE("delete %d.", i);
  }
  TRACE_VERBOSE("end: list num=%d", static_cast<int>(m_paths.size()));
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}
