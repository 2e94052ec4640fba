// What the log service has to say to whoever started it.
#pragma once

#include <string>

constexpr int kError = 3;  // of syslog's priorities
constexpr int kWarning = 4;
constexpr int kInformation = 6;

// One line on standard error, with its priority in front where the journal reads it.
void Complain(int priority, const std::string& what);
