// Following the log file for the delegate.

#include "tq/logging/TQLogger.h"
#include "tq/platform/dispatch/DispatchQueue.h"

namespace tq {

std::shared_ptr<TQLoggerDelegate> TQLogger::delegate() const {
  std::lock_guard lock(delegateMutex_);
  return delegate_.lock();
}

void TQLogger::setDelegate(std::weak_ptr<TQLoggerDelegate> delegate) {
  // A read in progress finishes before the file is closed or replaced.
  std::lock_guard follow(followMutex_);
  std::lock_guard lock(delegateMutex_);
  delegate_ = delegate;
  if (delegate.expired()) {
    if (readSource_) {
      readSource_->cancel();
      readSource_.reset();
    }
    follower_.reset();
    return;
  }
  if (follower_ || logPath_.empty()) return;
  // The logger writes to the file it opened, whatever later becomes of its
  // path, so the follower stays on that file too.
  follower_.emplace(logPath_, LineFollower::Replacement::Ignore);
  if (!follower_->open()) {
    follower_.reset();
    return;
  }
  std::weak_ptr<TQLogger> weak = selfAs<TQLogger>();
  // Reads happen on a serial queue of their own so that a slow delegate
  // never holds up the writer.
  auto queue = DispatchQueue::createSerial(std::string(LibraryDomainPrefix) + ".logger.follow");
  readSource_ = DispatchSource::makeRead(follower_->fileDescriptor(), queue, [weak] {
    if (auto self = weak.lock()) self->readAppended();
  });
  readSource_->resume();
}

void TQLogger::readAppended() {
  std::lock_guard follow(followMutex_);
  // A read that was already queued when following stopped finds no file.
  if (!follower_) return;
  std::shared_ptr<TQLoggerDelegate> follower = delegate();
  if (!follower || !follower->respondsToLoggerAppendedString()) {
    follower_->skipToEnd();
    return;
  }
  // The writer appends whole lines, but a read can overtake a write in
  // progress; the follower hands on whole lines only, so the delegate never
  // sees an entry cut in two or a broken character.
  LineFollower::Lines lines = follower_->readAppended();
  if (lines.text.empty()) return;
  std::weak_ptr<TQLogger> weak = selfAs<TQLogger>();
  auto text = String::fromUTF8(lines.text);
  DispatchQueue::main()->async([weak, text] {
    auto self = weak.lock();
    if (!self) return;
    if (auto target = self->delegate()) target->loggerAppendedString(text);
  });
}

}  // namespace tq
