// A program with commands: what stands around them in every such program. Compiles for long, so it
// is for the one source that knows the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Failure.h"

constexpr int kWrongUsage = 2;  // an exit status

// Answers 0; throws where standard output takes no more.
inline int Print(const std::string& text) {
  if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0) return 0;
  throw std::runtime_error("standard output takes no more");
}

// The help as it was written: newer parsers wrap its lines anew and begin the usage without a word.
class HelpFormat : public CLI::Formatter {
 public:
  HelpFormat() {
    label("SUBCOMMAND", "COMMAND");
    label("SUBCOMMANDS", "COMMAND");
    label("REQUIRED", "");
#if CLI11_VERSION_MAJOR > 2 || CLI11_VERSION_MINOR > 5
    enable_description_formatting(false);
    enable_footer_formatting(false);
#endif
  }
  std::string make_usage(const CLI::App* app, std::string name) const override {
    const std::string usage = CLI::Formatter::make_usage(app, std::move(name));
    return usage.starts_with('\n') ? "Usage: " + usage.substr(1) : usage;
  }
};

// Runs the command that the command line names. Answers 0, or says what is wrong on standard error
// and answers kWrongUsage or, for a command that threw, `failed`.
//
// describe  adds the commands to a CLI::App
template <typename Describe>
int RunProgram(const char* program, const char* about, int argc, char** argv, int failed,
               const Describe& describe) {
  std::string name = program;
  const auto misused = [&name](const char* what) {
    std::fprintf(stderr, "%s: %s\nTry '%s --help'.\n", name.c_str(), what, name.c_str());
    return kWrongUsage;
  };
  try {
    CLI::App app(about, program);
    app.set_help_flag("-h,--help", "show this text");
    app.set_version_flag("--version", std::string(program) + " " + YRA_VERSION, "show the version");
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.formatter(std::make_shared<HelpFormat>());
    app.group("Commands");  // of those that are added
    describe(app);
    CLI::App* command = &app;
    for (CLI::App* one : app.get_subcommands({})) {
      if (argc > 1 && one->get_name() == argv[1]) command = one;
    }
    if (command != &app) name += ' ' + command->get_name();
    // A command parses its words alone: among all words it would take some as those of others.
    std::vector<std::string> words;  // the first is the last
    for (int i = argc - 1; i > (command != &app ? 1 : 0); --i) words.emplace_back(argv[i]);
    try {
      command->parse(words);
    } catch (const CLI::CallForHelp&) {
      return Print(command->help(command != &app ? program : ""));
    } catch (const CLI::CallForVersion&) {
      return Print(app.version() + "\n");
    }
    return command != &app ? 0 : misused("a command is missing");
  } catch (const CLI::ParseError& error) {
    return misused(error.what());
  } catch (const WrongUsage& error) {
    return misused(error.what());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", name.c_str(), error.what());
    return failed;
  }
}
