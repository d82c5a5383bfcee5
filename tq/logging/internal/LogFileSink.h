#pragma once
// The file side of the logger. Callers hand over the raw pieces of a line
// (time, thread index, prefix, text) and return at once; the stamp, the
// trimming and indenting, and the write happen on the logger's serial
// operation queue. Lines wait in a buffer, and one drain operation per burst
// formats and writes everything buffered in one system call, so order is the
// order of the calls and lines never interleave.

#include <mutex>
#include <string>
#include <vector>

#include "tq/logging/TQLogEntry.h"
#include "tq/platform/dispatch/OperationQueue.h"

namespace tq::detail {

struct LogFileLine {
  enum class Kind : unsigned char { Threaded, Prefixed, Entry };
  Kind kind = Kind::Prefixed;
  long threadIndex = 0;
  TimeInterval time = 0;
  std::string prefix;
  std::string text;
  Ref<TQLogEntry> entry;
};

/// Appends the file form of one line.
void appendLogFileLine(std::string& out, const LogFileLine& line);
/// The body rule of the thread-tagged and prefixed paths: trim line breaks at
/// both ends, indent continuation lines by two tabs, end with "\n".
void appendLogBody(std::string& out, std::string_view body);

class LogFileSink {
 public:
  /// Writes to `fd` (not owned) on `queue`.
  LogFileSink(int fd, Ref<OperationQueue> queue) : fd_(fd), queue_(std::move(queue)) {}
  ~LogFileSink();

  void enqueue(LogFileLine line);
  /// Blocks until everything enqueued so far is written.
  void flush();

 private:
  void drain();

  int fd_;
  Ref<OperationQueue> queue_;
  std::mutex mutex_;
  std::vector<LogFileLine> pending_;
  bool drainQueued_ = false;
};

}  // namespace tq::detail
