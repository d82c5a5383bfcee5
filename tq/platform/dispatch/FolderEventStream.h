#pragma once
// A stream of the changes made anywhere in a folder tree, delivered in
// batches on a dispatch queue, each change with a 64-bit event id: what a
// folder watcher is built on.
//
// - Recursion. Every folder of the tree is watched (one FileChangeSource
//   watch each), folders made later included: a new folder is watched as
//   soon as its creation is seen, and what it already holds by then is
//   reported as created, so that nothing made in it before its watch
//   started is missed.
// - Grouping. The first change of a burst starts a wait of the latency on
//   the MonotonicClock installed when the stream was made; every change
//   until it ends joins the batch, each path once (its flags merged), in the
//   order of its first change.
// - Paths. With `fileEvents` a change is reported under the item's own path;
//   without, under the path of the folder that holds it.
// - Nothing lost. When the kernel's queue overflowed, a folder could not be
//   watched, or the root itself went away or came back, the batch reports
//   the root with `MustScanSubDirs`: the caller rescans the whole tree. After
//   an overflow the stream walks the tree again itself, so that folders made
//   during it are watched from then on.
// - Event ids increase within the process (they start from the wall clock in
//   microseconds at first use, so they also grow from one run to the next
//   unless the clock is set back). The kernel keeps no history: a stream
//   started "since" any id other than `SinceNow` reports the root once with
//   `MustScanSubDirs | HistoryDone`, right after its latency, as the one
//   safe answer to "what changed since then".
// - Ignore self. With `ignoreSelf`, a path whose changes in the batch were
//   all renames into its folder is left out when the file now there is the
//   one this process last put there (OwnWrites), and the temporary files of
//   atomic replacements are left out. Other changes this process makes are
//   reported: the kernel does not say who made a change.
// - A root that does not exist is accepted: its nearest existing parent is
//   watched until it appears, and it is then reported for a rescan.
// - Delivery and stop. The handler runs on the queue. After the destructor
//   returns no handler runs (a batch already queued is dropped; a handler
//   running on another thread is waited for; one may destroy its own stream).

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tq/platform/dispatch/DispatchQueue.h"

namespace tq {

/// The flags of one reported change, in the customary bit values.
namespace FolderEventFlag {
inline constexpr std::uint32_t None = 0;
inline constexpr std::uint32_t MustScanSubDirs = 0x00000001;
inline constexpr std::uint32_t KernelDropped = 0x00000004;
inline constexpr std::uint32_t HistoryDone = 0x00000010;
inline constexpr std::uint32_t RootChanged = 0x00000020;
inline constexpr std::uint32_t ItemCreated = 0x00000100;
inline constexpr std::uint32_t ItemRemoved = 0x00000200;
inline constexpr std::uint32_t ItemInodeMetaMod = 0x00000400;
inline constexpr std::uint32_t ItemRenamed = 0x00000800;
inline constexpr std::uint32_t ItemModified = 0x00001000;
inline constexpr std::uint32_t ItemIsFile = 0x00010000;
inline constexpr std::uint32_t ItemIsDir = 0x00020000;
}  // namespace FolderEventFlag

struct FolderEvent {
  std::string path;
  std::uint32_t flags = 0;
  std::uint64_t id = 0;

  bool operator==(const FolderEvent&) const = default;
};

class FolderEventStream {
 public:
  /// "Only what happens from now on".
  static constexpr std::uint64_t SinceNow = ~std::uint64_t(0);

  struct Options {
    double latencySeconds = 1.0;
    std::uint64_t sinceEventId = SinceNow;
    bool fileEvents = false;
    bool ignoreSelf = false;
  };
  using Handler = std::function<void(const std::vector<FolderEvent>& events)>;

  /// Watches the tree at `root` and runs `handler` on `queue` with each
  /// batch. Nil, with the reason, when the root is not a folder or the tree
  /// cannot be watched (the user's limit of inotify watches,
  /// fs.inotify.max_user_watches, names itself in the reason).
  static std::unique_ptr<FolderEventStream> create(const std::string& root, const Options& options,
                                                   DispatchQueueRef queue, Handler handler,
                                                   std::string* error = nullptr);
  ~FolderEventStream();
  FolderEventStream(const FolderEventStream&) = delete;
  FolderEventStream& operator=(const FolderEventStream&) = delete;

  /// The id of the last change delivered to the handler (set before the
  /// handler runs); before any, the `sinceEventId` given, or the process's
  /// latest id when the stream started "since now".
  std::uint64_t latestEventId() const;
  /// How many folders are watched now.
  std::size_t watchedFolderCount() const;
  const std::string& root() const;

  /// The last event id the process handed out.
  static std::uint64_t currentEventId();

 private:
  struct State;
  FolderEventStream() = default;
  std::shared_ptr<State> state_;
};

}  // namespace tq
