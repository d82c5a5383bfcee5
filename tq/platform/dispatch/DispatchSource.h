#pragma once
// Dispatch sources: a repeating timer, a source that fires while a file
// descriptor has data to read, and a source that fires when the file open on
// a descriptor is written, renamed or deleted (a "vnode" source). Sources are created suspended; `resume` starts
// them and `cancel` stops them for good (the cancel handler then runs once on
// the target queue). A handler never runs twice at the same time: the next
// event is only looked for after the handler has returned.
//
// Sockets, pipes and other pollable descriptors are watched with epoll. A
// regular file is always "readable" to epoll, so for one the source instead
// compares the file's size with the descriptor's offset every 20 ms and fires
// when the file has grown past it: the handler is expected to read (or seek)
// to the end.
//
// A vnode source watches the descriptor's file through the installed
// FileChangeSource (it follows the file through renames, as the descriptor
// does). Events that come while the handler runs, or before `resume`, are
// merged into one later call; `data()` answers the bits that call is for.
// A removed link is told by the file's link count, read on the descriptor.

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "tq/platform/dispatch/DispatchQueue.h"

namespace tq {

/// The events of a vnode source, in the customary bit values.
namespace DispatchVnode {
inline constexpr unsigned long Delete = 0x01;
inline constexpr unsigned long Write = 0x02;
inline constexpr unsigned long Extend = 0x04;
inline constexpr unsigned long Attrib = 0x08;
inline constexpr unsigned long Link = 0x10;
inline constexpr unsigned long Rename = 0x20;
inline constexpr unsigned long Revoke = 0x40;
}  // namespace DispatchVnode

class DispatchSource : public std::enable_shared_from_this<DispatchSource> {
 public:
  enum class Type { Timer, Read, Vnode };

  /// Fires every `interval` seconds (the first time one interval after resume).
  static std::shared_ptr<DispatchSource> makeTimer(double interval, DispatchQueueRef queue, DispatchWork handler);
  /// Fires while `fd` has data to read. The source does not own the descriptor.
  static std::shared_ptr<DispatchSource> makeRead(int fd, DispatchQueueRef queue, DispatchWork handler);
  /// Fires when one of the `mask` events (DispatchVnode bits) happens to the
  /// file open on `fd`; the source does not own the descriptor. Nil, with
  /// the reason, when the file cannot be watched (a bad descriptor, the
  /// user's limit of inotify watches reached).
  static std::shared_ptr<DispatchSource> makeVnode(int fd, unsigned long mask, DispatchQueueRef queue,
                                                   DispatchWork handler, std::string* error = nullptr);

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
  /// The events the source was made for (vnode sources; 0 otherwise).
  unsigned long mask() const { return mask_; }
  /// In a vnode source's handler: the events that this call is for.
  unsigned long data() const { return data_.load(); }

 private:
  bool startVnodeWatch(std::string* error);
  void noteVnodeEvents(unsigned long events);
  void fireVnode();

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
  // Vnode sources.
  unsigned long mask_ = 0;
  std::atomic<unsigned long> data_{0};
  unsigned long pending_ = 0;  // under mutex_
  bool vnodeScheduled_ = false;
  unsigned long links_ = 0;
  std::shared_ptr<void> watch_;  // the FileChangeSource's watch
};

using DispatchSourceRef = std::shared_ptr<DispatchSource>;

}  // namespace tq
