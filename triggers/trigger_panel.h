#pragma once
// The triggers' panel of the main window: the trigger toolbar of a series with the controls
// that belong to each trigger, the motion detector's timer and label, and the interval tick
// that shoots. The toolbar is the only record of the choice.

#include <string>

#include "capture/series_panel.h"
#include "core/program.h"
#include "triggers/motion_detector.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class TriggerPanel {
 private:
  ui::Window& window_;
  Program& program_;
  SeriesPanel& series_;

 public:
  TriggerPanel(ui::Window& window, Program& program, SeriesPanel& series);

  ui::Toolbar TriggerType{window_, "TriggerType"};
  ui::Label MotionLabel{window_, "MotionLabel"};
  ui::Timer MotionTimer{window_, "MotionTimer", 600, false};
  ui::Timer MultipleImageTimer{window_, "MultipleImageTimer", 1000, false};

  // Presses the trigger `key` ("manual", "timer", "motion", "joystick") and shows the controls
  // that belong to it; any other key changes nothing.
  void SelectTrigger(const std::string& key);
  // Arms the motion detector: no baseline, the record button reads "stop", the button "motion"
  // that was pressed and the one of the operation bar are off (none for a menu entry, which
  // passes no button) and the timer runs.
  void ArmMotion(ui::ToolbarButton* pressed);
  // The trigger tool tips in the operator's language.
  void LanguageControls();

 private:
  void MultipleImageTimer_Timer();
  void IntervalField_Change(const ui::RangeControl& field, ui::Label& display);
  void MotionTimer_Timer();
  void FireMotion();
  void OfferJoysticks();
  void TriggerType_ButtonMenuClick(ui::ToolbarButton& button, ui::ButtonMenu& entry);
};

}  // namespace zr
