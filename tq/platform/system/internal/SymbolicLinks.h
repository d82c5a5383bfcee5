#pragma once
// Resolving the symbolic links of a path whose last component need not exist
// (a settings file not written yet), for code that keys files by where they
// really are: the file coordinator's lock files and its accessors' paths.

#include <optional>
#include <string>

namespace tq {
class FileSystem;
}

namespace tq::detail {

/// The folder and name of a path: "/a/b" → "/a", "b"; "b" → ".", "b";
/// "/b" → "/", "b". Trailing slashes are dropped first.
struct PathParts {
  std::string folder;
  std::string name;
};
PathParts splitPath(std::string path);
/// folder + "/" + name, without a doubled slash after "/".
std::string joinPath(const std::string& folder, const std::string& name);

/// The kernel path with every link of its folders and of the file itself
/// resolved. Nothing (and `errorNumber`) when its folder does not exist or
/// the links loop.
std::optional<std::string> resolveKernelPath(const std::string& kernelPath, int* errorNumber = nullptr);

/// A resolved kernel path named as the library names paths through
/// `fileSystem`, given the library path it came from. A file system that
/// maps paths to themselves names it as it stands; one that puts paths below
/// a root (RootedFileSystem) gets the root taken off again. A path outside
/// that root cannot be named: the library path is answered unchanged.
std::string libraryPathOf(const FileSystem& fileSystem, const std::string& libraryPath,
                          const std::string& resolvedKernelPath);

}  // namespace tq::detail
