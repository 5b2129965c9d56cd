// What the scenarios cannot reach of the joystick trigger: a machine without a joystick, and a
// button state that arrives after the main window has gone.

#include <gtest/gtest.h>

#include <string>

#include "apps/scenario/world.h"
#include "main_window/master.h"

namespace zr {
namespace {

TEST(JoystickPanel, WithoutAJoystickTheTriggerIsChosenAndTheStatusSaysSo) {
  scenario::World world;
  world.Start();
  Master& master = world.program().Window<Master>();
  master.StatusString.Caption = "Ready";
  master.TriggerType.ClickButton(master.TriggerType.Button("timer"));
  EXPECT_EQ(std::string(master.StatusString.Caption), "Ready");

  world.joystick.present = false;
  master.TriggerType.ClickButton(master.TriggerType.Button("joystick"));
  EXPECT_EQ(master.TriggerType.Button("joystick").Value, 1);
  EXPECT_TRUE(master.Shooter.Visible);
  EXPECT_EQ(std::string(master.StatusString.Caption), "No joystick found");
}

// The main window that listened has gone when the state is handled: under the address sanitizer
// a listener left behind is a use after free.
TEST(JoystickPanel, AStateThatArrivesAfterTheMainWindowEndedReachesNobody) {
  scenario::World world;
  world.Start();
  Master& master = world.program().Window<Master>();
  master.TriggerType.ClickButton(master.TriggerType.Button("joystick"));
  world.joystick.Report(0);
  world.joystick.Report(1);
  world.MakeProgram();
  world.loop.Yield();
  EXPECT_FALSE(world.program().SlotOf<Master>().Loaded());
}

}  // namespace
}  // namespace zr
