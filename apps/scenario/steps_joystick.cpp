// The joystick: the button state it reports. The runner does not carry this out yet; a
// scenario that uses it fails at that line.

#include "apps/scenario/steps.h"

namespace zr::scenario {

namespace {

void Do(Runner&, const Joystick&) { NotYetSupported("joystick"); }

}  // namespace

void AddJoystickSteps(StepTable& steps) { steps.On<Joystick>(Do); }

}  // namespace zr::scenario
