#include "tq/platform/system/CloudFiles.h"

#include "tq/platform/system/internal/CurrentService.h"

namespace tq {

namespace {

// No cloud service: every file is a local one.
class LocalFilesOnly : public CloudFiles {
 public:
  std::optional<bool> isUbiquitousItem(const std::string&, CloudFileError*) const override { return false; }
  std::optional<DownloadingStatus> downloadingStatus(const std::string&, CloudFileError*) const override {
    return DownloadingStatus::Current;
  }
  bool startDownloading(const std::string& path, CloudFileError* error) const override {
    if (error) *error = {"TQCloudFiles", 1, "'" + path + "' is not kept by a cloud service"};
    return false;
  }
  std::optional<long long> downloadedSize(const std::string&) const override { return std::nullopt; }
};

detail::CurrentService<CloudFiles>& installed() {
  static detail::CurrentService<CloudFiles> state(std::make_shared<LocalFilesOnly>());
  return state;
}

}  // namespace

std::shared_ptr<const CloudFiles> CloudFiles::current() { return installed().get(); }
std::shared_ptr<const CloudFiles> CloudFiles::setCurrent(std::shared_ptr<const CloudFiles> provider) {
  return installed().set(std::move(provider));
}
std::shared_ptr<const CloudFiles> CloudFiles::system() { return installed().real(); }

}  // namespace tq
