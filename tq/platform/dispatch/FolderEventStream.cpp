#include "tq/platform/dispatch/FolderEventStream.h"

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <unordered_map>

#include "tq/platform/dispatch/internal/BurstTimer.h"
#include "tq/platform/dispatch/internal/FolderTree.h"
#include "tq/platform/system/Clocks.h"
#include "tq/platform/system/FileChangeSource.h"
#include "tq/platform/system/OwnWrites.h"

namespace tq {

namespace {

using detail::childPath;
using detail::FolderIdentity;
using Flag = std::uint32_t;
namespace F = FolderEventFlag;

std::atomic<std::uint64_t>& eventCounter() {
  static std::atomic<std::uint64_t> counter{
      static_cast<std::uint64_t>(WallClock::system()->secondsSince1970() * 1e6)};
  return counter;
}

std::string withoutTrailingSlashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

std::string parentOf(const std::string& path) {
  auto slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

Flag itemFlags(const FileChange& change) {
  using Kind = FileChange::Kind;
  Flag kind = 0;
  switch (change.kind) {
    case Kind::Created: kind = F::ItemCreated; break;
    case Kind::Modified: kind = F::ItemModified; break;
    case Kind::AttributesChanged: kind = F::ItemInodeMetaMod; break;
    case Kind::MovedTo:
    case Kind::MovedFrom: kind = F::ItemRenamed; break;
    case Kind::Deleted: kind = F::ItemRemoved; break;
    default: break;
  }
  return kind | (change.isFolder ? F::ItemIsDir : F::ItemIsFile);
}

// The changes gathered since the first change of a burst.
struct Batch {
  struct Entry {
    Flag flags = 0;
    bool onlyRenamedInto = true;             // every change was a rename into a folder
    std::vector<std::string> renamedFiles;  // the files those renames put in place
  };
  std::vector<std::string> order;  // reported paths, in the order of their first change
  std::unordered_map<std::string, Entry> entries;
  Flag rootFlags = 0;

  bool isEmpty() const { return order.empty() && rootFlags == 0; }

  void add(const std::string& reported, Flag flags, const std::string* renamedInto) {
    auto [found, isNew] = entries.try_emplace(reported);
    if (isNew) order.push_back(reported);
    Entry& entry = found->second;
    entry.flags |= flags;
    if (!renamedInto) {
      entry.onlyRenamedInto = false;
    } else if (entry.onlyRenamedInto && entry.renamedFiles.size() < 16) {
      entry.renamedFiles.push_back(*renamedInto);
    } else {
      entry.onlyRenamedInto = false;  // too many to check one by one: reported
    }
  }
};

}  // namespace

struct FolderEventStream::State : std::enable_shared_from_this<State> {
  using Watch = std::unique_ptr<FileChangeSource::Watch>;
  using Retired = std::vector<Watch>;
  struct Watched {
    FolderIdentity identity;
    Watch watch;
    OwnWrites::Interest interest;
  };

  std::string root;
  Options options;
  DispatchQueueRef queue;
  Handler handler;
  std::shared_ptr<const FileChangeSource> source;  // outlives its watches
  std::atomic<std::uint64_t> latest{0};

  mutable std::mutex mutex;
  std::map<std::string, Watched> folders;
  Watch ancestorWatch;  // while the root does not exist
  detail::BurstTimer timer{mutex};
  bool reattach = false;  // walk the tree again before the next delivery
  Batch batch;

  // Held while a handler runs; recursive so that a handler may destroy its
  // own stream.
  std::recursive_mutex delivery;
  bool deliveryStopped = false;

  // ---- Watching -------------------------------------------------------------

  FileChangeSource::Callback folderCallback(const std::string& folder) {
    return [this, folder](const std::vector<FileChange>& changes) { collect(folder, changes); };
  }

  // Watches every folder of the tree at `top` not watched yet (a folder
  // replaced at a watched path counts as new). With `report`, every entry
  // found is reported as created. Answers false, with the reason, when a
  // folder could not be watched.
  // With `renew`, folders already watched are watched again too: after
  // lost events, a folder may have been deleted and made anew with the same
  // inode number, and its old watch ended with it. (The new watch is added
  // before the old one is let go, so a live kernel watch is never dropped.)
  bool watchTreeLocked(const std::string& top, bool report, Retired& retired, std::string* error,
                       std::vector<std::string>* seen = nullptr, bool renew = false) {
    bool complete = true;
    auto onFolder = [&](const std::string& folder, const FolderIdentity& identity) {
      if (seen) seen->push_back(folder);
      auto found = folders.find(folder);
      if (found != folders.end() && found->second.identity == identity && !renew) return true;
      if (found != folders.end()) {
        retired.push_back(std::move(found->second.watch));
        folders.erase(found);
      }
      std::string why;
      Watch watch = source->watchFolder(folder, folderCallback(folder), &why);
      if (!watch) {
        if (complete && error) *error = why;
        complete = false;
        return false;
      }
      auto interest = options.ignoreSelf ? OwnWrites::Interest(folder) : OwnWrites::Interest();
      folders.emplace(folder, Watched{identity, std::move(watch), std::move(interest)});
      return true;
    };
    auto onEntry = [&](const std::string& path, bool isFolder) {
      Flag kind = F::ItemCreated | (isFolder ? F::ItemIsDir : F::ItemIsFile);
      if (options.fileEvents) {
        batch.add(path, kind, nullptr);
      } else {
        batch.add(parentOf(path), 0, nullptr);
      }
    };
    detail::walkTree(top, onFolder, report ? std::function<void(const std::string&, bool)>(onEntry) : nullptr);
    return complete;
  }

  // Stops watching the folder and every folder below it.
  void retireLocked(const std::string& folder, Retired& retired) {
    auto take = [&](std::map<std::string, Watched>::iterator found) {
      retired.push_back(std::move(found->second.watch));
      return folders.erase(found);
    };
    if (auto found = folders.find(folder); found != folders.end()) take(found);
    const std::string prefix = folder == "/" ? "/" : folder + "/";
    for (auto it = folders.lower_bound(prefix); it != folders.end() && it->first.starts_with(prefix);) it = take(it);
  }

  // Watches the tree when the root is a folder (walking it again: folders
  // gone are let go, folders new or replaced are watched), else the nearest
  // existing folder above it, until it appears.
  bool attachLocked(Retired& retired, std::string* error) {
    FolderIdentity identity;
    if (!detail::folderIdentity(root, identity)) {
      retireLocked(root, retired);
      return watchAncestorLocked(retired, error);
    }
    if (ancestorWatch) retired.push_back(std::move(ancestorWatch));
    std::vector<std::string> seen;
    bool complete = watchTreeLocked(root, false, retired, error, &seen, !folders.empty());
    std::sort(seen.begin(), seen.end());
    for (auto it = folders.begin(); it != folders.end();) {
      if (std::binary_search(seen.begin(), seen.end(), it->first)) {
        ++it;
      } else {
        retired.push_back(std::move(it->second.watch));
        it = folders.erase(it);
      }
    }
    return complete;
  }

  bool watchAncestorLocked(Retired& retired, std::string* error) {
    if (ancestorWatch) retired.push_back(std::move(ancestorWatch));
    std::string ancestor = parentOf(root);
    FolderIdentity identity;
    while (!detail::folderIdentity(ancestor, identity) && ancestor != "/" && ancestor != ".") ancestor = parentOf(ancestor);
    auto onChanges = [this, ancestor](const std::vector<FileChange>& changes) {
      std::lock_guard lock(mutex);
      if (timer.isStoppedLocked()) return;
      for (const FileChange& change : changes) {
        if (change.kind != FileChange::Kind::Created && change.kind != FileChange::Kind::MovedTo &&
            change.kind != FileChange::Kind::Overflow)
          continue;
        // Only the root's own appearance is news to the caller; a folder on
        // the way to it only moves this watch down.
        FolderIdentity found;
        if (detail::folderIdentity(root, found)) {
          batch.rootFlags |= F::MustScanSubDirs | F::RootChanged;
        } else if (!detail::folderIdentity(childPath(ancestor, change.name), found) ||
                   !root.starts_with(childPath(ancestor, change.name) + "/")) {
          continue;
        }
        reattach = true;
        timer.openLocked();
      }
    };
    ancestorWatch = source->watchFolder(ancestor, onChanges, error);
    return ancestorWatch != nullptr;
  }

  // ---- Collecting (on the source's thread) ----------------------------------

  void collect(const std::string& folder, const std::vector<FileChange>& changes) {
    Retired retired;  // destroyed after the lock is let go: a watch's end waits for its deliveries
    std::lock_guard lock(mutex);
    if (timer.isStoppedLocked()) return;
    for (const FileChange& change : changes) note(folder, change, retired);
    if (!batch.isEmpty()) timer.openLocked();
  }

  void note(const std::string& folder, const FileChange& change, Retired& retired) {
    using Kind = FileChange::Kind;
    if (change.kind == Kind::Overflow) {
      batch.rootFlags |= F::MustScanSubDirs | F::KernelDropped;
      reattach = true;
      return;
    }
    if (change.kind == Kind::WatchEnded) {
      // The kernel ended the folder's watch. A folder made at the path since
      // (perhaps with the same inode number, so that it looked watched) gets
      // a watch of its own, and what it holds is reported.
      if (auto found = folders.find(folder); found != folders.end()) {
        retired.push_back(std::move(found->second.watch));
        folders.erase(found);
      }
      FolderIdentity identity;
      if (folder != root && detail::folderIdentity(folder, identity) && !watchTreeLocked(folder, true, retired, nullptr))
        batch.rootFlags |= F::MustScanSubDirs;
      return;
    }
    if (change.kind == Kind::FolderGone) {
      // A sub-folder's end is its parent's entry change; the root's is the
      // tree's.
      if (folder == root) {
        batch.rootFlags |= F::MustScanSubDirs | F::RootChanged;
        reattach = true;
      }
      return;
    }
    if (options.ignoreSelf && OwnWrites::isTemporaryName(change.name)) return;
    const std::string path = childPath(folder, change.name);
    const std::string* renamedInto = change.kind == Kind::MovedTo ? &path : nullptr;
    if (options.fileEvents) {
      batch.add(path, itemFlags(change), renamedInto);
    } else {
      batch.add(folder, 0, renamedInto);
    }
    if (!change.isFolder) return;
    if (change.kind == Kind::Created || change.kind == Kind::MovedTo) {
      if (!watchTreeLocked(path, true, retired, nullptr)) batch.rootFlags |= F::MustScanSubDirs;
    } else if (change.kind == Kind::Deleted || change.kind == Kind::MovedFrom) {
      retireLocked(path, retired);
    }
  }

  // ---- Delivering -----------------------------------------------------------

  // On the timer's thread, once a burst's wait is over: hands it on, after
  // walking the tree again when events were lost or the root came or went.
  void burstOver(std::unique_lock<std::mutex>& lock) {
    Retired retired;
    if (reattach) {
      reattach = false;
      if (!attachLocked(retired, nullptr)) batch.rootFlags |= F::MustScanSubDirs;
    }
    Batch burst = std::move(batch);
    batch = Batch();
    lock.unlock();
    retired.clear();
    auto events = reportable(burst);
    if (!events.empty()) queue->async([self = shared_from_this(), events = std::move(events)] { self->deliver(events); });
    lock.lock();
  }

  // Ignore-self is decided when the batch is about to go out, not when its
  // changes came: a file another process put there since is reported.
  std::vector<FolderEvent> reportable(const Batch& burst) const {
    std::vector<FolderEvent> events;
    auto& counter = eventCounter();
    if (burst.rootFlags) events.push_back({root, burst.rootFlags, ++counter});
    for (const std::string& path : burst.order) {
      const Batch::Entry& entry = burst.entries.at(path);
      if (options.ignoreSelf && entry.onlyRenamedInto &&
          std::all_of(entry.renamedFiles.begin(), entry.renamedFiles.end(), OwnWrites::isOwnFile))
        continue;
      events.push_back({path, entry.flags, ++counter});
    }
    return events;
  }

  // On the queue.
  void deliver(const std::vector<FolderEvent>& events) {
    std::lock_guard lock(delivery);
    if (deliveryStopped) return;
    latest.store(events.back().id);
    handler(events);
  }

  void stop() {
    Retired retired;
    {
      std::lock_guard lock(mutex);
      timer.markStoppedLocked();
      for (auto& [path, watched] : folders) retired.push_back(std::move(watched.watch));
      folders.clear();
      if (ancestorWatch) retired.push_back(std::move(ancestorWatch));
    }
    retired.clear();  // no change is collected after this
    {
      std::lock_guard lock(delivery);
      deliveryStopped = true;
    }
    timer.stop();
  }
};

std::unique_ptr<FolderEventStream> FolderEventStream::create(const std::string& root, const Options& options,
                                                             DispatchQueueRef queue, Handler handler,
                                                             std::string* error) {
  auto state = std::make_shared<State>();
  state->root = withoutTrailingSlashes(root);
  state->options = options;
  state->queue = std::move(queue);
  state->handler = std::move(handler);
  state->timer.configure(MonotonicClock::current(), options.latencySeconds);
  state->source = FileChangeSource::current();
  state->latest = options.sinceEventId == SinceNow ? currentEventId() : options.sinceEventId;

  struct ::stat st {};
  if (::stat(state->root.c_str(), &st) == 0 && !S_ISDIR(st.st_mode)) {
    if (error) *error = "cannot watch '" + state->root + "': Not a directory";
    return nullptr;
  }
  {
    State::Retired retired;
    std::lock_guard lock(state->mutex);
    if (!state->attachLocked(retired, error)) {
      state->timer.markStoppedLocked();
      for (auto& [path, watched] : state->folders) retired.push_back(std::move(watched.watch));
      state->folders.clear();
      if (state->ancestorWatch) retired.push_back(std::move(state->ancestorWatch));
      return nullptr;
    }
    if (options.sinceEventId != SinceNow) {
      state->batch.rootFlags |= F::MustScanSubDirs | F::HistoryDone;
      state->timer.openLocked();
    }
  }
  State* owner = state.get();
  state->timer.start(state, [owner](std::unique_lock<std::mutex>& lock) { owner->burstOver(lock); });
  std::unique_ptr<FolderEventStream> stream(new FolderEventStream);
  stream->state_ = std::move(state);
  return stream;
}

FolderEventStream::~FolderEventStream() { state_->stop(); }

std::uint64_t FolderEventStream::latestEventId() const { return state_->latest.load(); }

std::size_t FolderEventStream::watchedFolderCount() const {
  std::lock_guard lock(state_->mutex);
  return state_->folders.size();
}

const std::string& FolderEventStream::root() const { return state_->root; }

std::uint64_t FolderEventStream::currentEventId() { return eventCounter().load(); }

}  // namespace tq
