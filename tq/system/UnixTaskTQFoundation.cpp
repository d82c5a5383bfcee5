#include "tq/system/UnixTaskTQFoundation.h"

#include <memory>

namespace tq {

UnixTaskError::UnixTaskError(Ref<Error> error)
    : error_(std::move(error)), message_(error_ ? error_->localizedDescription() : "The task failed.") {}

namespace TQFoundation {

void UnixTaskExecution::await_suspend(std::coroutine_handle<> waiting) {
  task_->executeWithArguments(arguments_, [this, waiting](const Ref<Error>& error) {
    error_ = error;
    waiting.resume();
  });
}

void UnixTaskExecution::await_resume() const {
  if (error_) throw UnixTaskError(error_);
}

UnixTaskExecution execute(Ref<UserUnixTask> task, std::vector<std::string> arguments) {
  return UnixTaskExecution(std::move(task), std::move(arguments));
}

std::future<void> executeFuture(const Ref<UserUnixTask>& task, std::vector<std::string> arguments) {
  auto promise = std::make_shared<std::promise<void>>();
  std::future<void> future = promise->get_future();
  task->executeWithArguments(std::move(arguments), [promise](const Ref<Error>& error) {
    if (error) {
      promise->set_exception(std::make_exception_ptr(UnixTaskError(error)));
    } else {
      promise->set_value();
    }
  });
  return future;
}

}  // namespace TQFoundation

}  // namespace tq
