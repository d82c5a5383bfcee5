#include "tq/platform/dispatch/internal/FolderTree.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

namespace tq::detail {

bool folderIdentity(const std::string& path, FolderIdentity& identity) {
  struct stat st {};
  if (::lstat(path.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return false;
  identity = {st.st_dev, st.st_ino};
  return true;
}

std::string childPath(const std::string& folder, const std::string& name) {
  return folder == "/" ? "/" + name : folder + "/" + name;
}

namespace {

bool isFolderEntry(const std::string& path, const dirent& entry) {
  if (entry.d_type == DT_DIR) return true;
  if (entry.d_type != DT_UNKNOWN) return false;
  struct stat st {};  // file systems that do not fill in the type
  return ::lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

}  // namespace

void walkTree(const std::string& top, const std::function<bool(const std::string&, const FolderIdentity&)>& onFolder,
              const std::function<void(const std::string&, bool isFolder)>& onEntry) {
  // Depth first with an explicit stack: trees may be deep.
  std::vector<std::string> pending{top};
  while (!pending.empty()) {
    std::string folder = std::move(pending.back());
    pending.pop_back();
    // Opened once: the descriptor gives both the identity and the listing
    // (a tree of 10,000 folders makes this the start's main cost).
    int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    FolderIdentity identity;
    struct stat st {};
    if (fd >= 0 && ::fstat(fd, &st) == 0) {
      identity = {st.st_dev, st.st_ino};
    } else if (!folderIdentity(folder, identity)) {  // a folder that cannot be read is still a folder
      if (fd >= 0) ::close(fd);
      continue;
    }
    if (!onFolder(folder, identity) || fd < 0) {
      if (fd >= 0) ::close(fd);
      continue;
    }
    DIR* dir = ::fdopendir(fd);
    if (!dir) {
      ::close(fd);
      continue;
    }
    while (const dirent* entry = ::readdir(dir)) {
      const std::string name = entry->d_name;
      if (name == "." || name == "..") continue;
      std::string path = childPath(folder, name);
      const bool isFolder = isFolderEntry(path, *entry);
      if (onEntry) onEntry(path, isFolder);
      if (isFolder) pending.push_back(std::move(path));
    }
    ::closedir(dir);
  }
}

}  // namespace tq::detail
