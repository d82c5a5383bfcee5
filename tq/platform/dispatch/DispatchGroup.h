#pragma once
// A dispatch group: a count of outstanding work, waited on or observed.

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "tq/platform/dispatch/DispatchQueue.h"

namespace tq {

class DispatchGroup : public std::enable_shared_from_this<DispatchGroup> {
 public:
  static std::shared_ptr<DispatchGroup> create() { return std::make_shared<DispatchGroup>(); }

  void enter();
  /// Leaving more often than entering is a programming error: it raises the
  /// internal-inconsistency exception ("Unbalanced leave of a dispatch group").
  void leave();
  /// Waits until the count is zero.
  void wait();
  /// Waits at most `seconds`; answers false on time-out.
  bool waitFor(double seconds);
  /// Submits `work` to `queue` when the count next reaches zero (at once when
  /// it is zero now).
  void notify(const DispatchQueueRef& queue, DispatchWork work);
  /// Enters, runs `work` on `queue`, leaves.
  void async(const DispatchQueueRef& queue, DispatchWork work);
  long count() const;

 private:
  mutable std::mutex mutex_;
  std::condition_variable empty_;
  long count_ = 0;
  std::vector<std::pair<DispatchQueueRef, DispatchWork>> notifications_;
};

using DispatchGroupRef = std::shared_ptr<DispatchGroup>;

}  // namespace tq
