#include "triggers/joystick_panel.h"

#include "core/main_window.h"

namespace zr {

JoystickPanel::JoystickPanel(Program& program, TriggerPanel& triggers, SeriesPanel& series)
    : program_(program), triggers_(triggers), series_(series) {
  program_.services.joystick.SetListener([this](int buttons) { Joystick1_Change(buttons); });
}

JoystickPanel::~JoystickPanel() { program_.services.joystick.SetListener(nullptr); }

void JoystickPanel::Joystick1_Change(int buttons) {
  if (buttons == 0) {
    JoystickReleased = true;
    return;
  }
  const bool joystick_trigger = triggers_.TriggerType.Button("joystick").Value == 1;
  if (joystick_trigger && buttons >= 1 && JoystickReleased) {
    JoystickReleased = false;
    if (series_.Shooter.Enabled) series_.Shooter.Click();
  }
}

}  // namespace zr
