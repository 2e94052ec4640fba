// yraft-host: a file-transfer host to run by hand. Its subcommands show the dialogs of a transfer
// and do with real files what a host does behind its virtual channel.
#include <getopt.h>
#include <signal.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <string>

#include "Download.h"
#include "kvolocalise.h"

namespace {

constexpr char kHelp[] =
    "usage: yraft-host download --to DIR [--rate BYTES_PER_SECOND]\n"
    "\n"
    "download   asks for files in the file chooser and copies each into DIR, while the progress\n"
    "           window shows how far it is and lets you pause, resume and cancel\n"
    "  --to DIR     an existing folder; nothing in it is replaced, a second \"name\" becomes\n"
    "               \"name (2)\"\n"
    "  --rate N     copy at most N bytes a second, to have time to watch\n"
    "\n"
    "Exit status: 0 every chosen file arrived whole; 1 nothing was chosen, the transfer was\n"
    "cancelled or a file did not arrive; 2 wrong usage, no such folder or no display.\n";

int Usage(const char* what) {
  std::fprintf(stderr, "yraft-host: %s\nTry 'yraft-host --help'.\n", what);
  return kExitNoStart;
}

std::optional<std::uint64_t> PositiveNumber(const char* text) {
  char* end = nullptr;
  errno = 0;
  const unsigned long long number = std::strtoull(text, &end, 10);
  const bool digits = *text >= '0' && *text <= '9' && *end == '\0';
  if (!digits || errno != 0 || number == 0) return std::nullopt;
  return number;
}

int DownloadCommand(int argc, char** argv) {
  const option known[] = {{"to", required_argument, nullptr, 't'},
                          {"rate", required_argument, nullptr, 'r'},
                          {"help", no_argument, nullptr, 'h'},
                          {nullptr, 0, nullptr, 0}};
  DownloadOptions options;
  int found;
  while ((found = getopt_long(argc, argv, "", known, nullptr)) != -1) {
    if (found == 'h') {
      std::fputs(kHelp, stdout);
      return 0;
    }
    if (found == 't') {
      options.folder = optarg;
    } else if (found == 'r') {
      const auto rate = PositiveNumber(optarg);
      if (!rate) return Usage("--rate takes a positive number of bytes");
      options.rate = *rate;
    } else {
      return Usage("wrong option");
    }
  }
  if (optind < argc) return Usage("too many arguments");
  if (options.folder.empty()) return Usage("download needs --to DIR");
  return RunDownload(options);
}

struct Command {
  const char* name;
  int (*run)(int argc, char** argv);  // argv[0] is the command's name
};

constexpr Command kCommands[] = {{"download", DownloadCommand}};

// The catalogs stay open as long as a dialog may want a text.
int WithCatalogs(const Command& command, int argc, char** argv) {
  if (KvoLocaliseInit() == 0) {
    std::fputs("yraft-host: no message catalog is installed; the dialogs lack their texts\n",
               stderr);
  }
  const int status = command.run(argc, argv);
  KvoLocaliseShutdown();
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  signal(SIGPIPE, SIG_IGN);  // whoever stops reading our lines stops no transfer
  if (argc < 2) return Usage("a command is missing");
  if (std::strcmp(argv[1], "--help") == 0) {
    std::fputs(kHelp, stdout);
    return 0;
  }
  for (const Command& command : kCommands) {
    if (std::strcmp(argv[1], command.name) != 0) continue;
    try {
      return WithCatalogs(command, argc - 1, argv + 1);
    } catch (const std::exception& error) {
      std::fprintf(stderr, "yraft-host: %s\n", error.what());
      return kExitNoStart;
    }
  }
  return Usage("unknown command");
}
