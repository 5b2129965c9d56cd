// Sound: the simulated sound inputs a scenario lists and the level the input reports. The
// runner does not carry these out yet; a scenario that uses them fails at that line.

#include "apps/scenario/steps.h"

namespace zr::scenario {

namespace {

void Do(Runner&, const SoundInputs&) { NotYetSupported("sound-inputs"); }
void Do(Runner&, const SoundLevel&) { NotYetSupported("sound level"); }

}  // namespace

void AddSoundSteps(StepTable& steps) {
  steps.On<SoundInputs>(Do);
  steps.On<SoundLevel>(Do);
}

}  // namespace zr::scenario
