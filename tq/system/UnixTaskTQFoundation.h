#pragma once
// The library's extension of users' Unix tasks (`TQFoundation`): running a
// task from C++20 code as an awaitable (resumed when the task ended, throwing
// its error) or as a future.
//
//   Ref<UserUnixTask> task = UserUnixTask::initWithURL(*str("/usr/bin/rsync"));
//   co_await TQFoundation::execute(task, {"-a", from, to});   // in a coroutine
//   TQFoundation::executeFuture(task, {"-a", from, to}).get();  // anywhere

#include <coroutine>
#include <exception>
#include <future>
#include <string>
#include <vector>

#include "tq/platform/script/UserUnixTask.h"

namespace tq {

/// The error of a task that did not succeed, thrown by the awaitable and the
/// future.
class UnixTaskError : public std::exception {
 public:
  explicit UnixTaskError(Ref<Error> error);
  const char* what() const noexcept override { return message_.c_str(); }
  const Ref<Error>& error() const { return error_; }

 private:
  Ref<Error> error_;
  std::string message_;
};

namespace TQFoundation {

/// Awaits a task: the coroutine resumes on a worker thread once the task
/// ended, and `co_await` throws UnixTaskError when it failed.
class UnixTaskExecution {
 public:
  UnixTaskExecution(Ref<UserUnixTask> task, std::vector<std::string> arguments)
      : task_(std::move(task)), arguments_(std::move(arguments)) {}
  bool await_ready() const noexcept { return false; }
  void await_suspend(std::coroutine_handle<> waiting);
  void await_resume() const;

 private:
  Ref<UserUnixTask> task_;
  std::vector<std::string> arguments_;
  Ref<Error> error_;
};

/// Starts the task when awaited (`executeWithArguments`) and resumes when its
/// completion handler is called.
UnixTaskExecution execute(Ref<UserUnixTask> task, std::vector<std::string> arguments);
/// Starts the task now; the future is ready when it ended, and `get` throws
/// UnixTaskError when it failed.
std::future<void> executeFuture(const Ref<UserUnixTask>& task, std::vector<std::string> arguments);

}  // namespace TQFoundation

}  // namespace tq
