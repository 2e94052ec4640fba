// The commands of the program and what they are given.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

enum ExitStatus {
  kExitDone = 0,        // every file arrived whole; something was chosen; the message was closed
  kExitIncomplete = 1,  // declined, refused, cancelled, or a file did not arrive
  kExitNoStart = 2      // wrong usage, no such folder, no display
};

// Wrong usage; what() says what is wrong.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct OptionRule {
  const char* name;  // without the dashes
  bool takesValue;
  char letter = '\0';  // of the short form, where there is one
};

// The options and operands of a command line, which is well formed.
struct Arguments {
  std::map<std::string, std::string> options;  // by name; the last one given counts
  std::vector<std::string> operands;

  bool Has(const std::string& name) const { return options.count(name) > 0; }
  // The number from 1 to `most` that an option was given, or nothing without the option. Throws
  // UsageError for every other value.
  std::optional<std::uint64_t> Number(const std::string& name, std::uint64_t most) const;
};

struct Command {
  const char* name;
  const char* help;  // its usage line first
  std::vector<OptionRule> options;
  std::size_t operandsMin;
  std::size_t operandsMax;
  ExitStatus (*run)(const Arguments& arguments);
};

extern const Command kDownload;
extern const Command kUpload;
extern const Command kPickFiles;
extern const Command kPickDirectory;
extern const Command kMessage;

// Reads a command line (argv[0] is the command's name) by the command's rules. Answers nothing when
// it asks for help. Throws UsageError.
std::optional<Arguments> ReadArguments(const Command& command, int argc, char** argv);
