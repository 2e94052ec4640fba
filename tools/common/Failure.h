// How a command ends when it does not do what it was asked for; the text says why.
#pragma once

#include <stdexcept>

// Understood and not done.
struct Refused : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Not understood.
struct WrongUsage : std::runtime_error {
  using std::runtime_error::runtime_error;
};
