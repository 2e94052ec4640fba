// One error box, until the user closes it.
#include "Commands.h"
#include "ErrorBox.h"

ExitStatus Message(const std::string& title, const std::string& text, const std::string& more) {
  Console console;
  Session session;
  return ShowErrorBox(session, console, title, text, more);
}
