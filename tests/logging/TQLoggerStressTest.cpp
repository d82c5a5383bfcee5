// Many threads logging at once: no line lost, none interleaved, each
// thread's lines in its own order.
//
// The full load is 8 threads x 100,000 lines (about 4 s under the address
// sanitizer). Under ThreadSanitizer the default is 8 x 10,000;
// TQ_STRESS_LINES sets the per-thread count explicitly.

#include <cstdio>
#include <sstream>
#include <thread>
#include <vector>

#include "tests/logging/LoggerTestSupport.h"

namespace tq {
namespace {

using namespace tq::testing;

// ThreadSanitizer slows the writer about fivefold; the address sanitizer
// build runs the full load in a few seconds.
#if defined(__SANITIZE_THREAD__)
constexpr long kDefaultLinesPerThread = 10000;
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
constexpr long kDefaultLinesPerThread = 10000;
#else
constexpr long kDefaultLinesPerThread = 100000;
#endif
#else
constexpr long kDefaultLinesPerThread = 100000;
#endif

long linesPerThread() {
  if (const char* text = std::getenv("TQ_STRESS_LINES")) return std::atol(text);
  return kDefaultLinesPerThread;
}

TEST(TQLoggerStressTest, EightThreadsLoseNothingAndKeepTheirOrder) {
  constexpr int kThreads = 8;
  const long perThread = linesPerThread();
  TemporaryFolder folder("stress");
  auto path = folder / "stress.log";
  auto logger = TQLogger::initWithLogFileURL(path.string(), {});
  logger->setLogToConsole(false);

  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      std::string text;
      for (long i = 0; i < perThread; ++i) {
        text = "worker " + std::to_string(t) + " line " + std::to_string(i) + " payload-abcdefghijklmnopqrstuvwxyz";
        logger->logForIdentifier("stress", text);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  logger->flush();

  // Each line: "STAMP 🧵 N : worker T line I payload-...".
  const std::string text = readWholeFile(path);
  EXPECT_TRUE(text.ends_with("\n")) << "unterminated last line";
  std::istringstream contents(text);
  std::vector<long> next(kThreads, 0);
  long lines = 0, malformed = 0;
  const std::string marker = " : worker ", payload = " payload-abcdefghijklmnopqrstuvwxyz";
  for (std::string line; std::getline(contents, line); ++lines) {
    const std::size_t at = line.find(marker);
    int t = -1;
    long i = -1;
    char tail[40] = "";
    if (line.size() < 24 || line[4] != '-' || line[19] != '.' || at == std::string::npos ||
        std::sscanf(line.c_str() + at + marker.size(), "%d line %ld%39[^\n]", &t, &i, tail) != 3 || t < 0 ||
        t >= kThreads || tail != payload) {
      ++malformed;
      continue;
    }
    EXPECT_EQ(i, next[t]) << "thread " << t << " out of order";
    next[t] = i + 1;
  }
  EXPECT_EQ(malformed, 0);
  EXPECT_EQ(lines, kThreads * perThread);
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(next[t], perThread) << "thread " << t;
}

}  // namespace
}  // namespace tq
