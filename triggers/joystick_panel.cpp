#include "triggers/joystick_panel.h"

#include <utility>

#include "core/main_window.h"

namespace zr {

// The trigger choice goes on as the trigger panel handles it; choosing the joystick on a machine
// without one says so in the status line, and the choice stays.
JoystickPanel::JoystickPanel(Program& program, TriggerPanel& triggers, SeriesPanel& series)
    : program_(program), triggers_(triggers), series_(series) {
  auto select = std::move(triggers_.TriggerType.OnButtonClick);
  triggers_.TriggerType.OnButtonClick = [this, select = std::move(select)](ui::ToolbarButton& button) {
    select(button);
    if (button.Key() == "joystick") SayWhenNoJoystickExists();
  };
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

void JoystickPanel::SayWhenNoJoystickExists() {
  if (program_.services.joystick.Name().empty())
    program_.MainWindow().StatusString.Caption = program_.Translate("No joystick found");
}

}  // namespace zr
