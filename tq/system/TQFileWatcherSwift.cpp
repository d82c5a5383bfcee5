#include "tq/system/TQFileWatcherSwift.h"

#include <unistd.h>

#include <cstdlib>

namespace tq {

namespace {

[[noreturn]] void unwrappedNil(const char* what) {
  std::string message = std::string("Fatal error: Unexpectedly found nil while unwrapping an Optional value (") +
                        what + ")\n";
  ssize_t written = ::write(STDERR_FILENO, message.data(), message.size());
  (void)written;
  std::abort();
}

}  // namespace

Ref<TQFileWatcherSwift> TQFileWatcherSwift::init(std::string fileURL, std::shared_ptr<TQSwiftWatcherDelegate> delegate) {
  auto wrapper = make<TQFileWatcherSwift>();
  wrapper->delegate_ = std::move(delegate);
  std::weak_ptr<TQFileWatcherDelegate> inner = wrapper;
  wrapper->watcher_ = TQFileWatcher::initWithDelegate(inner, std::move(fileURL));
  return wrapper;
}

void TQFileWatcherSwift::startWatching() {
  if (!watcher_) return;
  Ref<Error> error;
  if (!watcher_->startWatchingWithError(&error)) throw TQFileWatcherStartError{error};
}

void TQFileWatcherSwift::stopWatching() {
  if (watcher_) watcher_->stopWatching();
}

bool TQFileWatcherSwift::isWatching() const {
  if (!watcher_) unwrappedNil("TQFileWatcherSwift.isWatching without a watcher");
  return watcher_->isWatching();
}

std::string TQFileWatcherSwift::watchedURL() const {
  if (!watcher_) unwrappedNil("TQFileWatcherSwift.watchedURL without a watcher");
  return watcher_->watchedURL();
}

void TQFileWatcherSwift::fileChangedForWatcher(TQFileWatcher&) {
  if (delegate_) delegate_->fileChanged(*this);
}
void TQFileWatcherSwift::fileDeletedForWatcher(TQFileWatcher&) {
  if (delegate_) delegate_->fileDeleted(*this);
}
void TQFileWatcherSwift::fileRenamedForWatcher(TQFileWatcher&) {
  if (delegate_) delegate_->fileRenamed(*this);
}

}  // namespace tq
