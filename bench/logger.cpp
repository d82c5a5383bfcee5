// The logger's file path against spdlog's asynchronous file logger, in the
// same run, with 1 and 4 logging threads:
//  - sustained lines per second: from the first call until the last line is
//    in the file;
//  - the caller's cost per call, median and 99th percentile.
// Both loggers get the same prepared text per call and write a line of the
// same shape (stamp, thread, text) to a file. Then, through Google
// Benchmark, the operation queue's cost per empty operation.
//
// Then the memory a million waiting lines hold, against spdlog's (below).
//
// Targets: caller cost no worse than spdlog's; throughput at least half; a
// waiting line a small multiple of its text.

#include <benchmark/benchmark.h>
#include <spdlog/async.h>
#include <spdlog/async_logger.h>
#include <malloc.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "bench/support/PeerRatio.h"
#include "tq/logging/TQLogger.h"
#include "tq/platform/dispatch/DispatchGroup.h"
#include "tq/platform/dispatch/DispatchQueue.h"
#include "tq/platform/dispatch/OperationQueue.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr long kTotalLines = 1'000'000;

struct RunResult {
  double linesPerSecond = 0;
  double medianNs = 0;
  double p99Ns = 0;
  std::uintmax_t fileBytes = 0;
};

// The prepared texts: one per call, built before timing.
std::vector<std::vector<std::string>> makeTexts(int threads, long perThread) {
  std::vector<std::vector<std::string>> texts(threads);
  for (int t = 0; t < threads; ++t) {
    texts[t].reserve(perThread);
    for (long i = 0; i < perThread; ++i) {
      texts[t].push_back("worker " + std::to_string(t) + " line " + std::to_string(i) +
                         " payload-abcdefghijklmnopqrstuvwxyz");
    }
  }
  return texts;
}

// Runs `call(thread, index)` on `threads` threads, timing every call, and
// `finish()` once all threads are done; answers the figures.
template <class Call, class Finish>
RunResult measure(int threads, long perThread, Call call, Finish finish) {
  std::vector<std::vector<std::uint32_t>> costs(threads, std::vector<std::uint32_t>(perThread));
  auto start = Clock::now();
  std::vector<std::thread> workers;
  for (int t = 0; t < threads; ++t) {
    workers.emplace_back([&, t] {
      auto& mine = costs[t];
      for (long i = 0; i < perThread; ++i) {
        auto before = Clock::now();
        call(t, i);
        mine[i] = std::uint32_t(std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - before).count());
      }
    });
  }
  for (auto& w : workers) w.join();
  finish();
  double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  std::vector<std::uint32_t> all;
  all.reserve(std::size_t(threads) * perThread);
  for (auto& c : costs) all.insert(all.end(), c.begin(), c.end());
  std::size_t mid = all.size() / 2, p99 = all.size() * 99 / 100;
  std::nth_element(all.begin(), all.begin() + mid, all.end());
  double median = all[mid];
  std::nth_element(all.begin(), all.begin() + p99, all.end());
  return {double(threads * perThread) / seconds, median, double(all[p99])};
}

RunResult runTQ(int threads, const fs::path& dir) {
  long perThread = kTotalLines / threads;
  auto texts = makeTexts(threads, perThread);
  auto path = dir / "tq.log";
  auto logger = tq::TQLogger::initWithLogFileURL(path.string(), {});
  logger->setLogToConsole(false);
  auto result = measure(
      threads, perThread, [&](int t, long i) { logger->logForIdentifier("bench", texts[t][i]); },
      [&] { logger->flush(); });
  result.fileBytes = fs::file_size(path);
  return result;
}

RunResult runSpdlog(int threads, const fs::path& dir) {
  long perThread = kTotalLines / threads;
  auto texts = makeTexts(threads, perThread);
  auto path = dir / "spdlog.log";
  fs::remove(path);
  // The default queue (8192 slots) and one worker, blocking when full: the
  // configuration spdlog's async factory uses.
  auto pool = std::make_shared<spdlog::details::thread_pool>(8192, 1);
  auto sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(path.string(), true);
  auto logger = std::make_shared<spdlog::async_logger>("bench", sink, pool, spdlog::async_overflow_policy::block);
  logger->set_pattern("%Y-%m-%d %H:%M:%S.%e %t : %v");
  auto result = measure(
      threads, perThread, [&](int t, long i) { logger->info(texts[t][i]); },
      [&] {
        // Dropping the pool drains its queue and joins the worker.
        logger.reset();
        pool.reset();
        sink->flush();
      });
  result.fileBytes = fs::file_size(path);
  return result;
}

void printComparison() {
  auto dir = fs::temp_directory_path() / ("tq-bench-logger-" + std::to_string(::getpid()));
  fs::create_directories(dir);
  std::printf("\nLogger file path vs spdlog async file logger, %ld lines per run\n", kTotalLines);
  std::printf("%-8s %-7s %14s %12s %12s %12s\n", "threads", "logger", "lines/s", "median ns", "p99 ns", "file MB");
  for (int threads : {1, 4}) {
    // Warm both up once (page cache, pools), then measure.
    runTQ(threads, dir);
    runSpdlog(threads, dir);
    RunResult tq = runTQ(threads, dir);
    RunResult peer = runSpdlog(threads, dir);
    std::printf("%-8d %-7s %14.0f %12.0f %12.0f %12.1f\n", threads, "tq", tq.linesPerSecond, tq.medianNs, tq.p99Ns,
                tq.fileBytes / 1e6);
    std::printf("%-8d %-7s %14.0f %12.0f %12.0f %12.1f\n", threads, "spdlog", peer.linesPerSecond, peer.medianNs,
                peer.p99Ns, peer.fileBytes / 1e6);
    std::printf(
        "ratios tq/spdlog (%d thread%s): throughput %.2f (target >= 0.5), median cost %.2f, p99 cost %.2f "
        "(target <= 1)\n",
        threads, threads == 1 ? "" : "s", tq.linesPerSecond / peer.linesPerSecond, tq.medianNs / peer.medianNs,
        tq.p99Ns / peer.p99Ns);
  }
  fs::remove_all(dir);
}

// ---- Memory held by waiting lines ----
//
// A million short lines logged while the writer cannot run: what the process
// holds for them, per line, against spdlog's asynchronous logger given the
// same lines.
//
// The writer is blocked, not raced: measuring right after a burst while the
// writer drains would count whatever it had not yet written, a number that
// depends on the scheduler. Here the writer cannot take a single line (ours:
// an operation that waits is put on the logger's serial queue first; spdlog:
// its sink waits in its first line), so every line logged is waiting when
// the resident size is read.
//
// What is measured is the growth of the resident size (/proc/self/statm)
// from before the logger is made to right after the last line. Nothing is
// freed while the writer is blocked, so that is the peak of the burst; the
// current size is read rather than the process's peak (getrusage) because the
// cases before this one have already raised the peak above it. Between the
// sides and rounds the allocator hands freed memory back (malloc_trim), so a
// side does not reuse what the other left mapped. The logger's own set-up
// (its queue and thread, spdlog's pool) is counted with its lines.
//
// spdlog is given a queue with room for every line. When its queue is full
// it either blocks the caller until the worker makes room (the default,
// async_overflow_policy::block) or overwrites the oldest waiting line
// (overrun_oldest); ours never blocks and never drops, so the fair
// comparison is a queue that holds them all. spdlog makes all its slots when
// the pool is made, each a fixed-size message with room for 250 bytes of
// text, so its cost per line is the slot's whatever the text.

constexpr long kWaitingLines = 1'000'000;

std::size_t residentBytes() {
  long pages = 0, resident = 0;
  if (FILE* f = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = 0;
    std::fclose(f);
  }
  return std::size_t(resident) * std::size_t(::sysconf(_SC_PAGESIZE));
}

// The text of line i, in a buffer reused for every line: only the loggers'
// own copies of the text are held.
std::string_view waitingLineText(char (&buffer)[96], long i) {
  const int n = std::snprintf(buffer, sizeof buffer, "worker 0 line %ld payload-abcdefghijklmnopqrstuvwxyz", i);
  return std::string_view(buffer, std::size_t(n));
}

// Released once the resident size has been read.
class Gate {
 public:
  void wait() {
    std::unique_lock lock(mutex_);
    opened_.wait(lock, [&] { return open_; });
  }
  void open() {
    {
      std::lock_guard lock(mutex_);
      open_ = true;
    }
    opened_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable opened_;
  bool open_ = false;
};

struct WaitingMemory {
  double bytesPerLine = 0;
  double textBytesPerLine = 0;
};

WaitingMemory waitingMemoryTQ(const fs::path& dir) {
  malloc_trim(0);
  const std::size_t before = residentBytes();
  double textBytes = 0;
  std::size_t after = 0;
  {
    auto logger = tq::TQLogger::initWithLogFileURL((dir / "tq-waiting.log").string(), {});
    logger->setLogToConsole(false);
    Gate gate;
    logger->logQueue()->addOperationWithBlock([&] { gate.wait(); });
    char buffer[96];
    for (long i = 0; i < kWaitingLines; ++i) {
      const std::string_view text = waitingLineText(buffer, i);
      textBytes += double(text.size());
      logger->logForIdentifier("bench", text);
    }
    after = residentBytes();
    gate.open();
    logger->flush();
  }
  malloc_trim(0);
  return {double(after > before ? after - before : 0) / kWaitingLines, textBytes / kWaitingLines};
}

// A sink that holds the worker in its first line until the gate opens, then
// discards what it gets (the memory is the question here, not the file).
class GatedSink : public spdlog::sinks::base_sink<std::mutex> {
 public:
  explicit GatedSink(Gate& gate) : gate_(gate) {}

 protected:
  void sink_it_(const spdlog::details::log_msg&) override {
    if (!passed_) {
      gate_.wait();
      passed_ = true;
    }
  }
  void flush_() override {}

 private:
  Gate& gate_;
  bool passed_ = false;
};

WaitingMemory waitingMemorySpdlog() {
  malloc_trim(0);
  const std::size_t before = residentBytes();
  double textBytes = 0;
  std::size_t after = 0;
  {
    Gate gate;
    auto pool = std::make_shared<spdlog::details::thread_pool>(std::size_t(kWaitingLines), 1);
    auto sink = std::make_shared<GatedSink>(gate);
    auto logger = std::make_shared<spdlog::async_logger>("waiting", sink, pool, spdlog::async_overflow_policy::block);
    logger->set_pattern("%Y-%m-%d %H:%M:%S.%e %t : %v");
    char buffer[96];
    for (long i = 0; i < kWaitingLines; ++i) {
      const std::string_view text = waitingLineText(buffer, i);
      textBytes += double(text.size());
      logger->info(text);
    }
    after = residentBytes();
    gate.open();
    logger.reset();
    pool.reset();
  }
  malloc_trim(0);
  return {double(after > before ? after - before : 0) / kWaitingLines, textBytes / kWaitingLines};
}

void printWaitingMemory() {
  auto dir = fs::temp_directory_path() / ("tq-bench-logger-waiting-" + std::to_string(::getpid()));
  fs::create_directories(dir);
  constexpr int kRounds = 5;
  std::vector<double> tq, peer;
  double textBytes = 0;
  for (int round = 0; round < kRounds; ++round) {
    // Alternating which side goes first, so neither always finds the
    // allocator in the state the other left.
    WaitingMemory a, b;
    if (round % 2 == 0) {
      a = waitingMemoryTQ(dir);
      b = waitingMemorySpdlog();
    } else {
      b = waitingMemorySpdlog();
      a = waitingMemoryTQ(dir);
    }
    tq.push_back(a.bytesPerLine);
    peer.push_back(b.bytesPerLine);
    textBytes = a.textBytesPerLine;
  }
  fs::remove_all(dir);
  auto median = [](std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
  };
  auto [tqMin, tqMax] = std::minmax_element(tq.begin(), tq.end());
  auto [peerMin, peerMax] = std::minmax_element(peer.begin(), peer.end());
  std::printf("\nMemory held by %ld waiting lines (writer blocked; resident growth; median of %d, min-max)\n",
              kWaitingLines, kRounds);
  std::printf("text per line: %.1f bytes\n", textBytes);
  std::printf("%-7s %16s %18s %14s\n", "logger", "bytes/line", "min-max", "x text");
  std::printf("%-7s %16.1f %8.1f-%-9.1f %14.2f\n", "tq", median(tq), *tqMin, *tqMax, median(tq) / textBytes);
  std::printf("%-7s %16.1f %8.1f-%-9.1f %14.2f\n", "spdlog", median(peer), *peerMin, *peerMax,
              median(peer) / textBytes);
  std::printf("ratio waiting bytes per line tq/spdlog: %.2f (spdlog: queue of %ld slots, made with the pool)\n",
              median(tq) / median(peer), kWaitingLines);
}

// Cost per empty operation: a batch added to a queue and waited for.
void BM_OperationQueueEmptyOperations(benchmark::State& state) {
  auto queue = tq::make<tq::OperationQueue>();
  queue->setMaxConcurrentOperationCount(state.range(0));
  const int batch = 1000;
  for (auto _ : state) {
    for (int i = 0; i < batch; ++i) queue->addOperationWithBlock([] {});
    queue->waitUntilAllOperationsAreFinished();
  }
  state.SetItemsProcessed(state.iterations() * batch);
  state.counters["ns_per_op"] =
      benchmark::Counter(double(state.iterations() * batch), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_OperationQueueEmptyOperations)->Arg(1)->Arg(-1)->UseRealTime()->Unit(benchmark::kMicrosecond);

// The same through a serial dispatch queue, for scale.
void BM_DispatchQueueEmptyWork(benchmark::State& state) {
  auto queue = tq::DispatchQueue::createSerial("bench.serial");
  const int batch = 1000;
  for (auto _ : state) {
    for (int i = 0; i < batch; ++i) queue->async([] {});
    queue->sync([] {});
  }
  state.SetItemsProcessed(state.iterations() * batch);
  state.counters["ns_per_op"] =
      benchmark::Counter(double(state.iterations() * batch), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_DispatchQueueEmptyWork)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace

// The logger comparison runs after the Google Benchmark cases, and prints its
// own table and ratios.
tq::bench::Program tq::bench::program() {
  Program program;
  program.tearDown = [] {
    printWaitingMemory();
    printComparison();
  };
  return program;
}
