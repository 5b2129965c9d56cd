// What the scenarios cannot reach of the joystick trigger: a machine without a joystick, and a
// button state that arrives after the main window has gone.

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "apps/scenario/world.h"
#include "main_window/master.h"
#include "main_window/parameter_file.h"

namespace zr {
namespace {

TEST(JoystickPanel, WithoutAJoystickTheTriggerIsChosenByHandOrBySetUpAndTheStatusSaysSo) {
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

  // A set-up that chooses the joystick says the same.
  master.TriggerType.ClickButton(master.TriggerType.Button("manual"));
  master.StatusString.Caption = "Ready";
  const std::string setup = world.AppFolder() + "joystick.zrp";
  std::ofstream(setup, std::ios::binary) << "Capture=Multiple Image\r\nTrigger=Joystick\r\n";
  LoadParameters(world.program(), setup);
  EXPECT_EQ(master.TriggerType.Button("joystick").Value, 1);
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
