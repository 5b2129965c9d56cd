#include "platform/linux/vfw_capture_window.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>

#include "image/bmp.h"
#include "platform/linux/live_source.h"
#include "platform/linux/movie_run.h"

namespace zr::platform::linux_impl {

namespace {

constexpr const char* kCaptureStartText = "Capture start";
constexpr const char* kCaptureEndText = "End of capture";
constexpr double kDefaultFramesPerSecond = 15.0;
// The most video buffers a run takes: each is a whole picture held in memory.
constexpr UINT kMostQueuedFrames = 60;

CAPTUREPARMS DriverDefaults() {
  CAPTUREPARMS parms;
  parms.dwRequestMicroSecPerFrame = 66667;
  parms.wPercentDropForError = 10;
  parms.fYield = 0;
  parms.dwIndexSize = 34952;
  parms.wChunkGranularity = 0;
  parms.wNumVideoRequested = 5;
  parms.fCaptureAudio = 1;
  parms.vKeyAbort = 27;
  parms.fAbortLeftMouse = 1;
  parms.fAbortRightMouse = 1;
  parms.wNumAudioRequested = 4;
  return parms;
}

WAVEFORMATEX DefaultWaveFormat() {
  WAVEFORMATEX format;
  format.wFormatTag = 1;
  format.nChannels = 1;
  format.nSamplesPerSec = 11025;
  format.wBitsPerSample = 8;
  format.nBlockAlign = 1;
  format.nAvgBytesPerSec = 11025;
  return format;
}

class RealCaptureWindow final : public VfwCaptureWindow, public ConnectedDevice {
 public:
  explicit RealCaptureWindow(RealCaptureDevices& devices)
      : devices_(devices), capture_file_(devices.Services().default_capture_file) {}
  ~RealCaptureWindow() override { Disconnect(); }

  bool Connect(int driver_index) override {
    Disconnect();
    const auto& video = devices_.VideoDevices();
    if (driver_index < 0 || driver_index >= static_cast<int>(video.size())) return false;
    const VideoDeviceEntry& entry = video[static_cast<std::size_t>(driver_index)];
    auto source = entry.open ? entry.open() : nullptr;
    if (!source) return false;
    auto live = std::make_unique<LiveSource>(std::move(source), entry.name);
    if (auto started = live->Start(); !started) {
      devices_.ConnectFailed(started.error().message);
      return false;
    }
    live_ = std::move(live);
    device_name_ = entry.name;
    // The built-in camera sounds with the built-in tone; a real camera with the machine's first
    // sound input when it has one.
    audio_device_ = driver_index == 0 || devices_.AudioDevices().size() < 2 ? 0 : 1;
    parms_ = DriverDefaults();
    status_ = CAPSTATUS{};
    status_.fAudioHardware = devices_.AudioDevices().empty() ? 0 : 1;
    devices_.SetConnected(this);
    return true;
  }

  bool Disconnect() override {
    if (!live_) return false;
    EndRun();
    single_frames_.reset();
    devices_.Forget(this);
    live_.reset();
    return true;
  }

  bool GetCaps(CAPDRIVERCAPS& caps) override {
    if (!live_) return false;
    caps = CAPDRIVERCAPS{};
    FrameSource& source = live_->Source();
    caps.fHasOverlay = 0;
    caps.fHasDlgVideoSource = !source.Controls().empty() || !source.Inputs().empty() ? 1 : 0;
    caps.fHasDlgVideoFormat = source.Formats().empty() ? 0 : 1;
    caps.fHasDlgVideoDisplay = 0;
    caps.fCaptureInitialized = 1;
    return true;
  }

  bool GetStatus(CAPSTATUS& status) override {
    if (!live_) return false;
    status_.uiImageWidth = static_cast<UINT>(std::max(0, live_->Source().Width()));
    status_.uiImageHeight = static_cast<UINT>(std::max(0, live_->Source().Height()));
    if (const Recorder* recorder = run_ ? run_->recorder() : nullptr) {
      status_.dwCurrentVideoFrame = static_cast<DWORD>(recorder->FramesWritten());
      status_.dwCurrentVideoFramesDropped = static_cast<DWORD>(recorder->FramesDropped());
      status_.dwCurrentTimeElapsedMS = static_cast<DWORD>(recorder->ElapsedMs());
      status_.dwCurrentWaveSamples = static_cast<DWORD>(recorder->AudioSampleFrames());
      status_.fCapturingNow = recorder->Running() ? 1 : 0;
    }
    status_.dwReturn = static_cast<DWORD>(run_end_.Failure());
    status = status_;
    return true;
  }

  bool SetStatusCallback(CaptureStatusCallback callback, void* context) override {
    std::lock_guard lock(callback_mutex_);
    callback_ = callback;
    callback_context_ = context;
    return true;
  }

  bool GetSetup(CAPTUREPARMS& parms) override {
    if (!live_) return false;
    parms = parms_;
    return true;
  }

  bool SetSetup(const CAPTUREPARMS& parms) override {
    if (!live_) return false;
    parms_ = parms;
    return true;
  }

  int GetAudioFormatSize() override { return live_ ? 18 : 0; }  // a PCM format's record

  bool SetAudioFormat(const WAVEFORMATEX& format, int) override {
    if (!live_) return false;
    if (format.wFormatTag != 1 || (format.wBitsPerSample != 8 && format.wBitsPerSample != 16) || format.nChannels < 1 ||
        format.nSamplesPerSec < 1)
      return false;
    wave_ = format;
    return true;
  }

  bool GetAudioFormat(WAVEFORMATEX& format, int) override {
    if (!live_) return false;
    format = wave_;
    return true;
  }

  bool ShowDialog(DriverDialog dialog) override {
    DeviceDialogHost* host = devices_.Services().dialogs;
    if (!live_ || !host) return false;
    FrameSource& source = live_->Source();
    switch (dialog) {
      case DriverDialog::VideoFormat: {
        const auto formats = source.Formats();
        if (formats.empty()) return false;
        if (const auto row = host->ChooseFormat(device_name_, formats, CurrentFormatRow(formats)))
          return static_cast<bool>(source.SelectFormat(*row));
        return true;
      }
      case DriverDialog::VideoSource:
        if (source.Controls().empty() && source.Inputs().empty()) return false;
        host->EditSource(device_name_, source);
        return true;
      case DriverDialog::VideoDisplay:
        return false;
      case DriverDialog::VideoCompression:
        return EditCompressor(*host);
    }
    return false;
  }

  PreviewResult Preview(int frames_per_second, int) override {
    if (!live_) return {false, false};
    status_.fLiveWindow = 1;
    status_.fOverlayWindow = 0;
    devices_.SetPreviewRate(frames_per_second);
    return {true, true};
  }

  bool Overlay() override { return false; }  // no overlay hardware: the picture is always drawn

  bool SetScale(bool scale) override {
    status_.fScale = scale ? 1 : 0;
    return live_ != nullptr;
  }

  bool Place(int, int, int, int, Placement) override { return true; }

  bool SetCaptureFile(const std::string& path) override {
    if (!live_) return false;
    capture_file_ = path;
    return true;
  }

  std::string GetCaptureFile() override { return capture_file_; }

  std::shared_ptr<const Picture> SaveDib(const std::string& path) override {
    auto picture = LatestPicture();
    return picture && WriteBmpFile(*picture, path) ? picture : nullptr;
  }

  std::shared_ptr<const Picture> LatestFrame() override { return LatestPicture(); }

  bool CopyFrame() override {
    const auto picture = LatestPicture();
    if (!picture) return false;
    devices_.Services().clipboard.SetPicture(*picture);
    return true;
  }

  bool StartSequence() override {
    if (!live_ || (run_ && run_->Running())) return false;
    EndRun();
    run_end_.Begin(kCaptureEndText);
    const double frames_per_second = RunFramesPerSecond();
    (void)live_->Source().SetFramesPerSecond(frames_per_second);  // a source with no rate of its own keeps its pace
    MovieRun::Request request;
    request.path = capture_file_;
    request.format = devices_.Compressors().MovieFormatOf(devices_.Compressors().DriverCompressor());
    request.format.frames_per_second = frames_per_second;
    request.format.audio = AudioFormat{static_cast<int>(wave_.nSamplesPerSec), wave_.nChannels, wave_.wBitsPerSample};
    if (parms_.fLimitEnabled) request.limit_seconds = static_cast<int>(parms_.wTimeLimit);
    // The index holds so many frames and no more; the video buffers asked for are frames that may
    // wait for the writer (none asked: the recorder's own depth).
    if (parms_.dwIndexSize > 0) request.most_frames = parms_.dwIndexSize;
    if (parms_.wNumVideoRequested > 0)
      request.queue_frames = static_cast<int>(std::min<UINT>(parms_.wNumVideoRequested, kMostQueuedFrames));
    std::unique_ptr<AudioSource> sound;
    if (parms_.fCaptureAudio && !devices_.AudioDevices().empty()) sound = devices_.AudioDevices()[audio_device_].open();
    run_ = std::make_unique<MovieRun>(devices_.Services().movies, devices_.Running(), *live_, std::move(sound), request,
                                      [this](RecordingEnd end, const Error& why) { RunEnded(end, why); });
    status_.fCapFileExists = 1;
    if (auto started = run_->Start(); !started) {
      run_.reset();
      // A run that cannot start ends at once, and says why, as any run that fails.
      run_end_.FailedToStart(started.error());
      Report(kCaptureEndStatusId, run_end_.Text());
      return false;
    }
    Report(kCaptureBeginStatusId, kCaptureStartText);
    if (parms_.fYield == 0) {
      MovieRun* run = run_.get();
      devices_.Services().loop.Block([run] { return !run->Running(); });
    }
    return true;
  }

  bool Stop() override {
    if (!run_ || !run_->Running()) return false;
    run_->RequestStop();
    return true;
  }

  bool OpenSingleFrame() override {
    if (!live_) return false;
    single_frames_.reset();
    MovieRun::Request request;
    request.path = capture_file_;
    request.format = devices_.Compressors().MovieFormatOf(devices_.Compressors().DriverCompressor());
    request.format.frames_per_second = RunFramesPerSecond();
    request.pace = RecordingPace::FrameByFrame;
    single_frames_ =
        std::make_unique<MovieRun>(devices_.Services().movies, devices_.Running(), *live_, nullptr, request, nullptr);
    if (!single_frames_->Start()) {
      single_frames_.reset();
      return false;
    }
    return true;
  }

  bool CloseSingleFrame() override {
    if (!single_frames_) return false;
    single_frames_.reset();
    return true;
  }

  bool SingleFrame() override { return single_frames_ && single_frames_->AddLatestFrame(); }

  // ---- the face's hands on the picture

  std::shared_ptr<const Picture> LatestPicture() const override { return live_ ? live_->Latest() : nullptr; }
  std::string SourceMessage() const override { return live_ ? live_->EndMessage() : std::string(); }
  std::string RunMessage() const override { return run_end_.Message(); }
  void MousePressed(int button) override {
    if (!run_ || !run_->Running()) return;
    const bool aborts = (button == 1 && parms_.fAbortLeftMouse) || (button == 2 && parms_.fAbortRightMouse);
    if (aborts) run_->RequestStop();
  }
  void KeyPressed(int virtual_key) override {
    if (run_ && run_->Running() && parms_.vKeyAbort != 0 && static_cast<UINT>(virtual_key) == parms_.vKeyAbort)
      run_->RequestStop();
  }

 private:
  // The rate the period was made from: a whole rate, or a broadcast rate (N*1000/1001), whose
  // rounded period is the one asked for; any other period is taken as it stands.
  double RunFramesPerSecond() const {
    const DWORD period_us = parms_.dwRequestMicroSecPerFrame;
    if (period_us == 0) return kDefaultFramesPerSecond;
    const double exact = 1e6 / period_us;
    for (double candidate : {std::round(exact), std::round(exact * 1.001) * 1000 / 1001})
      if (candidate > 0 && std::llround(1e6 / candidate) == static_cast<long long>(period_us)) return candidate;
    return exact;
  }

  int CurrentFormatRow(const std::vector<SourceFormat>& formats) const {
    for (std::size_t row = 0; row < formats.size(); ++row)
      if (formats[row].width == live_->Source().Width() && formats[row].height == live_->Source().Height())
        return static_cast<int>(row);
    return 0;
  }

  bool EditCompressor(DeviceDialogHost& host) {
    CompressorSettings& compressors = devices_.Compressors();
    const int index = compressors.DriverCompressor();
    const auto setting = compressors.Setting(index);
    if (!setting) return true;  // nothing to set for this compressor
    if (const auto value = host.EditCompressorSetting(compressors.Name(index), *setting))
      compressors.SetValue(index, *value);
    return true;
  }

  // On the recorder's writer thread: the file is closed.
  void RunEnded(RecordingEnd end, const Error& why) {
    run_end_.Ended(end, why);
    Report(kCaptureEndStatusId, run_end_.Text());
    devices_.Services().wake_loop();
  }

  void Report(std::int16_t id, const char* text) {
    std::lock_guard lock(callback_mutex_);
    if (callback_) callback_(callback_context_, id, text);
  }

  void EndRun() {
    if (!run_) return;
    run_->RequestStop();
    run_->Finish();
    run_.reset();
  }

  RealCaptureDevices& devices_;
  std::unique_ptr<LiveSource> live_;
  std::string device_name_;
  CAPSTATUS status_;
  CAPTUREPARMS parms_ = DriverDefaults();
  WAVEFORMATEX wave_ = DefaultWaveFormat();
  std::string capture_file_;
  std::size_t audio_device_ = 0;
  std::mutex callback_mutex_;  // the callback is called from the logic and the writer threads
  CaptureStatusCallback callback_ = nullptr;
  void* callback_context_ = nullptr;
  RunEnd run_end_;  // the text of the last 301 (its pointer outlives the call) and the failure
  std::unique_ptr<MovieRun> run_;
  std::unique_ptr<MovieRun> single_frames_;
};

class RealDriverSystem final : public VfwDriverSystem {
 public:
  explicit RealDriverSystem(RealCaptureDevices& devices) : devices_(devices) {}

  std::optional<DriverDescription> Describe(int driver_index) override {
    const auto& video = devices_.VideoDevices();
    if (driver_index < 0 || driver_index >= static_cast<int>(video.size())) return std::nullopt;
    const auto& entry = video[static_cast<std::size_t>(driver_index)];
    return DriverDescription{entry.name, entry.version};
  }

  std::unique_ptr<VfwCaptureWindow> CreateCaptureWindow(const std::string&, int, int, int, int) override {
    return MakeCaptureWindow(devices_);
  }

 private:
  RealCaptureDevices& devices_;
};

}  // namespace

std::unique_ptr<VfwCaptureWindow> MakeCaptureWindow(RealCaptureDevices& devices) {
  return std::make_unique<RealCaptureWindow>(devices);
}

std::unique_ptr<VfwDriverSystem> RealCaptureDevices::MakeDriverSystem() {
  return std::make_unique<RealDriverSystem>(*this);
}

}  // namespace zr::platform::linux_impl
