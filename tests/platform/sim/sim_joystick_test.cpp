// The hand-off every reporting joystick shares, on the simulated one: states reach the listener
// through the loop, a late listener hears the last state, and an ended joystick reaches nobody.

#include "platform/sim/sim_joystick.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "platform/sim/sim_event_loop.h"

namespace zr::platform::sim {
namespace {

TEST(SimJoystick, StatesArriveThroughTheLoopALateListenerHearsTheLastAndAnEndedJoystickNobody) {
  SimEventLoop loop;
  auto joystick = std::make_unique<SimJoystick>(loop);
  std::vector<int> heard;
  joystick->Report(1);
  joystick->Report(0);
  loop.Yield();
  joystick->SetListener([&](int buttons) { heard.push_back(buttons); });
  EXPECT_TRUE(heard.empty());
  loop.Yield();
  joystick->Report(6);
  loop.Yield();
  EXPECT_EQ(heard, (std::vector<int>{0, 6}));

  joystick->SetListener(nullptr);
  joystick->Report(2);
  loop.Yield();
  // A state posted before the joystick ended reaches nobody.
  joystick->SetListener([&](int buttons) { heard.push_back(buttons); });
  joystick->Report(1);
  joystick.reset();
  loop.Yield();
  EXPECT_EQ(heard, (std::vector<int>{0, 6}));
}

}  // namespace
}  // namespace zr::platform::sim
