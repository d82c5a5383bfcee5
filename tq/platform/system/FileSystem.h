#pragma once
// The file system as a seam. The library reads and writes the files of the
// outside world (the system's release file, the user's folders, settings and
// logs) through `FileSystem::current()`, so that a test or host can put the
// whole tree under a folder of its own (`RootedFileSystem`) or fail chosen
// operations by overriding them. Paths are absolute paths as the library
// names them; `resolve` turns one into the path the kernel is given, for code
// that must hand a path to an interface of its own (open for appending,
// inotify, locks).

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace tq {

class FileSystem {
 public:
  struct Status {
    bool exists = false;
    bool isDirectory = false;
    bool isRegularFile = false;
    std::uint64_t size = 0;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    /// Seconds since 1970 of the last change of the contents.
    double modified = 0;
  };

  virtual ~FileSystem() = default;

  /// The path the kernel is given for a path the library names.
  virtual std::string resolve(const std::string& path) const { return path; }

  /// The whole contents of a file, or nothing (with the reason in `error`).
  virtual std::optional<std::string> readFile(const std::string& path, std::error_code* error = nullptr) const;
  /// Replaces a file whole or not at all: a temporary file in the same
  /// folder, written, flushed to disk, then renamed over the path. The new
  /// file gets the permissions an ordinary new file would get.
  virtual bool writeFileAtomically(const std::string& path, std::string_view bytes,
                                   std::error_code* error = nullptr) const;
  /// The names in a folder (without "." and ".."), sorted; nothing when the
  /// folder cannot be read.
  virtual std::optional<std::vector<std::string>> contentsOfDirectory(const std::string& path,
                                                                      std::error_code* error = nullptr) const;
  /// What the path names, following symbolic links.
  virtual Status status(const std::string& path) const;
  /// Creates a folder and any missing parents; true when the folder exists
  /// afterwards.
  virtual bool createDirectories(const std::string& path, std::error_code* error = nullptr) const;
  /// Removes a file or an empty folder; true when nothing is left at the path.
  virtual bool removeItem(const std::string& path, std::error_code* error = nullptr) const;
  /// Renames within one file system, replacing what stands at the new path.
  virtual bool moveItem(const std::string& from, const std::string& to, std::error_code* error = nullptr) const;

  /// The file system the library uses: the real one unless one was installed.
  static std::shared_ptr<const FileSystem> current();
  /// Installs a file system (nullptr: the real one again); answers the
  /// previous one.
  static std::shared_ptr<const FileSystem> setCurrent(std::shared_ptr<const FileSystem> fileSystem);
  static std::shared_ptr<const FileSystem> system();
};

/// Every absolute path is taken below a root folder: "/etc/os-release" is
/// "<root>/etc/os-release". Relative paths are taken as they are.
class RootedFileSystem : public FileSystem {
 public:
  explicit RootedFileSystem(std::string root);
  std::string resolve(const std::string& path) const override;
  const std::string& root() const { return root_; }

 private:
  std::string root_;
};

/// Installs a file system for the lifetime of the scope.
class ScopedFileSystem {
 public:
  explicit ScopedFileSystem(std::shared_ptr<const FileSystem> fileSystem)
      : previous_(FileSystem::setCurrent(std::move(fileSystem))) {}
  ~ScopedFileSystem() { FileSystem::setCurrent(previous_); }
  ScopedFileSystem(const ScopedFileSystem&) = delete;
  ScopedFileSystem& operator=(const ScopedFileSystem&) = delete;

 private:
  std::shared_ptr<const FileSystem> previous_;
};

}  // namespace tq
