#include "tq/platform/bundle/internal/ProcessExecutable.h"

#include <unistd.h>

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

}  // namespace tq::detail
