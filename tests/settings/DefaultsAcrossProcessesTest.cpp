// Several processes of one product on one defaults file, with the real
// kernel: writes merged under the lock so that no process loses another's
// keys, and another process's change announced here within about a second,
// while this process's own writes are not announced back to it.
//
// The other processes are this test program again, running the disabled
// test DefaultsChild.DISABLED_WritesKeys with its orders in the environment.

#include <gtest/gtest.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>

#include "tests/settings/SettingsTestSupport.h"
#include "tests/support/Eventually.h"

extern char** environ;

namespace tq {
namespace {

using testing::SettingsTest;
using testing::TestStore;

// Starts this program as a writer of `count` keys "<prefix>0".. into `file`.
pid_t startWriter(const std::string& file, const std::string& prefix, int count) {
  std::vector<std::string> environment;
  for (char** entry = environ; *entry; ++entry) environment.emplace_back(*entry);
  environment.push_back("TQ_CHILD_FILE=" + file);
  environment.push_back("TQ_CHILD_PREFIX=" + prefix);
  environment.push_back("TQ_CHILD_COUNT=" + std::to_string(count));
  std::vector<char*> envp;
  for (auto& entry : environment) envp.push_back(entry.data());
  envp.push_back(nullptr);
  std::string program = "/proc/self/exe";
  std::string filter = "--gtest_filter=DefaultsChild.DISABLED_WritesKeys";
  std::string disabled = "--gtest_also_run_disabled_tests";
  std::string quiet = "--gtest_brief=1";
  char* argv[] = {program.data(), filter.data(), disabled.data(), quiet.data(), nullptr};
  // The writer's own test report would only clutter this one's.
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = -1;
  int failed = ::posix_spawn(&pid, program.c_str(), &actions, nullptr, argv, envp.data());
  ::posix_spawn_file_actions_destroy(&actions);
  return failed ? -1 : pid;
}

bool finishedWell(pid_t pid) {
  int status = 0;
  if (::waitpid(pid, &status, 0) != pid) return false;
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// What a writer process does: set its keys (key i holds i + 1) one by one on its main thread,
// each one flushed into the shared file at once.
TEST(DefaultsChild, DISABLED_WritesKeys) {
  const char* file = std::getenv("TQ_CHILD_FILE");
  const char* prefix = std::getenv("TQ_CHILD_PREFIX");
  const char* count = std::getenv("TQ_CHILD_COUNT");
  ASSERT_TRUE(file && prefix && count);
  std::string path = file;
  testing::StoreSetting setting;
  setting.path = path;
  setting.bundle = Bundle::bundleWithPath(*str(path.substr(0, path.find_last_of('/')) + "/Product.bundle"));
  testing::nextStore() = setting;
  auto store = TQFoundationDefaults::create<TestStore>();
  for (int i = 0; i < std::atoi(count); ++i) store->setInteger(i + 1, *str(prefix + std::to_string(i)));
}

using DefaultsAcrossProcessesTest = SettingsTest;

TEST_F(DefaultsAcrossProcessesTest, ProcessesWritingAtOnceKeepEachOthersKeys) {
  auto store = makeStore();
  const int perWriter = 40;
  std::vector<pid_t> writers;
  for (const char* prefix : {"a", "b", "c"}) writers.push_back(startWriter(folder.file("Defaults.plist"), prefix, perWriter));
  for (pid_t writer : writers) {
    ASSERT_GT(writer, 0);
    EXPECT_TRUE(finishedWell(writer));
  }
  auto contents = fileContents();
  ASSERT_NE(contents, nullptr);
  for (const char* prefix : {"a", "b", "c"}) {
    for (int i = 0; i < perWriter; ++i) {
      auto key = std::string(prefix) + std::to_string(i);
      auto value = contents->objectForKey(key);
      EXPECT_TRUE(value && value->isEqual(*num(i + 1))) << key << " was lost";
    }
  }
}

TEST_F(DefaultsAcrossProcessesTest, AnotherProcesssWriteIsAnnouncedHereAndOurOwnIsNot) {
  auto store = makeStore();
  ASSERT_TRUE(store->_manager_()->isWatching());
  auto externalAnnouncements = [&] {
    int count = 0;
    for (const auto& changes : store->notified) count += cast<Dictionary>(changes) ? 1 : 0;
    return count;
  };
  store->setInteger(1, "own");
  RunLoop::main().runFor(2.5);
  EXPECT_EQ(externalAnnouncements(), 0) << "this process's own write came back as another's";

  pid_t writer = startWriter(folder.file("Defaults.plist"), "remote", 1);
  ASSERT_GT(writer, 0);
  ASSERT_TRUE(finishedWell(writer));
  EXPECT_TRUE(RunLoop::main().runUntil([&] { return externalAnnouncements() > 0; }, 15.0));
  EXPECT_EQ(store->integerForKey("remote0"), 1);
  bool announced = false;
  for (const auto& changes : store->notified) {
    if (auto dictionary = cast<Dictionary>(changes)) announced = announced || dictionary->objectForKey("remote0");
  }
  EXPECT_TRUE(announced);
}

}  // namespace
}  // namespace tq
