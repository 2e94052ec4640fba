// The commands of the tool. What they cannot do they throw as Refused or WrongUsage.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// What the log service calls itself in its log.
constexpr std::string_view kServiceName = "kvologd";
// What asks it for its status instead of a registration: a record without a body.
constexpr std::string_view kStatusRequest{"\0\0\3\0", 4};

// Levels.cpp
void ShowLevels(const std::string& className, bool json);
void PrintNames(const std::string& kind);

// Settings.cpp
void SetLevels(const std::vector<std::string>& words, const std::string& span);
void ShowFlags(bool json);
void ChangeFlags(const std::vector<std::string>& changes);
void ShowOutput(bool json);
void SetOutput(const std::string& path);
void ShowRollover(bool json);
void SetRollover(const std::string& size, const std::string& count, bool compress);

// Saved.cpp. A dry run shows what would change.
void Reset(bool dry);
void Save(const std::string& path);
void Restore(const std::string& path, bool dry);

// Serve.cpp
struct ServeOptions {
  unsigned int connections = 500;       // of a user other than root
  bool syslog = false;                  // gets the lines, too
  double bytesPerSecond = 1024 * 1024;  // of such a user; 0 for no limit
};
void Serve(const ServeOptions& options);

// Status.cpp
void ShowStatus(bool json);

// Tail.cpp
struct TailOptions {
  std::string file;   // empty for the log service's
  std::string lines;  // empty for 10, or for all where a time is given
  bool follow = false;
  bool json = false;
  std::string className = "ALL";
  std::string level = "VERBOSE";
  std::string identity = "*";
  std::string text;  // that a line holds, an extended regular expression
  std::string since, until;
};
void Tail(const TailOptions& options);
