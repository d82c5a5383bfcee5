#include "tq/platform/system/LineFollower.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace tq {

LineFollower::LineFollower(std::string path, Replacement replacement)
    : path_(std::move(path)), replacement_(replacement) {}

LineFollower::~LineFollower() { close(); }

bool LineFollower::open() {
  if (fd_ < 0) reopen();
  return fd_ >= 0;
}

void LineFollower::close() {
  unfinished_.clear();
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  device_ = 0;
  inode_ = 0;
}

void LineFollower::reopen() {
  close();
  fd_ = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat st {};
  if (fd_ >= 0 && ::fstat(fd_, &st) == 0) {
    device_ = st.st_dev;
    inode_ = st.st_ino;
  }
}

// A file at the path that is not the open one. A path that names nothing
// for the moment (a writer between removing its old file and creating the
// new one) replaces nothing: the open file is kept until a new one appears.
bool LineFollower::replacedAtPath() const {
  struct stat byPath {};
  if (::stat(path_.c_str(), &byPath) != 0) return false;
  return byPath.st_ino != inode_ || byPath.st_dev != device_;
}

LineFollower::Lines LineFollower::readAppended() {
  Lines lines;
  if (fd_ < 0) {
    if (!open()) return lines;
  } else if (replacement_ == Replacement::Follow && replacedAtPath()) {
    reopen();
    lines.restarted = true;
    if (fd_ < 0) return lines;
  }
  // Truncated below what was read: the writer started the same file over.
  struct stat st {};
  const off_t position = ::lseek(fd_, 0, SEEK_CUR);
  if (position > 0 && ::fstat(fd_, &st) == 0 && st.st_size < position) {
    ::lseek(fd_, 0, SEEK_SET);
    unfinished_.clear();
    lines.restarted = true;
  }

  std::string text = std::move(unfinished_);
  unfinished_.clear();
  char buffer[65536];
  for (;;) {
    const ssize_t n = ::read(fd_, buffer, sizeof buffer);
    if (n > 0) {
      text.append(buffer, std::size_t(n));
    } else if (n < 0 && errno == EINTR) {
      continue;
    } else {
      break;
    }
  }
  const std::size_t lastBreak = text.rfind('\n');
  const std::size_t complete = lastBreak == std::string::npos ? 0 : lastBreak + 1;
  unfinished_.assign(text, complete, std::string::npos);
  text.resize(complete);
  lines.text = std::move(text);
  return lines;
}

std::string LineFollower::takeUnfinishedLine() { return std::exchange(unfinished_, std::string()); }

void LineFollower::skipToEnd() {
  unfinished_.clear();
  if (fd_ >= 0) ::lseek(fd_, 0, SEEK_END);
}

}  // namespace tq
