// Names of files.
#pragma once

#include <functional>
#include <string>

// The part of a path behind its last '/'.
std::string BaseName(const std::string& path);

// "name (2).txt" for the second file of that name. Where the number makes it too long for a file
// name, the part before the number gives way, at the border of a character.
std::string Numbered(const std::string& name, int number);

// The start of a name, at most `length` bytes, cut at the border of a character.
std::string CutName(const std::string& name, std::size_t length);

// A short name for what is described, as good as never that of anything else.
std::string Digest(const std::string& description);

// Tries a name, then its numbered followers, for as long as `take` answers that one is taken.
// Answers the one that it got; empty where all are taken.
std::string FirstFreeName(const std::string& name,
                          const std::function<bool(const std::string&)>& take);
