#include "tq/platform/system/OwnWrites.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <map>
#include <optional>
#include <mutex>
#include <tuple>

#include "tq/platform/system/internal/AtomicWriteNames.h"
#include "tq/platform/system/internal/SymbolicLinks.h"

namespace tq {

namespace {

// A folder by identity rather than by spelling: the writer and the watcher
// may name it differently (a link, a doubled slash, a relative path).
using FolderKey = std::pair<dev_t, ino_t>;
using FileKey = std::tuple<dev_t, ino_t, std::string>;

struct Remembered {
  int fd;
  dev_t device;
  ino_t inode;
  std::uint64_t sequence;
};

class Registry {
 public:
  static Registry& shared() {
    static Registry* registry = new Registry;  // used by detached threads until the process ends
    return *registry;
  }

  void addInterest(FolderKey folder) {
    std::lock_guard lock(mutex_);
    if (interests_[folder]++ == 0) interestedFolders_.fetch_add(1);
  }

  void removeInterest(FolderKey folder) {
    std::lock_guard lock(mutex_);
    auto found = interests_.find(folder);
    if (found == interests_.end() || --found->second > 0) return;
    interests_.erase(found);
    interestedFolders_.fetch_sub(1);
    for (auto entry = files_.begin(); entry != files_.end();) {
      if (std::get<0>(entry->first) == folder.first && std::get<1>(entry->first) == folder.second) {
        ::close(entry->second.fd);
        entry = files_.erase(entry);
      } else {
        ++entry;
      }
    }
  }

  bool anyInterest() const { return interestedFolders_.load() > 0; }

  void record(FileKey key, int fd) {
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
      ::close(fd);
      return;
    }
    std::lock_guard lock(mutex_);
    if (!interests_.count({std::get<0>(key), std::get<1>(key)})) {
      ::close(fd);
      return;
    }
    auto found = files_.find(key);
    if (found != files_.end()) {
      ::close(found->second.fd);
      files_.erase(found);
    } else if (files_.size() >= OwnWrites::kCapacity) {
      forgetOldest();
    }
    files_.emplace(std::move(key), Remembered{fd, info.st_dev, info.st_ino, ++sequence_});
  }

  bool isOwn(const FileKey& key, const struct stat& file) const {
    std::lock_guard lock(mutex_);
    auto found = files_.find(key);
    return found != files_.end() && found->second.device == file.st_dev && found->second.inode == file.st_ino;
  }

  std::size_t count() const {
    std::lock_guard lock(mutex_);
    return files_.size();
  }

 private:
  void forgetOldest() {
    auto oldest = files_.begin();
    for (auto entry = files_.begin(); entry != files_.end(); ++entry)
      if (entry->second.sequence < oldest->second.sequence) oldest = entry;
    ::close(oldest->second.fd);
    files_.erase(oldest);
  }

  mutable std::mutex mutex_;
  std::map<FolderKey, int> interests_;
  std::atomic<int> interestedFolders_{0};
  std::map<FileKey, Remembered> files_;
  std::uint64_t sequence_ = 0;
};

std::optional<FolderKey> folderKey(const std::string& kernelFolder) {
  struct stat info {};
  if (::stat(kernelFolder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return std::nullopt;
  return FolderKey{info.st_dev, info.st_ino};
}

std::optional<FileKey> fileKey(const std::string& kernelPath) {
  detail::PathParts parts = detail::splitPath(kernelPath);
  auto folder = folderKey(parts.folder);
  if (!folder) return std::nullopt;
  return FileKey{folder->first, folder->second, std::move(parts.name)};
}

}  // namespace

OwnWrites::Interest::Interest(const std::string& kernelFolder) {
  if (auto folder = folderKey(kernelFolder)) {
    device_ = folder->first;
    inode_ = folder->second;
    active_ = true;
    Registry::shared().addInterest(*folder);
  }
}

OwnWrites::Interest::~Interest() { release(); }

OwnWrites::Interest::Interest(Interest&& other) noexcept
    : device_(other.device_), inode_(other.inode_), active_(other.active_) {
  other.active_ = false;
}

OwnWrites::Interest& OwnWrites::Interest::operator=(Interest&& other) noexcept {
  if (this != &other) {
    release();
    device_ = other.device_;
    inode_ = other.inode_;
    active_ = other.active_;
    other.active_ = false;
  }
  return *this;
}

void OwnWrites::Interest::release() {
  if (active_) Registry::shared().removeInterest({device_, inode_});
  active_ = false;
}

bool OwnWrites::anyInterest() { return Registry::shared().anyInterest(); }

void OwnWrites::recordReplacement(const std::string& kernelPath, int fd) {
  if (fd < 0) return;
  auto key = fileKey(kernelPath);
  if (!key) {
    ::close(fd);
    return;
  }
  Registry::shared().record(std::move(*key), fd);
}

bool OwnWrites::isOwnFile(const std::string& kernelPath) {
  auto key = fileKey(kernelPath);
  struct stat file {};
  if (!key || ::lstat(kernelPath.c_str(), &file) != 0) return false;
  return Registry::shared().isOwn(*key, file);
}

bool OwnWrites::isTemporaryName(std::string_view name) {
  constexpr std::string_view suffix = detail::kAtomicWriteTemporarySuffix;
  if (name.size() <= suffix.size()) return false;
  std::string_view tail = name.substr(name.size() - suffix.size());
  return tail.substr(0, 4) == suffix.substr(0, 4);
}

std::size_t OwnWrites::count() { return Registry::shared().count(); }

}  // namespace tq
