#pragma once
// The main window: the frame that holds the capture window and every command surface. Its
// controls are state in their own right: the image of the button "record" or the enabled flag
// of a timer is the only record of whether a run is going on.
//
// Handlers live by feature: the window's controls in core/master.cpp, its load and close in
// core/master_life.cpp, the operating modes in core/operating_modes.cpp, run control in
// core/run_control.cpp, the main timers and the status panel in core/main_timers.cpp, the
// menus and toolbar commands in core/main_window_commands.cpp, the trigger choice in
// triggers/trigger_selection.cpp.

#include "core/program.h"
#include "core/webshare_server.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class Image;

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
  ui::ControlArray<ui::Toolbar> imagesettings;
  ui::Toolbar TunerBar{*this, "TunerBar"};
  ui::RangeControl TunerSlider{*this, "TunerSlider"};

  // ---- movie settings
  ui::Frame MoviePanel{*this, "MoviePanel"};
  ui::CheckBox MovieDisableLimit{*this, "MovieDisableLimit"};
  ui::RangeControl MovieHoursControl{*this, "MovieHoursControl"};
  ui::RangeControl MovieMinutesControl{*this, "MovieMinutesControl"};
  ui::RangeControl MovieSecondsControl{*this, "MovieSecondsControl"};
  ui::Label MovieHoursDisplay{*this, "MovieHoursDisplay"};
  ui::Label MovieMinutesDisplay{*this, "MovieMinutesDisplay"};
  ui::Label MovieSecondsDisplay{*this, "MovieSecondsDisplay"};
  ui::RangeControl MovieFrameRateControl{*this, "MovieFrameRateControl"};
  ui::Label MovieFrameRateDisplay{*this, "MovieFrameRateDisplay"};
  ui::ListControl previewrate{*this, "previewrate"};
  ui::Label PreviewRateLabel{*this, "PreviewRateLabel"};

  // ---- multiple image settings
  ui::ListControl MultipleImageMode{*this, "MultipleImageMode"};
  ui::ListControl MultipleImageFrameRate{*this, "MultipleImageFrameRate"};
  ui::RangeControl MultipleImageHoursControl{*this, "MultipleImageHoursControl"};
  ui::RangeControl MultipleImageMinutesControl{*this, "MultipleImageMinutesControl"};
  ui::RangeControl MultipleImageSecondsControl{*this, "MultipleImageSecondsControl"};
  ui::Label MultipleImageHoursDisplay{*this, "MultipleImageHoursDisplay"};
  ui::Label MultipleImageMinutesDisplay{*this, "MultipleImageMinutesDisplay"};
  ui::Label MultipleImageSecondsDisplay{*this, "MultipleImageSecondsDisplay"};
  ui::Label MotionLabel{*this, "MotionLabel"};

  // ---- AVI builder
  ui::ListControl lstDIBList{*this, "lstDIBList"};
  ui::Toolbar AviBuilderCursors{*this, "AviBuilderCursors"};
  ui::ListControl AVIBuildFPS{*this, "AVIBuildFPS"};
  ui::CommandButton BuildAVI{*this, "BuildAVI"};

  // ---- picture server
  WebShareServer stream;
  ui::TextBox WebShare_Port{*this, "WebShare_Port"};
  ui::RangeControl WebShare_Quality{*this, "WebShare_Quality"};
  ui::Label WebShare_Url{*this, "WebShare_Url"};

  // ---- fixed labels, by index
  ui::ControlArray<ui::Label> Labels;

  // ---- sound settings
  ui::ListControl AudioChannels{*this, "AudioChannels"};
  ui::ListControl AudioBits{*this, "AudioBits"};
  ui::ListControl AudioRate{*this, "AudioRate"};
  ui::ListControl AudioDevice{*this, "AudioDevice"};
  ui::ListControl AudioInput{*this, "AudioInput"};
  ui::ListControl AudioLevel{*this, "AudioLevel"};

  // ---- menus
  ui::ControlArray<ui::Menu> FileMenu;
  ui::ControlArray<ui::Menu> EditMenu;
  ui::ControlArray<ui::Menu> ViewMenu;
  ui::ControlArray<ui::Menu> VideoMenu;
  ui::ControlArray<ui::Menu> AudioMenu;
  ui::ControlArray<ui::Menu> Toolbars;
  ui::ControlArray<ui::Menu> cpu_priority;

  // ---- timers
  ui::Timer MasterTimer{*this, "MasterTimer", 100, true};
  ui::Timer MasterTimer2{*this, "MasterTimer2", 3000, false};
  ui::Timer MotionTimer{*this, "MotionTimer", 600, false};
  ui::Timer MultipleImageTimer{*this, "MultipleImageTimer", 1000, false};

  // ---- the window's life
  void Load() override;
  bool QueryUnload(ui::UnloadMode mode) override;
  void Resize() override;
  void LanguageControls();
  void SaveCoolBar(const std::string& title);
  void LoadCoolBar(const std::string& title);

  // ---- operating modes
  void SetOperationMode(const std::string& mode);
  void ApplyFilenameExtension();
  // Drops the frames the AVI builder has collected.
  void ClearAVIBuilderBuffer();

  // ---- main window commands
  void SetAudioCapture(bool on);
  void SelectTrigger(const std::string& key);

  // ---- run control
  void CaptureControl(bool start);
  void StopMovieRecord();
  void RecordNow();
  void AllControls(bool enabled);
  void OperationBar_ButtonClick(ui::ToolbarButton& button);

  // ---- still capture and the image store
  // The present frame into a new picture window of its own, and onto the clipboard if asked.
  void TakeSnapshot(bool to_clipboard);
  // One picture of a series, stored by the rule of MultipleImageMode.
  void ShootImage();
  // Hands a stored file to the upload window and shows it.
  void SendToFtp(const std::string& file, const std::string& remote_name);

  // ---- main timers and status panel
  void MasterTimer_Timer();
  void MasterTimer2_Timer();
  void ReadShortcutKeys();

  // The button "record" of the operation bar, whose image tells whether a run is going on.
  ui::ToolbarButton& RecordButton() { return OperationBar.Button("record"); }

 private:
  void CreateToolbars();
  void CreateBands();
  void CreateMenus();
  void CreateStatusBar();
  void ConnectHandlers();
  void MovieFrameRateControl_Change();
  void MovieLimitControl_Change(ui::RangeControl& control, ui::Label& display);
  void MovieDisableLimit_Click();
  void FileMenu_Click(int index);
  void EditMenu_Click(int index);
  void ViewMenu_Click(int index);
  void VideoMenu_Click(int index);
  void imagesettings_ButtonClick(ui::ToolbarButton& button);
  void MultipleImageTimer_Timer();
  void ShootImageOfSeries();
  void AskImageCounter();
  void TakeClipboardStillInto(Image& window);
  void DrawInsertion(Image& window);
  void Toolbars_Click(int index);
  void cpu_priority_Click(int index);
  void AudioMenu_Click(int index);
  void MainToolbar_ButtonClick(ui::ToolbarButton& button);
  void DeviceToolbar_ButtonClick(ui::ToolbarButton& button);
  void DeviceToolbar_ButtonMenuClick(ui::ToolbarButton& button, ui::ButtonMenu& entry);
  void MovieToolbar_ButtonClick(ui::ToolbarButton& button);
  void MultipleImageToolbar_ButtonClick(ui::ToolbarButton& button);
  void MultipleImageMode_Click();
  void ArmMotionDetector();
  void ArmMotionDetectorFromOperationBar();
  void CaptureImage();
  // Moves the still on the clipboard into the picture window, draws the overlay on it and
  // keeps it as the window's restore point.
  void PlaceStillInImageWindow();
  void OpenCaptureFile();
  void SaveCaptureFile();
  void LoadGeometry();
  void SaveGeometry();
  void LoadToolbarChecks();
  void TranslateFixedLabels();
  void FillLists();
  void ReadStations();
  void WriteStations();
  void OpenCommandLineFile();
  void CreateLabels();
  void CreateTriggerControls();
  void ShowCaptureButton();
  void ShowRecordButton();
  void CaptureMovie(bool start);
  void CaptureMultiple(bool start);
  bool OverwriteDeclined(bool with_icon);
  double FreeBytesOfCaptureDrive();

  Program& program_;
};

}  // namespace zr
