#include "tq/platform/system/internal/InotifySource.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>

#include "tq/platform/system/internal/ChangeSubscription.h"

namespace tq::detail {

namespace {

// Per-file changes of the folder's entries, and the end of the folder itself.
// IN_MODIFY as well as IN_CLOSE_WRITE: a writer that keeps its file open
// (a log) never closes it; repeated identical events are merged by the kernel
// while unread, so this costs little. IN_EXCL_UNLINK: a file already
// unlinked but still open is no longer the folder's business.
constexpr std::uint32_t kWatchMask = IN_CREATE | IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB | IN_MOVED_FROM |
                                     IN_MOVED_TO | IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR |
                                     IN_EXCL_UNLINK;

std::string watchError(const std::string& folder, int errorNumber) {
  std::string why = std::strerror(errorNumber);
  if (errorNumber == EMFILE)
    why = "the user's limit of inotify instances is reached (fs.inotify.max_user_instances)";
  else if (errorNumber == ENOSPC)
    why = "the user's limit of inotify watches is reached (fs.inotify.max_user_watches)";
  return "cannot watch '" + folder + "': " + why;
}

std::optional<FileChange::Kind> kindOf(std::uint32_t mask) {
  using Kind = FileChange::Kind;
  if (mask & IN_CREATE) return Kind::Created;
  if (mask & (IN_MODIFY | IN_CLOSE_WRITE)) return Kind::Modified;
  if (mask & IN_ATTRIB) return Kind::AttributesChanged;
  if (mask & IN_MOVED_TO) return Kind::MovedTo;
  if (mask & IN_MOVED_FROM) return Kind::MovedFrom;
  if (mask & IN_DELETE) return Kind::Deleted;
  if (mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT)) return Kind::FolderGone;
  return std::nullopt;
}

class Instance {
 public:
  static Instance& shared() {
    static Instance* instance = new Instance;  // its thread reads until the process ends
    return *instance;
  }

  int add(const std::string& folder, const std::shared_ptr<ChangeSubscription>& subscription, std::string* error) {
    std::lock_guard lock(mutex_);
    if (fd_ < 0 && !open(error, folder)) return -1;
    int wd = ::inotify_add_watch(fd_, folder.c_str(), kWatchMask);
    if (wd < 0) {
      if (error) *error = watchError(folder, errno);
      return -1;
    }
    subscribers_[wd].push_back(subscription);
    return wd;
  }

  void remove(int wd, const std::shared_ptr<ChangeSubscription>& subscription) {
    subscription->end();
    std::lock_guard lock(mutex_);
    auto found = subscribers_.find(wd);
    if (found == subscribers_.end()) return;  // the kernel ended the watch already
    std::erase(found->second, subscription);
    if (found->second.empty()) {
      subscribers_.erase(found);
      ::inotify_rm_watch(fd_, wd);
    }
  }

 private:
  bool open(std::string* error, const std::string& folder) {
    fd_ = ::inotify_init1(IN_CLOEXEC);
    if (fd_ < 0) {
      if (error) *error = watchError(folder, errno);
      return false;
    }
    std::thread([this, fd = fd_] { read(fd); }).detach();
    return true;
  }

  void read(int fd) {
    alignas(inotify_event) char buffer[64 * 1024];
    for (;;) {
      ssize_t length = ::read(fd, buffer, sizeof buffer);
      if (length < 0 && errno == EINTR) continue;
      if (length <= 0) return;
      std::vector<int> ended;
      dispatch(parse(buffer, std::size_t(length), ended));
      forget(ended);
    }
  }

  // The changes of one read, per watch, in order. An overflow concerns every
  // watch; a watch the kernel ended (IN_IGNORED) goes to `ended`, to be
  // forgotten once the changes before its end have been handed on.
  std::map<int, std::vector<FileChange>> parse(const char* buffer, std::size_t length, std::vector<int>& ended) {
    std::map<int, std::vector<FileChange>> changes;
    for (std::size_t offset = 0; offset < length;) {
      const auto* event = reinterpret_cast<const inotify_event*>(buffer + offset);
      offset += sizeof(inotify_event) + event->len;
      if (event->mask & IN_Q_OVERFLOW) {
        std::lock_guard lock(mutex_);
        for (const auto& [wd, subscribers] : subscribers_) changes[wd].push_back({FileChange::Kind::Overflow, "", false});
        continue;
      }
      if (event->mask & IN_IGNORED) {
        ended.push_back(event->wd);
        continue;
      }
      auto kind = kindOf(event->mask);
      if (!kind) continue;
      std::string name = event->len ? std::string(event->name) : std::string();
      changes[event->wd].push_back({*kind, std::move(name), (event->mask & IN_ISDIR) != 0});
    }
    return changes;
  }

  void dispatch(const std::map<int, std::vector<FileChange>>& changes) {
    for (const auto& [wd, list] : changes) {
      std::vector<std::shared_ptr<ChangeSubscription>> subscribers;
      {
        std::lock_guard lock(mutex_);
        auto found = subscribers_.find(wd);
        if (found != subscribers_.end()) subscribers = found->second;
      }
      for (const auto& subscriber : subscribers) subscriber->deliver(list);
    }
  }

  void forget(const std::vector<int>& ended) {
    std::lock_guard lock(mutex_);
    for (int wd : ended) subscribers_.erase(wd);
  }

  std::mutex mutex_;
  int fd_ = -1;
  std::map<int, std::vector<std::shared_ptr<ChangeSubscription>>> subscribers_;
};

class InotifyWatch : public FileChangeSource::Watch {
 public:
  InotifyWatch(int wd, std::shared_ptr<ChangeSubscription> subscription)
      : wd_(wd), subscription_(std::move(subscription)) {}
  ~InotifyWatch() override { Instance::shared().remove(wd_, subscription_); }

 private:
  int wd_;
  std::shared_ptr<ChangeSubscription> subscription_;
};

class InotifySource : public FileChangeSource {
 public:
  std::unique_ptr<Watch> watchFolder(const std::string& folder, Callback callback,
                                     std::string* error) const override {
    auto subscription = std::make_shared<ChangeSubscription>(std::move(callback));
    int wd = Instance::shared().add(folder, subscription, error);
    if (wd < 0) return nullptr;
    return std::make_unique<InotifyWatch>(wd, std::move(subscription));
  }
};

}  // namespace

std::shared_ptr<const FileChangeSource> makeInotifySource() { return std::make_shared<InotifySource>(); }

}  // namespace tq::detail
