// The commands of the tool. What they cannot do they throw as Refused or WrongUsage.
#pragma once

#include <string>
#include <vector>

// Levels.cpp
void ShowLevels(const std::string& className, bool json);
void PrintNames(const std::string& kind);

// Settings.cpp
void SetLevel(const std::string& className, const std::string& levelName);
void ShowFlags(bool json);
void ChangeFlags(const std::vector<std::string>& changes);
void ShowOutput(bool json);
void SetOutput(const std::string& path);
void ShowRollover(bool json);
void SetRollover(const std::string& size, const std::string& count);
void Reset();

// Serve.cpp
void Serve();

// Tail.cpp
struct TailOptions {
  std::string lines = "10";
  bool follow = false;
  std::string className = "ALL";
  std::string level = "VERBOSE";
  std::string identity = "*";
};
void Tail(const TailOptions& options);
