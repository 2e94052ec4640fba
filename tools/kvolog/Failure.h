// How a command ends when it does not do what it was asked for.
#pragma once

#include <stdexcept>

enum ExitStatus { kDone = 0, kRefused = 1, kUsage = 2 };

// Understood and not done; the text says why.
struct Refused : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Not understood; the text says what.
struct WrongUsage : std::runtime_error {
  using std::runtime_error::runtime_error;
};
