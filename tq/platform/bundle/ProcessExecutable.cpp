#include "tq/platform/bundle/internal/ProcessExecutable.h"

#include <unistd.h>

#include <filesystem>
#include <vector>

namespace tq::detail {

std::string processExecutablePath() {
  // Read from the kernel rather than through the file-system seam: it is a
  // fact of this process, not a file of the world a test may put elsewhere.
  std::vector<char> buffer(4096);
  while (true) {
    ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
    if (length < 0) return {};
    if (std::size_t(length) < buffer.size()) return std::string(buffer.data(), std::size_t(length));
    buffer.resize(buffer.size() * 2);
  }
}

std::string mainBundlePathForExecutable(const std::string& executable) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::path(executable).parent_path();
  for (fs::path at = folder; at.has_relative_path(); at = at.parent_path()) {
    if (at.filename() == "Contents") return at.parent_path().string();
  }
  return folder.string();
}

}  // namespace tq::detail
