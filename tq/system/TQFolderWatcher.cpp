#include "tq/system/TQFolderWatcher.h"

#include <sys/stat.h>

#include <set>

#include "tq/logging/TQLogEntryPoints.h"

namespace tq {

namespace {

// The library's prefix in its short, misspelt form, as this queue has
// always been labelled.
constexpr const char* kQueueLabel = "org.tqbsekit.folderWatcherQueue";

void logLine(long line, const char* function, const std::string& text) {
  auto application = Application::current();
  if (!application) return;
  if (auto log = logger(*application))
    log->logForPlugin("TQS", "TQFolderWatcher", std::nullopt, 0, "TQFolderWatcher.m", function, line, text);
}

constexpr const char* kStartFunction = "-[TQFolderWatcher startWatchingSinceEventId:error:]";

}  // namespace

Ref<TQFolderWatcher> TQFolderWatcher::initWithDelegate(std::weak_ptr<TQFolderWatcherDelegate> delegate,
                                                       std::optional<std::string> path) {
  return initWithDelegate(std::move(delegate),
                          kFSEventStreamCreateFlagFileEvents | kFSEventStreamCreateFlagIgnoreSelf |
                              kFSEventStreamCreateFlagUseCFTypes,
                          std::move(path));
}

Ref<TQFolderWatcher> TQFolderWatcher::initWithDelegate(std::weak_ptr<TQFolderWatcherDelegate> delegate,
                                                       std::uint32_t streamFlags, std::optional<std::string> path) {
  auto watcher = make<TQFolderWatcher>();
  watcher->delegate_ = std::move(delegate);
  watcher->watchedPath_ = std::move(path);
  watcher->streamFlags_ = streamFlags | kFSEventStreamCreateFlagUseCFTypes;
  watcher->callbackQueue_ = DispatchQueue::createSerial(kQueueLabel);
  return watcher;
}

TQFolderWatcher::~TQFolderWatcher() { stopWatching(); }

bool TQFolderWatcher::startWatchingWithError(Ref<Error>* error) {
  return startWatchingSinceEventId(kFSEventStreamEventIdSinceNow, error);
}

bool TQFolderWatcher::startWatchingSinceEventId(std::uint64_t eventId, Ref<Error>*) {
  auto path = watchedPath();
  if (!path) return false;
  struct stat st {};
  if (::stat(path->c_str(), &st) == 0 && !S_ISDIR(st.st_mode)) return false;
  {
    std::lock_guard lock(mutex_);
    if (stream_) return true;  // already watching
  }
  logLine(79, kStartFunction, "starting up Sync Folder Watcher for Path: " + *path);
  FolderEventStream::Options options;
  options.latencySeconds = Latency;
  options.sinceEventId = eventId;
  options.fileEvents = (streamFlags_ & kFSEventStreamCreateFlagFileEvents) != 0;
  options.ignoreSelf = (streamFlags_ & kFSEventStreamCreateFlagIgnoreSelf) != 0;
  auto queue = callbackQueue();
  // The stream holds the watcher, as its context always has: a watcher that
  // is watching lives until it is stopped.
  Ref<TQFolderWatcher> self = selfAs<TQFolderWatcher>();
  std::string why;
  auto stream = FolderEventStream::create(
      *path, options, queue ? queue : DispatchQueue::main(),
      [self](const std::vector<FolderEvent>& events) { self->streamDelivered(events); }, &why);
  if (!stream) {
    logLine(103, kStartFunction, "Failed to start the SyncFolder Listener\n");
    return false;
  }
  {
    std::lock_guard lock(mutex_);
    stream_ = std::move(stream);
  }
  logLine(109, kStartFunction, "Successfully set up SyncFolder Listener");
  setWatchedPath(path);
  return true;
}

void TQFolderWatcher::streamDelivered(const std::vector<FolderEvent>& events) {
  std::set<std::string> distinct;
  bool mustScan = false;
  for (const FolderEvent& event : events) {
    distinct.insert(event.path);
    mustScan = mustScan || (event.flags & FolderEventFlag::MustScanSubDirs);
  }
  std::uint64_t latest;
  {
    std::lock_guard lock(mutex_);
    lastBatchMustScanSubDirs_ = mustScan;
    latest = stream_ ? stream_->latestEventId() : 0;
  }
  filesDidChange(std::vector<std::string>(distinct.begin(), distinct.end()), latest);
}

std::uint64_t TQFolderWatcher::latestEventId() const {
  std::lock_guard lock(mutex_);
  return stream_ ? stream_->latestEventId() : 0;
}

void TQFolderWatcher::filesDidChange(const std::vector<std::string>& paths, std::uint64_t lastEventId) {
  if (auto handler = fileChangeHandler()) {
    handler(paths, lastEventId);
  } else if (auto delegate = this->delegate()) {
    delegate->folderWatcherNotedChangesToPaths(*this, paths);
  }
}

void TQFolderWatcher::stopWatching() {
  std::unique_ptr<FolderEventStream> stream;
  {
    std::lock_guard lock(mutex_);
    stream = std::move(stream_);
    watchedPath_.reset();
  }
  if (!stream) return;
  logLine(134, "-[TQFolderWatcher stopWatching]", "stopWatching");
  stream.reset();  // ends the stream, which lets go of this watcher
}

std::shared_ptr<TQFolderWatcherDelegate> TQFolderWatcher::delegate() const {
  std::lock_guard lock(mutex_);
  return delegate_.lock();
}
void TQFolderWatcher::setDelegate(std::weak_ptr<TQFolderWatcherDelegate> delegate) {
  std::lock_guard lock(mutex_);
  delegate_ = std::move(delegate);
}
std::optional<std::string> TQFolderWatcher::watchedPath() const {
  std::lock_guard lock(mutex_);
  return watchedPath_;
}
void TQFolderWatcher::setWatchedPath(std::optional<std::string> path) {
  std::lock_guard lock(mutex_);
  watchedPath_ = std::move(path);
}
TQFolderWatcher::FileChangeHandler TQFolderWatcher::fileChangeHandler() const {
  std::lock_guard lock(mutex_);
  return fileChangeHandler_;
}
void TQFolderWatcher::setFileChangeHandler(FileChangeHandler handler) {
  std::lock_guard lock(mutex_);
  fileChangeHandler_ = std::move(handler);
}
DispatchQueueRef TQFolderWatcher::callbackQueue() const {
  std::lock_guard lock(mutex_);
  return callbackQueue_;
}
void TQFolderWatcher::setCallbackQueue(DispatchQueueRef queue) {
  std::lock_guard lock(mutex_);
  callbackQueue_ = std::move(queue);
}
bool TQFolderWatcher::lastBatchMustScanSubDirs() const {
  std::lock_guard lock(mutex_);
  return lastBatchMustScanSubDirs_;
}
std::size_t TQFolderWatcher::watchedFolderCount() const {
  std::lock_guard lock(mutex_);
  return stream_ ? stream_->watchedFolderCount() : 0;
}

}  // namespace tq
