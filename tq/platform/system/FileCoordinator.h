#pragma once
// Coordinated access to a file that several processes read and replace (a
// settings file shared by an add-on, its application and its tools).
//
// The lock is an open-file-description lock (`F_OFD_SETLKW`) on a lock file
// beside the data file, ".<name>.lock" in the same folder: created when
// missing, never deleted. A lock on the data file itself would be lost each
// time a writer renames a new file over it. Reading takes the lock shared;
// writing and read-then-write take it exclusive. Because such a lock belongs
// to the open file description, not to the process, two threads of one
// process exclude each other as two processes do, and a process that dies
// (even by SIGKILL) releases its locks with its descriptors.
//
// A coordination nested in another on the same thread for the same lock file
// (reading the file while already holding the read-then-write lock) runs its
// accessor directly instead of waiting for itself. A nested exclusive request
// under a shared hold on the same thread is refused (false, with the reason):
// upgrading in place would deadlock against any other process upgrading too.
//
// Accessors write through `FileSystem::current()->writeFileAtomically`, so a
// reader never sees half a file. An exception thrown by an accessor passes
// through, after the lock is released.

#include <functional>
#include <string>

namespace tq {

class FileCoordinator {
 public:
  using Accessor = std::function<void(const std::string& path)>;  // the symlink-resolved path of the data file

  /// Each runs the accessor while holding the lock and answers true; when the
  /// lock cannot be taken (the folder is missing or unwritable, ...) the
  /// accessor never runs, the answer is false and `error` says why.
  static bool coordinateReading(const std::string& path, const Accessor& accessor, std::string* error = nullptr);
  static bool coordinateWriting(const std::string& path, const Accessor& accessor, std::string* error = nullptr);
  static bool coordinateReadingThenWriting(const std::string& path, const Accessor& accessor,
                                           std::string* error = nullptr);

  /// The path the accessors are given: `path` with every symbolic link
  /// resolved (of its folders and of the file itself, which need not exist),
  /// named as the library names paths (through the installed FileSystem).
  /// A path whose folder does not exist is answered as it stands.
  static std::string resolvedPath(const std::string& path);
  /// The lock file that coordinates access to the data file at `path`
  /// (as the library names paths): ".<name>.lock" beside the resolved file.
  static std::string lockFilePath(const std::string& path);
};

}  // namespace tq
