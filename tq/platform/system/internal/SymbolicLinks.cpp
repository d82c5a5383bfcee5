#include "tq/platform/system/internal/SymbolicLinks.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "tq/platform/system/FileSystem.h"

namespace tq::detail {

namespace {

// The kernel's own limit on links followed in one lookup.
constexpr int kMaximumLinkHops = 40;

std::optional<std::string> realFolder(const std::string& folder, int* errorNumber) {
  char* real = ::realpath(folder.c_str(), nullptr);
  if (!real) {
    if (errorNumber) *errorNumber = errno;
    return std::nullopt;
  }
  std::string answer = real;
  std::free(real);
  return answer;
}

std::optional<std::string> readLink(const std::string& path) {
  std::string target(PATH_MAX, '\0');
  ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
  if (length < 0) return std::nullopt;
  target.resize(std::size_t(length));
  return target;
}

}  // namespace

PathParts splitPath(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  auto slash = path.rfind('/');
  if (slash == std::string::npos) return {".", path};
  if (slash == 0) return {"/", path.substr(1)};
  return {path.substr(0, slash), path.substr(slash + 1)};
}

std::string joinPath(const std::string& folder, const std::string& name) {
  return folder == "/" ? "/" + name : folder + "/" + name;
}

std::optional<std::string> resolveKernelPath(const std::string& kernelPath, int* errorNumber) {
  std::string current = kernelPath;
  for (int hop = 0; hop <= kMaximumLinkHops; ++hop) {
    PathParts parts = splitPath(current);
    auto folder = realFolder(parts.folder, errorNumber);
    if (!folder) return std::nullopt;
    if (parts.name.empty() || parts.name == "." || parts.name == "..") return realFolder(current, errorNumber);
    std::string candidate = joinPath(*folder, parts.name);
    struct stat info {};
    if (::lstat(candidate.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return candidate;
    // A link, perhaps dangling: follow it by hand, since realpath() refuses
    // a path whose file does not exist yet.
    auto target = readLink(candidate);
    if (!target) return candidate;
    current = target->front() == '/' ? *target : joinPath(*folder, *target);
  }
  if (errorNumber) *errorNumber = ELOOP;
  return std::nullopt;
}

std::string libraryPathOf(const FileSystem& fileSystem, const std::string& libraryPath,
                          const std::string& resolvedKernelPath) {
  const std::string kernelPath = fileSystem.resolve(libraryPath);
  if (kernelPath == libraryPath) return resolvedKernelPath;
  if (kernelPath.size() <= libraryPath.size() ||
      kernelPath.compare(kernelPath.size() - libraryPath.size(), libraryPath.size(), libraryPath) != 0)
    return libraryPath;
  // The file system prefixes a root; the resolved path is below the root's
  // own resolved form, which may differ from the root as written.
  std::string root = kernelPath.substr(0, kernelPath.size() - libraryPath.size());
  auto realRoot = realFolder(root, nullptr);
  for (const std::string& prefix : {realRoot.value_or(root), root}) {
    if (resolvedKernelPath.size() > prefix.size() && resolvedKernelPath.compare(0, prefix.size(), prefix) == 0 &&
        resolvedKernelPath[prefix.size()] == '/')
      return resolvedKernelPath.substr(prefix.size());
  }
  return libraryPath;
}

}  // namespace tq::detail
