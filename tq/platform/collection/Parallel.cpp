#include "tq/platform/collection/Parallel.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>

namespace tq {

void parallelForEach(const std::vector<std::uint64_t>& positions,
                     const std::function<void(std::uint64_t, bool*)>& body) {
  std::atomic<std::size_t> next{0};
  std::atomic<bool> stopped{false};
  std::exception_ptr failure;
  std::mutex failureLock;
  auto worker = [&] {
    for (;;) {
      if (stopped.load(std::memory_order_relaxed)) return;
      std::size_t at = next.fetch_add(1, std::memory_order_relaxed);
      if (at >= positions.size()) return;
      bool stop = false;
      try {
        body(positions[at], &stop);
      } catch (...) {
        std::lock_guard<std::mutex> guard(failureLock);
        if (!failure) failure = std::current_exception();
        stop = true;
      }
      if (stop) stopped.store(true, std::memory_order_relaxed);
    }
  };
  unsigned helpers = std::min<std::size_t>(std::max(1u, std::thread::hardware_concurrency()) - 1,
                                           positions.size() > 1 ? positions.size() - 1 : 0);
  std::vector<std::thread> threads;
  threads.reserve(helpers);
  for (unsigned i = 0; i < helpers; ++i) threads.emplace_back(worker);
  worker();
  for (auto& thread : threads) thread.join();
  if (failure) std::rethrow_exception(failure);
}

}  // namespace tq
