#include "tq/platform/system/FileCoordinator.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "tq/platform/system/FileSystem.h"
#include "tq/platform/system/internal/SymbolicLinks.h"

namespace tq {

namespace {

enum class LockKind { Shared, Exclusive };

// The lock files this thread holds, innermost last. A coordination nested in
// another for the same lock file must not wait for the thread's own lock:
// OFD locks of two descriptions of one file conflict even within a thread.
struct Hold {
  dev_t device;
  ino_t inode;
  LockKind kind;
};
thread_local std::vector<Hold> heldLocks;

bool fail(std::string* error, std::string why) {
  if (error) *error = std::move(why);
  return false;
}

std::string lockFileName(const std::string& name) { return "." + name + ".lock"; }

// The lock file, created when missing. Reading needs only a shared lock,
// which a descriptor opened for reading can take: a read-only lock file left
// by another user still coordinates readers.
int openLockFile(const std::string& kernelPath, LockKind kind, int* errorNumber) {
  for (;;) {
    int fd = ::open(kernelPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd >= 0) return fd;
    if (errno == EINTR) continue;
    if (kind == LockKind::Shared && (errno == EACCES || errno == EROFS)) break;
    *errorNumber = errno;
    return -1;
  }
  for (;;) {
    int fd = ::open(kernelPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd >= 0) return fd;
    if (errno == EINTR) continue;
    *errorNumber = errno;
    return -1;
  }
}

bool lockWholeFile(int fd, LockKind kind, int* errorNumber) {
  struct flock request {};
  request.l_type = kind == LockKind::Exclusive ? F_WRLCK : F_RDLCK;
  request.l_whence = SEEK_SET;  // start 0, length 0: the whole file, however long
  while (::fcntl(fd, F_OFD_SETLKW, &request) != 0) {
    if (errno == EINTR) continue;
    *errorNumber = errno;
    return false;
  }
  return true;
}

// Releases the lock (closing the description releases it) and forgets the
// hold, also when the accessor throws.
class HeldLock {
 public:
  HeldLock(int fd, const struct stat& info, LockKind kind) : fd_(fd) {
    heldLocks.push_back({info.st_dev, info.st_ino, kind});
  }
  ~HeldLock() {
    heldLocks.pop_back();
    ::close(fd_);
  }
  HeldLock(const HeldLock&) = delete;
  HeldLock& operator=(const HeldLock&) = delete;

 private:
  int fd_;
};

const Hold* holdOf(const struct stat& info) {
  auto found = std::find_if(heldLocks.rbegin(), heldLocks.rend(), [&](const Hold& hold) {
    return hold.device == info.st_dev && hold.inode == info.st_ino;
  });
  return found == heldLocks.rend() ? nullptr : &*found;
}

bool coordinate(const std::string& path, const FileCoordinator::Accessor& accessor, LockKind kind,
                std::string* error) {
  auto fileSystem = FileSystem::current();
  int errorNumber = 0;
  auto resolved = detail::resolveKernelPath(fileSystem->resolve(path), &errorNumber);
  if (!resolved)
    return fail(error, "cannot coordinate access to '" + path + "': its folder cannot be found: " +
                           std::strerror(errorNumber));
  const std::string accessorPath = detail::libraryPathOf(*fileSystem, path, *resolved);
  const detail::PathParts parts = detail::splitPath(*resolved);
  const std::string lockFile = detail::joinPath(parts.folder, lockFileName(parts.name));

  int fd = openLockFile(lockFile, kind, &errorNumber);
  if (fd < 0)
    return fail(error, "cannot open the lock file '" + FileCoordinator::lockFilePath(path) +
                           "': " + std::strerror(errorNumber));
  struct stat info {};
  if (::fstat(fd, &info) != 0) {
    errorNumber = errno;
    ::close(fd);
    return fail(error, "cannot read the lock file '" + lockFile + "': " + std::strerror(errorNumber));
  }

  if (const Hold* hold = holdOf(info)) {
    ::close(fd);  // an OFD lock lives on its own description: closing this one leaves it held
    if (kind == LockKind::Exclusive && hold->kind == LockKind::Shared)
      return fail(error, "cannot write '" + path +
                             "' inside a coordinated read of it on the same thread: the shared lock "
                             "cannot be made exclusive without risking a deadlock");
    accessor(accessorPath);
    return true;
  }

  if (!lockWholeFile(fd, kind, &errorNumber)) {
    ::close(fd);
    return fail(error, "cannot lock '" + lockFile + "': " + std::strerror(errorNumber));
  }
  HeldLock held(fd, info, kind);
  accessor(accessorPath);
  return true;
}

}  // namespace

bool FileCoordinator::coordinateReading(const std::string& path, const Accessor& accessor, std::string* error) {
  return coordinate(path, accessor, LockKind::Shared, error);
}

bool FileCoordinator::coordinateWriting(const std::string& path, const Accessor& accessor, std::string* error) {
  return coordinate(path, accessor, LockKind::Exclusive, error);
}

bool FileCoordinator::coordinateReadingThenWriting(const std::string& path, const Accessor& accessor,
                                                   std::string* error) {
  return coordinate(path, accessor, LockKind::Exclusive, error);
}

std::string FileCoordinator::resolvedPath(const std::string& path) {
  auto fileSystem = FileSystem::current();
  auto resolved = detail::resolveKernelPath(fileSystem->resolve(path));
  return resolved ? detail::libraryPathOf(*fileSystem, path, *resolved) : path;
}

std::string FileCoordinator::lockFilePath(const std::string& path) {
  const detail::PathParts parts = detail::splitPath(resolvedPath(path));
  return detail::joinPath(parts.folder, lockFileName(parts.name));
}

}  // namespace tq
