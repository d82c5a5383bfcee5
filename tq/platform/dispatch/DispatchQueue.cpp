#include "tq/platform/dispatch/DispatchQueue.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <thread>

#include "tq/platform/dispatch/RunLoop.h"

namespace tq {
namespace {

using Clock = std::chrono::steady_clock;

thread_local const DispatchQueue* currentQueue = nullptr;

struct CurrentQueueScope {
  const DispatchQueue* saved;
  explicit CurrentQueueScope(const DispatchQueue* queue) : saved(currentQueue) { currentQueue = queue; }
  ~CurrentQueueScope() { currentQueue = saved; }
};

// The worker pool. It starts a thread whenever queued work outnumbers the idle
// workers, so work that blocks (a signalled operation waiting, a group wait)
// never holds up unrelated work; threads idle for a while end. The pool is
// created once and never destroyed, so that detached workers never touch a
// destroyed object at process exit.
class WorkerPool {
 public:
  static WorkerPool& shared() {
    static WorkerPool* pool = new WorkerPool;
    return *pool;
  }

  void submit(DispatchWork work) {
    std::unique_lock lock(mutex_);
    tasks_.push_back(std::move(work));
    if (tasks_.size() > idle_ && threads_ < kMaxThreads) {
      ++threads_;
      std::thread([this] { workerLoop(); }).detach();
    } else {
      wake_.notify_one();
    }
  }

  std::size_t threadCount() {
    std::lock_guard lock(mutex_);
    return threads_;
  }

 private:
  static constexpr std::size_t kMaxThreads = 512;
  static constexpr auto kIdleTimeout = std::chrono::seconds(5);

  void workerLoop() {
    std::unique_lock lock(mutex_);
    for (;;) {
      while (tasks_.empty()) {
        ++idle_;
        bool woke = wake_.wait_for(lock, kIdleTimeout, [this] { return !tasks_.empty(); });
        --idle_;
        if (!woke) {
          --threads_;
          return;
        }
      }
      DispatchWork work = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      work();
      work = nullptr;  // release captures outside the lock
      lock.lock();
    }
  }

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<DispatchWork> tasks_;
  std::size_t idle_ = 0;
  std::size_t threads_ = 0;
};

// One thread that fires delayed work in deadline order.
class TimerThread {
 public:
  static TimerThread& shared() {
    static TimerThread* timer = new TimerThread;
    return *timer;
  }

  void schedule(Clock::time_point when, DispatchWork work) {
    std::lock_guard lock(mutex_);
    if (!started_) {
      started_ = true;
      std::thread([this] { loop(); }).detach();
    }
    entries_.emplace(when, std::move(work));
    changed_.notify_one();
  }

 private:
  void loop() {
    std::unique_lock lock(mutex_);
    for (;;) {
      if (entries_.empty()) {
        changed_.wait(lock);
        continue;
      }
      auto first = entries_.begin();
      if (Clock::now() < first->first) {
        changed_.wait_until(lock, first->first);
        continue;
      }
      DispatchWork work = std::move(first->second);
      entries_.erase(first);
      lock.unlock();
      work();
      work = nullptr;
      lock.lock();
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::multimap<Clock::time_point, DispatchWork> entries_;
  bool started_ = false;
};

}  // namespace

struct DispatchQueue::State {
  std::deque<Item> items;
  bool draining = false;        // serial: a drain task is on the pool
  std::size_t running = 0;      // concurrent: items running
  bool barrierRunning = false;  // concurrent: a barrier item is running
};

namespace dispatch_detail {
void submitToPool(DispatchWork work) { WorkerPool::shared().submit(std::move(work)); }
void callAfter(double seconds, DispatchWork work) {
  if (seconds < 0) seconds = 0;
  auto when = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  TimerThread::shared().schedule(when, std::move(work));
}
std::size_t poolThreadCount() { return WorkerPool::shared().threadCount(); }
}  // namespace dispatch_detail

DispatchQueue::DispatchQueue(Kind kind, std::string label)
    : kind_(kind), label_(std::move(label)), state_(std::make_unique<State>()) {}

DispatchQueue::~DispatchQueue() = default;

std::shared_ptr<DispatchQueue> DispatchQueue::createSerial(std::string label) {
  return std::make_shared<DispatchQueue>(Kind::Serial, std::move(label));
}

std::shared_ptr<DispatchQueue> DispatchQueue::createConcurrent(std::string label) {
  return std::make_shared<DispatchQueue>(Kind::Concurrent, std::move(label));
}

std::shared_ptr<DispatchQueue> DispatchQueue::global(DispatchQueuePriority priority) {
  // Never released: work may still reach them while the process exits.
  static auto* high = new DispatchQueueRef(createConcurrent(std::string(LibraryDomainPrefix) + ".root.high"));
  static auto* normal = new DispatchQueueRef(createConcurrent(std::string(LibraryDomainPrefix) + ".root.default"));
  static auto* low = new DispatchQueueRef(createConcurrent(std::string(LibraryDomainPrefix) + ".root.low"));
  static auto* background =
      new DispatchQueueRef(createConcurrent(std::string(LibraryDomainPrefix) + ".root.background"));
  switch (priority) {
    case DispatchQueuePriority::High:
      return *high;
    case DispatchQueuePriority::Low:
      return *low;
    case DispatchQueuePriority::Background:
      return *background;
    default:
      return *normal;
  }
}

std::shared_ptr<DispatchQueue> DispatchQueue::global(QualityOfService qos) {
  switch (qos) {
    case QualityOfService::UserInteractive:
    case QualityOfService::UserInitiated:
      return global(DispatchQueuePriority::High);
    case QualityOfService::Utility:
      return global(DispatchQueuePriority::Low);
    case QualityOfService::Background:
      return global(DispatchQueuePriority::Background);
    default:
      return global(DispatchQueuePriority::Default);
  }
}

std::shared_ptr<DispatchQueue> DispatchQueue::main() {
  static auto* queue = new DispatchQueueRef(
      std::make_shared<DispatchQueue>(Kind::Main, std::string(LibraryDomainPrefix) + ".main-thread"));
  return *queue;
}

std::string DispatchQueue::currentLabel() { return currentQueue ? currentQueue->label_ : std::string(); }

void DispatchQueue::async(DispatchWork work) { submit({std::move(work), false}); }

void DispatchQueue::barrierAsync(DispatchWork work) { submit({std::move(work), true}); }

namespace {
void runAndWait(const std::function<void(DispatchWork)>& submitter, DispatchWork work) {
  std::mutex m;
  std::condition_variable cv;
  bool done = false;
  std::exception_ptr failure;
  submitter([&] {
    try {
      work();
    } catch (...) {
      failure = std::current_exception();
    }
    std::lock_guard lock(m);
    done = true;
    cv.notify_one();
  });
  std::unique_lock lock(m);
  cv.wait(lock, [&] { return done; });
  if (failure) std::rethrow_exception(failure);
}
}  // namespace

void DispatchQueue::sync(DispatchWork work) {
  runAndWait([this](DispatchWork w) { async(std::move(w)); }, std::move(work));
}

void DispatchQueue::barrierSync(DispatchWork work) {
  runAndWait([this](DispatchWork w) { barrierAsync(std::move(w)); }, std::move(work));
}

void DispatchQueue::after(double seconds, DispatchWork work) {
  auto self = shared_from_this();
  dispatch_detail::callAfter(seconds, [self, work = std::move(work)]() mutable { self->async(std::move(work)); });
}

void DispatchQueue::submit(Item item) {
  if (kind_ == Kind::Main) {
    RunLoop::main().perform([self = shared_from_this(), work = std::move(item.work)] {
      CurrentQueueScope scope(self.get());
      work();
    });
    return;
  }
  std::unique_lock lock(mutex_);
  state_->items.push_back(std::move(item));
  scheduleLocked(lock);
}

void DispatchQueue::scheduleLocked(std::unique_lock<std::mutex>& lock) {
  State& s = *state_;
  if (kind_ == Kind::Serial) {
    if (s.draining || s.items.empty()) return;
    s.draining = true;
    lock.unlock();
    WorkerPool::shared().submit([self = shared_from_this()] { self->drainSerial(); });
    return;
  }
  std::vector<Item> launch;
  while (!s.items.empty() && !s.barrierRunning) {
    Item& front = s.items.front();
    if (front.barrier) {
      if (s.running > 0) break;
      s.barrierRunning = true;
    } else {
      ++s.running;
    }
    launch.push_back(std::move(front));
    s.items.pop_front();
  }
  lock.unlock();
  for (Item& item : launch) {
    WorkerPool::shared().submit([self = shared_from_this(), item = std::move(item)]() mutable {
      {
        CurrentQueueScope scope(self.get());
        item.work();
        item.work = nullptr;
      }
      self->finishConcurrent(item.barrier);
    });
  }
}

void DispatchQueue::finishConcurrent(bool barrier) {
  std::unique_lock lock(mutex_);
  if (barrier) {
    state_->barrierRunning = false;
  } else {
    --state_->running;
  }
  scheduleLocked(lock);
}

void DispatchQueue::drainSerial() {
  CurrentQueueScope scope(this);
  // A bounded batch per pool turn keeps one busy serial queue from holding a
  // worker forever while other queues wait for threads.
  for (int batch = 0; batch < 256; ++batch) {
    DispatchWork work;
    {
      std::lock_guard lock(mutex_);
      if (state_->items.empty()) {
        state_->draining = false;
        return;
      }
      work = std::move(state_->items.front().work);
      state_->items.pop_front();
    }
    work();
  }
  std::unique_lock lock(mutex_);
  state_->draining = false;
  scheduleLocked(lock);
}

}  // namespace tq
