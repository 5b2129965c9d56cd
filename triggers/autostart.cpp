#include "triggers/autostart.h"

#include <array>
#include <initializer_list>
#include <string>

#include "base/formatting.h"
#include "core/main_window.h"
#include "core/window_registry.h"

namespace zr {

namespace {

// The names of the clock and of the month list, in English; the operator reads them in the
// program's language, in the clock's fixed order of day, month and year.
constexpr std::array<const char*, 7> kWeekdays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                  "Thursday", "Friday", "Saturday"};
constexpr std::array<const char*, 12> kMonths = {"January", "February", "March",     "April",   "May",      "June",
                                                 "July",    "August",   "September", "October", "November", "December"};
constexpr int kYearsAhead = 10;
constexpr int kDaysInList = 31;

std::string TwoDigits(int number) { return (number < 10 ? "0" : "") + std::to_string(number); }

std::string LongDate(const Program& program, const DateTime& now) {
  return program.Translate(kWeekdays[static_cast<std::size_t>(DayOfWeek(now))]) + ", " + TwoDigits(now.day) + " " +
         program.Translate(kMonths[static_cast<std::size_t>(now.month - 1)]) + " " + std::to_string(now.year);
}

void SetRange(ui::RangeControl& control, int max) {
  control.Min = 0;
  control.Max = max;
}

}  // namespace

Autostart::Autostart(Program& program) : ui::Window(program.services.loop, "Autostart"), program_(program) {
  countframe.Add(*this, "countframe", 0);
  countframe.Add(*this, "countframe", 1);
  SetRange(chor, 10);
  SetRange(cmin, 59);
  SetRange(csec, 59);
  SetRange(bh, 23);
  SetRange(bm, 59);
  SetRange(bs, 59);
  counttag.OnTabClick = [this] { ShowSelectedFrame(); };
  start.OnClick = [this] { start_Click(); };
  CancelButton.OnClick = [this] { program_.SlotOf<Autostart>().Unload(); };
  CDTimer.OnTimer = [this] { CDTimer_Timer(); };
  tcountdown.OnTimer = [this] { tcountdown_Timer(); };
  tdata.OnTimer = [this] { tdata_Timer(); };
}

void Autostart::Load() {
  Caption = program_.Translate("Autostart");
  for (auto& tab : counttag.Tabs) tab = program_.Translate(tab);
  start.Caption = program_.Translate("OK");
  CancelButton.Caption = program_.Translate("Cancel");
  const DateTime now = program_.services.clock.Now();
  ShowClock(now);
  FillDateLists(now);
  const auto& state = program_.state;
  if (state.AutostartHours < 24 && state.AutostartMinutes < 60 && state.AutostartSeconds < 60) {
    chor.Value = state.AutostartHours;
    cmin.Value = state.AutostartMinutes;
    csec.Value = state.AutostartSeconds;
  }
  ShowSelectedFrame();
}

void Autostart::ShowClock(const DateTime& now) {
  RealDate.Caption = LongDate(program_, now);
  RealTime.Caption = program_.services.clock.TimeOfDayText(now);
}

// Eleven years from this one; the twelve months; 31 days whatever the month, each with a
// leading blank. Today is selected.
void Autostart::FillDateLists(const DateTime& now) {
  ano.Clear();
  for (int year = now.year; year <= now.year + kYearsAhead; ++year) ano.AddItem(std::to_string(year));
  ano.ListIndex = 0;
  mes.Clear();
  for (const char* month : kMonths) mes.AddItem(program_.Translate(month));
  mes.ListIndex = now.month - 1;
  dia.Clear();
  for (int day = 1; day <= kDaysInList; ++day) dia.AddItem(" " + std::to_string(day));
  dia.ListIndex = now.day - 1;
}

void Autostart::ShowSelectedFrame() {
  countframe(0).Visible = counttag.SelectedIndex == 1;
  countframe(1).Visible = counttag.SelectedIndex == 2;
}

int Autostart::ChosenYear() const { return static_cast<int>(NumericPrefix(ano.Text())); }
int Autostart::ChosenDay() const { return static_cast<int>(NumericPrefix(dia.Text())); }

// The clock runs as long as the window exists, armed or not, so the clamps go on dragging the
// target along, hidden fields included.
void Autostart::CDTimer_Timer() {
  ShowClock(program_.services.clock.Now());
  process_date();
  process_time();
}

void Autostart::process_date() {
  const DateTime now = program_.services.clock.Now();
  if (ChosenYear() != now.year) return;
  const int month = ChosenMonth();
  if (mes.ListIndex >= 0 && month < now.month) mes.ListIndex = now.month - 1;
  // The day is held to today only when the month already was this month before the clamp above.
  if (dia.ListIndex >= 0 && month == now.month && ChosenDay() < now.day) dia.ListIndex = now.day - 1;
}

void Autostart::process_time() {
  const DateTime now = program_.services.clock.Now();
  if (ChosenYear() != now.year || ChosenMonth() != now.month || ChosenDay() != now.day) return;
  if (bh.Value < now.hour) bh.Value = now.hour;
  if (bh.Value != now.hour) return;
  if (bm.Value < now.minute) bm.Value = now.minute;
  if (bm.Value == now.minute && bs.Value < now.second) bs.Value = now.second;
}

void Autostart::start_Click() {
  if (counttag.SelectedIndex == 1) {
    auto& state = program_.state;
    state.AutostartHours = static_cast<std::int16_t>(chor.Value.get());
    state.AutostartMinutes = static_cast<std::int16_t>(cmin.Value.get());
    state.AutostartSeconds = static_cast<std::int16_t>(csec.Value.get());
    tcountdown.Enabled = true;
    for (ui::Control* field : std::initializer_list<ui::Control*>{&start, &cmin, &chor, &csec}) field->Visible = false;
  } else {
    tdata.Enabled = true;
    for (ui::Control* field : std::initializer_list<ui::Control*>{&start, &bh, &bm, &bs}) field->Visible = false;
    for (ui::ListControl* list : {&mes, &ano, &dia}) list->Enabled = false;
  }
  counttag.Enabled = false;
}

void Autostart::FollowMainWindowState() {
  if (program_.MainWindow().WindowState == static_cast<int>(ui::WindowState::Minimized))
    WindowState = static_cast<int>(ui::WindowState::Minimized);
}

void Autostart::Fire() {
  program_.state.AutostartAccepted = True;
  program_.MainWindow().CaptureControl(true);
}

// The capture starts at the tick that brings the display to 00:00:00. A countdown started at
// 00:00:00 stops and fires in the first branch and fires again in the closing test of the same
// tick: the start is called twice, unguarded.
void Autostart::tcountdown_Timer() {
  FollowMainWindowState();
  const int h = chor.Value;
  const int m = cmin.Value;
  const int s = csec.Value;
  if (h == 0 && m == 0 && s < 4) {
    if (s > 0) {
      csec.Value = s - 1;
    } else {
      tcountdown.Enabled = false;
      Fire();
    }
  } else if (s == 0 && (m > 0 || h > 0)) {
    csec.Value = 59;
    if (cmin.Value == 0 && h > 0) {
      cmin.Value = 59;
      chor.Value = chor.Value - 1;
    } else {
      cmin.Value = cmin.Value - 1;
    }
  } else {
    csec.Value = s - 1;
  }
  if (chor.Value == 0 && cmin.Value == 0 && csec.Value == 0) {
    tcountdown.Enabled = false;
    Fire();
  }
}

// Equality at one second's resolution, at this timer's ticks only. The year is not compared:
// a date a year ahead fires on its month, day and time of the present year. The timer is not
// stopped here; the start unloads the window.
void Autostart::tdata_Timer() {
  FollowMainWindowState();
  const DateTime now = program_.services.clock.Now();
  if (ChosenMonth() == now.month && ChosenDay() == now.day && bh.Value == now.hour && bm.Value == now.minute &&
      bs.Value == now.second)
    Fire();
}

namespace {

using Registration = WindowRegistration<Autostart>;
const Registration kRegistration{{
    {"process_date", Registration::Calls(&Autostart::process_date)},
    {"process_time", Registration::Calls(&Autostart::process_time)},
}};

}  // namespace

}  // namespace zr
