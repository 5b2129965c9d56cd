#pragma once
// The frame of the main window, as every feature sees it: the status panel and status bar the
// features report to, the cool bar with its bands, the main, device and operation toolbars,
// the menus and the main timers. The feature panels (movie run, series, triggers, AVI builder,
// picture server, tuner) live with their features; the main window (main_window/master.h) is
// this frame composed with them, and a feature reaches a panel through Program::MainPanel.
//
// The controls are state in their own right: the image of the button "record" or the enabled
// flag of a timer is the only record of whether a run is going on.

#include <string>
#include <string_view>

#include "core/program.h"
#include "platform/capture_backends.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

// The parameter files the program keeps as its memory, in the program folder: the whole set-up
// (written at exit, read at start) and the device's (written by every disconnect, read when a
// driver-kind device connects).
inline constexpr const char* kStateFile = "zrsr.zr2";
inline constexpr const char* kDeviceStateFile = "zrsr.zr3";

class MainWindow : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "Master";

  // ---- status panel and status bar
  ui::Frame StatusPanel{*this, "StatusPanel"};
  ui::Label StatusCaption{*this, "StatusCaption"};
  ui::Label StatusString{*this, "StatusString"};
  ui::Label TimeCaption{*this, "TimeCaption"};
  ui::Label StatusTime{*this, "StatusTime"};
  ui::Label DroppedCaption{*this, "DroppedCaption"};
  ui::Label DroppedString{*this, "DroppedString"};
  ui::StatusBar MasterStatus{*this, "MasterStatus"};

  // ---- bands and the toolbars every mode shows
  ui::CoolBar MasterBar{*this, "MasterBar"};
  ui::Frame LeftPanel{*this, "LeftPanel"};
  ui::Toolbar MainToolbar{*this, "MainToolbar"};
  ui::Toolbar DeviceToolbar{*this, "DeviceToolbar"};
  ui::Toolbar OperationBar{*this, "OperationBar"};

  // ---- fixed labels, by index
  ui::ControlArray<ui::Label> Labels;

  // ---- menus
  ui::ControlArray<ui::Menu> FileMenu;
  ui::ControlArray<ui::Menu> EditMenu;
  ui::ControlArray<ui::Menu> ViewMenu;
  ui::ControlArray<ui::Menu> VideoMenu;
  ui::ControlArray<ui::Menu> AudioMenu;
  ui::ControlArray<ui::Menu> SampleRateMenu;  // the sub-menu of the Audio menu's "Sample Rate"
  ui::ControlArray<ui::Menu> Toolbars;
  ui::ControlArray<ui::Menu> cpu_priority;
  ui::ControlArray<ui::Menu> WindowMenu;
  ui::ControlArray<ui::Menu> HelpMenu;
  ui::ControlArray<ui::Menu> TWAINx;  // the Scanner menu

  // ---- main timers
  ui::Timer MasterTimer{*this, "MasterTimer", 100, true};
  ui::Timer MasterTimer2{*this, "MasterTimer2", 3000, false};

  // The button "record" of the operation bar, whose image tells whether a run is going on.
  ui::ToolbarButton& RecordButton() { return OperationBar.Button("record"); }

  // ---- the commands of the main window that features call
  // The mode by its name, matched without regard to case: "movie", "image", "multiple",
  // "avibuilder", "webshare".
  virtual void SetOperationMode(const std::string& mode) = 0;
  virtual void SetAudioCapture(bool on) = 0;
  virtual void CaptureControl(bool start) = 0;
  virtual void StopMovieRecord() = 0;
  // What a click on the operation bar's "record" does.
  virtual void RecordNow() = 0;
  // One picture of a series; ShootImage lets a failed store raise, ShootImageOfSeries ends
  // that shot only.
  virtual void ShootImage() = 0;
  virtual void ShootImageOfSeries() = 0;
  virtual void ApplyFilenameExtension() = 0;
  // The whole set-up written to or applied from a parameter file.
  virtual void SaveParameterFile(const std::string& path) = 0;
  virtual void LoadParameterFile(const std::string& path) = 0;
  // The capture window's current picture written as a JPEG file at `quality` (10 to 100).
  virtual void SaveStill(const std::string& path, int quality) = 0;
  // The last steps of the program: the device disconnected, the capture window and this
  // window unloaded.
  virtual void CloseForExit() = 0;
  // The tuner band for the device just connected: shown with the tuner's channels and input
  // for a tuner, hidden for any other device.
  virtual void ShowTunerBand(platform::VideoCaptureControl& control) = 0;

 protected:
  MainWindow(Program& program) : ui::Window(program.services.loop, std::string(kWindowName)) {}
};

}  // namespace zr
