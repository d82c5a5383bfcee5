#pragma once
// Files kept by a cloud storage service that may not be present locally yet:
// a seam. The service is asked whether a file is one of its items, whether it
// has been downloaded, to start downloading it, and how large its copy is by
// now. Linux has no such service of its own, so the real provider says "not
// a cloud file" for every path; a host that syncs files with one installs a
// provider of its own, and tests install one that plays a download out.

#include <memory>
#include <optional>
#include <string>

namespace tq {

/// Why a question to the service failed, in the error form callers expect.
struct CloudFileError {
  std::string domain;
  long code = 0;
  std::string description;
};

class CloudFiles {
 public:
  enum class DownloadingStatus { NotDownloaded, Downloaded, Current };

  virtual ~CloudFiles() = default;
  /// Whether the file is one of the service's items; nothing (and the
  /// error) when that cannot be told.
  virtual std::optional<bool> isUbiquitousItem(const std::string& path, CloudFileError* error) const = 0;
  virtual std::optional<DownloadingStatus> downloadingStatus(const std::string& path, CloudFileError* error) const = 0;
  /// Asks the service to bring the file down; false (and the error) when it
  /// refuses.
  virtual bool startDownloading(const std::string& path, CloudFileError* error) const = 0;
  /// The size of the file as far as it has arrived; nothing when the
  /// service knows no item at the path.
  virtual std::optional<long long> downloadedSize(const std::string& path) const = 0;

  static std::shared_ptr<const CloudFiles> current();
  /// Installs a provider (nullptr: the real one again); answers the previous one.
  static std::shared_ptr<const CloudFiles> setCurrent(std::shared_ptr<const CloudFiles> provider);
  static std::shared_ptr<const CloudFiles> system();
};

/// Installs a provider for the lifetime of the scope.
class ScopedCloudFiles {
 public:
  explicit ScopedCloudFiles(std::shared_ptr<const CloudFiles> provider)
      : previous_(CloudFiles::setCurrent(std::move(provider))) {}
  ~ScopedCloudFiles() { CloudFiles::setCurrent(previous_); }
  ScopedCloudFiles(const ScopedCloudFiles&) = delete;
  ScopedCloudFiles& operator=(const ScopedCloudFiles&) = delete;

 private:
  std::shared_ptr<const CloudFiles> previous_;
};

}  // namespace tq
