#pragma once
// The changes of the files in a folder, as the kernel reports them: the raw
// source beneath the library's change streams, as a seam. The real source is
// inotify (one instance and one reading thread for the whole process, one
// watch per folder however many watch it); `ManualFileChangeSource` lets a
// test hand changes to the watchers itself, on its own thread, in an order
// and at times of its choosing.
//
// A watch covers one folder, not its sub-folders: a sub-folder's own entry is
// reported (created, deleted, renamed), its contents are not.

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tq {

struct FileChange {
  enum class Kind {
    Created,
    /// The contents were written (written to, or closed after writing).
    Modified,
    /// Permissions, owner, times or links changed.
    AttributesChanged,
    /// Renamed into the folder (what an atomic replacement's rename makes).
    MovedTo,
    /// Renamed out of the folder, or away from this name.
    MovedFrom,
    Deleted,
    /// The kernel's queue overflowed: changes were lost. No name.
    Overflow,
    /// The watched folder itself was deleted, moved or unmounted: the watch
    /// no longer covers the folder at its path. No name.
    FolderGone,
    /// The kernel ended the watch (what it watched was deleted or
    /// unmounted): nothing more comes from it. No name.
    WatchEnded,
  };

  Kind kind = Kind::Modified;
  /// The file's name in the folder.
  std::string name;
  bool isFolder = false;

  bool operator==(const FileChange&) const = default;
};

class FileChangeSource {
 public:
  using Callback = std::function<void(const std::vector<FileChange>& changes)>;

  /// A running watch; destroying it ends the watch, and no callback of it
  /// runs after the destructor returns (a callback may destroy its own watch).
  /// Keep the source alive as long as its watches.
  class Watch {
   public:
    virtual ~Watch() = default;
  };

  virtual ~FileChangeSource() = default;

  /// Starts handing the changes of the files in `folder` (a path as the
  /// kernel is given it) to `callback`, in the order they happened, on a
  /// thread of the source's own. Nothing, with the reason in `error`, when
  /// the folder cannot be watched (missing, not a folder, or the user's limit
  /// of inotify instances or watches reached).
  virtual std::unique_ptr<Watch> watchFolder(const std::string& folder, Callback callback,
                                             std::string* error = nullptr) const = 0;

  /// Starts handing the changes of one file (the file the path names when
  /// the watch starts; it is followed through renames, as an open descriptor
  /// is: "/proc/self/fd/N" watches the descriptor's file) to `callback`, as
  /// changes without a name: `Modified` (written), `AttributesChanged`
  /// (including a link removed: the watcher asks the file how many are left),
  /// `MovedFrom` (renamed) and `Deleted` (its last link gone and closed),
  /// plus `Overflow`. Nothing, with the reason, when it cannot be watched.
  virtual std::unique_ptr<Watch> watchFile(const std::string& path, Callback callback,
                                           std::string* error = nullptr) const = 0;

  /// The source the library uses: inotify unless one was installed.
  static std::shared_ptr<const FileChangeSource> current();
  /// Installs a source (nullptr: the real one again); answers the previous one.
  static std::shared_ptr<const FileChangeSource> setCurrent(std::shared_ptr<const FileChangeSource> source);
  static std::shared_ptr<const FileChangeSource> system();
};

/// A source whose changes a test hands over with `inject`, on the test's own
/// thread: a watcher has its callback run before `inject` returns.
class ManualFileChangeSource : public FileChangeSource {
 public:
  std::unique_ptr<Watch> watchFolder(const std::string& folder, Callback callback,
                                     std::string* error = nullptr) const override;
  /// Files are watched under their path as given, like folders.
  std::unique_ptr<Watch> watchFile(const std::string& path, Callback callback,
                                   std::string* error = nullptr) const override;

  /// Runs the callbacks of the watches of `folder` with the changes; answers
  /// how many watches got them.
  std::size_t inject(const std::string& folder, const std::vector<FileChange>& changes) const;
  /// The running watches of a folder.
  std::size_t watchCount(const std::string& folder) const;
  /// While set, every watch fails with this reason (as a kernel limit would).
  void setFailure(std::optional<std::string> reason);

  struct Subscription;  // one watch's callback (defined with the source)

 private:
  mutable std::mutex mutex_;
  mutable std::multimap<std::string, std::shared_ptr<Subscription>> watches_;
  std::optional<std::string> failure_;
};

/// Installs a source for the lifetime of the scope.
class ScopedFileChangeSource {
 public:
  explicit ScopedFileChangeSource(std::shared_ptr<const FileChangeSource> source)
      : previous_(FileChangeSource::setCurrent(std::move(source))) {}
  ~ScopedFileChangeSource() { FileChangeSource::setCurrent(previous_); }
  ScopedFileChangeSource(const ScopedFileChangeSource&) = delete;
  ScopedFileChangeSource& operator=(const ScopedFileChangeSource&) = delete;

 private:
  std::shared_ptr<const FileChangeSource> previous_;
};

}  // namespace tq
