#include "tq/platform/system/FileSystem.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "tq/platform/system/OwnWrites.h"
#include "tq/platform/system/internal/AtomicWriteNames.h"
#include "tq/platform/system/internal/CurrentService.h"

namespace tq {

namespace {

bool fail(std::error_code* error, int code) {
  if (error) *error = std::error_code(code, std::generic_category());
  return false;
}

// The empty answer of the operations that answer a value.
std::nullopt_t failed(std::error_code* error, int code) {
  fail(error, code);
  return std::nullopt;
}

bool succeed(std::error_code* error) {
  if (error) error->clear();
  return true;
}

// The process's umask, read once: reading it means setting it, which would
// race with other threads creating files.
mode_t processUmask() {
  static const mode_t mask = [] {
    mode_t current = ::umask(0);
    ::umask(current);
    return current;
  }();
  return mask;
}

bool writeAll(int fd, std::string_view bytes) {
  std::size_t written = 0;
  while (written < bytes.size()) {
    ssize_t n = ::write(fd, bytes.data() + written, bytes.size() - written);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    written += std::size_t(n);
  }
  return true;
}

detail::CurrentService<FileSystem>& installed() {
  static detail::CurrentService<FileSystem> state(std::make_shared<FileSystem>());
  return state;
}

}  // namespace

std::optional<std::string> FileSystem::readFile(const std::string& path, std::error_code* error) const {
  int fd = ::open(resolve(path).c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return failed(error, errno);
  std::string contents;
  char buffer[65536];
  for (;;) {
    ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      int code = errno;
      ::close(fd);
      return failed(error, code);
    }
    if (n == 0) break;
    contents.append(buffer, std::size_t(n));
  }
  ::close(fd);
  succeed(error);
  return contents;
}

bool FileSystem::writeFileAtomically(const std::string& path, std::string_view bytes, std::error_code* error) const {
  std::string target = resolve(path);
  std::string temporary = target + detail::kAtomicWriteTemporarySuffix;
  int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
  if (fd < 0) return fail(error, errno);
  ::fchmod(fd, 0666 & ~processUmask());
  bool ok = writeAll(fd, bytes) && ::fsync(fd) == 0;
  int code = ok ? 0 : errno;
  // A second descriptor outlives the close, so that the new file can be
  // remembered as this process's own once it is in place (OwnWrites), which
  // change streams need only while someone watches.
  int kept = ok && OwnWrites::anyInterest() ? ::fcntl(fd, F_DUPFD_CLOEXEC, 0) : -1;
  if (::close(fd) != 0 && ok) ok = false, code = errno;
  if (ok && ::rename(temporary.c_str(), target.c_str()) != 0) ok = false, code = errno;
  if (!ok) {
    if (kept >= 0) ::close(kept);
    ::unlink(temporary.c_str());
    return fail(error, code ? code : EIO);
  }
  OwnWrites::recordReplacement(target, kept);
  return succeed(error);
}

std::optional<std::vector<std::string>> FileSystem::contentsOfDirectory(const std::string& path,
                                                                        std::error_code* error) const {
  DIR* folder = ::opendir(resolve(path).c_str());
  if (!folder) return failed(error, errno);
  std::vector<std::string> names;
  errno = 0;
  while (const dirent* entry = ::readdir(folder)) {
    std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
  }
  int code = errno;
  ::closedir(folder);
  if (code != 0) return failed(error, code);
  std::sort(names.begin(), names.end());
  succeed(error);
  return names;
}

FileSystem::Status FileSystem::status(const std::string& path) const {
  Status status;
  struct stat info {};
  if (::stat(resolve(path).c_str(), &info) != 0) return status;
  status.exists = true;
  status.isDirectory = S_ISDIR(info.st_mode);
  status.isRegularFile = S_ISREG(info.st_mode);
  status.size = std::uint64_t(info.st_size);
  status.device = std::uint64_t(info.st_dev);
  status.inode = std::uint64_t(info.st_ino);
  status.modified = double(info.st_mtim.tv_sec) + double(info.st_mtim.tv_nsec) / 1e9;
  return status;
}

bool FileSystem::createDirectories(const std::string& path, std::error_code* error) const {
  std::error_code ec;
  std::filesystem::create_directories(resolve(path), ec);
  if (std::filesystem::is_directory(resolve(path))) return succeed(error);
  return fail(error, ec ? ec.value() : ENOTDIR);
}

bool FileSystem::removeItem(const std::string& path, std::error_code* error) const {
  if (::remove(resolve(path).c_str()) == 0 || errno == ENOENT) return succeed(error);
  return fail(error, errno);
}

bool FileSystem::moveItem(const std::string& from, const std::string& to, std::error_code* error) const {
  if (::rename(resolve(from).c_str(), resolve(to).c_str()) == 0) return succeed(error);
  return fail(error, errno);
}

std::shared_ptr<const FileSystem> FileSystem::current() { return installed().get(); }
std::shared_ptr<const FileSystem> FileSystem::setCurrent(std::shared_ptr<const FileSystem> fileSystem) {
  return installed().set(std::move(fileSystem));
}
std::shared_ptr<const FileSystem> FileSystem::system() { return installed().real(); }

RootedFileSystem::RootedFileSystem(std::string root) : root_(std::move(root)) {
  while (root_.size() > 1 && root_.back() == '/') root_.pop_back();
}

std::string RootedFileSystem::resolve(const std::string& path) const {
  if (path.empty() || path.front() != '/') return path;
  return root_ + path;
}

}  // namespace tq
