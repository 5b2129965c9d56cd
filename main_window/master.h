#pragma once
// The main window: the frame that holds the capture window and every command surface, composed
// of the frame every feature reports to (core/main_window.h) and the feature panels that live
// with their features (the movie run and the series in capture/, the triggers and the joystick in triggers/,
// the AVI builder in movie/, the picture server in net/, the tuner in peripherals/).
//
// Its handlers live in this folder by feature: the frame's controls in master.cpp, its load
// and close in master_life.cpp, the operating modes in operating_modes.cpp, run control in
// run_control.cpp, the main timers and the status panel in main_timers.cpp, the menus and
// toolbar commands in main_window_commands.cpp, the still store in still_store.cpp, the
// parameter files in parameter_file.cpp.

#include "capture/movie_run_panel.h"
#include "capture/series_panel.h"
#include "core/main_window.h"
#include "core/program.h"
#include "movie/avi_builder_panel.h"
#include "net/picture_server_panel.h"
#include "peripherals/tuner_panel.h"
#include "triggers/joystick_panel.h"
#include "triggers/trigger_panel.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class Image;

class Master : public MainWindow,
               public MovieRunPanel,
               public SeriesPanel,
               public TriggerPanel,
               public JoystickPanel,
               public AviBuilderPanel,
               public PictureServerPanel,
               public TunerPanel {
 public:
  explicit Master(Program& program);

  // ---- the window's life
  void Load() override;
  bool QueryUnload(ui::UnloadMode mode) override;
  void Resize() override;
  // The fixed captions of the window and its panels, in the operator's language.
  void LanguageControls();
  void SaveCoolBar(const std::string& title);
  void LoadCoolBar(const std::string& title);

  // ---- operating modes
  void SetOperationMode(const std::string& mode) override;
  void ApplyFilenameExtension() override;

  // ---- main window commands
  void SetAudioCapture(bool on) override;

  // ---- run control
  void CaptureControl(bool start) override;
  void StopMovieRecord() override;
  void RecordNow() override;
  // Ends what runs as the operator's Stop ends it (a movie run is stopped on its device and
  // closed out, a series closed, a motion wait disarmed) and returns once the close-out is done,
  // or after a grace time in which a device did not end its run.
  void StopRunForExit();
  // A request from outside to end the program (the system asks the process to end): what runs
  // ends as StopRunForExit ends it, then the main window closes as the program closes it,
  // saving the set-up, without the close box's question. Called from the top of the event loop,
  // with no handler of the program under way.
  void EndOnRequest();
  void AllControls(bool enabled);
  void OperationBar_ButtonClick(ui::ToolbarButton& button);

  // ---- still capture and the image store
  // The present frame into a new picture window of its own, and onto the clipboard if asked.
  void TakeSnapshot(bool to_clipboard);
  // One picture of a series, stored by the rule of MultipleImageMode.
  void ShootImage() override;
  // Hands a stored file to the upload window and shows it; returns when the upload has ended.
  void SendToFtp(const std::string& file, const std::string& remote_name);
  void ShootImageOfSeries() override;
  void CloseForExit() override;
  void ShowTunerBand(platform::VideoCaptureControl& control) override { ShowForDevice(control); }
  void SaveStill(const std::string& path, int quality) override;
  void SaveParameterFile(const std::string& path) override;
  void LoadParameterFile(const std::string& path) override;

  // ---- main timers and status panel
  void MasterTimer_Timer();
  void MasterTimer2_Timer();
  void ReadShortcutKeys();
  // F1 opens the user guide once for each press while the main window is in front.
  void ReadHelpKey();

 private:
  void CreateToolbars();
  void CreateBands();
  void CreateMenus();
  void CreateStatusBar();
  void ConnectHandlers();
  void FileMenu_Click(int index);
  void EditMenu_Click(int index);
  void ViewMenu_Click(int index);
  void VideoMenu_Click(int index);
  void imagesettings_ButtonClick(ui::ToolbarButton& button);
  void AskImageCounter();
  void TakeClipboardStillInto(Image& window);
  void DrawInsertion(Image& window);
  void Toolbars_Click(int index);
  void cpu_priority_Click(int index);
  void AudioMenu_Click(int index);
  void WindowMenu_Click(int index);
  void HelpMenu_Click(int index);
  // The Scanner menu: "Select Source" and "Acquire", which the main toolbar's scanner keys share.
  void TWAINx_Click(int index);
  void AcquireScan();
  // The volume control in its view, or a message that the desktop has none.
  void OpenVolumeControl(platform::VolumeView view);
  // The check of "Preview Audio" and the control kind's audio preview follow each other.
  void ToggleAudioPreview();
  // The desktop's system information tool, else the program's own window.
  void ShowSystemInformation();
  void ShowAbout();
  // The user guide in the browser, or a message that it is not installed.
  void ShowUserGuide();
  // A companion program the system cannot run: the message the program gives for it.
  void CompanionMissing(const std::string& message);
  void MainToolbar_ButtonClick(ui::ToolbarButton& button);
  void DeviceToolbar_ButtonClick(ui::ToolbarButton& button);
  void DeviceToolbar_ButtonMenuClick(ui::ToolbarButton& button, ui::ButtonMenu& entry);
  void MovieToolbar_ButtonClick(ui::ToolbarButton& button);
  void ChooseCaptureFilename();
  void ChooseSeriesFilename();
  void MultipleImageToolbar_ButtonClick(ui::ToolbarButton& button);
  void MultipleImageMode_Click();
  void ArmMotionDetectorFromOperationBar(ui::ToolbarButton& button);
  void ShowAutostart();
  void ToggleSerialSwitch(bool pressed);
  void CaptureImage();
  // Moves the still on the clipboard into the picture window, draws the overlay on it and
  // keeps it as the window's restore point.
  void PlaceStillInImageWindow();
  void OpenCaptureFile();
  // The toolbar's "viewer": a movie picked in the "Open AVI" dialog, in a new movie window.
  void OpenMovieFromToolbar();
  void SaveCaptureFile();
  // Asks for a movie and opens it in the subtitle editor; cancel does nothing.
  void OpenSubtitleEditor();
  void LoadGeometry();
  void SaveGeometry();
  void LoadToolbarChecks();
  void TranslateFixedLabels();
  void FillLists();
  void OpenCommandLineFile();
  void CreateLabels();
  void ShowCaptureButton();
  void ShowRecordButton();
  void CaptureMovie(bool start);
  void CaptureMultiple(bool start);
  bool OverwriteDeclined(bool with_icon);
  double FreeBytesOfCaptureDrive();

  Program& program_;
  bool help_key_down_ = false;  // F1 as the last tick saw it
};

}  // namespace zr
