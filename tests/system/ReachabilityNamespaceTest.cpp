// Reachability on the real kernel, in a private network namespace of its
// own (`unshare -rn`: a user namespace makes it possible without
// privileges): links brought up and down, addresses and routes added and
// removed with `ip`, and the flags and change callbacks checked against
// them. The checks run in a child process of this program inside the
// namespace; this test reports what it found.

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/support/Eventually.h"
#include "tests/support/HelperProcess.h"
#include "tests/support/TemporaryFolder.h"
#include "tq/system/TQReachability.h"

namespace tq {
namespace {

using tq::testing::eventually;

constexpr double kPatience = 5.0;

int failures = 0;
int checks = 0;

void check(bool ok, const std::string& what) {
  ++checks;
  if (ok) return;
  std::fprintf(stderr, "FAIL: %s\n", what.c_str());
  ++failures;
}

bool run(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }

Ref<TQReachability> at(const char* address) {
  return TQReachability::reachabilityWithURL(std::string("http://") + address);
}

void expectFlags(const Ref<TQReachability>& target, const std::string& expected, const std::string& when) {
  bool ok = eventually([&] { return target->currentReachabilityFlags() == expected; }, kPatience,
                       std::chrono::milliseconds(20));
  check(ok, when + ": " + target->reachabilityRef().description() + " is '" + target->currentReachabilityFlags() +
                "', expected '" + expected + "'");
}

int insideNamespace(const std::vector<std::string>&) {
  auto internet = TQReachability::reachabilityForInternetConnection();
  auto neighbour = at("10.1.0.2");
  auto self = at("10.1.0.1");
  auto far = at("192.0.2.1");
  expectFlags(internet, "X- -------", "no links");
  expectFlags(neighbour, "X- -------", "no links");

  check(run("ip link set lo up") && run("ip link add v0 type veth peer name v1") &&
            run("ip addr add 10.1.0.1/24 dev v0") && run("ip link set v1 up") && run("ip link set v0 up"),
        "setting up the links with ip");
  expectFlags(neighbour, "XR ------d", "on the link's network");
  expectFlags(self, "XR -----ld", "our own address");
  expectFlags(internet, "X- -------", "no default route yet");
  auto localhost = TQReachability::reachabilityWithHostname("localhost");
  expectFlags(localhost, "XR -----ld", "a name resolved off the caller's thread");

  // The changes the notifier reported, as flag strings.
  tq::testing::Recorder<> changes;
  far->setReachabilityBlock([&](TQReachability&, std::uint32_t flags) { changes(TQReachability::flagString(flags)); });
  auto changesReach = [&](std::size_t count) {
    return eventually([&] { return changes.snapshot().size() >= count; }, kPatience, std::chrono::milliseconds(5));
  };
  check(far->startNotifier(), "starting the notifier");
  check(run("ip route add default via 10.1.0.2"), "adding the default route");
  check(changesReach(1), "no callback after the default route came");
  expectFlags(internet, "XR -------", "a default route through a gateway");
  expectFlags(far, "XR -------", "beyond the gateway");

  check(run("ip addr add 10.9.0.1/24 dev v0"), "adding an unrelated address");
  std::this_thread::sleep_for(std::chrono::milliseconds(400));
  check(changes.snapshot().size() == 1, "a change that did not change the flags was reported");

  check(run("ip link set v0 down"), "bringing the link down");
  check(changesReach(2), "no callback after the link went down");
  expectFlags(neighbour, "X- -------", "the link is down");
  check(run("ip link set v0 up") && run("ip route add default via 10.1.0.2"), "bringing the link back");
  check(changesReach(3), "no callback after the link came back");
  far->stopNotifier();
  auto seen = changes.snapshot();
  check(seen.size() == 3 && seen[0] == "XR -------" && seen[1] == "X- -------" && seen[2] == "XR -------",
        "the changes reported were not reachable, unreachable, reachable");
  std::fprintf(stderr, "%d checks, %d failed\n", checks, failures);  // stderr: the role ends with _Exit, unflushed
  return failures;
}

const tq::testing::HelperRole namespaceRole("reachability-namespace", insideNamespace);

TEST(ReachabilityNamespaceTest, FlagsAndChangesFollowLinksAddressesAndRoutes) {
  if (!run("unshare -rn true")) GTEST_SKIP() << "private network namespaces (unshare -rn) are not allowed here";
  if (!run("unshare -rn ip link show")) GTEST_SKIP() << "the ip tool (iproute2) is not installed";
  tq::testing::TemporaryFolder folder{"netns"};
  const std::string output = folder.string() + "/output";
  // The program by its path: a process in another user namespace may not
  // open this one's /proc entries.
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
  const std::string command =
      "TQ_TEST_HELPER_ROLE=reachability-namespace unshare -rn '" + program + "' > " + output + " 2>&1";
  int status = std::system(command.c_str());
  std::ifstream file(output);
  std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  EXPECT_EQ(status, 0) << text;
  EXPECT_NE(text.find(" checks, 0 failed"), std::string::npos) << "the checks did not run:\n" << text;
}

}  // namespace
}  // namespace tq
