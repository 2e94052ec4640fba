// A dialog of the persistent UI, and the requests that wait for it.
#include "ui/YraDialog.h"

#include <utility>

YraDialog::~YraDialog() {
  while (TakeNext() != nullptr) {
  }
}

// ---- The line ----------------------------------------------------------------------------------

void YraDialog::Accept(std::unique_ptr<YraRequest> pRequest) {
  YraRequest* p = pRequest.release();
  p->pNext = m_pInbox.load();
  while (!m_pInbox.compare_exchange_weak(p->pNext, p)) {
  }
  g_idle_add(m_idle, m_pWinUI);
}

// Moves what came in behind what waits.
void YraDialog::Collect() {
  YraRequest** ppEnd = &m_pLine;
  while (*ppEnd != nullptr) ppEnd = &(*ppEnd)->pNext;
  YraRequest* pNew = m_pInbox.exchange(nullptr);
  while (YraRequest* p = pNew) {
    pNew = p->pNext;
    p->pNext = *ppEnd;
    *ppEnd = p;
  }
}

std::unique_ptr<YraRequest> YraDialog::TakeNext() {
  Collect();
  std::unique_ptr<YraRequest> pNext(m_pLine);
  if (m_pLine != nullptr) m_pLine = m_pLine->pNext;
  return pNext;
}

void YraDialog::Serve() {
  if (m_pCurrent != nullptr) return;
  Collect();
  const GdkLock lock;
  if (m_pLine == nullptr) return FindNothing();
  GtkWidget* pDialog = Widget();
  if (pDialog == nullptr) {
    TRACE_WARNING(m_trace, "%s", m_texts.pNotCreated);
    m_trace.Called(m_texts.pBuild, Build());
    pDialog = Widget();
  }
  if (pDialog == nullptr && Patient()) return;
  m_pCurrent = TakeNext();
  bool open = false;
  m_trace.Try([&] { open = pDialog != nullptr && Open(pDialog, *m_pCurrent); });
  if (open) return;
  const auto pRequest = std::move(m_pCurrent);
  Answer(nullptr, GTK_RESPONSE_NONE, *pRequest);
}

void YraDialog::End(int response) {
  if (m_pCurrent == nullptr) return;
  const auto pRequest = std::move(m_pCurrent);
  Answer(Widget(), response, *pRequest);
  // The next run starts when the events of this one are done with.
  Collect();
  if (m_pLine != nullptr) g_idle_add(m_idle, m_pWinUI);
}

void YraDialog::EndAll(int response) {
  while (const auto pRequest = TakeNext()) Answer(nullptr, response, *pRequest);
}

// ---- The widget --------------------------------------------------------------------------------

void YraDialog::Watch(GtkWidget* pDialog, GCallback onDestroy, GCallback onDelete) {
  const auto onResponse =
      +[](GtkDialog*, int response, void* p) { static_cast<YraDialog*>(p)->End(response); };
  const auto onHide =
      +[](GtkWidget*, void* p) { static_cast<YraDialog*>(p)->End(GTK_RESPONSE_NONE); };
  // A closed window is used again.
  const auto onClosed = +[](GtkWidget* pWidget, GdkEvent*, void* p) -> gboolean {
    static_cast<YraDialog*>(p)->End(GTK_RESPONSE_DELETE_EVENT);
    return gtk_widget_hide_on_delete(pWidget);
  };
  // The toolkit's own handler would answer before the log has heard of the event.
  const guint close = g_signal_lookup("delete-event", GTK_TYPE_WIDGET);
  while (const gulong id = g_signal_handler_find(pDialog, G_SIGNAL_MATCH_ID, close, 0, nullptr,
                                                 nullptr, nullptr)) {
    g_signal_handler_disconnect(pDialog, id);
  }
  g_signal_connect(pDialog, "destroy", onDestroy, m_pWinUI);
  g_signal_connect(pDialog, "delete-event", onDelete, m_pWinUI);
  g_signal_connect(pDialog, "delete-event", G_CALLBACK(onClosed), this);
  g_signal_connect(pDialog, "response", G_CALLBACK(onResponse), this);
  g_signal_connect(pDialog, "hide", G_CALLBACK(onHide), this);
  gtk_window_set_modal(GTK_WINDOW(pDialog), TRUE);
  YraStandAlone(pDialog);
}

void YraDialog::Forget(WinTrace trace, int level, GtkWidget* pWidget) {
  GtkWidget* pDialog = Widget();
  if (pDialog == nullptr) {
    TRACE_WARNING(trace, "%s", m_texts.pNull);
    return;
  }
  TRACE_AT(trace, level, "Will hide dialog...");
  gtk_widget_hide(pDialog);
  if (pDialog == pWidget) Hold(nullptr);
}

gboolean YraTraceDeleteEvent(WinTrace trace, int level, GtkWidget* pWidget, GdkEvent* pEvent,
                             void* data) {
  TRACE_AT(trace, level, "widget=0x%x, event=0x%x, udata=0x%x.", TraceAddress(pWidget),
           TraceAddress(pEvent), TraceAddress(data));
  trace.Out();
  return FALSE;
}
