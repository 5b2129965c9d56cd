// The event loop on the virtual clock: timers in due order, posted events, yields, blocking
// calls that hold timers back, and modal runs fed by the input source.

#include "platform/sim/sim_event_loop.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zr::platform::sim {
namespace {

struct RecordingTimer final : TimerClient {
  RecordingTimer(std::vector<std::string>& into, std::string called) : journal(into), name(std::move(called)) {}
  void Fire() override {
    journal.push_back(name);
    if (on_fire) on_fire();
  }
  std::vector<std::string>& journal;
  std::string name;
  std::function<void()> on_fire;
};

class SimEventLoopTest : public ::testing::Test {
 protected:
  SimEventLoop loop;
  std::vector<std::string> journal;
};

TEST_F(SimEventLoopTest, TimersFireInOrderOfTheirDueTime) {
  RecordingTimer fast(journal, "fast"), slow(journal, "slow");
  loop.StartTimer(slow, 300);
  loop.StartTimer(fast, 100);
  loop.AdvanceBy(650);
  // Timers due at the same moment fire in the order they were started.
  EXPECT_EQ(journal, (std::vector<std::string>{"fast", "fast", "slow", "fast", "fast", "fast", "slow", "fast"}));
  EXPECT_EQ(loop.NowMs(), 650);
}

TEST_F(SimEventLoopTest, RestartingATimerStartsItsCountdownAgain) {
  RecordingTimer timer(journal, "tick");
  loop.StartTimer(timer, 100);
  loop.AdvanceBy(90);
  loop.StartTimer(timer, 100);
  loop.AdvanceBy(90);
  EXPECT_TRUE(journal.empty());
  loop.AdvanceBy(10);
  EXPECT_EQ(journal.size(), 1u);
  loop.StopTimer(timer);
  loop.AdvanceBy(1000);
  EXPECT_EQ(journal.size(), 1u);
}

TEST_F(SimEventLoopTest, ATimerDoesNotFireAgainInsideAYieldOfItsOwnHandler) {
  RecordingTimer timer(journal, "tick");
  int depth = 0;
  timer.on_fire = [&] {
    ++depth;
    EXPECT_EQ(depth, 1);
    loop.Yield();
    --depth;
  };
  loop.StartTimer(timer, 10);
  loop.AdvanceBy(30);
  EXPECT_EQ(journal.size(), 3u);
}

TEST_F(SimEventLoopTest, PostedEventsRunAtTheNextPassInOrder) {
  loop.Post([&] { journal.push_back("first"); });
  loop.Post([&] { journal.push_back("second"); });
  EXPECT_TRUE(journal.empty());
  loop.Yield();
  EXPECT_EQ(journal, (std::vector<std::string>{"first", "second"}));
}

TEST_F(SimEventLoopTest, YieldRunsOnlyWhatIsDueNow) {
  loop.Schedule(0, SimEventLoop::WorkKind::Scripted, [&] { journal.push_back("now"); });
  loop.Schedule(5, SimEventLoop::WorkKind::Scripted, [&] { journal.push_back("later"); });
  loop.Yield();
  EXPECT_EQ(journal, (std::vector<std::string>{"now"}));
  EXPECT_EQ(loop.NowMs(), 0);
}

TEST_F(SimEventLoopTest, ABlockingCallLetsTheBackEndWorkButHoldsTimersAndPostedEvents) {
  RecordingTimer timer(journal, "tick");
  loop.StartTimer(timer, 100);
  bool finished = false;
  loop.Schedule(250, SimEventLoop::WorkKind::BackEnd, [&] {
    journal.push_back("back end");
    loop.Post([&] { journal.push_back("posted"); });
  });
  loop.Schedule(500, SimEventLoop::WorkKind::BackEnd, [&] { finished = true; });
  loop.Block([&] { return finished; });
  EXPECT_EQ(loop.NowMs(), 500);
  EXPECT_EQ(journal, (std::vector<std::string>{"back end"}));
  loop.Yield();  // the held tick is coalesced into one
  EXPECT_EQ(journal, (std::vector<std::string>{"back end", "tick", "posted"}));
}

TEST_F(SimEventLoopTest, ABlockingCallThatNothingEndsIsReportedNotHung) {
  EXPECT_THROW(loop.Block([] { return false; }), StuckError);
}

struct ScriptedInput final : InputSource {
  std::vector<std::function<void()>> commands;
  std::size_t next = 0;
  bool RunNextCommand() override {
    if (next >= commands.size()) return false;
    commands[next++]();
    return true;
  }
};

TEST_F(SimEventLoopTest, AModalRunTakesCommandsUntilItsWindowCloses) {
  ScriptedInput input;
  bool closed = false;
  RecordingTimer timer(journal, "tick");
  loop.StartTimer(timer, 1000);
  input.commands = {[&] { loop.AdvanceBy(2500); }, [&] { closed = true; }, [&] { journal.push_back("after"); }};
  loop.SetInputSource(&input);
  loop.RunModal([&] { return closed; });
  EXPECT_EQ(journal, (std::vector<std::string>{"tick", "tick"}));
  EXPECT_EQ(input.next, 2u);
}

TEST_F(SimEventLoopTest, AModalRunWithoutCommandsLeftIsReported) {
  ScriptedInput input;
  loop.SetInputSource(&input);
  EXPECT_THROW(loop.RunModal([] { return false; }), StuckError);
}

}  // namespace
}  // namespace zr::platform::sim
