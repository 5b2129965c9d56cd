#include "capture/capture_device.h"

#include "base/formatting.h"
#include "core/program.h"

namespace zr {

namespace {

constexpr int kSuccess = -1;
constexpr int kFailure = 0;

int OperationResult(bool done) { return done ? kSuccess : kFailure; }

void ShowDialogOrSay(Program& program, platform::VfwCaptureWindow& window, platform::DriverDialog dialog,
                     const std::string& failure_text) {
  if (!window.ShowDialog(dialog))
    program.MessageBox(program.Translate(failure_text), platform::MessageButtons::Ok, platform::MessageIcon::Stop);
}

}  // namespace

namespace vfw {

void CaptureStatusCallback(void* status_words, std::int16_t id, const char* text) {
  auto& words = *static_cast<CaptureStatusWords*>(status_words);
  words.CaptureStatusId.store(id, std::memory_order_relaxed);
  words.CaptureStatusText.store(text, std::memory_order_relaxed);
  words.StatusFlag.store(0, std::memory_order_relaxed);
  if (id == kCaptureEndStatusId) words.CaptureEnded.store(-1, std::memory_order_relaxed);
}

std::string capGetDriverName(platform::VfwDriverSystem& drivers, int index) {
  const auto description = drivers.Describe(index);
  return description ? description->name : "Error!";
}

std::string capGetDriverVersion(platform::VfwDriverSystem& drivers, int index) {
  const auto description = drivers.Describe(index);
  return description ? description->version : "Error!";
}

int capGetDriverCount(platform::VfwDriverSystem& drivers) {
  int count = 0;
  while (capGetDriverName(drivers, count) != "Error!") ++count;
  return count;
}

std::unique_ptr<VfwCaptureWindow> capCreateWindow(platform::VfwDriverSystem& drivers) {
  return drivers.CreateCaptureWindow("VIDEO WINDOW", 0, 0, 160, 120);
}

int capConnect(VfwCaptureWindow& window, int index) { return OperationResult(window.Connect(index)); }

int capDestroy(std::unique_ptr<VfwCaptureWindow>& window) {
  if (!window) return kFailure;
  window->Disconnect();
  window.reset();
  return kSuccess;
}

int capGetCaps(VfwCaptureWindow& window, CAPDRIVERCAPS& caps) { return OperationResult(window.GetCaps(caps)); }
int capGetStatus(VfwCaptureWindow& window, CAPSTATUS& status) { return OperationResult(window.GetStatus(status)); }

int capSetStatusCallback(VfwCaptureWindow& window, bool install, void* status_words) {
  return OperationResult(window.SetStatusCallback(install ? &CaptureStatusCallback : nullptr, status_words));
}

int capGetSetup(VfwCaptureWindow& window, CAPTUREPARMS& parms) { return OperationResult(window.GetSetup(parms)); }
int capSetSetup(VfwCaptureWindow& window, const CAPTUREPARMS& parms) { return OperationResult(window.SetSetup(parms)); }
int capGetAudioFormatSize(VfwCaptureWindow& window) { return window.GetAudioFormatSize(); }

int capSetAudioFormat(VfwCaptureWindow& window, const WAVEFORMATEX& format, int size) {
  return OperationResult(window.SetAudioFormat(format, size));
}

int capGetAudioFormat(VfwCaptureWindow& window, WAVEFORMATEX& format, int size) {
  return OperationResult(window.GetAudioFormat(format, size));
}

void capShowFormatDialog(Program& program, VfwCaptureWindow& window) {
  ShowDialogOrSay(program, window, platform::DriverDialog::VideoFormat, "Tessavue: Cannot show Video Format Dialog.");
}

void capShowSourceDialog(Program& program, VfwCaptureWindow& window) {
  ShowDialogOrSay(program, window, platform::DriverDialog::VideoSource, "Tessavue: Cannot show Video Source Dialog.");
}

void capShowDisplayDialog(Program& program, VfwCaptureWindow& window) {
  ShowDialogOrSay(program, window, platform::DriverDialog::VideoDisplay, "Tessavue: Cannot show Video Display Dialog.");
}

void capShowCompressionDialog(Program& program, VfwCaptureWindow& window) {
  ShowDialogOrSay(program, window, platform::DriverDialog::VideoCompression, "Cannot show Video Compression Dialog.");
}

int PreviewPeriodMs(int frames_per_second) {
  if (frames_per_second <= 0) return 0;
  return RoundHalfEven(1000.0 / frames_per_second);
}

int capPreview(Program& program, VfwCaptureWindow& window, int frames_per_second) {
  const auto result = window.Preview(frames_per_second, PreviewPeriodMs(frames_per_second));
  if (!result.rate_set)
    program.MessageBox(program.Translate("Tessavue: Cannot set preview mode."), platform::MessageButtons::Ok,
                       platform::MessageIcon::Stop);
  return OperationResult(result.preview_on);
}

int capOverlay(VfwCaptureWindow& window) { return OperationResult(window.Overlay()); }
int capSetScale(VfwCaptureWindow& window, bool scale) { return OperationResult(window.SetScale(scale)); }

// Zero in all four takes the image size from the status at the same place; a size moves and
// sizes; otherwise the window is only moved. The Z order is never changed.
int capResize(VfwCaptureWindow& window, int x, int y, int width, int height) {
  CAPSTATUS status;
  if (!window.GetStatus(status)) return kFailure;
  using Placement = VfwCaptureWindow::Placement;
  if (x + y + width + height == 0) {
    window.Place(x, y, static_cast<int>(status.uiImageWidth), static_cast<int>(status.uiImageHeight),
                 Placement::SizeOnly);
  } else if (width + height != 0) {
    window.Place(x, y, width, height, Placement::MoveAndSize);
  } else {
    window.Place(x, y, width, height, Placement::MoveOnly);
  }
  return kSuccess;
}

int capSetCaptureFile(VfwCaptureWindow& window, const std::string& path) {
  return OperationResult(window.SetCaptureFile(path));
}

// The name as the driver keeps it: a buffer of 128 bytes, cut at its first zero.
std::string capGetCaptureFile(VfwCaptureWindow& window) {
  std::string path = window.GetCaptureFile();
  if (const auto zero = path.find('\0'); zero != std::string::npos) path.resize(zero);
  if (path.size() > 127) path.resize(127);
  return path;
}

int capSaveDib(VfwCaptureWindow& window, const std::string& path, std::shared_ptr<const platform::Picture>& saved) {
  saved = window.SaveDib(path);
  return OperationResult(saved != nullptr);
}
int capCopyFrame(VfwCaptureWindow& window) { return OperationResult(window.CopyFrame()); }
int capStartSequence(VfwCaptureWindow& window) { return OperationResult(window.StartSequence()); }
int capStop(VfwCaptureWindow& window) { return OperationResult(window.Stop()); }
int capOpenSingleFrame(VfwCaptureWindow& window) { return OperationResult(window.OpenSingleFrame()); }
int capCloseSingleFrame(VfwCaptureWindow& window) { return OperationResult(window.CloseSingleFrame()); }
int capSingleFrame(VfwCaptureWindow& window) { return OperationResult(window.SingleFrame()); }

}  // namespace vfw

std::uint32_t MicroSecondsPerFrame(double frames_per_second) {
  if (frames_per_second == 0) return 0;
  return static_cast<std::uint32_t>(RoundHalfEven(1000000.0 / frames_per_second));
}

std::int32_t FramesPerSecondFromMicroSeconds(std::uint32_t microseconds) {
  if (microseconds == 0) return 0;
  return RoundHalfEven(1000000.0 / microseconds);
}

}  // namespace zr
