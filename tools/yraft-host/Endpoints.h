// What a transfer is between. A source is one file to read; a target is a place that takes files,
// each through a sink, under its name only when it is whole. A host puts its virtual channel here:
// a download has a target that sends what it is given, an upload has sources that receive.
//
// Every function throws FileFailed where the file cannot go on; the text says why.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "Texts.h"

struct FileFailed : std::runtime_error {
  explicit FileFailed(const Text& text) : std::runtime_error(text.english), why(text) {}
  Text why;
};

// Asked while something takes long, and last before a file gets its name. False ends it.
struct Permission {
  std::function<bool()> goOn = [] { return true; };
};

// What a source says of itself before it is read.
struct FileInfo {
  std::uint64_t size = 0;           // bytes; 0 also where it is not known, as in /proc
  mode_t mode = 0666;               // permission bits
  timespec modified{};              // zero where it is not known
  std::uint64_t most = UINT64_MAX;  // bytes to take at most, of a file that may grow for ever
  // Another for every file and every state of it; empty where that cannot be told. What is resumed
  // is of one version.
  std::string version;
};

// Room for what the file seems to have behind an offset, and a byte to see its end; a little where
// that is nothing. A megabyte for a small file would cost more than the file.
inline std::size_t RoomFor(const FileInfo& info, std::uint64_t offset) {
  return info.size > offset ? info.size - offset + 1 : std::size_t{64} << 10;
}

class Source {
 public:
  virtual ~Source() = default;

  virtual const FileInfo& Info() const = 0;

  // Reads on from where it is; answers 0 at the end, and only there.
  virtual std::size_t Read(unsigned char* bytes, std::size_t length) = 0;

  // Reads on from there, after a target has lost what it had.
  virtual void Seek(std::uint64_t offset) = 0;

  // Throws where what was read may be of two states of the file.
  virtual void ExpectUnchanged() const {}

  // The descriptor of a file that the kernel can copy by itself; -1 for none.
  virtual int Descriptor() const { return -1; }
};

// How far a sink is after a piece.
struct Step {
  std::uint64_t done = 0;  // bytes of the file that are there
  std::size_t moved = 0;   // of them, with this piece; a hole and what two files share move none
  bool end = false;        // the file is whole
};

// Bytes of a piece at most. As many as curl sends without asking for more: a connection runs dry
// between two pieces.
constexpr std::size_t kPiece = 2UL << 20;

// One file on its way. Destroyed before it was finished, it leaves nothing behind.
class Sink {
 public:
  virtual ~Sink() = default;

  // Moves a piece of at most `length` bytes.
  virtual Step Take(Source& source, std::size_t length) = 0;
};

class Target {
 public:
  // Tells under which name a file has arrived, or why it has not.
  using Arrived = std::function<void(const std::string& given, const Text& why)>;

  virtual ~Target() = default;

  // name  where the file goes, folders in front of it; where it is taken, it becomes "name (2)"
  virtual std::unique_ptr<Sink> Begin(const std::string& name, const FileInfo& info) = 0;

  // Takes a whole file over. It arrives now or with the next Settle, and tells so then.
  virtual void Finish(std::unique_ptr<Sink> sink, const Arrived& arrived) = 0;

  // Where a file of that name is, for whoever looks for it.
  virtual std::string PlaceOf(const std::string& name) const = 0;

  // Lets everything arrive that was finished, or go where the user wants to stop. Small files are
  // faster together.
  virtual void Settle() = 0;
};
