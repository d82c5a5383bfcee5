// The vnode source: file events from the installed FileChangeSource, turned
// into the customary event bits and handed to the handler on its queue, one
// call at a time, with the events that came meanwhile merged.

#include <sys/stat.h>

#include "tq/platform/dispatch/DispatchSource.h"
#include "tq/platform/system/FileChangeSource.h"

namespace tq {

namespace {

unsigned long linkCount(int fd) {
  struct stat st {};
  return ::fstat(fd, &st) == 0 ? static_cast<unsigned long>(st.st_nlink) : 0;
}

}  // namespace

std::shared_ptr<DispatchSource> DispatchSource::makeVnode(int fd, unsigned long mask, DispatchQueueRef queue,
                                                          DispatchWork handler, std::string* error) {
  auto source = std::make_shared<DispatchSource>(Type::Vnode, fd, 0, std::move(queue), std::move(handler));
  source->mask_ = mask;
  if (!source->startVnodeWatch(error)) return nullptr;
  return source;
}

bool DispatchSource::startVnodeWatch(std::string* error) {
  struct stat st {};
  if (fd_ < 0 || ::fstat(fd_, &st) != 0) {
    if (error) *error = "not an open file descriptor";
    return false;
  }
  links_ = static_cast<unsigned long>(st.st_nlink);
  // The watch lives inside the source, which ends it (in `cancel` or its
  // destructor) before it goes; the callback needs no reference of its own.
  DispatchSource* self = this;
  auto onChanges = [self](const std::vector<FileChange>& changes) {
    using Kind = FileChange::Kind;
    unsigned long events = 0;
    for (const FileChange& change : changes) {
      switch (change.kind) {
        case Kind::Modified: events |= DispatchVnode::Write; break;
        case Kind::MovedFrom: events |= DispatchVnode::Rename; break;
        case Kind::Deleted: events |= DispatchVnode::Delete; break;
        case Kind::AttributesChanged: {
          events |= DispatchVnode::Attrib;
          unsigned long links = linkCount(self->fd_);
          if (links < self->links_) events |= DispatchVnode::Link;
          if (links == 0 && self->links_ != 0) events |= DispatchVnode::Delete;
          self->links_ = links;
          break;
        }
        // Lost events may have been any of them.
        case Kind::Overflow: events |= ~0UL; break;
        default: break;
      }
    }
    self->noteVnodeEvents(events);
  };
  auto watch = FileChangeSource::current()->watchFile("/proc/self/fd/" + std::to_string(fd_), onChanges, error);
  if (!watch) return false;
  watch_ = std::shared_ptr<FileChangeSource::Watch>(std::move(watch));
  return true;
}

void DispatchSource::noteVnodeEvents(unsigned long events) {
  auto strong = weak_from_this().lock();  // none while the source is being destroyed
  if (!strong) return;
  std::lock_guard lock(mutex_);
  pending_ |= events & mask_;
  if (!resumed_ || cancelled_ || vnodeScheduled_ || pending_ == 0) return;
  vnodeScheduled_ = true;
  queue_->async([self = std::move(strong)] { self->fireVnode(); });
}

void DispatchSource::fireVnode() {
  {
    std::lock_guard lock(mutex_);
    data_.store(pending_);
    pending_ = 0;
  }
  if (!cancelled_) handler_();
  std::lock_guard lock(mutex_);
  vnodeScheduled_ = false;
  if (pending_ != 0 && !cancelled_) {
    vnodeScheduled_ = true;
    queue_->async([self = shared_from_this()] { self->fireVnode(); });
  }
}

}  // namespace tq
