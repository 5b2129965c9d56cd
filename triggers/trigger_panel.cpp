#include "triggers/trigger_panel.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <utility>

#include "base/formatting.h"
#include "capture/video_screen.h"
#include "core/main_window.h"
#include "core/settings_keys.h"

namespace zr {

namespace {

struct Trigger {
  const char* key;
  const char* tip;
  const char* image;
};
const Trigger kTriggers[] = {{"manual", "Manual Trigger", "manual"},
                             {"timer", "Timer Trigger", "autostart"},
                             {"motion", "Motion Trigger", "motion"},
                             {"joystick", "", "joystick"}};

}  // namespace

// The trigger toolbar starts on the manual trigger, with the interval controls hidden.
TriggerPanel::TriggerPanel(ui::Window& window, Program& program, SeriesPanel& series)
    : window_(window), program_(program), series_(series) {
  for (const auto& trigger : kTriggers)
    TriggerType.AddButton(trigger.key, ui::ButtonStyle::Check, trigger.image).ToolTipText = trigger.tip;
  MotionLabel.Caption = "Trigged by Motion";
  TriggerType.OnButtonClick = [this](ui::ToolbarButton& button) { SelectTrigger(button.Key()); };
  TriggerType.OnButtonMenuClick = [this](ui::ToolbarButton& button, ui::ButtonMenu& entry) {
    TriggerType_ButtonMenuClick(button, entry);
  };
  MultipleImageTimer.OnTimer = [this] { MultipleImageTimer_Timer(); };
  const std::pair<ui::RangeControl*, ui::Label*> fields[] = {
      {&series_.MultipleImageHoursControl, &series_.MultipleImageHoursDisplay},
      {&series_.MultipleImageMinutesControl, &series_.MultipleImageMinutesDisplay},
      {&series_.MultipleImageSecondsControl, &series_.MultipleImageSecondsDisplay}};
  for (const auto& [control, display] : fields)
    control->OnChange = [this, control, display] { IntervalField_Change(*control, *display); };
  MotionTimer.OnTimer = [this] { MotionTimer_Timer(); };
  SelectTrigger("manual");
}

// The field's display follows it; an interval of nothing becomes one second.
void TriggerPanel::IntervalField_Change(const ui::RangeControl& field, ui::Label& display) {
  display.Caption = FormatNumber(field.Value, "#00");
  if (series_.MultipleImageHoursControl.Value == 0 && series_.MultipleImageMinutesControl.Value == 0 &&
      series_.MultipleImageSecondsControl.Value == 0)
    series_.MultipleImageSecondsControl.Value = 1;
}

void TriggerPanel::SelectTrigger(const std::string& key) {
  const auto known = std::find_if(std::begin(kTriggers), std::end(kTriggers),
                                  [&](const Trigger& trigger) { return key == trigger.key; });
  if (known == std::end(kTriggers)) return;
  for (const auto& trigger : kTriggers) TriggerType.Button(trigger.key).Value = key == trigger.key ? 1 : 0;
  const bool by_hand = key == "manual" || key == "joystick";
  const bool by_timer = key == "timer";
  series_.Shooter.Visible = by_hand;
  for (ui::Control* control :
       std::initializer_list<ui::Control*>{&series_.MultipleImageHoursDisplay, &series_.MultipleImageHoursControl,
                                           &series_.MultipleImageMinutesDisplay, &series_.MultipleImageMinutesControl,
                                           &series_.MultipleImageSecondsDisplay, &series_.MultipleImageSecondsControl})
    control->Visible = by_timer;
  MotionLabel.Visible = key == "motion";
  if (key != "joystick") return;
  // Choosing the joystick, by hand or from a set-up, on a machine without one says so in the
  // status line; the choice stays.
  OfferJoysticks();
  if (program_.services.joystick.Name().empty())
    program_.MainWindow().StatusString.Caption = program_.Translate("No joystick found");
}

// The joystick button's menu lists the joysticks the machine has now, the one read checked.
void TriggerPanel::OfferJoysticks() {
  auto& button = TriggerType.Button("joystick");
  button.ButtonMenus.clear();
  const auto& joystick = program_.services.joystick;
  for (const auto& name : joystick.Found()) button.AddMenu(name, name).Checked = name == joystick.Name();
  if (button.ButtonMenus.empty()) button.AddMenu("", program_.Translate("No joystick found")).Enabled = false;
}

// The joystick chosen in the menu is read from now on, and at the next start.
void TriggerPanel::TriggerType_ButtonMenuClick(ui::ToolbarButton& button, ui::ButtonMenu& entry) {
  if (button.Key() != "joystick" || entry.key.empty()) return;
  program_.services.joystick.Use(entry.key);
  SaveSetting(program_.services.settings, settings::JoystickDevice, entry.key);
  OfferJoysticks();
}

void TriggerPanel::LanguageControls() {
  for (const auto& trigger : kTriggers)
    if (*trigger.tip) TriggerType.Button(trigger.key).ToolTipText = program_.Translate(trigger.tip);
  MotionLabel.Caption = program_.Translate("Trigged by Motion");
  OfferJoysticks();
}

// The interval is a count of ticks, not a time of day: a store that takes longer than a tick
// delays the count.
void TriggerPanel::MultipleImageTimer_Timer() {
  auto& state = program_.state;
  auto& status = program_.MainWindow().StatusString;
  state.ShotElapsed += 1;
  const double interval = state.ShotInterval.value_or(0);
  if (state.ShotElapsed < interval) {
    status.Caption =
        LeadingBlank(interval - state.ShotElapsed) + program_.Translate(" seconds to capture another frame");
    return;
  }
  state.ShotElapsed = 0;
  status.Caption = program_.Translate("Capturing");
  program_.MainWindow().ShootImageOfSeries();
}

void TriggerPanel::ArmMotion(ui::ToolbarButton* pressed) {
  auto& main = program_.MainWindow();
  program_.state.MotionAverage = 0;
  program_.state.MotionBaseline = 0;
  main.RecordButton().Image = "stop";
  if (pressed) {
    pressed->Enabled = false;
    main.OperationBar.Button("motion").Enabled = false;
  }
  MotionTimer.Enabled = true;
}

// One look at the picture. The scan yields between its samples, so the buttons that stop the
// timer stay alive; any error of the tick disarms the detector and ends the run quietly.
void TriggerPanel::MotionTimer_Timer() {
  auto& main = program_.MainWindow();
  try {
    auto& screen = program_.Window<VideoScreen>();
    screen.TakeFrame();
    program_.Yield();
    auto& state = program_.state;
    const auto percent = CompareMotion(MotionMean(screen, [this] { program_.Yield(); }),
                                       MotionNumbers{state.MotionAverage, state.MotionBaseline});
    if (!percent) return;
    main.StatusString.Caption = MotionChangedText(*percent);
    if (MotionFires(*percent, program_.state.MotionSensitivity)) FireMotion();
  } catch (const ProgramError&) {
    main.CaptureControl(false);
    MotionTimer.Enabled = false;
    main.StatusString.Caption = program_.Translate("Motion Detector Error");
  }
}

// A series waiting on motion stores a frame and goes on; anything else starts once, and the
// start itself stops the timer.
void TriggerPanel::FireMotion() {
  if (program_.state.MotionRecordArmed == True)
    program_.MainWindow().ShootImage();
  else
    program_.MainWindow().CaptureControl(true);
}

}  // namespace zr
