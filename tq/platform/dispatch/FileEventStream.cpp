#include "tq/platform/dispatch/FileEventStream.h"

#include <mutex>
#include <thread>
#include <unordered_map>

#include "tq/platform/dispatch/internal/BurstTimer.h"
#include "tq/platform/system/Clocks.h"
#include "tq/platform/system/FileChangeSource.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/system/OwnWrites.h"

namespace tq {

namespace {

std::string withoutTrailingSlashes(std::string folder) {
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  return folder;
}

std::string pathIn(const std::string& folder, const std::string& name) {
  return folder == "/" ? "/" + name : folder + "/" + name;
}

// The changes gathered since the first change of a burst.
struct Batch {
  std::vector<std::string> names;  // in the order of their first change
  // Per name: whether every change of it was a rename into the folder, the
  // only change an atomic replacement makes under the file's own name.
  std::unordered_map<std::string, bool> onlyRenamedInto;
  bool mayHaveMissedEvents = false;

  bool isEmpty() const { return names.empty() && !mayHaveMissedEvents; }

  void add(const FileChange& change) {
    if (change.kind == FileChange::Kind::Overflow || change.kind == FileChange::Kind::FolderGone) {
      mayHaveMissedEvents = true;
      return;
    }
    if (change.kind == FileChange::Kind::WatchEnded) return;  // its cause came as FolderGone
    if (OwnWrites::isTemporaryName(change.name)) return;
    auto [entry, isNew] = onlyRenamedInto.try_emplace(change.name, true);
    if (isNew) names.push_back(change.name);
    entry->second = entry->second && change.kind == FileChange::Kind::MovedTo;
  }
};

}  // namespace

struct FileEventStream::State : std::enable_shared_from_this<State> {
  std::string folder;        // as the caller named it
  std::string kernelFolder;  // as the kernel is given it
  Handler handler;
  RunLoop* runLoop = nullptr;
  std::shared_ptr<const FileChangeSource> source;  // outlives its watch
  std::unique_ptr<FileChangeSource::Watch> watch;
  OwnWrites::Interest interest;

  std::mutex mutex;
  detail::BurstTimer timer{mutex};
  Batch batch;

  // Held while a handler runs; the destructor takes it to stop delivery, so
  // it waits for a handler running on another thread. Recursive, so that a
  // handler may destroy its own stream.
  std::recursive_mutex delivery;
  bool deliveryStopped = false;

  // On the source's thread.
  void collect(const std::vector<FileChange>& changes) {
    std::lock_guard lock(mutex);
    if (timer.isStoppedLocked()) return;
    for (const FileChange& change : changes) batch.add(change);
    if (!batch.isEmpty()) timer.openLocked();
  }

  // On the timer's thread, once a burst's wait is over: hands it on.
  void burstOver(std::unique_lock<std::mutex>& lock) {
    Batch burst = std::move(batch);
    batch = Batch();
    lock.unlock();
    FileEvents events = reportable(burst);
    if (!events.paths.empty() || events.mayHaveMissedEvents)
      runLoop->perform([self = shared_from_this(), events = std::move(events)] { self->deliver(events); });
    lock.lock();
  }

  // Decided when the batch is about to go out, not when its changes came: a
  // file another process put at the path since our own rename is reported.
  FileEvents reportable(const Batch& burst) const {
    FileEvents events;
    events.mayHaveMissedEvents = burst.mayHaveMissedEvents;
    for (const std::string& name : burst.names) {
      if (burst.onlyRenamedInto.at(name) && OwnWrites::isOwnFile(pathIn(kernelFolder, name))) continue;
      events.paths.push_back(pathIn(folder, name));
    }
    return events;
  }

  // On the run loop.
  void deliver(const FileEvents& events) {
    std::lock_guard lock(delivery);
    if (deliveryStopped) return;
    handler(events);
  }

  void stop() {
    watch.reset();  // no change is collected after this
    {
      std::lock_guard lock(delivery);
      deliveryStopped = true;
    }
    timer.stop();
    interest = OwnWrites::Interest();
  }
};

std::unique_ptr<FileEventStream> FileEventStream::create(const std::string& folder, double latencySeconds,
                                                         Handler handler, RunLoop& runLoop, std::string* error) {
  auto state = std::make_shared<State>();
  state->folder = withoutTrailingSlashes(folder);
  state->kernelFolder = FileSystem::current()->resolve(state->folder);
  state->timer.configure(MonotonicClock::current(), latencySeconds);
  state->handler = std::move(handler);
  state->runLoop = &runLoop;
  state->source = FileChangeSource::current();
  // Before the watch starts, so that a write made once the stream exists is
  // known as this process's own.
  state->interest = OwnWrites::Interest(state->kernelFolder);
  State* collector = state.get();  // the watch ends before the state goes
  state->watch = state->source->watchFolder(
      state->kernelFolder, [collector](const std::vector<FileChange>& changes) { collector->collect(changes); },
      error);
  if (!state->watch) return nullptr;
  State* owner = state.get();
  state->timer.start(state, [owner](std::unique_lock<std::mutex>& lock) { owner->burstOver(lock); });

  std::unique_ptr<FileEventStream> stream(new FileEventStream);
  stream->state_ = std::move(state);
  return stream;
}

FileEventStream::~FileEventStream() { state_->stop(); }

const std::string& FileEventStream::folder() const { return state_->folder; }

}  // namespace tq
