#include "tq/system/TQFileWatcher.h"

#include <fcntl.h>
#include <unistd.h>

#include "tq/system/internal/FileURL.h"

namespace tq {

Ref<TQFileWatcher> TQFileWatcher::initWithDelegate(std::weak_ptr<TQFileWatcherDelegate> delegate,
                                                   std::string fileURL) {
  auto watcher = make<TQFileWatcher>();
  watcher->delegate_ = std::move(delegate);
  watcher->watchedURL_ = std::move(fileURL);
  return watcher;
}

TQFileWatcher::~TQFileWatcher() {
  stopWatching();
  // Sources replaced by a second start were never cancelled: they end with
  // the watcher, and so do their descriptors.
  for (auto& [source, fd] : replaced_) {
    source->cancel();
    ::close(fd);
  }
}

bool TQFileWatcher::startWatchingWithError(Ref<Error>* error) {
  const std::string path = detail::filePathOfURL(watchedURL());
  Ref<Error> failure;
  {
    std::lock_guard lock(mutex_);
    if (source_) replaced_.push_back({source_, fd_});  // a second start: the old source goes on, uncancelled
    queue_ = DispatchQueue::createSerial(std::string(LibraryDomainPrefix) + ".TQFoundation.FileWatcher");
    source_ = nullptr;
    fd_ = ::open(path.c_str(), O_PATH | O_CLOEXEC);
    if (fd_ < 0) {
      failure = Error::withDescription(ErrorDomain, CannotOpenErrorCode, "Could not open() the watching file at: " + path);
    } else {
      // The handler holds the watcher weakly and reads the source it belongs to.
      std::weak_ptr<TQFileWatcher> weak = selfAs<TQFileWatcher>();
      auto holder = std::make_shared<std::weak_ptr<DispatchSource>>();
      source_ = DispatchSource::makeVnode(fd_, EventMask, queue_, [weak, holder] {
        auto watcher = weak.lock();
        auto source = holder->lock();
        if (watcher && source) watcher->handleEvent(*source);
      });
      if (!source_) {
        // The descriptor stays open, as it always has on this path.
        failure = Error::withDescription(ErrorDomain, CannotCreateSourceErrorCode,
                                         "Could not create source for watching file at: " + path);
      } else {
        *holder = source_;
        source_->resume();
        isWatching_ = true;
      }
    }
  }
  if (error && failure) {
    *error = failure;
    return false;
  }
  return true;
}

void TQFileWatcher::handleEvent(const DispatchSource& source) {
  auto delegate = this->delegate();
  if (!delegate) return;
  const unsigned long mask = source.mask();
  if (mask & DispatchVnode::Write) delegate->fileChangedForWatcher(*this);
  if (mask & DispatchVnode::Rename) delegate->fileRenamedForWatcher(*this);
  if (mask & DispatchVnode::Delete) delegate->fileDeletedForWatcher(*this);
}

void TQFileWatcher::stopWatching() {
  DispatchSourceRef source;
  int fd;
  {
    std::lock_guard lock(mutex_);
    if (!source_) return;
    source = std::move(source_);
    fd = fd_;
    fd_ = -1;
    isWatching_ = false;
  }
  source->cancel();
  ::close(fd);
}

DispatchSourceRef TQFileWatcher::source() const {
  std::lock_guard lock(mutex_);
  return source_;
}
bool TQFileWatcher::isWatching() const {
  std::lock_guard lock(mutex_);
  return isWatching_;
}
std::shared_ptr<TQFileWatcherDelegate> TQFileWatcher::delegate() const {
  std::lock_guard lock(mutex_);
  return delegate_.lock();
}
void TQFileWatcher::setDelegate(std::weak_ptr<TQFileWatcherDelegate> delegate) {
  std::lock_guard lock(mutex_);
  delegate_ = std::move(delegate);
}
std::string TQFileWatcher::watchedURL() const {
  std::lock_guard lock(mutex_);
  return watchedURL_;
}
void TQFileWatcher::setWatchedURL(std::string url) {
  std::lock_guard lock(mutex_);
  watchedURL_ = std::move(url);
}
int TQFileWatcher::fileDescriptor() const {
  std::lock_guard lock(mutex_);
  return fd_;
}
DispatchQueueRef TQFileWatcher::callbackQueue() const {
  std::lock_guard lock(mutex_);
  return queue_;
}

}  // namespace tq
