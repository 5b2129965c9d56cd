// The main window's heartbeat: MasterTimer keeps the status bar current and drives the capture
// status on the driver kind; MasterTimer2 clears a coloured status after a run.

#include <cmath>

#include "base/formatting.h"
#include "capture/capture_status.h"
#include "capture/video_screen.h"
#include "core/operating_mode.h"
#include "main_window/master.h"

namespace zr {

namespace {
constexpr double kMegabyte = 1048576.0;
}

// Every step passes over its own errors and the next step runs.
void Master::MasterTimer_Timer() {
  auto& state = program_.state;
  ResumeNext([&] { ReadShortcutKeys(); });
  ResumeNext([&] { ReadHelpKey(); });
  ResumeNext([&] { ShowAddress(); });
  ResumeNext([&] {
    if (state.CaptureFilename.empty()) state.CaptureFilename = state.AppPath + "capture.avi";
  });
  ResumeNext([&] {
    if (state.CapStatus.fCapturingNow == 1) {
      state.FreeBytesLatest = FreeBytesOfCaptureDrive();
      if (!state.FreeBytesAtStart || *state.FreeBytesLatest >= *state.FreeBytesAtStart)
        state.FreeBytesAtStart = state.FreeBytesLatest;
      state.BytesPerRun = static_cast<float>(*state.FreeBytesAtStart - *state.FreeBytesLatest);
      MasterStatus.Panels(3).Text =
          program_.Translate("Estimated Filesize: ") + NumberText(std::floor(state.BytesPerRun / kMegabyte)) + " Mb";
    } else {
      MasterStatus.Panels(3).Text = state.ProductSite;
    }
  });
  ResumeNext([&] {
    MasterStatus.Panels("filename").Text = program_.Translate("Filename: ") + LowerCase(state.CaptureFilename);
  });
  ResumeNext([&] {
    // Heals the bars after a run ended by a path that did not re-enable their motion buttons.
    if (RecordButton().Image != "record") return;
    for (ui::Toolbar* bar : {&OperationBar, &MovieToolbar, &MultipleImageToolbar})
      if (!bar->Button("motion").Enabled) bar->Button("motion").Enabled = true;
  });
  ResumeNext([&] {
    const double free_bytes = FreeBytesOfCaptureDrive();
    MasterStatus.Panels("diskcap").Text =
        free_bytes > kMegabyte
            ? program_.Translate("Free Space : ") + FormatNumber(std::floor(free_bytes / kMegabyte), "#") + " Mb"
            : program_.Translate("Disk Full (< 1Mb)");
  });
  ResumeNext([&] {
    if (program_.Window<VideoScreen>().Kind() == DeviceKind::Driver) CaptureStatusUpdate(program_);
  });
}

// The Ctrl shortcuts, read from the key state on every tick while the main window is in front:
// a held key acts at the timer's rate. The first key found down wins.
void Master::ReadShortcutKeys() {
  if (program_.ForegroundWindow != "Master" || !program_.KeyDown("ctrl")) return;
  if (program_.KeyDown("F12")) {
    if (ModeOfKey(program_.state.CaptureType) == OperatingMode::Multiple && Shooter.Enabled && Shooter.Visible)
      Shooter.Click();
    return;
  }
  static const std::pair<const char*, OperatingMode> kModeKeys[] = {{"M", OperatingMode::Movie},
                                                                    {"I", OperatingMode::Image},
                                                                    {"U", OperatingMode::Multiple},
                                                                    {"W", OperatingMode::WebShare},
                                                                    {"A", OperatingMode::AviBuilder}};
  for (const auto& [key, mode] : kModeKeys) {
    if (program_.KeyDown(key)) {
      SetOperationMode(std::string(ModeKey(mode)));
      return;
    }
  }
}

// F1 opens the user guide once for each press, while the main window or a child of it is in
// front; a held key does not open it again at every tick.
void Master::ReadHelpKey() {
  const bool down = program_.ForegroundWindow == "Master" && program_.KeyDown("F1");
  const bool pressed = down && !help_key_down_;
  help_key_down_ = down;
  if (pressed) ShowUserGuide();
}

void Master::MasterTimer2_Timer() {
  if (StatusString.ForeColor != ui::kWhite) {
    StatusCaption.Caption = program_.Translate("Status:");
    StatusString.Caption = "";
    MasterTimer2.Enabled = false;
  }
  if (DroppedString.ForeColor != ui::kWhite) {
    DroppedString.Caption = "";
    MasterTimer2.Enabled = false;
  }
}

}  // namespace zr
