#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tq/platform/system/Clocks.h"

using namespace tq;
using namespace std::chrono_literals;

namespace {

TEST(ManualClockTime, AdvanceMovesBothClocksAndSettingTheWallMovesOnlyIt) {
  ManualClock clock(1000.0);
  auto start = clock.now();
  clock.advance(1500ms);
  EXPECT_DOUBLE_EQ(clock.secondsSince1970(), 1001.5);
  EXPECT_EQ(clock.now() - start, 1500ms);
  clock.setSecondsSince1970(5.0);
  EXPECT_DOUBLE_EQ(clock.secondsSince1970(), 5.0);
  EXPECT_EQ(clock.now() - start, 1500ms) << "a wall-clock jump is no elapsed time";
}

TEST(ManualClockTime, SleepersWakeOnlyWhenTheirTimeHasCome) {
  auto clock = std::make_shared<ManualClock>();
  ScopedClock<MonotonicClock> installed(clock);
  std::atomic<bool> woke{false};
  std::thread sleeper([&] {
    MonotonicClock::current()->sleepFor(1s);
    woke = true;
  });
  clock->waitForSleepers(1);
  clock->advance(999ms);
  // The sleeper is still waiting: its deadline has not come.
  clock->waitForSleepers(1);
  EXPECT_FALSE(woke);
  clock->advance(1ms);
  sleeper.join();
  EXPECT_TRUE(woke);
  EXPECT_EQ(clock->sleepers(), 0);
}

TEST(ClockSeams, ScopesPutTheSystemClocksBack) {
  auto manual = std::make_shared<ManualClock>(42.0);
  {
    ScopedClock<WallClock> wall(manual);
    ScopedClock<MonotonicClock> monotonic(manual);
    EXPECT_DOUBLE_EQ(WallClock::current()->secondsSince1970(), 42.0);
    EXPECT_EQ(MonotonicClock::current().get(), static_cast<const MonotonicClock*>(manual.get()));
  }
  EXPECT_EQ(WallClock::current(), WallClock::system());
  EXPECT_EQ(MonotonicClock::current(), MonotonicClock::system());
  EXPECT_GT(WallClock::current()->secondsSince1970(), 1.7e9) << "after 2023";
}

}  // namespace
