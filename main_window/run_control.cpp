// What "record" means at any moment: the operation bar's click and CaptureControl, the one
// entry every source of a capture ends in.

#include <filesystem>
#include <system_error>

#include "base/formatting.h"
#include "capture/video_screen.h"
#include "core/operating_mode.h"
#include "main_window/master.h"
#include "triggers/autostart.h"
#include "triggers/serial_switch.h"
#include "triggers/sound_detector.h"

namespace zr {

namespace {

using platform::MessageAnswer;
using platform::MessageButtons;
using platform::MessageIcon;

void UnloadIfLoaded(Program& program, std::string_view window) {
  if (auto* slot = program.FindWindow(window)) slot->Unload();
}

// How long a device may take to close its run's file after a stop before the program goes on.
constexpr std::int64_t kCloseOutGraceMs = 15000;

// A file's existence is its length probe succeeding.
bool FileLengthProbeSucceeds(const std::string& path) {
  std::error_code error;
  (void)std::filesystem::file_size(path, error);
  return !error;
}

}  // namespace

void Master::OperationBar_ButtonClick(ui::ToolbarButton& button) {
  const std::string& key = button.Key();
  if (key == "motion") {
    ArmMotionDetectorFromOperationBar(button);
    return;
  }
  if (key == "autostart") {
    ShowAutostart();
    return;
  }
  if (key == "rs232") {
    ToggleSerialSwitch(button.Value == 1);
    return;
  }
  if (key == "sound") {
    program_.Window<AudioDetector>().Show();
    return;
  }
  if (key != "record") return;
  // The visible option band decides, tested in this order; with all three hidden the press
  // does nothing.
  if (MasterBar.Bands("movie").Visible) {
    if (RecordButton().Image == "record") {
      CaptureControl(true);
    } else {
      if (MotionTimer.Enabled) MotionTimer.Enabled = false;
      CaptureControl(false);
      RecordButton().Image = "record";
      program_.Yield();
    }
  } else if (MasterBar.Bands("image").Visible) {
    if (RecordButton().Image == "pause") {
      CaptureControl(true);
    } else {
      CaptureControl(false);
      RecordButton().Image = "pause";
    }
  } else if (MasterBar.Bands("multiple").Visible) {
    CaptureControl(RecordButton().Image == "record");
  }
}

void Master::CaptureControl(bool start) {
  auto& state = program_.state;
  UnloadIfLoaded(program_, "Autostart");
  if (WindowState == static_cast<int>(ui::WindowState::Minimized))
    WindowState = static_cast<int>(ui::WindowState::Normal);
  state.MotionRecordArmed = False;
  state.MotionWasRunning = False;
  if (MotionTimer.Enabled) {
    state.MotionWasRunning = True;
    MotionTimer.Enabled = false;
    StatusString.Caption = "";
  }
  if (ModeOfKey(state.CaptureType) == OperatingMode::Movie)
    CaptureMovie(start);
  else if (ModeOfKey(state.CaptureType) == OperatingMode::Multiple)
    CaptureMultiple(start);
  else if (ModeOfKey(state.CaptureType) == OperatingMode::Image)
    CaptureImage();
}

// One still, whichever way the button reads: the frame goes over the clipboard into the
// picture window.
void Master::CaptureImage() {
  OperationBar.Button("motion").Enabled = true;
  program_.Window<VideoScreen>().SaveStill("", 0, true);
  RecordButton().Image = "pause";
  PlaceStillInImageWindow();
}

// The scheduled start's window, non-modal; a second press brings the same window forward.
void Master::ShowAutostart() { program_.Window<Autostart>().Show(); }

// The serial switch watches its lines while its window exists: the pressed button shows it,
// the released one unloads it and so closes the port.
void Master::ToggleSerialSwitch(bool pressed) {
  if (!pressed) {
    UnloadIfLoaded(program_, RS232::kWindowName);
    return;
  }
  auto& window = program_.Window<RS232>();
  window.Show();
  window.Form_Activate();
}

// Motion and a run are the same state on the bar: the operator ends an armed wait with the
// button that ends a run. The operation bar warns first that an overlay may hide the picture.
void Master::ArmMotionDetectorFromOperationBar(ui::ToolbarButton& button) {
  if (DeviceToolbar.Button("overlay").Value == 1)
    program_.MessageBox(
        program_.Translate("Overlay Mode detected. Some devices can only detect movement under Preview Mode."),
        MessageButtons::Ok, MessageIcon::Exclamation, program_.Translate("Warning"));
  ArmMotion(&button);
}

// The overwrite question of a start: true when the operator did not answer Yes.
bool Master::OverwriteDeclined(bool with_icon) {
  const std::string text = program_.Translate("The file ") + program_.state.CaptureFilename +
                           program_.Translate(" already exists. Do you want to replace the existing file ?");
  const auto answer =
      program_.MessageBox(text, MessageButtons::YesNo, with_icon ? MessageIcon::Exclamation : MessageIcon::None);
  program_.state.LastResult = static_cast<std::int32_t>(answer);
  return answer != MessageAnswer::Yes;
}

// Free bytes of the file system holding the capture file; nothing known reads as 0.
double Master::FreeBytesOfCaptureDrive() {
  const auto free_bytes = program_.services.files.FreeBytes(program_.state.CaptureFilename);
  return free_bytes ? static_cast<double>(*free_bytes) : 0.0;
}

void Master::CaptureMovie(bool start) {
  auto& state = program_.state;
  state.FramesPerSecond = MovieFrameRateControl.Value;
  if (!start) {
    auto& screen = program_.Window<VideoScreen>();
    if (RunsOnTheControl(screen.Kind())) screen.StopCapture();
    return;
  }
  const bool ask =
      NumericPrefix(program_.services.settings.Get("ZR", "MD", "OQ", "1")) == 1 && state.MotionWasRunning == False;
  if (ask && FileLengthProbeSucceeds(state.CaptureFilename) && OverwriteDeclined(/*with_icon=*/true)) return;
  if (state.PopupMovieViewer == "1") UnloadIfLoaded(program_, "MovieViewer");
  state.BytesPerRun = 0;
  state.FreeBytesAtStart = FreeBytesOfCaptureDrive();
  state.FreeBytesLatest = state.FreeBytesAtStart;
  state.ViewerShown = False;
  program_.Window<VideoScreen>().Record();
}

void Master::CaptureMultiple(bool start) {
  auto& state = program_.state;
  state.FramesPerSecond = MultipleImageFrameRate.ListIndex + 1;
  state.ImageCount = 0;
  if (start) {
    const bool exists = FileLengthProbeSucceeds(state.CaptureFilename);
    const bool ask = NumericPrefix(program_.services.settings.Get("ZR", "MD", "OQ", "1")) == 1 &&
                     state.MotionWasRunning == False && exists && MultipleImageMode.ListIndex == 0;
    if (ask && OverwriteDeclined(/*with_icon=*/false)) return;
    AllControls(false);
    Shooter.Enabled = true;
    MultipleImageFrameRate.Enabled = false;
    OperationBar.Button("autostart").Enabled = false;
    OperationBar.Button("motion").Enabled = false;
    RecordButton().Image = "stop";
    program_.Yield();
    if (TriggerType.Button("motion").Value == 1) {
      state.MotionRecordArmed = True;
      MotionTimer.Enabled = true;
    } else if (TriggerType.Button("timer").Value == 1) {
      state.ShotInterval = MultipleImageHoursControl.Value * 3600.0 + MultipleImageMinutesControl.Value * 60.0 +
                           MultipleImageSecondsControl.Value;
      state.ShotElapsed = 0;
      MultipleImageTimer.Enabled = true;
    }
    if (MultipleImageMode.ListIndex == 0) program_.Window<VideoScreen>().OpenMultipleImage();
    return;
  }
  RecordButton().Image = "record";
  program_.Yield();
  OperationBar.Button("autostart").Enabled = true;
  OperationBar.Button("motion").Enabled = true;
  MultipleImageTimer.Enabled = false;
  MultipleImageFrameRate.Enabled = true;
  program_.Yield();
  AllControls(true);
  Shooter.Enabled = false;
  if (MultipleImageMode.ListIndex == 0) program_.Window<VideoScreen>().CloseMultipleCapture();
  UnloadIfLoaded(program_, "MultiImage");
}

void Master::StopMovieRecord() {
  MotionTimer.Enabled = false;
  CaptureControl(false);
  RecordButton().Image = "record";
  program_.Yield();
}

void Master::RecordNow() { OperationBar.ClickButton(RecordButton()); }

void Master::StopRunForExit() {
  if (RecordButton().Image != "stop") return;
  if (MotionTimer.Enabled || ModeOfKey(program_.state.CaptureType) != OperatingMode::Movie) {
    StopMovieRecord();
    return;
  }
  auto& screen = program_.Window<VideoScreen>();
  screen.StopCapture();
  // The driver's run is closed out by the status poll, the control's by its "capture stopped".
  auto& loop = program_.services.loop;
  const std::int64_t give_up_ms = loop.NowMs() + kCloseOutGraceMs;
  loop.RunModal(
      [&] { return (RecordButton().Image != "stop" && !screen.WDMStatus.Enabled) || loop.NowMs() >= give_up_ms; });
}

void Master::EndOnRequest() {
  StopRunForExit();
  program_.SlotOf<Master>().Unload(ui::UnloadMode::FromCode);
}

void Master::AllControls(bool enabled) {
  for (ui::Control* control : std::initializer_list<ui::Control*>{
           &DeviceToolbar, &previewrate, &MovieToolbar, &MovieFrameRateControl, &MovieDisableLimit, &MovieHoursControl,
           &MovieMinutesControl, &MovieSecondsControl, &AudioChannels, &AudioBits, &AudioRate, &MultipleImageMode,
           &TriggerType, &MultipleImageHoursControl, &MultipleImageMinutesControl, &MultipleImageSecondsControl,
           &MainToolbar, &MoviePanel})
    control->Enabled = enabled;
}

}  // namespace zr
