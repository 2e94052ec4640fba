// yraft-host: a file-transfer host to run by hand. Its commands show the dialogs of a transfer and
// do with real files what a host does behind its virtual channel.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <charconv>
#include <clocale>
#include <cstdio>
#include <deque>
#include <string_view>

#include "CommandLine.h"
#include "Commands.h"
#include "kvolocalise.h"
#include "kvolog.h"

namespace {

// The log and the catalogs are there before other threads are, and stay as long as a dialog may
// want to write a line or show a text.
class Library {
 public:
  Library() {
    KvoLogInit();
    if (KvoLocaliseInit() == 0) {
      std::fputs("yraft-host: no message catalog is installed; the dialogs lack their texts\n",
                 stderr);
    }
  }
  ~Library() {
    KvoLocaliseShutdown();
    KvoLogShutdown();
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
};

// What the user wrote behind the command's name, and what came of it.
struct Given {
  std::string folder, title, text, more;
  TransferOptions options;
  Limits limits;
  ChooserLook look;
  PathFormat format = PathFormat::kLines;
  ExitStatus status = kExitDone;
};

template <typename Run>
CLI::App* Add(CLI::App& app, Given& given, const char* name, const char* what, Run run) {
  CLI::App* command = app.add_subcommand(name, what);
  command->callback([&given, command, run] {
    const Library library;
    given.status = run(*command);
  });
  return command;
}

// "10", or "10K", "1M", "2G" where it counts bytes.
void AddNumber(CLI::App* command, const std::string& name, std::uint64_t& number,
               std::uint64_t most, const char* what, bool countsBytes) {
  const auto read = [name, &number, most, countsBytes](const std::string& text) {
    constexpr std::string_view kSuffixes = "KMGT";
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    const std::size_t suffix = rest + 1 == end && countsBytes ? kSuffixes.find(*rest) : 0;
    const std::uint64_t unit = rest + 1 == end ? std::uint64_t{1024} << (10 * (suffix & 7)) : 1;
    const bool read = error == std::errc() && (rest == end || (rest + 1 == end && countsBytes)) &&
                      suffix != kSuffixes.npos && number > 0 && number <= most / unit;
    if (!read) {
      throw WrongUsage(name + " takes a number from 1 to " + std::to_string(most) +
                       (countsBytes ? ", such as 500K or 1M" : ""));
    }
    number *= unit;
  };
  command->add_option_function<std::string>(name, read, what)->type_name("N");
}

void AddFormats(CLI::App* command, PathFormat& format, const char* json) {
  const auto add = [command, &format](const char* name, PathFormat chosen, const char* what) {
    return command->add_flag_callback(
        name, [&format, chosen] { format = chosen; }, what);
  };
  CLI::Option* nul =
      add("-0,--null", PathFormat::kNul, "end each path with a NUL, not a line feed");
  add("--json", PathFormat::kJson, json)->excludes(nul);
}

void AddTransfers(CLI::App& app, Given& given) {
  constexpr char kFooter[] =
      "The progress window shows how far it is and lets you pause, resume and cancel. A line is\n"
      "printed for each file. Nothing is replaced, a second \"name\" becomes \"name (2)\".\n"
      "\n"
      "Exit status: 0 every file arrived whole; 1 nothing was chosen, the transfer was cancelled\n"
      "or a file did not arrive; 2 wrong usage, a DIR that takes no files, or no display.";
  constexpr char kRate[] = "copy at most N bytes a second, such as 500K or 1M";

  CLI::App* download =
      Add(app, given, "download", "copy files that you choose into a folder",
          [&given](const CLI::App&) { return Download(given.folder, given.options); });
  download
      ->add_option("--to", given.folder,
                   "an existing folder, or one of another machine:\nsftp://... or https://...")
      ->type_name("DIR")
      ->required();
  AddNumber(download, "--rate", given.options.rate, UINT64_MAX, kRate, true);
  download->footer(kFooter);

  CLI::App* upload = Add(app, given, "upload", "copy files into a folder that you choose",
                         [&given](const CLI::App& command) {
                           return Upload(command["FILE"]->results(), given.folder, given.options);
                         });
  upload->add_option("--to", given.folder, "the folder, as for download; without this you choose")
      ->type_name("DIR");
  upload->add_option("FILE", "files to copy, folders with what is in them, or URLs")
      ->expected(1, -1)
      ->allow_extra_args()
      ->type_name("")
      ->required();
  AddNumber(upload, "--rate", given.options.rate, UINT64_MAX, kRate, true);
  for (CLI::App* command : {download, upload}) {
    command->add_flag("--as-it-is", given.options.asItIs,
                      "take a file that is written meanwhile, up to the\nsize that it begins with");
    command->add_flag(
        "--resume", given.options.resumes,
        "leave what does not arrive whole, in a folder or on an\nSFTP server, and go on with it");
    command->add_flag("-q,--quiet", given.options.quiet, "say only what goes wrong");
    AddFormats(command, given.options.format,
               "print an array of objects with the \"source\", the\n\"path\" and the \"bytes\" of "
               "what arrived");
  }
  upload->footer(kFooter);
}

void AddChoosers(CLI::App& app, Given& given) {
  constexpr char kJson[] =
      "print an array of objects, each with a \"path\",\nor for a path that is not UTF-8 a "
      "\"path_hex\"";
  CLI::App* files =
      Add(app, given, "pick-files", "choose files and print their paths, one a line",
          [&given](const CLI::App&) { return PickFiles(given.limits, given.look, given.format); });
  AddNumber(files, "--max-files", given.limits.files, UINT16_MAX, "at most N files, 1 to 65535",
            false);
  AddNumber(files, "--max-bytes", given.limits.bytes, UINT32_MAX,
            "at most N bytes together, 1 to 4294967295", true);
  files->add_option("--title", given.look.title, "of the chooser")->type_name("TEXT");
  files->add_option("--folder", given.look.folder, "in which it opens")->type_name("DIR");
  files
      ->add_option("--filter", given.look.filter, "show what is called so, such as \"*.png;*.jpg\"")
      ->type_name("GLOB");
  files->add_flag("--single", given.look.single, "one file can be chosen");
  AddFormats(files, given.format, kJson);
  files->footer(
      "A choice over a limit is refused with an error box.\n"
      "\n"
      "Exit status: 0 files were chosen; 1 none, or over a limit; 2 wrong usage or no display.");

  CLI::App* directory = Add(app, given, "pick-directory", "choose a folder and print its path",
                            [&given](const CLI::App&) { return PickDirectory(given.format); });
  AddFormats(directory, given.format, kJson);
  directory->footer("Exit status: 0 a folder was chosen; 1 none; 2 wrong usage or no display.");
}

void AddMessage(CLI::App& app, Given& given) {
  CLI::App* message =
      Add(app, given, "message", "show an error box until you close it",
          [&given](const CLI::App&) { return Message(given.title, given.text, given.more); });
  message->add_option("TITLE", given.title, "of the box")->type_name("")->required();
  message->add_option("TEXT", given.text, "may carry Pango markup such as <b>bold</b>")
      ->type_name("")
      ->required();
  message->add_option("MORE", given.more, "smaller, and shown as it stands")->type_name("");
  message->footer(
      "What is no valid markup is shown as it stands.\n"
      "\n"
      "Exit status: 0 the box was closed; 1 interrupted; 2 wrong usage or no display.");
}

// A descriptor that whoever started the program closed would become some file's, and that file
// would get our lines.
void FillStandardFiles() {
  int fd;
  do {
    fd = open("/dev/null", O_RDWR);
  } while (fd >= 0 && fd <= STDERR_FILENO);
  if (fd >= 0) close(fd);
}

}  // namespace

int main(int argc, char** argv) {
  FillStandardFiles();
  setlocale(LC_CTYPE, "");
  signal(SIGPIPE, SIG_IGN);  // whoever stops reading our lines stops no transfer
  signal(SIGXFSZ, SIG_IGN);  // a file that grows too large is a failed write
  // In a list of operands "[a,b]" would be two of them.
  std::deque<std::string> names;
  const bool lists = argc > 1 && std::string_view(argv[1]) == "upload";
  for (int i = 2; lists && i < argc; ++i) {
    if (argv[i][0] == '[') argv[i] = names.emplace_back(std::string("./") + argv[i]).data();
  }
  Given given;
  const int failure =
      RunProgram("yraft-host", "Shows the dialogs of a file transfer and moves files with them.",
                 argc, argv, kExitNoStart, [&given](CLI::App& app) {
                   AddTransfers(app, given);
                   AddChoosers(app, given);
                   AddMessage(app, given);
                   app.footer("'yraft-host COMMAND --help' tells what a command takes.");
                 });
  return failure != 0 ? failure : given.status;
}
