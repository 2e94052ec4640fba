#include "Question.h"

#include <gtk/gtk.h>

#include <atomic>
#include <memory>

namespace {

struct Question {
  std::string title, text;
  void (*answered)(bool yes);
};

std::atomic<Question*> g_asked{nullptr};  // one at a time; a hand-over that race detectors can see

gboolean Show(gpointer) {
  const std::unique_ptr<Question> question(g_asked.exchange(nullptr));
  GtkWidget* box = gtk_message_dialog_new(nullptr, GTK_DIALOG_MODAL, GTK_MESSAGE_QUESTION,
                                          GTK_BUTTONS_YES_NO, "%s", question->text.c_str());
  gtk_window_set_title(GTK_WINDOW(box), question->title.c_str());
  gtk_dialog_set_default_response(GTK_DIALOG(box), GTK_RESPONSE_NO);
  const bool yes = gtk_dialog_run(GTK_DIALOG(box)) == GTK_RESPONSE_YES;
  gtk_widget_destroy(box);
  question->answered(yes);
  return FALSE;
}

}  // namespace

void AskInBox(const std::string& title, const std::string& text, void (*answered)(bool yes)) {
  g_asked = new Question{title, text, answered};
  g_idle_add(Show, nullptr);
}
