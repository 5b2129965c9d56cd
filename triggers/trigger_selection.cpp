// What fires the next picture of a series: the pressed button of the trigger toolbar, and the
// controls that belong to it. The toolbar is the only record of the choice.

#include "base/formatting.h"
#include "core/master.h"

namespace zr {

void Master::SelectTrigger(const std::string& key) {
  static const char* const kKeys[] = {"manual", "timer", "motion", "joystick"};
  if (std::find(std::begin(kKeys), std::end(kKeys), key) == std::end(kKeys)) return;
  for (const char* trigger : kKeys) TriggerType.Button(trigger).Value = key == trigger ? 1 : 0;
  const bool by_hand = key == "manual" || key == "joystick";
  const bool by_timer = key == "timer";
  Shooter.Visible = by_hand;
  for (ui::Control* control : std::initializer_list<ui::Control*>{
           &MultipleImageHoursDisplay, &MultipleImageHoursControl, &MultipleImageMinutesDisplay,
           &MultipleImageMinutesControl, &MultipleImageSecondsDisplay, &MultipleImageSecondsControl})
    control->Visible = by_timer;
  MotionLabel.Visible = key == "motion";
}

// The interval is a count of ticks, not a time of day: a store that takes longer than a tick
// delays the count.
void Master::MultipleImageTimer_Timer() {
  auto& state = program_.state;
  state.ShotElapsed += 1;
  const double interval = state.ShotInterval.value_or(0);
  if (state.ShotElapsed < interval) {
    StatusString.Caption = LeadingBlank(interval - state.ShotElapsed) + program_.Translate(" seconds to capture another frame");
    return;
  }
  state.ShotElapsed = 0;
  StatusString.Caption = program_.Translate("Capturing");
  ShootImageOfSeries();
}

}  // namespace zr
