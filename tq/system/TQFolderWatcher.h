#pragma once
// TQFolderWatcher: watches a folder tree through a folder event stream,
// grouping changes for 1 second, and hands the changed paths (each once, in
// no particular order) with the latest event id to its handler, or to its
// delegate when no handler is set. The id lets a client resume later with
// `startWatchingSinceEventId`; since the kernel keeps no history, a resumed
// stream reports the watched folder itself for a full rescan.
//
// When a batch says the tree must be rescanned (the kernel's queue
// overflowed, the folder went away or came back, a resumed start), the
// watched path is among the paths and `lastBatchMustScanSubDirs()` is true
// while the handler or delegate runs.

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "tq/platform/collection/Error.h"
#include "tq/platform/dispatch/FolderEventStream.h"

namespace tq {

inline constexpr std::uint32_t kFSEventStreamCreateFlagUseCFTypes = 0x01;
inline constexpr std::uint32_t kFSEventStreamCreateFlagIgnoreSelf = 0x08;
inline constexpr std::uint32_t kFSEventStreamCreateFlagFileEvents = 0x10;
inline constexpr std::uint64_t kFSEventStreamEventIdSinceNow = FolderEventStream::SinceNow;

class TQFolderWatcher;

class TQFolderWatcherDelegate {
 public:
  virtual ~TQFolderWatcherDelegate() = default;
  virtual void folderWatcherNotedChangesToPaths(TQFolderWatcher& watcher, const std::vector<std::string>& paths) = 0;
};

class TQFolderWatcher : public Object {
 public:
  using FileChangeHandler = std::function<void(const std::vector<std::string>& paths, std::uint64_t lastEventId)>;
  /// The latency the stream groups changes with.
  static constexpr double Latency = 1.0;

  /// Flags 25: file events, ignore self, and the always-set bit 0x01.
  static Ref<TQFolderWatcher> initWithDelegate(std::weak_ptr<TQFolderWatcherDelegate> delegate,
                                               std::optional<std::string> path);
  static Ref<TQFolderWatcher> initWithDelegate(std::weak_ptr<TQFolderWatcherDelegate> delegate,
                                               std::uint32_t streamFlags, std::optional<std::string> path);
  ~TQFolderWatcher() override;
  std::string className() const override { return "TQFolderWatcher"; }

  /// The error slot is never written.
  bool startWatchingWithError(Ref<Error>* error = nullptr);
  bool startWatchingSinceEventId(std::uint64_t eventId, Ref<Error>* error = nullptr);
  std::uint64_t latestEventId() const;
  /// The delivery point of each batch.
  void filesDidChange(const std::vector<std::string>& paths, std::uint64_t lastEventId);
  void stopWatching();

  std::uint32_t streamFlags() const { return streamFlags_; }
  std::shared_ptr<TQFolderWatcherDelegate> delegate() const;
  void setDelegate(std::weak_ptr<TQFolderWatcherDelegate> delegate);
  std::optional<std::string> watchedPath() const;
  void setWatchedPath(std::optional<std::string> path);
  FileChangeHandler fileChangeHandler() const;
  void setFileChangeHandler(FileChangeHandler handler);
  /// Where batches are delivered; the main queue when nil.
  DispatchQueueRef callbackQueue() const;
  void setCallbackQueue(DispatchQueueRef queue);

  /// Whether the batch being delivered (or the last one) asked for a rescan
  /// of the whole tree.
  bool lastBatchMustScanSubDirs() const;
  /// How many folders the stream watches now (0 when not watching).
  std::size_t watchedFolderCount() const;

 private:
  void streamDelivered(const std::vector<FolderEvent>& events);

  mutable std::mutex mutex_;
  std::uint32_t streamFlags_ = kFSEventStreamCreateFlagUseCFTypes;
  std::weak_ptr<TQFolderWatcherDelegate> delegate_;
  std::optional<std::string> watchedPath_;
  FileChangeHandler fileChangeHandler_;
  DispatchQueueRef callbackQueue_;
  std::unique_ptr<FolderEventStream> stream_;
  bool lastBatchMustScanSubDirs_ = false;
};

}  // namespace tq
