#pragma once
// The file side of the logger. Callers hand over the raw pieces of a line
// (time, thread index, prefix, text) and return at once; the stamp, the
// trimming and indenting, and the write happen on the logger's serial
// operation queue. Lines wait in a buffer, and one drain operation per burst
// formats and writes everything buffered in one system call, so order is the
// order of the calls and lines never interleave.

#include <cstdint>
#include <cstring>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "tq/logging/TQLogEntry.h"
#include "tq/platform/dispatch/OperationQueue.h"

namespace tq::detail {

/// One line as the logger hands it over: views into the caller's text, valid
/// only during the call.
struct LogFileLine {
  enum class Kind : unsigned char { Threaded, Prefixed, Entry };
  Kind kind = Kind::Prefixed;
  long threadIndex = 0;
  TimeInterval time = 0;
  std::string_view prefix;
  std::string_view text;
  const TQLogEntry* entry = nullptr;
};

/// Appends the file form of one line.
void appendLogFileLine(std::string& out, const LogFileLine& line);
/// The body rule of the thread-tagged and prefixed paths: trim line breaks at
/// both ends, indent continuation lines by two tabs, end with "\n".
void appendLogBody(std::string& out, std::string_view body);

/// Lines waiting for the writer, packed as bytes: a small fixed header per
/// line followed by its prefix and text, in chunks that are filled in turn.
/// A waiting line costs its text plus about 25 bytes, not a structure of
/// strings (over a hundred bytes, and an allocation, for a short line); a
/// caller that logs a burst of a million lines holds that much, not ten
/// times it. Entries are kept by reference beside the bytes.
class PendingLogLines {
 public:
  void append(const LogFileLine& line);
  bool empty() const { return lines_ == 0; }
  /// Calls `visit` with each line in order.
  template <class Visit>
  void forEach(Visit&& visit) const;
  void swap(PendingLogLines& other) noexcept;
  void clear();

 private:
  static constexpr std::size_t ChunkSize = 64 * 1024;
  char* reserve(std::size_t size);

  std::vector<std::string> chunks_;
  std::vector<Ref<TQLogEntry>> entries_;
  std::size_t lines_ = 0;
};

template <class Visit>
void PendingLogLines::forEach(Visit&& visit) const {
  std::size_t entry = 0;
  for (const std::string& chunk : chunks_) {
    const char* p = chunk.data();
    const char* end = p + chunk.size();
    while (p < end) {
      LogFileLine line;
      std::uint32_t prefixSize, textSize;
      line.kind = LogFileLine::Kind(*p++);
      std::memcpy(&line.time, p, sizeof line.time), p += sizeof line.time;
      std::memcpy(&line.threadIndex, p, sizeof line.threadIndex), p += sizeof line.threadIndex;
      std::memcpy(&prefixSize, p, sizeof prefixSize), p += sizeof prefixSize;
      std::memcpy(&textSize, p, sizeof textSize), p += sizeof textSize;
      line.prefix = std::string_view(p, prefixSize), p += prefixSize;
      line.text = std::string_view(p, textSize), p += textSize;
      if (line.kind == LogFileLine::Kind::Entry) line.entry = entries_[entry++].get();
      visit(line);
    }
  }
}

class LogFileSink {
 public:
  /// Writes to `fd` (not owned) on `queue`.
  LogFileSink(int fd, Ref<OperationQueue> queue) : fd_(fd), queue_(std::move(queue)) {}
  ~LogFileSink();

  /// Copies the line's pieces and returns; the writer formats it later.
  void enqueue(const LogFileLine& line);
  /// Blocks until everything enqueued so far is written.
  void flush();

 private:
  void drain();

  int fd_;
  Ref<OperationQueue> queue_;
  std::mutex mutex_;
  PendingLogLines pending_;
  bool drainQueued_ = false;
};

}  // namespace tq::detail
