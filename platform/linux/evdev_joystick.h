#pragma once
// Joysticks and game pads on Linux: the input event devices with joystick or game pad buttons.
// The one chosen is read on a thread of its own, which posts each change of the button state to
// the logic's loop. Button n of the state's bit mask is the device's n-th button in the order of
// its key codes, as the joystick interface numbers them.

#include <memory>
#include <string>
#include <vector>

#include "platform/event_loop.h"
#include "platform/joystick.h"
#include "platform/linux/evdev_system.h"

namespace zr::platform::linux_impl {

struct JoystickDevice {
  std::string path;  // /dev/input/eventN
  std::string name;  // as the device names itself
};

// The event devices with joystick or game pad buttons that can be opened, in the order of their
// numbers (event2 before event10).
std::vector<JoystickDevice> FindJoysticks(EvdevSystem& system);

// The joystick `wanted` names by its path or its name, or the first found when `wanted` is empty
// or names none; none is read when the machine has none (its name is then empty). `Use` changes
// the joystick read. Called on the logic thread; the joystick posts to `loop` until it ends.
std::unique_ptr<Joystick> OpenJoystick(EvdevSystem& system, EventLoop& loop, const std::string& wanted);

}  // namespace zr::platform::linux_impl
