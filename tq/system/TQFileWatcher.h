#pragma once
// TQFileWatcher: tells its delegate that one file was written, renamed or
// deleted, through a vnode dispatch source on a descriptor opened for events
// only (O_PATH here: no read permission on the contents is needed to open).
//
// Behaviours callers rely on, kept as they are:
// - every event calls all three delegate methods, in the order changed,
//   renamed, deleted: the handler reads the source's mask, not the events
//   that came, and the delegate finds out for itself what happened;
// - `startWatchingWithError` answers true whenever no error slot is given,
//   even when it failed;
// - nothing is re-armed after a rename or a delete: the source stays on the
//   old file until `stopWatching`;
// - a second start without a stop replaces queue, descriptor and source
//   without cancelling the old source (which keeps its descriptor open and
//   goes on calling the delegate until the watcher is destroyed).

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "tq/platform/collection/Error.h"
#include "tq/platform/dispatch/DispatchSource.h"

namespace tq {

class TQFileWatcher;

/// Every method is optional: the defaults do nothing.
class TQFileWatcherDelegate {
 public:
  virtual ~TQFileWatcherDelegate() = default;
  virtual void fileChangedForWatcher(TQFileWatcher& watcher) {}
  virtual void fileRenamedForWatcher(TQFileWatcher& watcher) {}
  virtual void fileDeletedForWatcher(TQFileWatcher& watcher) {}
};

class TQFileWatcher : public Object {
 public:
  static constexpr const char* ErrorDomain = "TQFileWatcherErrorDomain";
  static constexpr long CannotOpenErrorCode = 500;
  static constexpr long CannotCreateSourceErrorCode = 501;
  /// The events watched: delete, write, rename.
  static constexpr unsigned long EventMask = DispatchVnode::Delete | DispatchVnode::Write | DispatchVnode::Rename;

  /// `fileURL` is a "file://" URL or a plain path.
  static Ref<TQFileWatcher> initWithDelegate(std::weak_ptr<TQFileWatcherDelegate> delegate, std::string fileURL);
  ~TQFileWatcher() override;
  std::string className() const override { return "TQFileWatcher"; }

  bool startWatchingWithError(Ref<Error>* error = nullptr);
  void stopWatching();

  DispatchSourceRef source() const;
  bool isWatching() const;
  std::shared_ptr<TQFileWatcherDelegate> delegate() const;
  void setDelegate(std::weak_ptr<TQFileWatcherDelegate> delegate);
  std::string watchedURL() const;
  void setWatchedURL(std::string url);
  /// The descriptor; -1 when not watching.
  int fileDescriptor() const;
  /// The queue the event handler runs on (made anew at each start).
  DispatchQueueRef callbackQueue() const;

 private:
  void handleEvent(const DispatchSource& source);

  mutable std::mutex mutex_;
  int fd_ = -1;
  DispatchSourceRef source_;
  DispatchQueueRef queue_;
  bool isWatching_ = false;
  std::weak_ptr<TQFileWatcherDelegate> delegate_;
  std::string watchedURL_;
  std::vector<std::pair<DispatchSourceRef, int>> replaced_;
};

}  // namespace tq
