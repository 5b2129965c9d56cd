// The joystick: the button state the simulated joystick reports. The state reaches the program
// through the loop, as a real joystick's does, and is handled before the next command; inside a
// blocking call of the program it waits, as every posted event does.

#include "apps/scenario/steps.h"

namespace zr::scenario {

namespace {

void Do(Runner& runner, const Joystick& joystick) {
  runner.world().joystick.Report(joystick.buttons);
  if (!runner.world().loop.Blocking()) runner.world().loop.Yield();
}

}  // namespace

void AddJoystickSteps(StepTable& steps) { steps.On<Joystick>(Do); }

}  // namespace zr::scenario
