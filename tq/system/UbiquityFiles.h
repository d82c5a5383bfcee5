#pragma once
// Making sure that a file kept by a cloud service is present locally before
// it is used (the `Ubiquity` extension of file URLs): when the service says
// the file has not been downloaded, ask for it and poll, on one shared
// serial queue, until it has a size, posting "started" and "finished"
// notifications when the wait is long enough to show. The service is the
// CloudFiles seam; on Linux, without one, every file is local and the
// completion runs at once with the URL.

#include <functional>
#include <optional>
#include <string>

#include "tq/platform/collection/Error.h"
#include "tq/platform/dispatch/OperationQueue.h"

namespace tq::Ubiquity {

inline constexpr const char* StartedDownloadingNotification = "TQEditingWebviewStartedDownloadingUbiquitousFile";
inline constexpr const char* FinishedDownloadingNotification = "TQEditingWebviewFinishedDownloadingUbiquitousFile";
inline constexpr const char* ErrorDomain = "UbiqDomain";
inline constexpr long ZeroLengthFileErrorCode = 10;
/// How long a download may take to bring the first bytes.
inline constexpr double DownloadTimeoutSeconds = 1800;
/// The wait between two looks at the file.
inline constexpr double PollIntervalSeconds = 0.25;

/// Receives the URL (nothing on failure) and an error (nil on success, or
/// the error of the last question asked of the service).
using Completion = std::function<void(const std::optional<std::string>& url, const Ref<Error>& error)>;

/// `url` is a "file://" URL or a path; the completion gets it back as given.
void manageUbiquityFileIfNecessaryWithCompletion(const std::string& url, Completion completion);
/// The queue downloads wait on, one at a time.
Ref<OperationQueue> tqUbiquityQueue();
/// The text of the zero-length error ("ZERO_LENGTH_FILE").
std::string zeroLengthFileDescription();

}  // namespace tq::Ubiquity
