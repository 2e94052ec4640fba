// A program with commands: what stands around them in every such program. Compiles for long, so it
// is for the one source that knows the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>
#include <vector>

#include "Failure.h"

inline void DescribeCommands(CLI::App& app) {
  app.set_help_flag("--help", "show this text");
  app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.get_formatter()->label("REQUIRED", "");
  app.group("Commands");  // of those that are added
}

// Runs the command that the command line names. Answers 0, or says what is wrong on standard error
// and answers 2 for a wrong command line and `failed` for a command that threw.
inline int RunCommand(CLI::App& app, int argc, char** argv, int failed) {
  constexpr int kWrongUsage = 2;
  // A command parses its words alone: among all words it would take some as those of others.
  CLI::App* command = nullptr;
  for (CLI::App* one : app.get_subcommands({})) {
    if (argc > 1 && one->get_name() == argv[1]) command = one;
  }
  const std::string name = app.get_name() + (command != nullptr ? ' ' + command->get_name() : "");
  std::vector<std::string> words;  // the first is the last
  for (int i = argc - 1; i > (command != nullptr ? 1 : 0); --i) words.emplace_back(argv[i]);
  const auto misused = [&name](const char* what) {
    std::fprintf(stderr, "%s: %s\nTry '%s --help'.\n", name.c_str(), what, name.c_str());
    return kWrongUsage;
  };
  try {
    (command != nullptr ? *command : app).parse(words);
    return command != nullptr ? 0 : misused("a command is missing");
  } catch (const CLI::CallForHelp&) {
    std::fputs((command != nullptr ? command->help(app.get_name()) : app.help()).c_str(), stdout);
    return 0;
  } catch (const CLI::ParseError& error) {
    return misused(error.what());
  } catch (const WrongUsage& error) {
    return misused(error.what());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", name.c_str(), error.what());
    return failed;
  }
}
