#pragma once
// The simulated joystick: present unless a test takes it away, and it reports the button states
// it is told, through the loop as a real joystick's reader thread does.

#include <string>

#include "platform/joystick.h"

namespace zr::platform::sim {

class SimJoystick final : public PostingJoystick {
 public:
  using PostingJoystick::PostingJoystick;

  std::string Name() const override { return present ? "Sim Joystick" : ""; }
  // Posts `buttons` to the listener, as a change of the button state.
  void Report(int buttons) { PostButtons(buttons); }

  bool present = true;
};

}  // namespace zr::platform::sim
