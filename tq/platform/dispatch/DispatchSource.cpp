#include "tq/platform/dispatch/DispatchSource.h"

#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <thread>

namespace tq {

// The epoll thread shared by every read source on a pollable descriptor.
// Registrations are one-shot and re-armed after each handler, so a handler
// that has not consumed the data yet is not called again meanwhile.
class SourcePoller {
 public:
  static SourcePoller& shared() {
    static SourcePoller* poller = new SourcePoller;
    return *poller;
  }

  bool add(const std::shared_ptr<DispatchSource>& source, bool first) {
    std::lock_guard lock(mutex_);
    sources_[source->fd_] = source;
    epoll_event ev{};
    ev.events = EPOLLIN | EPOLLONESHOT;
    ev.data.fd = source->fd_;
    if (first) return ::epoll_ctl(epollFd_, EPOLL_CTL_ADD, source->fd_, &ev) == 0;
    return ::epoll_ctl(epollFd_, EPOLL_CTL_MOD, source->fd_, &ev) == 0;
  }

  void remove(int fd) {
    std::lock_guard lock(mutex_);
    sources_.erase(fd);
    ::epoll_ctl(epollFd_, EPOLL_CTL_DEL, fd, nullptr);
  }

 private:
  SourcePoller() {
    epollFd_ = ::epoll_create1(EPOLL_CLOEXEC);
    std::thread([this] { loop(); }).detach();
  }

  void loop() {
    epoll_event events[32];
    for (;;) {
      int n = ::epoll_wait(epollFd_, events, 32, -1);
      for (int i = 0; i < n; ++i) {
        std::shared_ptr<DispatchSource> source;
        {
          std::lock_guard lock(mutex_);
          auto it = sources_.find(events[i].data.fd);
          if (it != sources_.end()) source = it->second.lock();
        }
        if (source) source->fire();
      }
    }
  }

  int epollFd_ = -1;
  std::mutex mutex_;
  std::map<int, std::weak_ptr<DispatchSource>> sources_;
};

namespace {
constexpr double kRegularFilePollInterval = 0.02;
}

std::shared_ptr<DispatchSource> DispatchSource::makeTimer(double interval, DispatchQueueRef queue,
                                                          DispatchWork handler) {
  return std::make_shared<DispatchSource>(Type::Timer, -1, interval, std::move(queue), std::move(handler));
}

std::shared_ptr<DispatchSource> DispatchSource::makeRead(int fd, DispatchQueueRef queue, DispatchWork handler) {
  return std::make_shared<DispatchSource>(Type::Read, fd, 0, std::move(queue), std::move(handler));
}

DispatchSource::DispatchSource(Type type, int fd, double interval, DispatchQueueRef queue, DispatchWork handler)
    : type_(type), fd_(fd), interval_(interval), queue_(std::move(queue)), handler_(std::move(handler)) {
  if (type_ == Type::Read) {
    struct stat st {};
    regularFile_ = ::fstat(fd_, &st) == 0 && S_ISREG(st.st_mode);
  }
}

DispatchSource::~DispatchSource() {
  if (registered_) SourcePoller::shared().remove(fd_);
}

void DispatchSource::setCancelHandler(DispatchWork handler) {
  std::lock_guard lock(mutex_);
  cancelHandler_ = std::move(handler);
}

void DispatchSource::resume() {
  {
    std::lock_guard lock(mutex_);
    if (resumed_ || cancelled_) return;
    resumed_ = true;
  }
  if (type_ == Type::Vnode) {
    noteVnodeEvents(0);  // what came before the resume
    return;
  }
  arm();
}

void DispatchSource::cancel() {
  if (cancelled_.exchange(true)) return;
  DispatchWork onCancel;
  std::shared_ptr<void> watch;
  {
    std::lock_guard lock(mutex_);
    watch = std::move(watch_);
    onCancel = std::move(cancelHandler_);
    if (registered_) {
      SourcePoller::shared().remove(fd_);
      registered_ = false;
    }
  }
  watch.reset();  // outside the lock: it waits for a delivery that may want the lock
  if (onCancel) queue_->async(std::move(onCancel));
}

bool DispatchSource::regularFileHasData() const {
  struct stat st {};
  if (::fstat(fd_, &st) != 0) return false;
  off_t offset = ::lseek(fd_, 0, SEEK_CUR);
  return offset >= 0 && st.st_size > offset;
}

long DispatchSource::estimatedData() const {
  if (type_ != Type::Read) return 0;
  if (regularFile_) {
    struct stat st {};
    off_t offset = ::lseek(fd_, 0, SEEK_CUR);
    if (::fstat(fd_, &st) != 0 || offset < 0) return 0;
    return st.st_size > offset ? long(st.st_size - offset) : 0;
  }
  int available = 0;
  if (::ioctl(fd_, FIONREAD, &available) != 0) return 0;
  return available;
}

// Looks for the next event: a timer or a regular file waits on the timer
// thread, a pollable descriptor on the epoll thread.
void DispatchSource::arm() {
  if (cancelled_) return;
  std::weak_ptr<DispatchSource> weak = weak_from_this();
  if (type_ == Type::Timer) {
    dispatch_detail::callAfter(interval_, [weak] {
      if (auto self = weak.lock()) self->fire();
    });
    return;
  }
  if (regularFile_) {
    dispatch_detail::callAfter(kRegularFilePollInterval, [weak] {
      auto self = weak.lock();
      if (!self || self->cancelled_) return;
      if (self->regularFileHasData()) {
        self->fire();
      } else {
        self->arm();
      }
    });
    return;
  }
  std::lock_guard lock(mutex_);
  bool first = !registered_;
  registered_ = SourcePoller::shared().add(shared_from_this(), first) || registered_;
}

void DispatchSource::fire() {
  if (cancelled_) return;
  queue_->async([self = shared_from_this()] {
    if (self->cancelled_) return;
    self->handler_();
    self->arm();
  });
}

}  // namespace tq
