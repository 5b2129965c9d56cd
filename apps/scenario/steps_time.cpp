// Virtual time: the wall clock, waiting and yielding, and commands scheduled for later.

#include "apps/scenario/steps.h"

namespace zr::scenario {

namespace {

void Do(Runner& runner, const Clock& clock) {
  runner.world().clock.Set(
      platform::DateTime{clock.year, clock.month, clock.day, clock.hour, clock.minute, clock.second});
}

void Do(Runner& runner, const Wait& wait) { runner.world().loop.AdvanceBy(wait.delay.count()); }

void Do(Runner& runner, const Yield&) { runner.world().loop.Yield(); }

// The scheduled command runs as scripted work, so also inside a yield or a blocking call.
void Do(Runner& runner, const After& after) {
  auto& loop = runner.world().loop;
  const Command* command = after.command.get();
  loop.Schedule(loop.NowMs() + after.delay.count(), platform::sim::SimEventLoop::WorkKind::Scripted,
                [&runner, command] { runner.Execute(*command); });
}

}  // namespace

void AddTimeSteps(StepTable& steps) {
  steps.On<Clock>(Do);
  steps.On<Wait>(Do);
  steps.On<Yield>(Do);
  steps.On<After>(Do);
}

}  // namespace zr::scenario
