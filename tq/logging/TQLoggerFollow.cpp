// Following the log file for the delegate.

#include <fcntl.h>
#include <unistd.h>

#include "tq/logging/TQLogger.h"
#include "tq/platform/dispatch/DispatchQueue.h"

namespace tq {

std::shared_ptr<TQLoggerDelegate> TQLogger::delegate() const {
  std::lock_guard lock(delegateMutex_);
  return delegate_.lock();
}

void TQLogger::setDelegate(std::weak_ptr<TQLoggerDelegate> delegate) {
  // A read in progress finishes before the descriptor is closed or replaced.
  std::lock_guard follow(followMutex_);
  std::lock_guard lock(delegateMutex_);
  delegate_ = delegate;
  if (delegate.expired()) {
    unfinishedLine_.clear();
    if (readSource_) {
      readSource_->cancel();
      readSource_.reset();
    }
    if (readFd_ >= 0) {
      ::close(readFd_);
      readFd_ = -1;
    }
    return;
  }
  if (readFd_ >= 0 || logPath_.empty()) return;
  readFd_ = ::open(logPath_.c_str(), O_RDONLY | O_CLOEXEC);
  if (readFd_ < 0) return;
  std::weak_ptr<TQLogger> weak = selfAs<TQLogger>();
  // Reads happen on a serial queue of their own so that a slow delegate
  // never holds up the writer.
  auto queue = DispatchQueue::createSerial(std::string(LibraryDomainPrefix) + ".logger.follow");
  readSource_ = DispatchSource::makeRead(readFd_, queue, [weak] {
    if (auto self = weak.lock()) self->readAppended();
  });
  readSource_->resume();
}

void TQLogger::readAppended() {
  std::lock_guard follow(followMutex_);
  std::shared_ptr<TQLoggerDelegate> follower;
  int fd;
  {
    std::lock_guard lock(delegateMutex_);
    follower = delegate_.lock();
    fd = readFd_;
  }
  if (fd < 0) return;
  if (!follower || !follower->respondsToLoggerAppendedString()) {
    ::lseek(fd, 0, SEEK_END);
    unfinishedLine_.clear();
    return;
  }
  std::string appended = std::move(unfinishedLine_);
  unfinishedLine_.clear();
  char buffer[65536];
  ssize_t n;
  while ((n = ::read(fd, buffer, sizeof buffer)) > 0) appended.append(buffer, std::size_t(n));
  // The writer appends whole lines, but a read can overtake a write in
  // progress and end in the middle of a line, even of a character. That end
  // waits for the rest of its line, so the follower never sees an entry cut
  // in two or a broken character.
  std::size_t lastBreak = appended.rfind('\n');
  std::size_t complete = lastBreak == std::string::npos ? 0 : lastBreak + 1;
  unfinishedLine_.assign(appended, complete, std::string::npos);
  appended.resize(complete);
  if (appended.empty()) return;
  std::weak_ptr<TQLogger> weak = selfAs<TQLogger>();
  auto text = String::fromUTF8(appended);
  DispatchQueue::main()->async([weak, text] {
    auto self = weak.lock();
    if (!self) return;
    if (auto target = self->delegate()) target->loggerAppendedString(text);
  });
}

}  // namespace tq
