#pragma once
// A storm of file changes for the tests and the benchmark of folder
// watchers: files created, renamed and deleted in turn across a list of
// folders. Include it from the repository root as "tests/support/FileStorm.h".

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace tq::testing {

/// Creates folders[i % n]/f<i>, renames it to g<i> and deletes it, for i in
/// [first, last); answers every path changed (both names of each file).
inline std::vector<std::string> fileStorm(const std::vector<std::string>& folders, int first, int last) {
  std::vector<std::string> changed;
  for (int i = first; i < last; ++i) {
    const std::string& folder = folders[std::size_t(i) % folders.size()];
    const std::string made = folder + "/f" + std::to_string(i);
    const std::string renamed = folder + "/g" + std::to_string(i);
    int fd = ::open(made.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
    if (fd >= 0) ::close(fd);
    ::rename(made.c_str(), renamed.c_str());
    ::unlink(renamed.c_str());
    changed.push_back(made);
    changed.push_back(renamed);
  }
  return changed;
}

}  // namespace tq::testing
