// kvolog: sees and steers the agent's logging, and is a log service for it.
#include <cstdio>
#include <cstring>
#include <exception>

#include "Commands.h"
#include "Failure.h"

namespace {

constexpr char kHelp[] =
    "usage: kvolog COMMAND [ARGUMENT...]\n"
    "\n"
    "Shows and changes what the processes of the agent log:\n"
    "  levels     show the levels of the trace classes, as a tree\n"
    "  set        change the level of a class\n"
    "  flags      show or change what a line starts with\n"
    "  output     show or change the log file\n"
    "  rollover   show or change when the log file is rolled over\n"
    "  reset      go back to the defaults\n"
    "\n"
    "Writes and reads the log:\n"
    "  serve      be the log service\n"
    "  tail       show the last lines and follow, by class, level and identity\n"
    "\n"
    "'kvolog COMMAND --help' tells more.\n"
    "\n"
    "Exit status: 0 done; 1 refused, the reason is on standard error; 2 wrong usage.\n";

const Command* const kCommands[] = {&kLevelsCommand, &kSetCommand,      &kFlagsCommand,
                                    &kOutputCommand, &kRolloverCommand, &kResetCommand,
                                    &kServeCommand,  &kTailCommand,     &kNamesCommand};

int Complain(const char* command, const char* what, int status) {
  std::fprintf(stderr, "kvolog%s%s: %s\n", *command != '\0' ? " " : "", command, what);
  if (status == kUsage) {
    std::fprintf(stderr, "Try 'kvolog%s%s --help'.\n", *command != '\0' ? " " : "", command);
  }
  return status;
}

int Run(const Command& command, int argc, char** argv) {
  const Arguments arguments(command, argc, argv);
  if (arguments.Has(kHelpOption)) {
    std::fputs(command.help, stdout);
  } else if (const int status = command.run(arguments); status != kDone) {
    return status;
  }
  if (std::fflush(stdout) != 0) throw Refused("standard output cannot be written");
  return kDone;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return Complain("", "a command is missing", kUsage);
  if (std::strcmp(argv[1], "--help") == 0) {
    std::fputs(kHelp, stdout);
    return kDone;
  }
  for (const Command* command : kCommands) {
    if (std::strcmp(argv[1], command->name) != 0) continue;
    try {
      return Run(*command, argc - 1, argv + 1);
    } catch (const WrongUsage& error) {
      return Complain(command->name, error.what(), kUsage);
    } catch (const std::exception& error) {
      return Complain(command->name, error.what(), kRefused);
    }
  }
  return Complain("", (std::string("there is no command '") + argv[1] + "'").c_str(), kUsage);
}
