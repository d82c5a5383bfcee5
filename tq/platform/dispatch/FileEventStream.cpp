#include "tq/platform/dispatch/FileEventStream.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <unordered_map>

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
  MonotonicClock::Duration latency{};
  Handler handler;
  RunLoop* runLoop = nullptr;
  std::shared_ptr<const MonotonicClock> clock;
  std::shared_ptr<const FileChangeSource> source;  // outlives its watch
  std::unique_ptr<FileChangeSource::Watch> watch;
  OwnWrites::Interest interest;

  std::mutex mutex;
  std::condition_variable wake;
  bool stopped = false;
  bool timerSleeping = false;
  bool batchOpen = false;
  MonotonicClock::TimePoint deadline{};
  Batch batch;
  std::thread timer;

  // Held while a handler runs; the destructor takes it to stop delivery, so
  // it waits for a handler running on another thread. Recursive, so that a
  // handler may destroy its own stream.
  std::recursive_mutex delivery;
  bool deliveryStopped = false;

  // On the source's thread.
  void collect(const std::vector<FileChange>& changes) {
    std::lock_guard lock(mutex);
    if (stopped) return;
    for (const FileChange& change : changes) batch.add(change);
    if (!batchOpen && !batch.isEmpty()) {
      batchOpen = true;
      deadline = clock->now() + latency;
      wake.notify_all();
    }
  }

  // On the stream's own thread: waits out each burst, then hands it on.
  void runTimer() {
    std::unique_lock lock(mutex);
    for (;;) {
      wake.wait(lock, [&] { return stopped || batchOpen; });
      if (stopped) return;
      const auto until = deadline;
      timerSleeping = true;
      lock.unlock();
      clock->sleepUntil(until);
      lock.lock();
      timerSleeping = false;
      if (stopped) return;
      Batch burst = std::move(batch);
      batch = Batch();
      batchOpen = false;
      lock.unlock();
      FileEvents events = reportable(burst);
      if (!events.paths.empty() || events.mayHaveMissedEvents)
        runLoop->perform([self = shared_from_this(), events = std::move(events)] { self->deliver(events); });
      lock.lock();
    }
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
    bool sleeping;
    {
      std::lock_guard lock(mutex);
      stopped = true;
      sleeping = timerSleeping;
    }
    wake.notify_all();
    interest = OwnWrites::Interest();
    // A timer asleep on the clock cannot be woken (a manual clock may never
    // move again): it is let go, and ends by itself when it wakes, touching
    // nothing but this state, which it keeps alive.
    std::thread thread = std::move(timer);
    if (sleeping)
      thread.detach();
    else
      thread.join();
  }
};

std::unique_ptr<FileEventStream> FileEventStream::create(const std::string& folder, double latencySeconds,
                                                         Handler handler, RunLoop& runLoop, std::string* error) {
  auto state = std::make_shared<State>();
  state->folder = withoutTrailingSlashes(folder);
  state->kernelFolder = FileSystem::current()->resolve(state->folder);
  state->latency = std::chrono::duration_cast<MonotonicClock::Duration>(
      std::chrono::duration<double>(latencySeconds > 0 ? latencySeconds : 0));
  state->handler = std::move(handler);
  state->runLoop = &runLoop;
  state->clock = MonotonicClock::current();
  state->source = FileChangeSource::current();
  // Before the watch starts, so that a write made once the stream exists is
  // known as this process's own.
  state->interest = OwnWrites::Interest(state->kernelFolder);
  State* collector = state.get();  // the watch ends before the state goes
  state->watch = state->source->watchFolder(
      state->kernelFolder, [collector](const std::vector<FileChange>& changes) { collector->collect(changes); },
      error);
  if (!state->watch) return nullptr;
  state->timer = std::thread([state] { state->runTimer(); });

  std::unique_ptr<FileEventStream> stream(new FileEventStream);
  stream->state_ = std::move(state);
  return stream;
}

FileEventStream::~FileEventStream() { state_->stop(); }

const std::string& FileEventStream::folder() const { return state_->folder; }

}  // namespace tq
