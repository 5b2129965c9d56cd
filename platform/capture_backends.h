#pragma once
// The two kinds of capture back end the capture window drives.
//
// The driver kind: a capture window over a frame source, one method per operation of the
// capture device layer (the raw result: true when the driver did it). Read operations (caps,
// status, setup, audio format, capture file) are not reported in a simulated device's log;
// every other call is.
//
// The control kind: a capture control with properties, methods and events, used for devices,
// IP cameras and network streams. Its failures are raised as DeviceError.
//
// A movie run that ends badly says why, as a RunFailure: a driver leaves it in the field
// dwReturn of its status from the end of the run on (and reports the end, with the back end's
// own words as the status text, even for a run that could not start); the control answers it
// from CaptureFailure and raises "capture stopped" for a run that could not start as well.
//
// Threads: every call arrives on the logic thread. A driver's status callback may be called
// on the back end's capture thread; the control's events always arrive on the logic thread
// (a real back end posts them through the event loop).

#include <cerrno>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/date_time.h"
#include "base/result.h"
#include "platform/capture_records.h"
#include "platform/picture.h"

namespace zr::platform {

// ---- How a run ended

enum class RunFailure : DWORD {
  None = 0,      // by its limit, a stop or the device's end (or no run yet)
  DiskFull,      // the disk, or the user's share of it, has no room left for the movie
  NoFolder,      // the folder the movie was to be written in does not exist
  CannotCreate,  // the movie file cannot be made: no permission, a folder or device at its name...
  WriteFailed,   // writing the movie failed otherwise: an input/output error, a failing encoder
};

inline bool IsDiskFull(const Error& error) { return error.system_error == ENOSPC || error.system_error == EDQUOT; }

// A run that could not start: the system refused its file, or the movie could not be begun.
inline RunFailure StartFailure(const Error& error) {
  if (IsDiskFull(error)) return RunFailure::DiskFull;
  if (error.system_error == ENOENT || error.system_error == ENOTDIR) return RunFailure::NoFolder;
  return error.system_error != 0 ? RunFailure::CannotCreate : RunFailure::WriteFailed;
}

// A run whose writing failed on the way.
inline RunFailure WriteFailure(const Error& error) {
  return IsDiskFull(error) ? RunFailure::DiskFull : RunFailure::WriteFailed;
}

// ---- Driver kind

// Called by the driver with the context it was given, a status id and a status text.
using CaptureStatusCallback = void (*)(void* context, std::int16_t id, const char* text);

enum class DriverDialog { VideoFormat, VideoSource, VideoDisplay, VideoCompression };

class VfwCaptureWindow {
 public:
  virtual ~VfwCaptureWindow() = default;  // destroys the window

  virtual bool Connect(int driver_index) = 0;
  virtual bool Disconnect() = 0;
  virtual bool GetCaps(CAPDRIVERCAPS& caps) = 0;
  virtual bool GetStatus(CAPSTATUS& status) = 0;
  virtual bool SetStatusCallback(CaptureStatusCallback callback, void* context) = 0;
  virtual bool GetSetup(CAPTUREPARMS& parms) = 0;
  virtual bool SetSetup(const CAPTUREPARMS& parms) = 0;
  virtual int GetAudioFormatSize() = 0;
  virtual bool SetAudioFormat(const WAVEFORMATEX& format, int size) = 0;
  virtual bool GetAudioFormat(WAVEFORMATEX& format, int size) = 0;
  // Shows a dialog of the driver; false when it could not be shown.
  virtual bool ShowDialog(DriverDialog dialog) = 0;
  // Turns preview on at `frames_per_second`, one frame every `period_ms`.
  struct PreviewResult {
    bool preview_on;
    bool rate_set;
  };
  virtual PreviewResult Preview(int frames_per_second, int period_ms) = 0;
  virtual bool Overlay() = 0;
  virtual bool SetScale(bool scale) = 0;
  // Moves the window, sizes it, or both; the Z order is never changed.
  enum class Placement { MoveOnly, SizeOnly, MoveAndSize };
  virtual bool Place(int x, int y, int width, int height, Placement placement) = 0;
  virtual bool SetCaptureFile(const std::string& path) = 0;
  virtual std::string GetCaptureFile() = 0;
  // Writes the current frame to `path` as a DIB and gives the frame written; null when none was.
  virtual std::shared_ptr<const Picture> SaveDib(const std::string& path) = 0;
  virtual bool CopyFrame() = 0;  // the current frame onto the clipboard
  // The frame the window shows now, for tools that read it without a file or the clipboard;
  // null while no device is connected.
  virtual std::shared_ptr<const Picture> LatestFrame() = 0;
  // Records a movie with the setup; with fYield 0 it returns only when the run has ended.
  virtual bool StartSequence() = 0;
  virtual bool Stop() = 0;
  virtual bool OpenSingleFrame() = 0;
  virtual bool CloseSingleFrame() = 0;
  virtual bool SingleFrame() = 0;
};

struct DriverDescription {
  std::string name;
  std::string version;
};

class VfwDriverSystem {
 public:
  virtual ~VfwDriverSystem() = default;
  // Nothing for an index without a driver.
  virtual std::optional<DriverDescription> Describe(int driver_index) = 0;
  virtual std::unique_ptr<VfwCaptureWindow> CreateCaptureWindow(const std::string& title, int x, int y, int width,
                                                                int height) = 0;
};

// ---- Control kind

class CaptureControlEvents {
 public:
  virtual void CaptureStarted() = 0;
  virtual void CaptureStopped() = 0;
  virtual void DVExportFinished() = 0;
  virtual void MouseDown(int button) = 0;  // 1 left, 2 right, 4 middle

 protected:
  ~CaptureControlEvents() = default;
};

struct CaptureStats {  // GetCaptureStats, in order
  std::int32_t frames_captured = 0;
  std::int32_t frames_not_used_1 = 0;
  std::int32_t frames_not_used_2 = 0;
  std::int32_t frames_dropped = 0;
  std::int32_t elapsed_ms = 0;
  std::int32_t not_used_3 = 0;
};

struct VideoFormatRow {
  int width = 0;
  int height = 0;
  int bits_per_pixel = 0;
};

// What TunerSignal answers while the tuner cannot tell yet.
inline constexpr int kTunerSettling = 2;

class VideoCaptureControl {
 public:
  virtual ~VideoCaptureControl() = default;
  virtual void SetEventSink(CaptureControlEvents* events) = 0;

  // Devices and inputs
  virtual int VideoDeviceCount() = 0;
  virtual std::string VideoDeviceName(int index) = 0;
  // The program's own device (a test source) rather than one of the machine's.
  virtual bool VideoDeviceBuiltIn(int /*index*/) { return false; }
  virtual int VideoDeviceIndex() = 0;
  virtual void SetVideoDeviceIndex(int index) = 0;  // -2 selects the JPEG over HTTP source
  virtual void SetNetworkSourceUrl(const std::string& url) = 0;
  virtual int AudioDeviceCount() = 0;
  virtual std::string AudioDeviceName(int index) = 0;
  virtual int AudioDeviceIndex() = 0;
  virtual void SetAudioDeviceIndex(int index) = 0;
  virtual int AudioInputCount() = 0;
  virtual std::string AudioInputName(int index) = 0;
  virtual int AudioInputIndex() = 0;
  virtual void SetAudioInputIndex(int index) = 0;
  virtual int AudioInputLevel(int pin) = 0;
  virtual void SelectAudioInputLevel(int pin) = 0;
  virtual int VideoInputCount() = 0;
  virtual std::string VideoInputName(int index) = 0;
  virtual int VideoInputIndex() = 0;
  virtual void SetVideoInputIndex(int index) = 0;
  virtual std::vector<VideoFormatRow> VideoFormatList() = 0;
  virtual void SelectVideoFormat(int row) = 0;
  virtual int VideoCompressorCount() = 0;
  virtual std::string VideoCompressorName(int index) = 0;
  virtual int VideoCompressorIndex() = 0;
  virtual void SetVideoCompressorIndex(int index) = 0;
  virtual int AudioCompressorCount() = 0;
  virtual std::string AudioCompressorName(int index) = 0;
  virtual int AudioCompressorIndex() = 0;
  virtual void SetAudioCompressorIndex(int index) = 0;

  // Dialogs
  virtual void ShowVideoCompressorDialog() = 0;
  virtual void ShowAudioCompressorDialog() = 0;
  virtual void ShowSourceDialog() = 0;
  virtual void ShowFormatDialog() = 0;
  virtual void ShowDisplayDialog() = 0;
  virtual void ShowCaptureDialog() = 0;

  // Connection and display
  virtual void SetDeviceConnected(bool connected) = 0;
  virtual void SetPreviewEnabled(bool enabled) = 0;
  virtual void SetPreviewRate(int frames_per_second) = 0;
  virtual void SetStretchPreview(bool stretch) = 0;
  virtual bool OverlayEnabled() = 0;
  virtual void SetOverlayEnabled(bool enabled) = 0;
  virtual void SetFullScreenMode(bool full_screen) = 0;
  virtual bool AudioPreview() = 0;
  virtual void SetAudioPreview(bool on) = 0;
  virtual void SetUseVMR9(bool use) = 0;
  virtual int VideoWidth() = 0;
  virtual int VideoHeight() = 0;
  virtual int DeviceClass() = 0;  // 1 TV tuner, 2 or more DV, otherwise a camera

  // Movie runs
  virtual std::string CaptureFileName() = 0;
  virtual void SetCaptureFileName(const std::string& path) = 0;
  virtual void SetCaptureAudio(bool on) = 0;
  virtual void SetTimeLimitEnabled(bool enabled) = 0;
  virtual void SetTimeLimitSeconds(int seconds) = 0;
  virtual void StartCapture() = 0;
  virtual void StopCapture() = 0;
  virtual bool IsCapturing() = 0;
  virtual CaptureStats GetCaptureStats() = 0;
  // Why the last run ended badly; None when it ended by its limit or a stop.
  virtual RunFailure CaptureFailure() = 0;
  virtual std::shared_ptr<const Picture> GetSnapshot() = 0;
  virtual void OpenFrameCapture(int frames_per_second) = 0;
  virtual void CaptureFrame() = 0;
  virtual void CloseFrameCapture() = 0;

  // Streams
  virtual void OpenStream(const std::string& url) = 0;
  virtual void PlayStream() = 0;
  virtual void StopStream() = 0;
  virtual void CloseStream() = 0;
  virtual void StreamFullScreen(int on) = 0;
  virtual void StreamVideoSize(int& width, int& height) = 0;

  // Burnt-in text and camcorder transport
  virtual void DrawVideoText(int line, const std::string& text, int x, int y, const std::string& font, int size,
                             std::int32_t colour, int background) = 0;
  // A camcorder's transport (dv_tape_deck.h numbers it); 0 answers the state, 0 or less where
  // no deck is connected.
  virtual int DVCommand(int command) = 0;
  // The tape's time code, two decimal digits a byte from the hours down to the frames.
  virtual std::uint32_t DVTimeCode() = 0;
  // When the scene under the head was shot.
  virtual DateTime DVRecordDate() = 0;

  // A movie sent out to the DV device: prepared, then moved by the transport (7 sends, 2 stops),
  // followed through its position, and closed. The end of a sent movie raises DVExportFinished.
  virtual void StartDVExport(const std::string& path) = 0;
  virtual void DVTransport(int command) = 0;
  virtual void CloseMovie() = 0;
  virtual std::int64_t PositionMs() = 0;
  virtual std::int64_t LengthMs() = 0;
  // Where the movie goes as a DV stream file when no DV deck takes it; empty for a deck.
  virtual std::string DVExportFile() = 0;

  // TV tuner (a device of class 1); a device without one raises DeviceError.
  virtual void SetTunerChannel(int channel) = 0;
  virtual int TunerInput() = 0;  // 1 cable, 2 antenna
  virtual void SetTunerInput(int input) = 0;
  // A telephone country code: the colour system and the channels' frequencies of that country.
  virtual void SetTunerCountry(int code) = 0;
  // 1 when the tuner has locked a signal at its channel, 0 when not; kTunerSettling while the
  // channel tuned last is not steady yet (a real card's tuner needs a moment): ask again later.
  virtual int TunerSignal() = 0;
  virtual int TunerChannelMin() = 0;
  virtual int TunerChannelMax() = 0;
};

}  // namespace zr::platform
