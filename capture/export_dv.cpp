#include "capture/export_dv.h"

#include <algorithm>
#include <limits>

#include "base/program_error.h"
#include "capture/video_screen.h"
#include "core/main_window.h"
#include "core/window_registry.h"

namespace zr {

namespace {

constexpr int kRestMaximum = 100;
// The transport commands the transfer sends: play the prepared movie out, and stop.
constexpr int kTransportSend = 7;
constexpr int kTransportStop = 2;
// The second pattern has no point: the filter is kept as operators know it.
constexpr const char* kMovieFilter = "*.AVI|*avi";

int BarValue(std::int64_t milliseconds) {
  return static_cast<int>(std::clamp<std::int64_t>(milliseconds, 0, std::numeric_limits<int>::max()));
}

}  // namespace

ExportDV::ExportDV(Program& program) : ui::Window(program.services.loop, "ExportDV"), program_(program) {
  xProg.is_progress_bar = true;
  OpenPath.OnClick = [this] { ResumeNext([&] { OpenPath_Click(); }); };
  xStart.OnClick = [this] { xStart_Click(); };
  ExitButton.OnClick = [this] { ExitButton_Click(); };
  DVtimer.OnTimer = [this] { ResumeNext([&] { DVtimer_Timer(); }); };
}

void ExportDV::Load() {
  Caption = program_.Translate("Export AVI to a DV device...");
  AVI_PAth.Text = "";
  OpenPath.Caption = program_.Translate("Browse");
  xStart.Caption = program_.Translate("Start");
  ExitButton.Caption = program_.Translate("Exit");
  ExitTag = "EXIT";
  xProg.Max = kRestMaximum;
  xProg.Min = 0;
  xProg.Value = 0;
  xStart.Visible = true;
  Txt.Caption = program_.Translate("Filename:");
}

void ExportDV::OpenPath_Click() {
  const auto chosen = program_.services.dialogs.FileDialog(platform::FileDialogRequest{
      platform::FileDialogKind::Open, program_.Translate("Choose AVI to export..."), kMovieFilter, "", false});
  if (chosen && !chosen->empty()) AVI_PAth.Text = chosen->front();
}

// Every step runs whatever the one before did: a file that cannot be sent, or no DV device,
// leaves the bar at 0 until the operator aborts.
void ExportDV::xStart_Click() {
  ResumeNext([&] { Control().StartDVExport(AVI_PAth.Text); });
  ResumeNext([&] { TellWhereTheFileGoes(Control()); });
  xProg.Min = 0;
  ResumeNext([&] { xProg.Max = BarValue(Control().LengthMs()); });
  ResumeNext([&] { Control().DVTransport(kTransportSend); });
  DVtimer.Enabled = true;
  ExitButton.Caption = program_.Translate("Abort");
  ExitTag = "ABORT";
  Txt.Caption = program_.Translate("Transfering...");
  xStart.Visible = false;
}

// Without a DV deck the control writes the movie as a DV stream file; the status line says where,
// in words that stay true once the export has ended.
void ExportDV::TellWhereTheFileGoes(platform::VideoCaptureControl& control) {
  const std::string file = control.DVExportFile();
  if (!file.empty())
    program_.MainWindow().StatusString.Caption = program_.Translate("The movie goes to the DV file ") + file;
}

void ExportDV::ExitButton_Click() {
  if (ExitTag == "EXIT")
    program_.SlotOf<ExportDV>().Unload();
  else
    StopProcess();
}

void ExportDV::DVtimer_Timer() { xProg.Value = BarValue(Control().PositionMs()); }

void ExportDV::StopProcess() {
  if (!DVtimer.Running()) return;
  auto& loop = program_.services.loop;
  DVtimer.Enabled = false;
  loop.Yield();
  ResumeNext([&] { Control().DVTransport(kTransportStop); });
  loop.Yield();
  ResumeNext([&] { Control().CloseMovie(); });
  loop.Yield();
  Load();
}

platform::VideoCaptureControl& ExportDV::Control() {
  platform::VideoCaptureControl* control = program_.Window<VideoScreen>().ControlIfAny();
  if (!control) throw DeviceError("no capture control is connected");
  return *control;
}

namespace {

using Registration = WindowRegistration<ExportDV>;
const Registration kRegistration{{
    {"StopProcess", Registration::Calls(&ExportDV::StopProcess)},
}};

}  // namespace

}  // namespace zr
