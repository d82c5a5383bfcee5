// Many threads logging at once: no line lost, none interleaved, each
// thread's lines in its own order.
//
// The full load is 8 threads x 100,000 lines (about 4 s under the address
// sanitizer). Under ThreadSanitizer the default is 8 x 10,000;
// TQ_STRESS_LINES sets the per-thread count explicitly.

#include <charconv>
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

  std::string contents = readWholeFile(path);
  std::vector<long> next(kThreads, 0);
  long lines = 0, malformed = 0;
  std::size_t pos = 0;
  const std::string marker = " : worker ";
  while (pos < contents.size()) {
    std::size_t end = contents.find('\n', pos);
    ASSERT_NE(end, std::string::npos) << "unterminated last line";
    std::string_view line(contents.data() + pos, end - pos);
    pos = end + 1;
    ++lines;
    // "STAMP 🧵 N : worker T line I payload-..."
    std::size_t at = line.find(marker);
    if (line.size() < 24 || line[4] != '-' || line[19] != '.' || at == std::string_view::npos ||
        !line.ends_with(" payload-abcdefghijklmnopqrstuvwxyz")) {
      ++malformed;
      continue;
    }
    int t = 0;
    long i = 0;
    const char* p = line.data() + at + marker.size();
    auto r1 = std::from_chars(p, line.data() + line.size(), t);
    if (r1.ec != std::errc() || t < 0 || t >= kThreads || std::string_view(r1.ptr, 6) != " line ") {
      ++malformed;
      continue;
    }
    std::from_chars(r1.ptr + 6, line.data() + line.size(), i);
    EXPECT_EQ(i, next[t]) << "thread " << t << " out of order";
    next[t] = i + 1;
  }
  EXPECT_EQ(malformed, 0);
  EXPECT_EQ(lines, kThreads * perThread);
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(next[t], perThread) << "thread " << t;
}

}  // namespace
}  // namespace tq
