// A command of the tool and what the user wrote behind its name.
#pragma once

#include <getopt.h>

#include <map>
#include <string>
#include <vector>

class Arguments;

struct Command {
  const char* name;
  const char* help;                        // shown by --help, from "usage: " on
  std::size_t fewest, most;                // words
  const char* shortOptions;                // as getopt has them
  std::vector<option> options;             // beside --help; `val` is what Arguments is asked for
  bool changes;                            // words may start with a minus sign
  int (*run)(const Arguments& arguments);  // answers the exit status; throws Refused or WrongUsage
};

class Arguments {
 public:
  // argv[0] is the command's name. Throws WrongUsage. Use once in a process.
  Arguments(const Command& command, int argc, char** argv);

  bool Has(int option) const { return m_options.count(option) != 0; }
  const std::string& Value(int option) const { return m_options.at(option); }
  const std::vector<std::string>& words() const { return m_words; }

 private:
  std::map<int, std::string> m_options;
  std::vector<std::string> m_words;
};

constexpr int kHelpOption = 0x100;
constexpr int kJsonOption = 0x101;
const option kJson = {"json", no_argument, nullptr, kJsonOption};
