#pragma once
// Waiting for a set of asynchronous tasks, and turning one asynchronous call
// into a blocking one.

#include <functional>
#include <mutex>

#include "tq/platform/object/Object.h"

namespace tq {

class TQDispatchGroup : public Object {
 public:
  using Done = std::function<void()>;
  /// A task receives the shared "done" callback and calls it exactly once.
  using Task = std::function<void(Done done)>;
  using PerformTask = std::function<void(Task task)>;
  using Setup = std::function<void(const Ref<TQDispatchGroup>& group)>;

  std::string className() const override { return "TQDispatchGroup"; }

  /// Starts a task of the group: counts it, then calls it with "done".
  PerformTask performTask() const;
  void setPerformTask(PerformTask performTask);

  /// Runs `setup` and blocks until every task it started has called done.
  /// Not for a thread that the tasks themselves need.
  static void await(const Setup& setup);
  /// Runs `setup` and returns; once every task has called done, the
  /// completion (if any) runs on the default global concurrent queue.
  static void run(const Setup& setup, std::function<void()> withCompletion);

 private:
  mutable std::mutex mutex_;
  PerformTask performTask_;
};

class TQAwait {
 public:
  /// Calls `work` and blocks until it has called its "done" once. (`for` is
  /// a keyword, hence the underscore.)
  static void for_(const std::function<void(std::function<void()> done)>& work);
};

}  // namespace tq
