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

class JoystickPanel : public ::testing::Test {
 protected:
  JoystickPanel() { world.Start(); }
  scenario::World world;
};

TEST_F(JoystickPanel, WithoutAJoystickTheTriggerIsChosenByHandOrBySetUpAndTheStatusSaysSo) {
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

// The joystick button's menu offers the joysticks found, the one read checked; the one chosen
// is kept for the next start. Without a joystick the menu says so and offers nothing.
TEST_F(JoystickPanel, TheMenuOfTheJoystickButtonOffersTheJoysticksFoundAndKeepsTheChoice) {
  auto& button = world.program().Window<Master>().TriggerType.Button("joystick");
  ASSERT_EQ(button.ButtonMenus.size(), 1u);
  EXPECT_EQ(button.ButtonMenus[0]->Text.get(), "Sim Joystick");
  EXPECT_TRUE(button.ButtonMenus[0]->Checked);
  world.program().Window<Master>().TriggerType.ClickButtonMenu(button, *button.ButtonMenus[0]);
  EXPECT_EQ(world.settings->Get("Video Zandrell", "Joystick", "Device", ""), "Sim Joystick");

  world.joystick.present = false;
  world.program().Window<Master>().TriggerType.ClickButton(button);
  ASSERT_EQ(button.ButtonMenus.size(), 1u);
  EXPECT_EQ(button.ButtonMenus[0]->Text.get(), "No joystick found");
  EXPECT_FALSE(button.ButtonMenus[0]->Enabled);
  world.program().Window<Master>().TriggerType.ClickButtonMenu(button, *button.ButtonMenus[0]);
  EXPECT_EQ(world.settings->Get("Video Zandrell", "Joystick", "Device", ""), "Sim Joystick");
}

// The main window that listened has gone when the state is handled: under the address sanitizer
// a listener left behind is a use after free.
TEST_F(JoystickPanel, AStateThatArrivesAfterTheMainWindowEndedReachesNobody) {
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
