#pragma once
// The scheduled start: a small window that starts the prepared capture by itself, when a
// countdown reaches zero or at a chosen date and time. Its only deed is CaptureControl(true),
// which unloads the window and so ends the schedule.

#include <string_view>

#include "base/date_time.h"
#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class Autostart : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "Autostart";
  explicit Autostart(Program& program);

  ui::TabStrip counttag{*this, "counttag", {"by Countdown", "by Date and Time"}};
  ui::ControlArray<ui::Frame> countframe;  // 0 the countdown's fields, 1 the date and time's
  ui::RangeControl chor{*this, "chor"};
  ui::RangeControl cmin{*this, "cmin"};
  ui::RangeControl csec{*this, "csec"};
  ui::RangeControl bh{*this, "bh"};
  ui::RangeControl bm{*this, "bm"};
  ui::RangeControl bs{*this, "bs"};
  ui::ListControl ano{*this, "ano"};
  ui::ListControl mes{*this, "mes"};
  ui::ListControl dia{*this, "dia"};
  ui::Label RealDate{*this, "RealDate"};
  ui::Label RealTime{*this, "RealTime"};
  ui::CommandButton start{*this, "start"};
  ui::CommandButton CancelButton{*this, "CancelButton"};
  ui::Timer CDTimer{*this, "CDTimer", 1000, true};
  ui::Timer tcountdown{*this, "tcountdown", 1000, false};
  ui::Timer tdata{*this, "tdata", 1000, false};

  void Load() override;
  // The two clamps of the chosen target, run by the clock at each second: the date may not
  // lie before today within the present year, the time not before now on today's date.
  void process_date();
  void process_time();

 private:
  void ShowClock(const DateTime& now);
  void FillDateLists(const DateTime& now);
  void ShowSelectedFrame();
  void CDTimer_Timer();
  void tcountdown_Timer();
  void tdata_Timer();
  void start_Click();
  void FollowMainWindowState();
  void Fire();
  int ChosenYear() const;
  int ChosenMonth() const { return mes.ListIndex + 1; }
  int ChosenDay() const;

  Program& program_;
};

}  // namespace zr
