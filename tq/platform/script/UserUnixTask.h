#pragma once
// A user's Unix task: an executable started with arguments without blocking
// the caller; its completion (with an error when it failed) is handed to a
// handler on a queue.

#include <functional>
#include <string>
#include <vector>

#include "tq/platform/collection/Error.h"
#include "tq/platform/dispatch/DispatchQueue.h"
#include "tq/platform/value/String.h"

namespace tq {

/// The error domain of tasks that did not succeed, and its codes.
inline constexpr const char* UserUnixTaskErrorDomain = "UserUnixTaskErrorDomain";
enum UserUnixTaskErrorCode : std::int64_t {
  UserUnixTaskExitedError = 1,       // a status other than 0; user info "ExitStatus"
  UserUnixTaskSignalledError = 2,    // ended by a signal; user info "Signal"
  UserUnixTaskCannotStartError = 3,  // could not be started; user info "POSIXError" (errno)
};

class UserUnixTask : public Object {
 public:
  using CompletionHandler = std::function<void(const Ref<Error>& error)>;

  /// A task for an executable: a path (or file URL), or a bare name found in
  /// PATH when the task starts. Nil and an error for a path that names no
  /// file.
  static Ref<UserUnixTask> initWithURL(const String& url, Ref<Error>* error = nullptr);

  explicit UserUnixTask(std::string executable) : executable_(std::move(executable)) {}
  std::string className() const override { return "UserUnixTask"; }

  const std::string& executable() const { return executable_; }
  /// Where the task's output and error go: a descriptor of the caller's
  /// (which stays open), or -1 (the default) to discard them.
  void setStandardOutput(int descriptor) { output_ = descriptor; }
  void setStandardError(int descriptor) { error_ = descriptor; }

  /// Starts the task on a worker thread and returns at once. The handler runs
  /// on `completionQueue` (a global queue when nil) once the task ended: nil
  /// for a status of 0, else an error of UserUnixTaskErrorDomain.
  void executeWithArguments(std::vector<std::string> arguments, CompletionHandler completionHandler,
                            DispatchQueueRef completionQueue = nullptr) const;

 private:
  std::string executable_;
  int output_ = -1;
  int error_ = -1;
};

}  // namespace tq
