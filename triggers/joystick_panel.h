#pragma once
// The joystick trigger of the main window: with the trigger "joystick" pressed, a press of any
// joystick button does what the shoot button does, once per press however long it is held.

#include "capture/series_panel.h"
#include "core/program.h"
#include "triggers/trigger_panel.h"

namespace zr {

class JoystickPanel {
 private:
  Program& program_;
  TriggerPanel& triggers_;
  SeriesPanel& series_;

 public:
  // Listens to the program's joystick until the panel ends.
  JoystickPanel(Program& program, TriggerPanel& triggers, SeriesPanel& series);
  ~JoystickPanel();
  JoystickPanel(const JoystickPanel&) = delete;
  JoystickPanel& operator=(const JoystickPanel&) = delete;

  // All buttons were seen up since the last press that counted. It starts false, so a button
  // held when the program starts counts only after it has been released.
  bool JoystickReleased = false;

  // A change of the joystick's button state: 0 when no button is down, else the pressed
  // buttons; a negative state is no state and changes nothing.
  void Joystick1_Change(int buttons);
};

}  // namespace zr
