// What happens between the command "record" and a finished movie file, and how one picture
// reaches a file: the capture window's runs, stills and frame-by-frame movies.

#include <cmath>
#include <memory>
#include <utility>

#include "base/formatting.h"
#include "capture/capture_device.h"
#include "capture/movie_run_panel.h"
#include "capture/series_panel.h"
#include "capture/video_screen.h"
#include "core/main_window.h"
#include "core/operating_mode.h"
#include "image/picture_writer.h"
#include "platform/regular_file.h"

namespace zr {

namespace {

void RebuildAudioFormat(const MovieRunPanel& movie, WAVEFORMATEX& format) {
  format.wBitsPerSample = movie.AudioBits.ListIndex == 0 ? 8 : 16;
  format.nChannels = movie.AudioChannels.ListIndex == 0 ? 1 : 2;
  static constexpr std::uint32_t kRates[] = {8000, 11025, 22050, 44100};
  if (movie.AudioRate.ListIndex >= 0 && movie.AudioRate.ListIndex <= 3)
    format.nSamplesPerSec = kRates[movie.AudioRate.ListIndex];
  format.nAvgBytesPerSec = static_cast<std::uint32_t>(
      RoundHalfEven(format.nSamplesPerSec * static_cast<double>(format.nChannels) * format.wBitsPerSample / 8));
  format.nBlockAlign = static_cast<std::uint16_t>(RoundHalfEven(format.nChannels * format.wBitsPerSample / 8.0));
}

}  // namespace

void VideoScreen::Record() {
  auto& master = program_.MainWindow();
  auto& movie = program_.MainPanel<MovieRunPanel>();
  auto& state = program_.state;
  if (Kind() == DeviceKind::MediaStream || Kind() == DeviceKind::IpCamera) {
    ShowModeNotSupported();
    return;
  }
  if (Kind() == DeviceKind::Driver) {
    if (!capture_window_) return;
    auto& parms = state.CaptureParms;
    state.LastResult = vfw::capSetCaptureFile(*capture_window_, state.CaptureFilename);
    parms.AVStreamMaster = 0;
    parms.fAbortLeftMouse = 1;
    parms.fAbortRightMouse = 1;
    parms.fCaptureAudio = movie.MovieToolbar.Button("audio").Value == 1 ? 1 : 0;
    if (movie.MovieDisableLimit.Value != 1) {
      parms.fLimitEnabled = 1;
      parms.wTimeLimit = static_cast<UINT>(movie.LimitSeconds());
    } else {
      parms.fLimitEnabled = 0;
    }
    parms.dwRequestMicroSecPerFrame = MicroSecondsPerFrame(state.MovieFrameRate);
    RebuildAudioFormat(movie, state.WaveFormat);
    const int size = vfw::capGetAudioFormatSize(*capture_window_);
    state.LastResult = vfw::capSetAudioFormat(*capture_window_, state.WaveFormat, size);
    parms.fMCIControl = 0;
    parms.fStepCaptureAt2x = 0;
    state.LastResult = vfw::capSetSetup(*capture_window_, parms);
    if (platform::RemoveRegularFile(state.CaptureFilename)) master.StatusString.Caption = "";
    master.StatusString.Caption = program_.Translate("Recording");
    master.RecordButton().Image = "stop";
    if (parms.fYield == 0) {
      master.StatusTime.Caption = "";
      master.DroppedString.Caption = program_.Translate("Exclusive Task");
    }
    program_.Yield();
    state.LastResult = vfw::capStartSequence(*capture_window_);
    return;
  }
  if (Kind() == DeviceKind::Control) {
    ResumeNext([&] {
      control_->SetCaptureFileName(state.CaptureFilename);
      if (movie.MovieDisableLimit.Value == 1) {
        control_->SetTimeLimitSeconds(0);
        control_->SetTimeLimitEnabled(false);
      } else {
        control_->SetTimeLimitSeconds(movie.LimitSeconds());
        control_->SetTimeLimitEnabled(true);
      }
      master.StatusString.Caption = program_.Translate("Recording");
      master.RecordButton().Image = "stop";
      control_->SetCaptureAudio(movie.MovieToolbar.Button("audio").Value == 1);
      control_->StartCapture();
    });
  }
}

void VideoScreen::StopCapture() {
  auto& master = program_.MainWindow();
  if (Kind() == DeviceKind::Driver) {
    if (capture_window_) program_.state.LastResult = vfw::capStop(*capture_window_);
  } else if (Kind() == DeviceKind::Control || Kind() == DeviceKind::IpCamera) {
    ResumeNext([&] { control_->StopCapture(); });
    master.RecordButton().Image = "record";
  } else if (Kind() == DeviceKind::MediaStream) {
    ShowModeNotSupported();
  }
  master.StatusString.Caption = program_.Translate("Stopped");
}

void VideoScreen::WDMStatus_Timer() {
  auto& master = program_.MainWindow();
  ResumeNext([&] {
    const platform::CaptureStats stats = control_->GetCaptureStats();
    if (ModeOfKey(program_.state.CaptureType) == OperatingMode::Multiple) {
      master.StatusString.Caption = NumberText(stats.frames_captured) + program_.Translate(" frames captured");
      master.StatusTime.Caption = "N/A";
      master.DroppedString.Caption = "N/A";
      return;
    }
    // A run that ended without its event is still closed.
    if (!control_->IsCapturing()) CaptureStopped();
    const std::int32_t total_seconds = stats.elapsed_ms / 1000;
    const double hundredths = Fix((stats.elapsed_ms - total_seconds * 1000.0) / 10);
    master.StatusTime.Caption = FormatNumber(total_seconds / 3600, "#00") + ":" +
                                FormatNumber(total_seconds % 3600 / 60, "#00") + ":" +
                                FormatNumber(total_seconds % 60, "#00") + ":" + FormatNumber(hundredths, "#00");
    master.DroppedString.Caption = NumberText(stats.frames_dropped);
  });
}

void VideoScreen::SaveStill(const std::string& path, int quality, bool to_clipboard) {
  ResumeNext([&] {
    if (to_clipboard) {
      if (mira.Picture) program_.services.clipboard.SetPicture(*mira.Picture);
      if (Kind() == DeviceKind::Driver) {
        if (capture_window_) program_.state.LastResult = vfw::capCopyFrame(*capture_window_);
      } else {
        frame_job_open_ = true;
        if (auto snapshot = control_->GetSnapshot()) program_.services.clipboard.SetPicture(*snapshot);
      }
    }
  });
  if (path.empty()) return;
  ResumeNext([&] {
    if (Kind() == DeviceKind::Driver) {
      if (mira.Picture) WritePictureFile(mira.Picture, path, 100);
      std::shared_ptr<const platform::Picture> saved;
      if (capture_window_) program_.state.LastResult = vfw::capSaveDib(*capture_window_, path, saved);
      // What the file now holds: the frame just saved, else whatever was there before.
      StreamPic.Picture = saved ? std::move(saved) : LoadPictureFile(path);
      platform::RemoveRegularFile(path);
    } else {
      frame_job_open_ = true;
      StreamPic.Picture = control_->GetSnapshot();
      platform::RemoveRegularFile(path);
    }
  });
  ResumeNext([&] {
    if (StreamPic.Picture) WritePictureFile(StreamPic.Picture, path, quality);
  });
}

void VideoScreen::TakeFrame() {
  SaveStill("", 0, true);
  program_.Yield();
  auto picture = program_.services.clipboard.GetPicture();
  MotionPicture.Picture = picture ? std::make_shared<const platform::Picture>(std::move(*picture)) : nullptr;
}

std::shared_ptr<const platform::Picture> VideoScreen::CurrentFrame() {
  if (Kind() == DeviceKind::Driver) return capture_window_ ? capture_window_->LatestFrame() : nullptr;
  std::shared_ptr<const platform::Picture> frame;
  if (control_) ResumeNext([&] { frame = control_->GetSnapshot(); });
  return frame;
}

HimetricSize VideoScreen::FrameSize() const {
  if (!MotionPicture.Picture) return {};
  return {HimetricOfPixelsAt96Dpi(MotionPicture.Picture->width),
          HimetricOfPixelsAt96Dpi(MotionPicture.Picture->height)};
}

// An overlay is drawn by the device straight onto the display, so the window's own surface
// holds no picture to read while it is on.
std::int32_t VideoScreen::ColourAt(int x, int y) const {
  if (program_.MainWindow().DeviceToolbar.Button("overlay").Value == 1 || !MotionPicture.Picture) return -1;
  return PackedColourAt(*MotionPicture.Picture, x, y);
}

void VideoScreen::SetFilename(const std::string& path) {
  ResumeNext([&] {
    if (Kind() == DeviceKind::Driver) {
      if (capture_window_) program_.state.LastResult = vfw::capSetCaptureFile(*capture_window_, path);
    } else if (Kind() == DeviceKind::Control || Kind() == DeviceKind::IpCamera) {
      control_->SetCaptureFileName(path);
    }
  });
  program_.state.CaptureFilename = path;
  program_.MainWindow().MasterStatus.Panels("filename").Text = program_.Translate("Filename: ") + path;
}

std::string VideoScreen::GetFilename() {
  if (Kind() == DeviceKind::MediaStream || Kind() == DeviceKind::IpCamera) return "Error";
  if (Kind() == DeviceKind::Driver) return capture_window_ ? vfw::capGetCaptureFile(*capture_window_) : "Error";
  std::string name = "Error";
  ResumeNext([&] { name = control_->CaptureFileName(); });
  return name;
}

void VideoScreen::SetCaptureParameters() {
  if (Kind() == DeviceKind::Driver && capture_window_)
    program_.state.LastResult = vfw::capSetSetup(*capture_window_, program_.state.CaptureParms);
}

void VideoScreen::OpenMultipleImage() {
  auto& state = program_.state;
  const int rate = program_.MainPanel<SeriesPanel>().MultipleImageFrameRate.ListIndex + 1;
  if (Kind() == DeviceKind::Driver) {
    if (!capture_window_) return;
    state.CaptureParms.dwRequestMicroSecPerFrame = MicroSecondsPerFrame(rate);
    SetCaptureParameters();
    state.LastResult = vfw::capSetCaptureFile(*capture_window_, state.CaptureFilename);
    state.LastResult = vfw::capOpenSingleFrame(*capture_window_);
  } else if (Kind() == DeviceKind::Control || Kind() == DeviceKind::IpCamera) {
    ResumeNext([&] {
      frame_job_open_ = false;
      control_->SetCaptureFileName(state.CaptureFilename);
      control_->OpenFrameCapture(rate);
      WDMStatus.Enabled = true;
    });
  } else {
    ShowModeNotSupported();
  }
}

void VideoScreen::CaptureSingle() {
  if (Kind() == DeviceKind::Driver) {
    if (capture_window_) program_.state.LastResult = vfw::capSingleFrame(*capture_window_);
  } else if (Kind() == DeviceKind::Control || Kind() == DeviceKind::IpCamera) {
    ResumeNext([&] {
      frame_job_open_ = true;
      control_->CaptureFrame();
    });
  } else {
    ShowModeNotSupported();
    return;
  }
  program_.MainWindow().StatusString.Caption = "Capturing Frame";
}

void VideoScreen::CloseMultipleCapture() {
  if (Kind() == DeviceKind::Driver) {
    if (capture_window_) program_.state.LastResult = vfw::capCloseSingleFrame(*capture_window_);
  } else if (Kind() == DeviceKind::Control || Kind() == DeviceKind::IpCamera) {
    ResumeNext([&] {
      frame_job_open_ = false;
      WDMStatus.Enabled = false;
      control_->CloseFrameCapture();
    });
  } else {
    ShowModeNotSupported();
  }
}

// The burnt-in time code: "SMPTE" makes the control draw a running time code, centred near the
// bottom of the picture; anything else clears it. Sizes are in twips, 15 to the pixel, with
// the digits and colons of the code at their widths in the font.
void VideoScreen::ShowTCR() {
  if (!wdmX.Visible) return;
  ResumeNext([&] {
    if (program_.MainPanel<MovieRunPanel>().MovieToolbar.Button("tcr").Value == 1 &&
        ModeOfKey(program_.state.CaptureType) == OperatingMode::Movie) {
      constexpr double kCodeWidthEm = 8 * 0.556 + 3 * 0.278;  // "00:00:00:00"
      constexpr double kLineHeightEm = 1.15;
      int size = RoundHalfEven(control_->VideoHeight() * control_->VideoWidth() * 0.00005);
      if (size < 7) size = 8;
      if (size > 20) size = 20;
      const double text_width = kCodeWidthEm * size * 20;
      const double text_height = kLineHeightEm * size * 20;
      const double control_width = Width * kTwipsPerPixel;
      const double control_height = Height * kTwipsPerPixel;
      const int x =
          RoundHalfEven(RoundHalfEven((control_width - text_width) / 2) / static_cast<double>(kTwipsPerPixel));
      const int y = RoundHalfEven(control_height / kTwipsPerPixel - 2 * text_height / kTwipsPerPixel);
      control_->DrawVideoText(0, "SMPTE", x, y, "Arial", size, ui::Rgb(255, 255, 255), 0);
    } else {
      control_->DrawVideoText(0, "", 0, 0, "0", 0, 0, 0);
    }
  });
}

}  // namespace zr
