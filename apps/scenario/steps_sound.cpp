// Sound: the simulated sound inputs a scenario lists, and the level the input listened to
// reports, which the program hears at its next pass of the loop.

#include <cmath>

#include "apps/scenario/steps.h"

namespace zr::scenario {

namespace {

void Do(Runner& runner, const SoundInputs& inputs) { runner.world().sound_inputs.names = inputs.names; }
void Do(Runner& runner, const SoundLevel& level) {
  runner.world().sound_inputs.Report(static_cast<int>(std::lround(level.level)));
}

}  // namespace

void AddSoundSteps(StepTable& steps) {
  steps.On<SoundInputs>(Do);
  steps.On<SoundLevel>(Do);
}

}  // namespace zr::scenario
