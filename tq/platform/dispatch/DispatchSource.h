#pragma once
// Dispatch sources: a repeating timer, and a source that fires while a file
// descriptor has data to read. Sources are created suspended; `resume` starts
// them and `cancel` stops them for good (the cancel handler then runs once on
// the target queue). A handler never runs twice at the same time: the next
// event is only looked for after the handler has returned.
//
// Sockets, pipes and other pollable descriptors are watched with epoll. A
// regular file is always "readable" to epoll, so for one the source instead
// compares the file's size with the descriptor's offset every 20 ms and fires
// when the file has grown past it: the handler is expected to read (or seek)
// to the end.

#include <atomic>
#include <memory>
#include <mutex>

#include "tq/platform/dispatch/DispatchQueue.h"

namespace tq {

class DispatchSource : public std::enable_shared_from_this<DispatchSource> {
 public:
  enum class Type { Timer, Read };

  /// Fires every `interval` seconds (the first time one interval after resume).
  static std::shared_ptr<DispatchSource> makeTimer(double interval, DispatchQueueRef queue, DispatchWork handler);
  /// Fires while `fd` has data to read. The source does not own the descriptor.
  static std::shared_ptr<DispatchSource> makeRead(int fd, DispatchQueueRef queue, DispatchWork handler);

  DispatchSource(Type type, int fd, double interval, DispatchQueueRef queue, DispatchWork handler);
  ~DispatchSource();

  void setCancelHandler(DispatchWork handler);
  void resume();
  void cancel();
  bool isCancelled() const { return cancelled_.load(); }
  Type type() const { return type_; }
  int fileDescriptor() const { return fd_; }
  /// Bytes waiting to be read (read sources), as far as the descriptor tells.
  long estimatedData() const;

 private:
  friend class SourcePoller;
  void arm();
  void fire();
  bool regularFileHasData() const;

  Type type_;
  int fd_;
  double interval_;
  bool regularFile_ = false;
  DispatchQueueRef queue_;
  DispatchWork handler_;
  std::mutex mutex_;
  DispatchWork cancelHandler_;
  bool resumed_ = false;
  std::atomic<bool> cancelled_{false};
  bool registered_ = false;
};

using DispatchSourceRef = std::shared_ptr<DispatchSource>;

}  // namespace tq
