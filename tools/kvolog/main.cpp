// kvolog: sees and steers the agent's logging, and is a log service for it.
#include "CommandLine.h"
#include "Commands.h"

namespace {

constexpr int kRefused = 1;

// What the user wrote behind the commands' names.
struct Given {
  std::string className = "ALL";
  std::string level, kind, path, size, count;
  bool json = false;
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

  CLI::App* set = app.add_subcommand("set", "change the level of a class");
  Operand(set, "CLASS", given.className, "a name in any case, or a number")->required();
  Operand(set, "LEVEL", given.level, "the same")->required();
  set->footer(
      "Holds for every process at its next line. The levels are\n"
      "  INHERIT                              the class above decides\n"
      "  VERBOSE INFO WARNING ERROR FATAL     this level and all behind it are written\n"
      "  NONE                                 nothing is written");
  set->callback([&given] { SetLevel(given.className, given.level); });
}

void AddSettings(CLI::App& app, Given& given) {
  CLI::App* flags = AddShowing(app, "flags", "show or change what a line starts with", given);
  flags->footer(
      "'kvolog flags +BITS|-BITS...' sets and clears some. BITS are a number such as 0x400 or a\n"
      "name:\n"
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
  CLI::Option* size = Operand(rollover, "SIZE", given.size, "roll over at so many MiB, 1 to 2000");
  size->needs(Operand(rollover, "COUNT", given.count, "keep so many old files, 0 to 100"));
  rollover->callback([&given, size] {
    size->empty() ? ShowRollover(given.json) : SetRollover(given.size, given.count);
  });

  app.add_subcommand("reset", "give levels, flags, output path and rollover their defaults")
      ->callback(Reset);
}

void AddTail(CLI::App& app, TailOptions& given) {
  CLI::App* tail = app.add_subcommand("tail", "show the last lines and follow, in colour");
  tail->add_option("-n,--lines", given.lines,
                   "how many lines, 10 unless given; old files\nare read too")
      ->type_name("N");
  tail->add_flag("-f,--follow", given.follow,
                 "go on with every line that is written, across\n"
                 "old files and changes of the output path");
  tail->add_option("-c,--class", given.className, "only lines of the class and of those below it")
      ->type_name("CLASS");
  tail->add_option("-l,--level", given.level,
                   "only lines of the level and of those behind\nit, up to FATAL")
      ->type_name("LEVEL");
  tail->add_option("-i,--identity", given.identity,
                   "only lines of processes whose identity\nmatches, such as 'brelka-*'")
      ->type_name("PATTERN");
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
  serve->callback([&given] {
    given.serve.bytesPerSecond = 1024.0 * given.rate;
    Serve(given.serve);
  });
  AddTail(app, given.tail);

  CLI::App* names = app.add_subcommand("names", "print names, one a line, by rising number");
  names->group("");  // for completions
  Operand(names, "KIND", given.kind, "classes or levels")
      ->required()
      ->check(CLI::IsMember({"classes", "levels"}));
  names->callback([&given] { PrintNames(given.kind); });
}

}  // namespace

int main(int argc, char** argv) {
  Given given;
  const int status = RunProgram(
      "kvolog", "Shows and changes what the processes of the agent log; writes and reads the log.",
      argc, argv, kRefused, [&given](CLI::App& app) {
        AddLevels(app, given);
        AddSettings(app, given);
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
