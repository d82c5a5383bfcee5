// The interactive log console of tqkit, driven through a terminal
// multiplexer: typing filters, a recreated log is followed, Ctrl-L clears,
// Esc quits. Skipped when tmux or the tqkit binary of this build is missing.

#include <chrono>

#include "tests/logging/LoggerTestSupport.h"
#include "tests/support/RunCommand.h"

namespace tq {
namespace {

using namespace tq::testing;
using namespace std::chrono_literals;

std::string run(const std::string& command) { return runCommand(command).output; }

class TmuxConsole {
 public:
  explicit TmuxConsole(std::string socket) : socket_(std::move(socket)) {}
  ~TmuxConsole() { run(tmux("kill-server") + " 2>/dev/null"); }

  std::string tmux(const std::string& arguments) const { return "tmux -L " + socket_ + " " + arguments; }
  void start(const std::string& command) { run(tmux("new-session -d -s c -x 80 -y 20 " + shellQuoted(command))); }
  void keys(const std::string& keys) { run(tmux("send-keys -t c " + keys)); }
  std::string screen() const { return run(tmux("capture-pane -p -t c") + " 2>/dev/null"); }
  bool running() const { return std::system((tmux("has-session -t c") + " 2>/dev/null").c_str()) == 0; }
  // Each look at the screen runs tmux: looked at every 50 ms.
  bool waitFor(const std::function<bool(const std::string&)>& condition) const {
    return eventually([&] { return condition(screen()); }, 5.0, 50ms);
  }

 private:
  std::string socket_;
};

bool has(const std::string& screen, const std::string& text) { return screen.find(text) != std::string::npos; }

TEST(TqkitConsoleInteractiveTest, FilterFollowClearAndQuit) {
  fs::path tqkit = tqkitOfThisBuild();
  if (!fs::exists(tqkit)) GTEST_SKIP() << "tqkit is not built in this tree";
  if (std::system("tmux -V >/dev/null 2>&1") != 0) GTEST_SKIP() << "tmux is not installed";
  TemporaryFolder folder("tmux");
  std::string log = (folder / "p.log").string();
  auto logLines = [&](const std::string& lines) {
    ASSERT_EQ(std::system((tqkit.string() + " log --no-console --log " + log + " " + lines).c_str()), 0);
  };
  logLines("'alpha one' 'beta two' 'alpha three'");

  TmuxConsole console("tq-test-" + std::to_string(::getpid()));
  console.start(tqkit.string() + " console --log " + log);
  ASSERT_TRUE(console.waitFor([](auto& s) { return has(s, "     3 : ") && has(s, "alpha three"); }))
      << console.screen();
  EXPECT_TRUE(has(console.screen(), "Ctrl-L clear"));
  EXPECT_TRUE(has(console.screen(), "Esc quit")) << "the way out shows on an 80-column terminal";

  console.keys("al");
  ASSERT_TRUE(console.waitFor([](auto& s) { return has(s, "Filter: al_  (3+ characters)"); })) << console.screen();
  EXPECT_TRUE(has(console.screen(), "beta two")) << "two characters do not filter yet";
  console.keys("p");
  ASSERT_TRUE(console.waitFor([](auto& s) { return has(s, "Filter: alp_") && !has(s, "beta two"); }))
      << console.screen();

  // Lines appended to the same file show as they come, numbered on.
  ASSERT_EQ(std::system(("printf 'alpha appended\\n' >> " + log).c_str()), 0);
  ASSERT_TRUE(console.waitFor([](auto& s) { return has(s, "     4 : alpha appended"); })) << console.screen();

  logLines("'alpha four' 'gamma'");  // a new launch recreates the log
  ASSERT_TRUE(console.waitFor([](auto& s) { return has(s, "alpha four") && !has(s, "alpha one"); }))
      << console.screen();
  EXPECT_FALSE(has(console.screen(), "gamma"));

  console.keys("C-l");
  ASSERT_TRUE(console.waitFor([](auto& s) { return !has(s, "alpha four"); })) << console.screen();
  console.keys("C-r");
  ASSERT_TRUE(console.waitFor([](auto& s) { return has(s, "alpha four"); })) << console.screen();

  console.keys("Escape");
  EXPECT_TRUE(eventually([&] { return !console.running(); }, 5.0, 50ms)) << "Esc quits";
}

}  // namespace
}  // namespace tq
