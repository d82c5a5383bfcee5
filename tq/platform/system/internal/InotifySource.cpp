#include "tq/platform/system/internal/InotifySource.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
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
// One file's own changes. IN_MASK_ADD: the kernel keeps one watch per inode
// and instance, so a file watch on a folder someone also watches as a folder
// must add to that watch's mask rather than replace it (and the other way).
constexpr std::uint32_t kFileWatchMask = IN_MODIFY | IN_ATTRIB | IN_MOVE_SELF | IN_DELETE_SELF;

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

std::optional<FileChange::Kind> fileKindOf(std::uint32_t mask) {
  using Kind = FileChange::Kind;
  if (mask & IN_MODIFY) return Kind::Modified;
  if (mask & IN_ATTRIB) return Kind::AttributesChanged;
  if (mask & IN_MOVE_SELF) return Kind::MovedFrom;
  if (mask & IN_DELETE_SELF) return Kind::Deleted;
  return std::nullopt;
}

struct Subscriber {
  std::shared_ptr<ChangeSubscription> subscription;
  bool isFile = false;
  bool operator==(const Subscriber&) const = default;
};

// The changes of one watch in one read, as folder watchers and as file
// watchers see them (one inode may be both).
struct WatchChanges {
  std::vector<FileChange> asFolder;
  std::vector<FileChange> asFile;
};

class Instance {
 public:
  static Instance& shared() {
    static Instance* instance = new Instance;  // its thread reads until the process ends
    return *instance;
  }

  int add(const std::string& path, const Subscriber& subscriber, std::string* error) {
    std::lock_guard lock(mutex_);
    if (fd_ < 0 && !open(error, path)) return -1;
    int wd = ::inotify_add_watch(fd_, path.c_str(), (subscriber.isFile ? kFileWatchMask : kWatchMask) | IN_MASK_ADD);
    if (wd < 0) {
      if (error) *error = watchError(path, errno);
      return -1;
    }
    subscribers_[wd].push_back(subscriber);
    return wd;
  }

  void remove(int wd, const Subscriber& subscriber) {
    subscriber.subscription->end();
    std::lock_guard lock(mutex_);
    auto found = subscribers_.find(wd);
    if (found == subscribers_.end()) return;  // the kernel ended the watch already
    std::erase(found->second, subscriber);
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
      waitWhilePaused();
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
  std::map<int, WatchChanges> parse(const char* buffer, std::size_t length, std::vector<int>& ended) {
    std::map<int, WatchChanges> changes;
    for (std::size_t offset = 0; offset < length;) {
      const auto* event = reinterpret_cast<const inotify_event*>(buffer + offset);
      offset += sizeof(inotify_event) + event->len;
      if (event->mask & IN_Q_OVERFLOW) {
        const FileChange overflow{FileChange::Kind::Overflow, "", false};
        std::lock_guard lock(mutex_);
        for (const auto& [wd, subscribers] : subscribers_) {
          changes[wd].asFolder.push_back(overflow);
          changes[wd].asFile.push_back(overflow);
        }
        continue;
      }
      if (event->mask & IN_IGNORED) {
        const FileChange end{FileChange::Kind::WatchEnded, "", false};
        changes[event->wd].asFolder.push_back(end);
        changes[event->wd].asFile.push_back(end);
        ended.push_back(event->wd);
        continue;
      }
      std::string name = event->len ? std::string(event->name) : std::string();
      const bool isFolder = (event->mask & IN_ISDIR) != 0;
      if (auto kind = kindOf(event->mask)) changes[event->wd].asFolder.push_back({*kind, name, isFolder});
      if (auto kind = fileKindOf(event->mask); kind && name.empty())
        changes[event->wd].asFile.push_back({*kind, "", isFolder});
    }
    return changes;
  }

  void dispatch(const std::map<int, WatchChanges>& changes) {
    for (const auto& [wd, lists] : changes) {
      std::vector<Subscriber> subscribers;
      {
        std::lock_guard lock(mutex_);
        auto found = subscribers_.find(wd);
        if (found != subscribers_.end()) subscribers = found->second;
      }
      for (const auto& subscriber : subscribers) {
        const auto& list = subscriber.isFile ? lists.asFile : lists.asFolder;
        if (!list.empty()) subscriber.subscription->deliver(list);
      }
    }
  }

 public:
  // While paused the reading thread reads nothing, so the kernel's queue
  // fills up and overflows as it would under a load the thread cannot keep
  // up with: the one way to test overflow without root (the queue's limit is
  // a system-wide setting).
  void setPaused(bool paused) {
    {
      std::lock_guard lock(pauseMutex_);
      paused_ = paused;
    }
    resumed_.notify_all();
  }

 private:
  void waitWhilePaused() {
    std::unique_lock lock(pauseMutex_);
    resumed_.wait(lock, [&] { return !paused_; });
  }

  void forget(const std::vector<int>& ended) {
    std::lock_guard lock(mutex_);
    for (int wd : ended) subscribers_.erase(wd);
  }

  std::mutex mutex_;
  int fd_ = -1;
  std::map<int, std::vector<Subscriber>> subscribers_;
  std::mutex pauseMutex_;
  std::condition_variable resumed_;
  bool paused_ = false;
};

class InotifyWatch : public FileChangeSource::Watch {
 public:
  InotifyWatch(int wd, Subscriber subscriber) : wd_(wd), subscriber_(std::move(subscriber)) {}
  ~InotifyWatch() override { Instance::shared().remove(wd_, subscriber_); }

 private:
  int wd_;
  Subscriber subscriber_;
};

class InotifySource : public FileChangeSource {
 public:
  std::unique_ptr<Watch> watchFolder(const std::string& folder, Callback callback,
                                     std::string* error) const override {
    return watch(folder, std::move(callback), false, error);
  }
  std::unique_ptr<Watch> watchFile(const std::string& path, Callback callback, std::string* error) const override {
    return watch(path, std::move(callback), true, error);
  }

 private:
  static std::unique_ptr<Watch> watch(const std::string& path, Callback callback, bool isFile, std::string* error) {
    Subscriber subscriber{std::make_shared<ChangeSubscription>(std::move(callback)), isFile};
    int wd = Instance::shared().add(path, subscriber, error);
    if (wd < 0) return nullptr;
    return std::make_unique<InotifyWatch>(wd, std::move(subscriber));
  }
};

}  // namespace

std::shared_ptr<const FileChangeSource> makeInotifySource() { return std::make_shared<InotifySource>(); }

void setInotifyReadingPaused(bool paused) { Instance::shared().setPaused(paused); }

}  // namespace tq::detail
