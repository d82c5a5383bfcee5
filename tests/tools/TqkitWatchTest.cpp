// tqkit watch and tqkit reach, run in-process.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <thread>

#include "tests/support/TemporaryFolder.h"
#include "tests/tools/InProcess.h"
#include "tq/platform/system/ReachabilitySource.h"

namespace tq {
namespace {

using tq::testing::runInProcess;
namespace fs = std::filesystem;

// Keeps changing a file from another thread until told to stop, so that a
// watch started at any moment sees a change.
class Writer {
 public:
  explicit Writer(fs::path file) : thread_([this, file] {
      while (!stop_) {
        std::ofstream(file, std::ios::app) << "x";
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
      }
    }) {}
  ~Writer() {
    stop_ = true;
    thread_.join();
  }

 private:
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

TEST(TqkitWatchTest, FileAndFolderPrintOneJSONLinePerEventOrBatch) {
  tq::testing::TemporaryFolder folder{"tqkit-watch"};
  const auto file = folder.write("sub/notes.txt", "a");
  Writer writer(file);
  auto watched = runInProcess({"watch", "file", "--count", "2", "--timeout", "20", file.string()});
  EXPECT_EQ(watched.status, 0) << watched.err;
  EXPECT_EQ(watched.out, "{\"events\":[\"write\"],\"path\":\"" + file.string() + "\"}\n"
                         "{\"events\":[\"write\"],\"path\":\"" + file.string() + "\"}\n");

  auto batches = runInProcess({"watch", "folder", "--latency", "0.2", "--count", "1", "--timeout", "20",
                               folder.string()});
  EXPECT_EQ(batches.status, 0) << batches.err;
  EXPECT_NE(batches.out.find("\"mustScanSubDirs\":false,\"paths\":[\"" + file.string() + "\"]}\n"), std::string::npos)
      << batches.out;
  EXPECT_EQ(batches.out.rfind("{\"lastEventId\":", 0), 0u) << batches.out;
}

TEST(TqkitWatchTest, ResumingAFolderWatchAsksForARescanAndMistakesAreReported) {
  tq::testing::TemporaryFolder folder{"tqkit-watch-since"};
  auto resumed = runInProcess({"watch", "folder", "--since", "12", "--latency", "0.05", "--count", "1", "--timeout",
                               "20", folder.string()});
  EXPECT_EQ(resumed.status, 0) << resumed.err;
  EXPECT_NE(resumed.out.find("\"mustScanSubDirs\":true,\"paths\":[\"" + folder.string() + "\"]"), std::string::npos)
      << resumed.out;

  const std::string missing = folder.string() + "/missing.txt";
  auto failed = runInProcess({"watch", "file", "--timeout", "1", missing});
  EXPECT_EQ(failed.status, 1);
  EXPECT_EQ(failed.err, "tqkit: watch file: cannot watch '" + missing +
                            "': Could not open() the watching file at: " + missing + "\n");
  auto notFolder = runInProcess({"watch", "folder", "--timeout", "1", folder.write("f", "x").string()});
  EXPECT_EQ(notFolder.status, 1);
  EXPECT_NE(notFolder.err.find("Not a directory"), std::string::npos);
  EXPECT_EQ(runInProcess({"watch", "folder", "--since", "-1", folder.string()}).status, 2);
  EXPECT_EQ(runInProcess({"watch", "folder", "--latency", "0", folder.string()}).status, 2);
}

TEST(TqkitWatchTest, ReachPrintsFlagsStatusAndTextAndWatchesChanges) {
  auto source = std::make_shared<ManualReachabilitySource>();
  ScopedReachabilitySource installed(source);
  source->setFlags("0.0.0.0", ReachabilityFlag::Reachable | ReachabilityFlag::IsDirect);
  source->setFlags("192.0.2.7", 0);
  auto internet = runInProcess({"reach", "--internet"});
  EXPECT_EQ(internet.status, 0) << internet.err;
  EXPECT_EQ(internet.out, "{\"flags\":\"XR ------d\",\"status\":2,\"statusString\":\"WiFi\",\"target\":\"0.0.0.0\"}\n");
  auto url = runInProcess({"reach", "https://192.0.2.7/inbox"});
  EXPECT_EQ(url.out, "{\"flags\":\"X- -------\",\"status\":0,\"statusString\":\"No Connection\",\"target\":\"192.0.2.7\"}\n");

  auto watching = std::async(std::launch::async, [] { return runInProcess({"reach", "--watch", "--count", "2", "--timeout", "20", "192.0.2.7"}); });
  while (source->watchCount("192.0.2.7") == 0) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  source->setFlags("192.0.2.7", ReachabilityFlag::Reachable);
  auto watched = watching.get();
  EXPECT_EQ(watched.status, 0) << watched.err;
  EXPECT_EQ(watched.out, "{\"flags\":\"X- -------\",\"status\":0,\"statusString\":\"No Connection\",\"target\":\"192.0.2.7\"}\n"
                         "{\"flags\":\"XR -------\",\"status\":2,\"statusString\":\"WiFi\",\"target\":\"192.0.2.7\"}\n");

  EXPECT_EQ(runInProcess({"reach"}).status, 2);
  EXPECT_EQ(runInProcess({"reach", "--internet", "--local-wifi"}).status, 2);
  EXPECT_EQ(runInProcess({"reach", "--count", "1", "--internet"}).status, 2);
  auto bad = runInProcess({"reach", "file:///tmp/x"});
  EXPECT_EQ(bad.status, 1);
  EXPECT_NE(bad.err.find("tqkit: reach: cannot make a target of 'file:///tmp/x'"), std::string::npos) << bad.err;
}

}  // namespace
}  // namespace tq
