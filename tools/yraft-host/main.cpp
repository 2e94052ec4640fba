// yraft-host: a file-transfer host to run by hand. Its commands show the dialogs of a transfer and
// do with real files what a host does behind its virtual channel.
#include <signal.h>

#include <clocale>
#include <cstdio>
#include <cstring>
#include <exception>

#include "Command.h"
#include "kvolocalise.h"
#include "kvolog.h"

namespace {

constexpr char kHelp[] =
    "usage: yraft-host COMMAND ...\n"
    "\n"
    "  download         copy files that you choose into a folder\n"
    "  upload           copy files into a folder that you choose\n"
    "  pick-files       choose files and print their paths\n"
    "  pick-directory   choose a folder and print its path\n"
    "  message          show an error box\n"
    "\n"
    "'yraft-host COMMAND --help' tells what a command takes.\n";

constexpr const Command* kCommands[] = {&kDownload, &kUpload, &kPickFiles, &kPickDirectory,
                                        &kMessage};

// The log and the catalogs are there before other threads are, and stay as long as a dialog may
// want to write a line or show a text.
ExitStatus RunWithLibrary(const Command& command, const Arguments& arguments) {
  KvoLogInit();
  if (KvoLocaliseInit() == 0) {
    std::fputs("yraft-host: no message catalog is installed; the dialogs lack their texts\n",
               stderr);
  }
  const ExitStatus status = command.run(arguments);
  KvoLocaliseShutdown();
  KvoLogShutdown();
  return status;
}

ExitStatus Run(const Command& command, int argc, char** argv) {
  try {
    const auto arguments = ReadArguments(command, argc, argv);
    if (arguments) return RunWithLibrary(command, *arguments);
    std::fputs(command.help, stdout);
    return kExitDone;
  } catch (const UsageError& error) {
    std::fprintf(stderr, "yraft-host: %s\nTry 'yraft-host %s --help'.\n", error.what(),
                 command.name);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "yraft-host: %s\n", error.what());
  }
  return kExitNoStart;
}

}  // namespace

int main(int argc, char** argv) {
  setlocale(LC_CTYPE, "");
  signal(SIGPIPE, SIG_IGN);  // whoever stops reading our lines stops no transfer
  if (argc > 1 && std::strcmp(argv[1], "--help") == 0) {
    std::fputs(kHelp, stdout);
    return kExitDone;
  }
  for (const Command* command : kCommands) {
    if (argc > 1 && std::strcmp(argv[1], command->name) == 0) {
      return Run(*command, argc - 1, argv + 1);
    }
  }
  std::fprintf(stderr, "yraft-host: %s\nTry 'yraft-host --help'.\n",
               argc > 1 ? "unknown command" : "a command is missing");
  return kExitNoStart;
}
