#pragma once
// Walking a folder tree as a recursive watcher needs it: every folder with
// its identity (so that a folder replaced under the same path is told
// apart), and optionally every entry (to report what a new folder already
// holds). Symbolic links are not followed: a link to a folder is an entry,
// not a sub-tree (following them could loop and would watch other trees).

#include <sys/types.h>

#include <functional>
#include <string>

namespace tq::detail {

struct FolderIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  bool operator==(const FolderIdentity&) const = default;
};

/// The identity of the folder at the path; false when it is not a folder.
bool folderIdentity(const std::string& path, FolderIdentity& identity);

/// "folder/name", without doubling the slash of "/".
std::string childPath(const std::string& folder, const std::string& name);

/// Calls `onFolder` for the folder at `top` and each folder below it
/// (parents before their contents), and `onEntry` (when given) for every
/// entry below `top` with whether it is a folder. Folders that cannot be
/// read are still passed to `onFolder`; their contents are not. `onFolder`
/// answers false to skip the folder's contents.
void walkTree(const std::string& top, const std::function<bool(const std::string&, const FolderIdentity&)>& onFolder,
              const std::function<void(const std::string&, bool isFolder)>& onEntry = nullptr);

}  // namespace tq::detail
