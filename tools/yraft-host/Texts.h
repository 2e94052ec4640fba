// What the program says in two languages: English on a terminal, where scripts may read it, and the
// user's in a box, as in every dialog beside it.
#pragma once

#include <initializer_list>
#include <string>
#include <utility>

struct Text {
  // The same in every language, as a name is.
  Text(std::string one) : english(one), local(std::move(one)) {}
  Text(const char* one) : Text(std::string(one)) {}
  Text(std::string inEnglish, std::string inLocal)
      : english(std::move(inEnglish)), local(std::move(inLocal)) {}
  Text() = default;

  bool empty() const { return english.empty(); }

  std::string english, local;
};

// Name, set and number in the catalogs, and the English text, in which %1 to %9 are arguments. Sets
// 1 to 3 are the library's, 4 is this program's.
#define TEXTS(ROW)                                                                      \
  ROW(kErrorTitle, 2, 192, "File Transfer Error")                                       \
  ROW(kTooManyFiles, 2, 130, "Too many files are selected.")                            \
  ROW(kTooManyMore, 4, 1,                                                               \
      "One choice holds %1 files whose paths have %2 bytes, more of shorter ones. "     \
      "Choose fewer files, and the others after these have been copied.")               \
  ROW(kFolderTakesNone, 4, 2, "No file can be put into this folder.")                   \
  ROW(kQuestionTitle, 4, 3, "File Transfer")                                            \
  ROW(kUnknownKey, 4, 4,                                                                \
      "You have not met %1 before. Its key is\n%2\nIs this the machine that you mean?") \
  ROW(kArrived, 4, 5, "Files that arrived: %1 of %2.")                                  \
  ROW(kMore, 4, 6, "and %1 more")                                                       \
  ROW(kNotOpened, 4, 7, "cannot be opened: %1")                                         \
  ROW(kNotRead, 4, 8, "cannot be read: %1")                                             \
  ROW(kNotWritten, 4, 9, "cannot be written: %1")                                       \
  ROW(kNotCreated, 4, 10, "cannot be created: %1")                                      \
  ROW(kNotNamed, 4, 11, "cannot be named: %1")                                          \
  ROW(kNoFolder, 4, 12, "its folder cannot be made: %1")                                \
  ROW(kNoFile, 4, 13, "is a folder, a device, a pipe or a socket, not a file")          \
  ROW(kChanged, 4, 14, "changed while it was copied")                                   \
  ROW(kNoCharacter, 4, 15, "the folder takes no '%1' in a name")                        \
  ROW(kNameTooLong, 4, 16, "the folder takes no name of more than %1 bytes")            \
  ROW(kNoSuchName, 4, 17, "the server takes no such name")                              \
  ROW(kUnknownHost, 4, 18, "%1 is not known")                                           \
  ROW(kNoAnswer, 4, 19, "%1 does not answer")                                           \
  ROW(kOtherKey, 4, 20, "the key of %1 is not the one in ~/.ssh/known_hosts")           \
  ROW(kNotTrusted, 4, 21, "%1 is not trusted: %2")                                      \
  ROW(kLoginDenied, 4, 22, "%1 lets you not in: no key or password that it takes")      \
  ROW(kServerDenies, 4, 23, "permission denied by the server")                          \
  ROW(kNotOnServer, 4, 24, "no such folder or file on the server")                      \
  ROW(kServerFull, 4, 25, "the server's disk is full")                                  \
  ROW(kServerTakesNoMore, 4, 26,                                                        \
      "the server takes no more of it: its disk is full, or the connection is lost")    \
  ROW(kLost, 4, 27, "the connection is lost")                                           \
  ROW(kTooLargeForServer, 4, 28, "too large for the server")                            \
  ROW(kServerAnswers, 4, 29, "the server answers %1")

#define TEXT_NAME(name, set, number, english) name,
enum class Said { TEXTS(TEXT_NAME) };
#undef TEXT_NAME

// A text with its arguments. The catalog is that of the library's dialogs, once KvoLocaliseInit has
// chosen it; English stands in for what it lacks. Any thread.
Text Say(Said what, std::initializer_list<Text> arguments = {});

// The text of a system error number.
Text ErrorText(int error);
