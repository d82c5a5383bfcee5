#include "tq/platform/system/FileChangeSource.h"

#include "tq/platform/system/internal/ChangeSubscription.h"
#include "tq/platform/system/internal/CurrentService.h"
#include "tq/platform/system/internal/InotifySource.h"
#include "tq/platform/system/internal/ManualWatch.h"

namespace tq {

namespace {

detail::CurrentService<FileChangeSource>& installed() {
  static detail::CurrentService<FileChangeSource> state(detail::makeInotifySource());
  return state;
}

}  // namespace

std::shared_ptr<const FileChangeSource> FileChangeSource::current() { return installed().get(); }
std::shared_ptr<const FileChangeSource> FileChangeSource::setCurrent(std::shared_ptr<const FileChangeSource> source) {
  return installed().set(std::move(source));
}
std::shared_ptr<const FileChangeSource> FileChangeSource::system() { return installed().real(); }

struct ManualFileChangeSource::Subscription : detail::ChangeSubscription {
  using ChangeSubscription::ChangeSubscription;
};

using ManualChangeWatch = detail::ManualWatch<FileChangeSource::Watch, ManualFileChangeSource::Subscription>;

std::unique_ptr<FileChangeSource::Watch> ManualFileChangeSource::watchFolder(const std::string& folder,
                                                                             Callback callback,
                                                                             std::string* error) const {
  std::lock_guard lock(mutex_);
  if (failure_) {
    if (error) *error = *failure_;
    return nullptr;
  }
  auto entry = watches_.emplace(folder, std::make_shared<Subscription>(std::move(callback)));
  return std::make_unique<ManualChangeWatch>(mutex_, watches_, entry);
}

std::unique_ptr<FileChangeSource::Watch> ManualFileChangeSource::watchFile(const std::string& path, Callback callback,
                                                                           std::string* error) const {
  return watchFolder(path, std::move(callback), error);
}

std::size_t ManualFileChangeSource::inject(const std::string& folder, const std::vector<FileChange>& changes) const {
  std::vector<std::shared_ptr<Subscription>> subscribers;
  {
    std::lock_guard lock(mutex_);
    auto [first, last] = watches_.equal_range(folder);
    for (auto entry = first; entry != last; ++entry) subscribers.push_back(entry->second);
  }
  for (const auto& subscriber : subscribers) subscriber->deliver(changes);
  return subscribers.size();
}

std::size_t ManualFileChangeSource::watchCount(const std::string& folder) const {
  std::lock_guard lock(mutex_);
  return watches_.count(folder);
}

void ManualFileChangeSource::setFailure(std::optional<std::string> reason) {
  std::lock_guard lock(mutex_);
  failure_ = std::move(reason);
}

}  // namespace tq
