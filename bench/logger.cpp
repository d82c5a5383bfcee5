// The logger's file path against spdlog's asynchronous file logger, in the
// same run, with 1 and 4 logging threads:
//  - sustained lines per second: from the first call until the last line is
//    in the file;
//  - the caller's cost per call, median and 99th percentile.
// Both loggers get the same prepared text per call and write a line of the
// same shape (stamp, thread, text) to a file. Then, through Google
// Benchmark, the operation queue's cost per empty operation.
//
// Targets: caller cost no worse than spdlog's; throughput at least half.

#include <benchmark/benchmark.h>
#include <spdlog/async.h>
#include <spdlog/async_logger.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
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
  program.tearDown = printComparison;
  return program;
}
