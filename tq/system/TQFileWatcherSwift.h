#pragma once
// TQFileWatcherSwift: the newer interface to a file watcher. It is the inner
// TQFileWatcher's delegate and forwards each of the three events to its own
// delegate, passing itself (not the inner watcher); a failed start throws
// the error. Reading `isWatching` with no inner watcher is a fatal error.

#include <memory>
#include <string>

#include "tq/system/TQFileWatcher.h"

namespace tq {

class TQFileWatcherSwift;

/// The three requirements, in this order.
class TQSwiftWatcherDelegate {
 public:
  virtual ~TQSwiftWatcherDelegate() = default;
  virtual void fileChanged(TQFileWatcherSwift& watcher) = 0;
  virtual void fileDeleted(TQFileWatcherSwift& watcher) = 0;
  virtual void fileRenamed(TQFileWatcherSwift& watcher) = 0;
};

/// What `startWatching` throws: the inner watcher's error.
struct TQFileWatcherStartError {
  Ref<Error> error;
};

class TQFileWatcherSwift : public Object, public TQFileWatcherDelegate {
 public:
  /// `init(fileURL:delegate:)`: the delegate is held strongly.
  static Ref<TQFileWatcherSwift> init(std::string fileURL, std::shared_ptr<TQSwiftWatcherDelegate> delegate);
  std::string className() const override { return "TQFileWatcherSwift"; }

  /// Throws TQFileWatcherStartError when the inner watcher's start fails;
  /// does nothing without an inner watcher.
  void startWatching();
  void stopWatching();
  bool isWatching() const;
  std::string watchedURL() const;

  const Ref<TQFileWatcher>& watcher() const { return watcher_; }
  void setWatcher(Ref<TQFileWatcher> watcher) { watcher_ = std::move(watcher); }
  const std::shared_ptr<TQSwiftWatcherDelegate>& delegate() const { return delegate_; }
  void setDelegate(std::shared_ptr<TQSwiftWatcherDelegate> delegate) { delegate_ = std::move(delegate); }

  // The inner watcher's delegate methods (`fileChanged(for:)` and so on).
  void fileChangedForWatcher(TQFileWatcher& watcher) override;
  void fileDeletedForWatcher(TQFileWatcher& watcher) override;
  void fileRenamedForWatcher(TQFileWatcher& watcher) override;

 private:
  Ref<TQFileWatcher> watcher_;
  std::shared_ptr<TQSwiftWatcherDelegate> delegate_;
};

}  // namespace tq
