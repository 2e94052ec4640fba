// kvolog: sees and steers the agent's logging, and is a log service for it.
#include "CommandLine.h"
#include "Commands.h"

namespace {

constexpr int kRefused = 1;

// What the user wrote behind the commands' names.
struct Given {
  std::string className = "ALL";
  std::string kind, path, size, count, span;
  std::vector<std::string> words;
  bool json = false;
  bool dry = false;
  bool compress = false;
  TailOptions tail;
  ServeOptions serve;
  unsigned int rate = 1024;  // KiB a second
};

CLI::Option* Operand(CLI::App* command, const char* name, std::string& value, const char* what) {
  return command->add_option(name, value, what)->type_name("");
}

CLI::App* AddShowing(CLI::App& app, const char* name, const char* what, Given& given) {
  CLI::App* command = app.add_subcommand(name, what);
  command->add_flag("--json", given.json, "print one JSON value");
  return command;
}

void AddLevels(CLI::App& app, Given& given) {
  CLI::App* levels =
      AddShowing(app, "levels", "show the levels of the trace classes, as a tree", given);
  Operand(levels, "CLASS", given.className, "only this class and those below it");
  levels->footer(
      "Shows the level with which each class is configured, the level that decides for it and its\n"
      "default. A line ends with a star where configured and default differ.");
  levels->callback([&given] { ShowLevels(given.className, given.json); });

  CLI::App* set = app.add_subcommand("set", "change the level of classes");
  set->add_option("CLASS", given.words, "names in any case, or numbers; several classes will do")
      ->type_name("LEVEL")
      ->required();
  set->add_option("--for", given.span, "give the old levels back after so long: 90s, 10m,\n2h, 1d")
      ->type_name("TIME");
  set->footer(
      "Holds for every process at its next line. The levels are\n"
      "  INHERIT                              the class above decides\n"
      "  VERBOSE INFO WARNING ERROR FATAL     this level and all behind it are written\n"
      "  NONE                                 nothing is written\n"
      "and go by their other names, too: debug, notice, warn, err, crit, off.");
  set->callback([&given] { SetLevels(given.words, given.span); });

  CLI::App* names = app.add_subcommand("names", "print the names of classes or levels, one a line");
  Operand(names, "KIND", given.kind, "classes or levels, by rising number")
      ->required()
      ->check(CLI::IsMember({"classes", "levels"}));
  names->callback([&given] { PrintNames(given.kind); });
}

void AddSettings(CLI::App& app, Given& given) {
  CLI::App* flags = AddShowing(app, "flags", "show or change what a line starts with", given);
  flags->footer(
      "'kvolog flags set BITS...' and 'kvolog flags clear BITS...' change some, as do +BITS and\n"
      "-BITS. BITS are a number such as 0x400 or a name:\n"
      "  FUNCTION   a line starts with the name of the function that writes it\n"
      "  THREAD     a line starts with the thread's name, in brackets");
  flags->prefix_command();  // the changes may look like options
  flags->callback([&given, flags] {
    flags->remaining().empty() ? ShowFlags(given.json) : ChangeFlags(flags->remaining());
  });

  CLI::App* output = AddShowing(app, "output", "show or change the log file", given);
  const CLI::Option* path =
      Operand(output, "PATH", given.path, "starts with / and has at most 255 bytes");
  output->callback(
      [&given, path] { path->empty() ? ShowOutput(given.json) : SetOutput(given.path); });

  CLI::App* rollover =
      AddShowing(app, "rollover", "show or change when the log file is rolled over", given);
  CLI::Option* size = Operand(rollover, "SIZE", given.size,
                              "roll over at so many MiB, 1 to 2000; or off for never");
  Operand(rollover, "COUNT", given.count, "keep so many old files, 0 to 100")->needs(size);
  rollover->add_flag("--compress", given.compress, "compress old files");
  rollover->callback([&given, size] {
    size->empty() ? ShowRollover(given.json) : SetRollover(given.size, given.count, given.compress);
  });
}

void AddSaved(CLI::App& app, Given& given) {
  CLI::App* reset =
      app.add_subcommand("reset", "give levels, flags, output path and rollover their defaults");
  CLI::App* save = app.add_subcommand("save", "write the configuration into a file");
  CLI::App* restore = app.add_subcommand("restore", "give the configuration what was saved");
  for (CLI::App* command : {save, restore}) {
    Operand(command, "FILE", given.path, "a file of its own")->required();
  }
  for (CLI::App* command : {reset, restore}) {
    command->add_flag("--dry-run", given.dry, "show what would change, and change nothing");
  }
  reset->callback([&given] { Reset(given.dry); });
  save->callback([&given] { Save(given.path); });
  restore->footer(
      "Do not copy a file over the configuration: a process that has it mapped dies when it is\n"
      "shortened.");
  restore->callback([&given] { Restore(given.path, given.dry); });
}

void AddTail(CLI::App& app, TailOptions& given) {
  CLI::App* tail = app.add_subcommand("tail", "show the last lines and follow, in colour");
  Operand(tail, "FILE", given.file,
          "this log and no old files of it; the log\nservice's unless given, with its old files");
  const auto option = [&](const char* name, std::string& value, const char* type,
                          const char* what) {
    tail->add_option(name, value, what)->type_name(type);
  };
  option("-n,--lines", given.lines, "N",
         "how many lines, or all; 10 unless given, all\nwith --since");
  tail->add_flag("-f,--follow", given.follow,
                 "go on with every line that is written, across\n"
                 "old files and changes of the output path");
  option("-c,--class", given.className, "CLASS", "only lines of the class and of those below it");
  option("-l,--level", given.level, "LEVEL",
         "only lines of the level and of those behind\nit, up to FATAL");
  option("-i,--identity", given.identity, "PATTERN",
         "only lines of processes whose identity\nmatches, such as 'brelka-*'");
  option("-g,--grep", given.text, "REGEX", "only lines that hold a match");
  option("-S,--since", given.since, "TIME",
         "only lines from then on: 2026-11-25,\n'2026-11-25 16:00:30', 16:00, or 10m for ten\n"
         "minutes ago (s, m, h, d)");
  option("-U,--until", given.until, "TIME", "only lines until then");
  tail->add_flag("--json", given.json, "print one JSON value a line");
  tail->callback([&given] { Tail(given); });
}

void AddLog(CLI::App& app, Given& given) {
  CLI::App* serve = app.add_subcommand("serve", "be the log service, in the foreground");
  serve->footer(
      "Writes what the agent's processes log into the file that 'kvolog output' shows, and "
      "follows\n"
      "changes of it and of 'kvolog rollover'.\n"
      "\n"
      "SIGTERM and SIGINT end it, after it has taken in what was sent until then; SIGHUP opens "
      "the\n"
      "log file anew. It goes on while the log file cannot be written, and says so on standard\n"
      "error.");
  serve
      ->add_option("--user-connections", given.serve.connections,
                   "so many at a time for a user other than root")
      ->type_name("N");
  serve
      ->add_option(
          "--user-rate", given.rate,
          "so many KiB a second for such a user, and what\nit saved in a minute at once; 0 "
          "for no limit")
      ->type_name("KIB");
  serve->add_flag("--syslog", given.serve.syslog, "hand the lines of all classes to syslog, too");
  serve->callback([&given] {
    given.serve.bytesPerSecond = 1024.0 * given.rate;
    Serve(given.serve);
  });
  AddTail(app, given.tail);

  CLI::App* status =
      AddShowing(app, "status", "show what the log service does, and for whom", given);
  status->callback([&given] { ShowStatus(given.json); });
}

}  // namespace

int main(int argc, char** argv) {
  Given given;
  const int status = RunProgram(
      "kvolog", "Shows and changes what the processes of the agent log; writes and reads the log.",
      argc, argv, kRefused, [&given](CLI::App& app) {
        AddLevels(app, given);
        AddSettings(app, given);
        AddSaved(app, given);
        AddLog(app, given);
        app.footer(
            "'kvolog COMMAND --help' tells more.\n"
            "\n"
            "Exit status: 0 done; 1 refused, the reason is on standard error; 2 wrong usage.");
      });
  if (status != 0 || std::fflush(stdout) == 0) return status;
  std::fputs("kvolog: standard output cannot be written\n", stderr);
  return kRefused;
}
