#include "tq/system/UbiquityFiles.h"

#include "tq/platform/dispatch/NotificationCenter.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/system/Clocks.h"
#include "tq/platform/system/CloudFiles.h"
#include "tq/system/internal/FileURL.h"

namespace tq::Ubiquity {

namespace {

Ref<Error> errorOf(const CloudFileError& error) {
  return Error::withDescription(error.domain, error.code, error.description);
}

void post(const char* name, const std::string& url) {
  NotificationCenter::defaultCenter()->postNotificationName(str(name), str(url));
}

// On the queue's thread: waits for the first bytes, at most the time-out.
void pollUntilPresent(const std::string& url, const std::string& path, const Completion& completion) {
  auto clock = MonotonicClock::current();
  auto provider = CloudFiles::current();
  const auto deadline = clock->now() + std::chrono::duration_cast<MonotonicClock::Duration>(
                                           std::chrono::duration<double>(DownloadTimeoutSeconds));
  const auto step = std::chrono::duration_cast<MonotonicClock::Duration>(
      std::chrono::duration<double>(PollIntervalSeconds));
  int countdown = 4;
  long long size = 0;
  bool announced = false;
  std::optional<std::string> result;
  Ref<Error> error;
  for (;;) {
    if (size > 0) {
      result = url;
      break;
    }
    if (countdown-- == 0) {
      post(StartedDownloadingNotification, url);  // about a second has passed: worth showing
      announced = true;
    }
    clock->sleepFor(step);
    if (auto known = provider->downloadedSize(path)) size = *known;
    if (clock->now() > deadline) {
      if (size != 0) {
        result = url;
      } else {
        error = Error::withDescription(ErrorDomain, ZeroLengthFileErrorCode, zeroLengthFileDescription());
      }
      break;
    }
  }
  if (announced) post(FinishedDownloadingNotification, url);
  completion(result, error);
}

}  // namespace

std::string zeroLengthFileDescription() { return "The file could not be downloaded: it is still empty."; }

Ref<OperationQueue> tqUbiquityQueue() {
  static DispatchOnce once;
  static Ref<OperationQueue> queue;
  dispatchOnce(once, [] {
    queue = make<OperationQueue>();
    queue->setQualityOfService(QualityOfService::UserInitiated);
    queue->setName(str(std::string(LibraryDomainPrefix) + ".DownloadingUbiquityFilesQueue"));
    queue->setMaxConcurrentOperationCount(1);
  });
  return queue;
}

void manageUbiquityFileIfNecessaryWithCompletion(const std::string& url, Completion completion) {
  const std::string path = detail::filePathOfURL(url);
  auto provider = CloudFiles::current();
  CloudFileError failure;
  auto ubiquitous = provider->isUbiquitousItem(path, &failure);
  if (!ubiquitous) {
    completion(std::nullopt, errorOf(failure));
    return;
  }
  Ref<Error> lastError;
  std::optional<CloudFiles::DownloadingStatus> status;
  if (*ubiquitous) {
    status = provider->downloadingStatus(path, &failure);
    if (!status) lastError = errorOf(failure);
  }
  if (!*ubiquitous || !status || *status != CloudFiles::DownloadingStatus::NotDownloaded) {
    completion(url, lastError);
    return;
  }
  if (!provider->startDownloading(path, &failure)) {
    completion(std::nullopt, errorOf(failure));
    return;
  }
  platformLog("Downloading ubiquity file: " + url);
  tqUbiquityQueue()->addOperationWithBlock(
      [url, path, completion = std::move(completion)] { pollUntilPresent(url, path, completion); });
}

}  // namespace tq::Ubiquity
