#include "capture/capture_status.h"

#include <cmath>

#include "base/formatting.h"
#include "capture/capture_device.h"
#include "capture/movie_run_panel.h"
#include "capture/series_panel.h"
#include "capture/video_screen.h"
#include "core/main_window.h"
#include "core/window_registry.h"
#include "movie/information_chunk.h"
#include "movie/movie_viewer.h"

namespace zr {

namespace {

constexpr ui::Colour kDropsWithinLimit = ui::Rgb(0, 250, 0);
constexpr ui::Colour kDropsPastLimit = ui::Rgb(250, 0, 0);

// The time of a run derived from its frame count, not from a clock: the last field counts
// the frames of the unfinished second.
std::string FrameCountTime(double frames, double display_rate) {
  double seconds = Divide(frames, display_rate);
  const double hours = Fix(seconds / 3600);
  seconds -= hours * 3600;
  const double minutes = Fix(seconds / 60);
  seconds -= minutes * 60;
  const double whole_seconds = Fix(seconds);
  const double remainder_frames = Fix((seconds - whole_seconds) * display_rate);
  return FormatNumber(hours, "#00") + ":" + FormatNumber(minutes, "#00") + ":" + FormatNumber(whole_seconds, "#00") +
         "." + FormatNumber(remainder_frames, "#00");
}

void ShowDrops(const Program& program, MainWindow& master, const CAPSTATUS& status, const CAPTUREPARMS& parms) {
  const double frames = status.dwCurrentVideoFrame;
  const double dropped = status.dwCurrentVideoFramesDropped;
  if (frames == 0 || dropped == 0) {
    master.DroppedString.Caption = program.Translate("none");
  } else {
    const double percentage = Fix(dropped * 100 / frames);
    master.DroppedString.Caption = FormatNumber(dropped, "#") + " = " + FormatNumber(percentage, "#") + "%";
  }
  const bool within = static_cast<double>(parms.wPercentDropForError) / 100 * frames >= dropped;
  master.DroppedString.ForeColor = within ? kDropsWithinLimit : kDropsPastLimit;
}

void ShowRunning(Program& program, MainWindow& master) {
  auto& state = program.state;
  auto& record = master.RecordButton();
  if (record.Image != "stop") {
    record.Image = "stop";
    program.Yield();
  }
  if (state.CapStatus.dwCurrentVideoFrame == 0) {
    master.StatusTime.Caption = "00:00:00:00";
    return;
  }
  if (master.MasterBar.Bands("multiple").Visible) {
    master.StatusString.Caption =
        program.MainPanel<SeriesPanel>().Shooter.Visible
            ? NumberText(state.CapStatus.dwCurrentVideoFrame) + program.Translate(" frames captured")
            : program.Translate("Recording");
  }
  ResumeNext(
      [&] { master.StatusTime.Caption = FrameCountTime(state.CapStatus.dwCurrentVideoFrame, state.FramesPerSecond); });
  if (master.MasterBar.Bands("movie").Visible && state.CaptureParms.wPercentDropForError >= 1)
    ShowDrops(program, master, state.CapStatus, state.CaptureParms);
  else
    master.DroppedString.Caption = "";
}

std::string RunFailureText(const Program& program, platform::RunFailure failure) {
  switch (failure) {
    case platform::RunFailure::None:
      break;
    case platform::RunFailure::DiskFull:
      return program.Translate("Stopped: the disk is full");
    case platform::RunFailure::NoFolder:
      return program.Translate("Not recorded: the folder does not exist");
    case platform::RunFailure::CannotCreate:
      return program.Translate("Not recorded: the file cannot be created");
    case platform::RunFailure::WriteFailed:
      return program.Translate("Stopped: the movie cannot be written");
  }
  return program.Translate("Stopped");
}

// A run that failed has no room or no file for the information chunk.
void CloseOutRun(Program& program, MainWindow& master) {
  auto& state = program.state;
  state.captureStatus.CaptureEnded.store(False, std::memory_order_relaxed);
  const auto failure = static_cast<platform::RunFailure>(state.CapStatus.dwReturn);
  const bool write_info = program.MainPanel<MovieRunPanel>().MovieToolbar.Button("writeinfo").Value == 1 ||
                          program.MainPanel<SeriesPanel>().MultipleImageToolbar.Button("writeinfo").Value == 1;
  if (write_info && failure == platform::RunFailure::None) {
    master.StatusString.Caption = program.Translate("Writing Info");
    WriteInformationChunk(program, state.CaptureFilename);
  }
  master.StatusString.Caption = program.Translate("Stopped");
  ShowRunFailure(program, failure);
  master.RecordButton().Image = "record";
  master.OperationBar.Button("autostart").Enabled = true;
  master.MasterTimer2.Enabled = true;
  if (state.PopupMovieViewer == "1" && state.ViewerShown == False) {
    state.ViewerShown = True;
    PopUpMovieViewer(program, state.CaptureFilename);
  }
}

}  // namespace

void CaptureStatusUpdate(Program& program) {
  auto& state = program.state;
  if (state.captureStatus.CaptureStatusId.load(std::memory_order_relaxed) == 0) return;
  auto* window = program.Window<VideoScreen>().CaptureWindow();
  if (!window) return;
  auto& master = program.MainWindow();
  state.LastResult = vfw::capGetStatus(*window, state.CapStatus);
  auto& record = master.RecordButton();
  if (state.CapStatus.fCapturingNow != 1 && master.MasterBar.Bands("movie").Visible && record.Image != "record")
    record.Image = "record";
  if (state.CapStatus.fCapturingNow == 1) ShowRunning(program, master);
  const bool band_shown = master.MasterBar.Bands("movie").Visible || master.MasterBar.Bands("multiple").Visible;
  if (band_shown && state.captureStatus.CaptureEnded.load(std::memory_order_relaxed) != False)
    CloseOutRun(program, master);
}

void ShowRunFailure(Program& program, platform::RunFailure failure) {
  if (failure != platform::RunFailure::None)
    program.MainWindow().StatusString.Caption = RunFailureText(program, failure);
}

void WriteInformationChunk(Program& program, const std::string& movie_path) {
  const auto& texts = program.state.AviInfoText;
  WriteAviInfo(movie_path, texts[0], texts[1], texts[2], texts[3], texts[4], texts[5]);
}

namespace {

const ProgramProcedures kProcedures{{
    {"CaptureStatusUpdate",
     [](Program& p, const ProcedureArguments& a) {
       a.Expect(0);
       CaptureStatusUpdate(p);
     }},
}};

}  // namespace

}  // namespace zr
