// Processes of one product on one defaults file, with the real kernel.
// Another process's change is announced here, our own writes are not.
// In the storm, eight writers set their own keys and a few shared ones, from
// the main thread in batches of every size and from a worker thread as fast
// as the lock lets them, while a reader parses the file's raw bytes without
// taking the lock; and writers are killed in the middle of their flushes.
// What must hold: no reader ever sees half a file or a file that lost keys,
// every key ends with its last value, and a killed writer takes only its
// unflushed batch with it, never the file and never the lock.
//
// The processes are this test program again, each running one disabled test
// of DefaultsChild (ChildTestProcess.h).

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/settings/ChildTestProcess.h"
#include "tests/settings/SettingsTestSupport.h"
#include "tests/support/Eventually.h"

namespace tq {
namespace {

using testing::childStoreOnFile;
using testing::childVariable;
using testing::SettingsTest;
using testing::startChildTest;
using testing::waitForChild;

// The orders a child finds in its environment.
constexpr char kFileVariable[] = "TQ_STORM_FILE";
constexpr char kWriterVariable[] = "TQ_STORM_WRITER";
constexpr char kKeysVariable[] = "TQ_STORM_KEYS";
constexpr char kSeedVariable[] = "TQ_STORM_SEED";
constexpr char kReportVariable[] = "TQ_STORM_REPORT";

constexpr int kWriters = 8;
constexpr int kKeysPerWriter = 200;
constexpr int kSharedKeys = 4;
constexpr int kLargestMainBatch = 48;

// ---- What a writer writes: known to the writer and to the test ----

struct Write {
  std::string key;
  std::int64_t value;
};

// A writer's keys "w<writer>_<i>" are each set once, and a random quarter
// of them set again; after about one write in four comes a write of one of
// the shared keys. The odd keys go from the main thread in batches of 1 to 48
// writes (one `setDefaultsInDictionary` each), the even ones one by one from
// a worker thread, whose batches are whatever gathers before the main thread
// next drains its run loop. Every value is written once only, so a value in
// the file names the write it came from.
struct WriterPlan {
  std::vector<std::vector<Write>> mainBatches;
  std::vector<Write> workerWrites;
};

std::string distinctKey(int writer, int index) { return "w" + std::to_string(writer) + "_" + std::to_string(index); }
std::string sharedKey(int index) { return "shared" + std::to_string(index); }

WriterPlan planFor(int writer, int keys, std::uint32_t seed) {
  std::mt19937 random(seed + 7919u * std::uint32_t(writer));
  const std::int64_t base = std::int64_t(writer) * 1'000'000;
  std::int64_t sharedSequence = 0;
  std::vector<Write> mainWrites;
  WriterPlan plan;
  for (int pass = 0; pass < 2; ++pass) {
    for (int index = 0; index < keys; ++index) {
      if (pass == 1 && random() % 4) continue;
      auto& writes = index % 2 ? mainWrites : plan.workerWrites;
      writes.push_back({distinctKey(writer, index), base + pass * 100'000 + index});
      if (random() % 4 == 0)
        writes.push_back({sharedKey(int(random() % kSharedKeys)), base + 900'000 + sharedSequence++});
    }
  }
  for (std::size_t next = 0; next < mainWrites.size();) {
    std::size_t size = std::min<std::size_t>(1 + random() % kLargestMainBatch, mainWrites.size() - next);
    plan.mainBatches.emplace_back(mainWrites.begin() + std::ptrdiff_t(next),
                                  mainWrites.begin() + std::ptrdiff_t(next + size));
    next += size;
  }
  return plan;
}

// What the file must hold once writers have finished: each distinct key its
// last value; each shared key the last value that one of the writing threads
// gave it (whichever flush came last, it carried its writer's latest value).
struct ExpectedValues {
  std::map<std::string, std::int64_t> distinct;
  std::map<std::string, std::set<std::int64_t>> shared;

  void add(const WriterPlan& plan) {
    std::map<std::string, std::int64_t> lastOfMain, lastOfWorker;
    for (const auto& batch : plan.mainBatches) {
      for (const auto& write : batch) lastOfMain[write.key] = write.value;
    }
    for (const auto& write : plan.workerWrites) lastOfWorker[write.key] = write.value;
    for (const auto* last : {&lastOfMain, &lastOfWorker}) {
      for (const auto& [key, value] : *last) {
        if (key.rfind("shared", 0) == 0) {
          shared[key].insert(value);
        } else {
          distinct[key] = value;
        }
      }
    }
  }
};

void expectFileHolds(const Dictionary& contents, const ExpectedValues& expected) {
  int lost = 0;
  for (const auto& [key, value] : expected.distinct) {
    Id stored = contents.objectForKey(key);
    if (stored && stored->isEqual(*num(value))) continue;
    if (++lost <= 10)
      ADD_FAILURE() << key << " holds " << (stored ? stored->description()->utf8() : "nothing")
                    << " instead of its last value " << value;
  }
  EXPECT_EQ(lost, 0) << "distinct keys without their last value";
  for (const auto& [key, candidates] : expected.shared) {
    auto stored = cast<Number>(contents.objectForKey(key));
    ASSERT_NE(stored, nullptr) << key << " was lost";
    EXPECT_EQ(candidates.count(stored->integerValue()), 1u)
        << key << " holds " << stored->integerValue() << ", which no writer wrote last";
  }
}

testing::ChildVariables writerOrders(const std::string& file, int writer, int keys, std::uint32_t seed) {
  return {{kFileVariable, file},
          {kWriterVariable, std::to_string(writer)},
          {kKeysVariable, std::to_string(keys)},
          {kSeedVariable, std::to_string(seed)}};
}

pid_t startWriter(const std::string& file, int writer, int keys, std::uint32_t seed) {
  return startChildTest("DefaultsChild.DISABLED_Writes", writerOrders(file, writer, keys, seed));
}

TEST(DefaultsChild, DISABLED_Writes) {
  const std::string file = childVariable(kFileVariable);
  ASSERT_FALSE(file.empty());
  const auto plan = planFor(std::stoi(childVariable(kWriterVariable)), std::stoi(childVariable(kKeysVariable)),
                            std::uint32_t(std::stoul(childVariable(kSeedVariable))));
  auto store = childStoreOnFile(file);
  std::thread worker([&] {
    for (const auto& write : plan.workerWrites) store->setInteger(write.value, write.key);
  });
  for (const auto& batch : plan.mainBatches) {
    auto values = MutableDictionary::dictionary();
    for (const auto& write : batch) values->setObject(num(write.value), str(write.key));
    store->setDefaultsInDictionary(*values);
    // Flushes the worker's writes gathered so far, and takes in the news
    // of the other writers' changes.
    RunLoop::main().drain();
  }
  worker.join();
  auto manager = store->_manager_();
  EXPECT_TRUE(RunLoop::main().runUntil(
      [&] {
        auto pending = manager->_pendingChanges_();
        return !pending || pending->count() == 0;
      },
      60.0))
      << "writes still pending at the end";
}

using DefaultsAcrossProcessesTest = SettingsTest;

TEST_F(DefaultsAcrossProcessesTest, AnotherProcesssWriteIsAnnouncedHereAndOurOwnIsNot) {
  auto store = makeStore();
  ASSERT_TRUE(store->_manager_()->isWatching());
  auto announcedKey = [&](const char* key) {  // another process's changes come as a dictionary
    for (const auto& changes : store->notified) {
      auto dictionary = cast<Dictionary>(changes);
      if (dictionary && (!key || dictionary->objectForKey(key))) return true;
    }
    return false;
  };
  store->setInteger(1, "own");
  RunLoop::main().runFor(2.5);
  EXPECT_FALSE(announcedKey(nullptr)) << "this process's own write came back as another's";

  pid_t writer = startWriter(folder.file("Defaults.plist"), 0, 1, 1);
  ASSERT_GT(writer, 0);
  ASSERT_EQ(waitForChild(writer, 60.0), 0);
  EXPECT_TRUE(RunLoop::main().runUntil([&] { return announcedKey("w0_0"); }, 15.0));
  ExpectedValues expected;
  expected.add(planFor(0, 1, 1));
  EXPECT_EQ(store->integerForKey("w0_0"), expected.distinct.at("w0_0"));
}

// ---- The reader: the file's raw bytes, as any program would read them ----

struct ReadTally {
  int reads = 0;
  int torn = 0;          // missing, unparsable, or not a dictionary
  int shrunk = 0;        // fewer keys than an earlier read: a write was lost
  int intermediate = 0;  // neither the first state nor the last: read during the storm
};

ReadTally readUntil(const std::string& file, const std::atomic<bool>& stop) {
  std::vector<std::size_t> keyCounts;
  ReadTally tally;
  std::optional<std::string> previous;
  for (bool last = false; !last; std::this_thread::sleep_for(std::chrono::milliseconds(2))) {
    last = stop;  // one more read after the writers are done: the last state is known
    ++tally.reads;
    auto bytes = FileSystem::system()->readFile(file);
    // The same bytes again are the same version, already parsed; parsing
    // only new versions leaves the processor to the writers.
    if (bytes && bytes == previous) continue;
    auto contents = bytes ? cast<Dictionary>(PropertyList::read(*bytes)) : nullptr;
    if (!contents) {
      ++tally.torn;
      continue;
    }
    previous = std::move(bytes);
    if (!keyCounts.empty() && contents->count() < keyCounts.back()) ++tally.shrunk;
    keyCounts.push_back(std::max(contents->count(), keyCounts.empty() ? 0 : keyCounts.back()));
  }
  for (auto count : keyCounts) tally.intermediate += count > keyCounts.front() && count < keyCounts.back();
  return tally;
}

using DefaultsStormTest = SettingsTest;

TEST_F(DefaultsStormTest, WritersInBatchesKeepEveryKeyWhileAReaderNeverSeesHalfAFile) {
  auto store = makeStore();
  const std::string file = folder.file("Defaults.plist");
  const std::uint32_t seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));

  // The reader is a thread of this process: it reads without the store, so
  // it sees the file exactly as another program would.
  std::atomic<bool> stop{false};
  ReadTally tally;
  std::thread reader([&] { tally = readUntil(file, stop); });
  std::vector<pid_t> writers;
  for (int writer = 0; writer < kWriters; ++writer) writers.push_back(startWriter(file, writer, kKeysPerWriter, seed));
  for (int writer = 0; writer < kWriters; ++writer) {
    EXPECT_EQ(writers[writer] > 0 ? waitForChild(writers[writer], 90.0) : -1, 0) << "writer " << writer;
  }
  stop = true;
  reader.join();
  EXPECT_EQ(tally.torn, 0) << "of " << tally.reads << " reads";
  EXPECT_EQ(tally.shrunk, 0) << "reads that had lost keys an earlier read saw, of " << tally.reads;
  EXPECT_GT(tally.intermediate, 0) << "the reader saw nothing of the storm itself";

  auto contents = fileContents();
  ASSERT_NE(contents, nullptr);
  ExpectedValues expected;
  for (int writer = 0; writer < kWriters; ++writer) expected.add(planFor(writer, kKeysPerWriter, seed));
  expectFileHolds(*contents, expected);
}

// ---- A writer killed in the middle of its flushes ----

constexpr int kVictimBatchLimit = 5000;  // a victim that is never killed ends after these

// Batch `batch` of victim `victim`: 1 to 12 keys "victim<v>_<batch>_<j>", all
// holding the batch's number.
Ref<Dictionary> victimBatch(int victim, std::uint32_t seed, int batch) {
  std::mt19937 random(seed + 104729u * std::uint32_t(victim) + std::uint32_t(batch));
  auto values = MutableDictionary::dictionary();
  int size = 1 + int(random() % 12);
  for (int index = 0; index < size; ++index) {
    values->setObject(
        num(batch), str("victim" + std::to_string(victim) + "_" + std::to_string(batch) + "_" + std::to_string(index)));
  }
  return values;
}

// Writes batch after batch from the main thread, where each flush runs within
// the call, and appends each batch's number to its report file once the
// flush that wrote it has returned (one write() each: a kill leaves whole
// lines).
TEST(DefaultsChild, DISABLED_ReportsFlushedBatches) {
  const std::string file = childVariable(kFileVariable);
  ASSERT_FALSE(file.empty());
  const int victim = std::stoi(childVariable(kWriterVariable));
  const auto seed = std::uint32_t(std::stoul(childVariable(kSeedVariable)));
  const int report = ::open(childVariable(kReportVariable).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  ASSERT_GE(report, 0);
  auto store = childStoreOnFile(file);
  auto manager = store->_manager_();
  for (int batch = 0; batch < kVictimBatchLimit; ++batch) {
    RunLoop::main().drain();  // the other writers' news: reads of the file, also to be killed in
    store->setDefaultsInDictionary(*victimBatch(victim, seed, batch));
    auto pending = manager->_pendingChanges_();
    ASSERT_TRUE(!pending || pending->count() == 0) << "batch " << batch << " was not flushed";
    std::string line = std::to_string(batch) + "\n";
    ASSERT_EQ(::write(report, line.data(), line.size()), ssize_t(line.size()));
  }
}

// The batch numbers a victim has reported so far.
std::vector<int> reportedBatches(const std::string& report) {
  std::vector<int> batches;
  std::ifstream in(report);
  for (std::string line; std::getline(in, line) && !in.eof();) batches.push_back(std::stoi(line));
  return batches;
}

// How many of the batch's keys the file holds with the batch's value.
int keysHeld(const Dictionary& contents, int victim, std::uint32_t seed, int batch) {
  int held = 0;
  for (const auto& [key, value] : victimBatch(victim, seed, batch)->entries()) {
    Id stored = contents.objectForKey(key);
    held += stored && stored->isEqual(*value);
  }
  return held;
}

// Starts a victim, lets it report a random number of batches, and kills it
// when `killNow` says so; answers the last batch it reported (-2 on failure).
int runVictim(const std::string& file, const std::string& report, int victim, std::uint32_t seed, std::mt19937& random,
              const std::function<bool()>& killNow) {
  auto orders = writerOrders(file, victim, 0, seed);
  orders.emplace_back(kReportVariable, report);
  pid_t pid = startChildTest("DefaultsChild.DISABLED_ReportsFlushedBatches", orders);
  if (pid <= 0) return -2;
  const std::size_t killAfter = 2 + random() % 20;
  bool reached = testing::eventually([&] { return reportedBatches(report).size() >= killAfter; }, 60.0);
  bool chosen = reached && killNow();
  ::kill(pid, SIGKILL);
  EXPECT_EQ(waitForChild(pid, 30.0), -SIGKILL) << "victim " << victim << " ended before it was killed";
  const auto batches = reportedBatches(report);
  EXPECT_TRUE(reached) << "victim " << victim << " reported " << batches.size() << " batches";
  EXPECT_TRUE(chosen) << "victim " << victim << ": the moment to kill it never came";
  const bool inOrder = batches.empty() || batches.back() == int(batches.size()) - 1;
  EXPECT_TRUE(inOrder) << "victim " << victim << "'s report is not batch after batch";
  return reached && chosen && inOrder ? int(batches.size()) - 1 : -2;
}

TEST_F(DefaultsStormTest, AWriterKilledWhileFlushingLosesAtMostItsUnflushedBatchAndNeverTheFileOrTheLock) {
  auto store = makeStore();
  const std::string file = folder.file("Defaults.plist");
  const std::uint32_t seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  auto reportOf = [&](int victim) { return folder.file("victim" + std::to_string(victim)); };

  // Two writers keep the file busy and the lock contended while the first
  // victims die at random moments among their flushes, which take most of
  // their time.
  const int otherKeys = 60;
  std::vector<pid_t> others;
  for (int writer = 0; writer < 2; ++writer) others.push_back(startWriter(file, writer, otherKeys, seed));
  const int victims = 3;
  std::vector<int> lastReported(victims, -2);
  for (int victim = 0; victim < victims - 1; ++victim) {
    lastReported[victim] = runVictim(file, reportOf(victim), victim, seed, random, [&] {
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 5000));
      return true;
    });
  }
  for (pid_t writer : others) EXPECT_EQ(waitForChild(writer, 90.0), 0) << "another writer";
  // The last dies alone with the file, while it holds the exclusive lock.
  lastReported[victims - 1] = runVictim(file, reportOf(victims - 1), victims - 1, seed, random, [&] {
    return testing::eventually([&] { return testing::lockHeldExclusively(file); }, 30.0, std::chrono::milliseconds(0));
  });

  // The killed writers' locks went with them: a later writer gets through.
  pid_t later = startWriter(file, 2, 10, seed);
  ASSERT_GT(later, 0);
  EXPECT_EQ(waitForChild(later, 60.0), 0) << "a later writer could not take the lock";

  auto contents = fileContents();
  ASSERT_NE(contents, nullptr) << "the file no longer parses";
  for (int victim = 0; victim < victims; ++victim) {
    SCOPED_TRACE("victim " + std::to_string(victim) + ", last batch reported " + std::to_string(lastReported[victim]));
    ASSERT_GE(lastReported[victim], 0);
    for (int batch = 0; batch <= lastReported[victim]; ++batch) {
      EXPECT_EQ(keysHeld(*contents, victim, seed, batch), int(victimBatch(victim, seed, batch)->count()))
          << "reported batch " << batch << " is not all in the file";
    }
    // The batch in flight when the kill came is in the file whole or not at all.
    int inFlight = lastReported[victim] + 1;
    int held = keysHeld(*contents, victim, seed, inFlight);
    EXPECT_TRUE(held == 0 || held == int(victimBatch(victim, seed, inFlight)->count()))
        << held << " keys of the batch in flight reached the file";
    EXPECT_EQ(keysHeld(*contents, victim, seed, inFlight + 1), 0) << "a batch never written is in the file";
  }
  ExpectedValues expected;
  for (int writer = 0; writer < 2; ++writer) expected.add(planFor(writer, otherKeys, seed));
  expected.add(planFor(2, 10, seed));
  // Shared keys are the storm's concern; here only the writers' own keys.
  expected.shared.clear();
  expectFileHolds(*contents, expected);
}

}  // namespace
}  // namespace tq
