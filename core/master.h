#pragma once
// The main window: the frame that holds the capture window and every command surface. Its
// controls are state in their own right: the image of the button "record" or the enabled flag
// of a timer is the only record of whether a run is going on.
//
// Handlers live by feature: run control in core/run_control.cpp, the main timers and the
// status panel in core/main_timers.cpp, the window's life in core/master.cpp.

#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class Master : public ui::Window {
 public:
  explicit Master(Program& program);

  // ---- status panel and status bar
  ui::Frame StatusPanel{*this, "StatusPanel"};
  ui::Label StatusCaption{*this, "StatusCaption"};
  ui::Label StatusString{*this, "StatusString"};
  ui::Label TimeCaption{*this, "TimeCaption"};
  ui::Label StatusTime{*this, "StatusTime"};
  ui::Label DroppedCaption{*this, "DroppedCaption"};
  ui::Label DroppedString{*this, "DroppedString"};
  ui::StatusBar MasterStatus{*this, "MasterStatus"};

  // ---- bands and toolbars
  ui::CoolBar MasterBar{*this, "MasterBar"};
  ui::Frame LeftPanel{*this, "LeftPanel"};
  ui::Toolbar MainToolbar{*this, "MainToolbar"};
  ui::Toolbar DeviceToolbar{*this, "DeviceToolbar"};
  ui::Toolbar OperationBar{*this, "OperationBar"};
  ui::Toolbar MovieToolbar{*this, "MovieToolbar"};
  ui::Toolbar MultipleImageToolbar{*this, "MultipleImageToolbar"};
  ui::Toolbar TriggerType{*this, "TriggerType"};
  ui::CommandButton Shooter{*this, "Shooter"};

  // ---- movie settings
  ui::Frame MoviePanel{*this, "MoviePanel"};
  ui::CheckBox MovieDisableLimit{*this, "MovieDisableLimit"};
  ui::RangeControl MovieHoursControl{*this, "MovieHoursControl"};
  ui::RangeControl MovieMinutesControl{*this, "MovieMinutesControl"};
  ui::RangeControl MovieSecondsControl{*this, "MovieSecondsControl"};
  ui::RangeControl MovieFrameRateControl{*this, "MovieFrameRateControl"};
  ui::Label MovieFrameRateDisplay{*this, "MovieFrameRateDisplay"};
  ui::ListControl previewrate{*this, "previewrate"};

  // ---- multiple image settings
  ui::ListControl MultipleImageMode{*this, "MultipleImageMode"};
  ui::ListControl MultipleImageFrameRate{*this, "MultipleImageFrameRate"};
  ui::RangeControl MultipleImageHoursControl{*this, "MultipleImageHoursControl"};
  ui::RangeControl MultipleImageMinutesControl{*this, "MultipleImageMinutesControl"};
  ui::RangeControl MultipleImageSecondsControl{*this, "MultipleImageSecondsControl"};

  // ---- sound settings
  ui::ListControl AudioChannels{*this, "AudioChannels"};
  ui::ListControl AudioBits{*this, "AudioBits"};
  ui::ListControl AudioRate{*this, "AudioRate"};
  ui::ListControl AudioDevice{*this, "AudioDevice"};
  ui::ListControl AudioInput{*this, "AudioInput"};
  ui::ListControl AudioLevel{*this, "AudioLevel"};

  // ---- menus
  ui::ControlArray<ui::Menu> AudioMenu;
  ui::ControlArray<ui::Menu> Toolbars;

  // ---- timers
  ui::Timer MasterTimer{*this, "MasterTimer", 100, true};
  ui::Timer MasterTimer2{*this, "MasterTimer2", 3000, false};
  ui::Timer MotionTimer{*this, "MotionTimer", 600, false};
  ui::Timer MultipleImageTimer{*this, "MultipleImageTimer", 1000, false};

  // ---- the window's life
  void Load() override;

  // ---- run control
  void CaptureControl(bool start);
  void StopMovieRecord();
  void RecordNow();
  void AllControls(bool enabled);
  void OperationBar_ButtonClick(ui::ToolbarButton& button);

  // ---- main timers and status panel
  void MasterTimer_Timer();
  void MasterTimer2_Timer();

  // The button "record" of the operation bar, whose image tells whether a run is going on.
  ui::ToolbarButton& RecordButton() { return OperationBar.Button("record"); }

 private:
  void CreateToolbars();
  void CreateBands();
  void CreateMenus();
  void CreateStatusBar();
  void ConnectHandlers();
  void MovieFrameRateControl_Change();
  void CaptureMovie(bool start);
  void CaptureMultiple(bool start);
  bool OverwriteDeclined(bool with_icon);
  double FreeBytesOfCaptureDrive();

  Program& program_;
};

}  // namespace zr
