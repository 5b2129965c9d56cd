// The control kind on real sources: devices of the registry, IP cameras (device index -2 with
// an address) and network streams, with the control's properties, methods and events.

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/program_error.h"
#include "platform/linux/capture_devices.h"
#include "platform/linux/dv_stream_file.h"
#include "platform/linux/live_source.h"
#include "platform/linux/movie_run.h"

namespace zr::platform::linux_impl {

namespace {

constexpr int kHttpSourceIndex = -2;
constexpr double kRateOfSourcesWithoutOne = 15.0;
// The sound of the control's runs: its one compressor takes PCM at this format.
constexpr AudioFormat kControlSoundFormat{44100, 1, 16};
constexpr const char* kRunningTimeCode = "SMPTE";
constexpr double kPixelsPerPoint = 96.0 / 72.0;
// The DV transport commands the export sends: play the movie out, and stop.
constexpr int kDvSend = 7;
constexpr int kDvStop = 2;

template <class T>
const T& Entry(const std::vector<T>& entries, int index) {
  if (index < 0 || index >= static_cast<int>(entries.size()))
    throw DeviceError("no such entry: " + std::to_string(index));
  return entries[static_cast<std::size_t>(index)];
}

void Require(const Result<void>& result) {
  if (!result) throw DeviceError(result.error().message);
}

template <class T>
T Value(Result<T> result) {
  if (!result) throw DeviceError(result.error().message);
  return std::move(*result);
}

// The pixels a dot of the burnt-in glyphs takes for a font `points` high, at least one: a glyph
// is kGlyphRows dots high. The height in pixels is rounded into a long, which holds it for any
// font size, where an int would overflow for the largest; the dot, a kGlyphRows-th of it, fits
// an int again.
int GlyphUnitFor(int points) {
  const long pixels_high = std::lround(points * kPixelsPerPoint);
  return static_cast<int>(std::max(1L, pixels_high / kGlyphRows));
}

class RealCaptureControl final : public VideoCaptureControl, public ConnectedDevice {
 public:
  explicit RealCaptureControl(RealCaptureDevices& devices) : devices_(devices) {}
  ~RealCaptureControl() override { CloseSource(); }

  void SetEventSink(CaptureControlEvents* events) override { events_ = events; }

  // ---- devices and inputs

  int VideoDeviceCount() override { return static_cast<int>(devices_.VideoDevices().size()); }
  std::string VideoDeviceName(int index) override { return Entry(devices_.VideoDevices(), index).name; }
  bool VideoDeviceBuiltIn(int index) override { return Entry(devices_.VideoDevices(), index).built_in; }
  int VideoDeviceIndex() override { return device_index_; }
  void SetVideoDeviceIndex(int index) override { device_index_ = index; }
  void SetNetworkSourceUrl(const std::string& url) override { url_ = url; }

  int AudioDeviceCount() override { return static_cast<int>(devices_.AudioDevices().size()); }
  std::string AudioDeviceName(int index) override { return Entry(devices_.AudioDevices(), index).name; }
  int AudioDeviceIndex() override { return audio_device_; }
  void SetAudioDeviceIndex(int index) override {
    Entry(devices_.AudioDevices(), index);
    audio_device_ = index;
    sound_settings_.reset();
  }
  int AudioInputCount() override { return static_cast<int>(SoundSettings().Inputs().size()); }
  std::string AudioInputName(int index) override { return Entry(SoundSettings().Inputs(), index); }
  int AudioInputIndex() override { return SoundSettings().CurrentInput(); }
  void SetAudioInputIndex(int index) override { Require(SoundSettings().SelectInput(index)); }
  int AudioInputLevel(int pin) override { return SoundSettings().InputLevel(pin); }
  void SelectAudioInputLevel(int pin) override { Require(SoundSettings().SelectInput(pin)); }

  int VideoInputCount() override { return static_cast<int>(Connected().Source().Inputs().size()); }
  std::string VideoInputName(int index) override { return Entry(Connected().Source().Inputs(), index); }
  int VideoInputIndex() override { return Connected().Source().CurrentInput(); }
  void SetVideoInputIndex(int index) override { Require(Connected().Source().SelectInput(index)); }
  std::vector<VideoFormatRow> VideoFormatList() override {
    std::vector<VideoFormatRow> rows;
    for (const auto& format : Connected().Source().Formats())
      rows.push_back(VideoFormatRow{format.width, format.height, format.bits_per_pixel});
    return rows;
  }
  void SelectVideoFormat(int row) override { Require(Connected().Source().SelectFormat(row)); }

  int VideoCompressorCount() override { return devices_.Compressors().Count(); }
  std::string VideoCompressorName(int index) override {
    if (index < 0 || index >= devices_.Compressors().Count()) throw DeviceError("no such compressor");
    return devices_.Compressors().Name(index);
  }
  int VideoCompressorIndex() override { return devices_.Compressors().ControlCompressor(); }
  void SetVideoCompressorIndex(int index) override {
    if (index < 0 || index >= devices_.Compressors().Count()) throw DeviceError("no such compressor");
    devices_.Compressors().SetControlCompressor(index);
  }
  int AudioCompressorCount() override { return 1; }
  std::string AudioCompressorName(int index) override {
    if (index != 0) throw DeviceError("no such compressor");
    return "PCM";
  }
  int AudioCompressorIndex() override { return 0; }
  void SetAudioCompressorIndex(int index) override {
    if (index != 0) throw DeviceError("no such compressor");
  }

  // ---- dialogs

  void ShowVideoCompressorDialog() override {
    DeviceDialogHost& host = Host();
    CompressorSettings& compressors = devices_.Compressors();
    const int index = compressors.ControlCompressor();
    if (const auto setting = compressors.Setting(index)) {
      if (const auto value = host.EditCompressorSetting(compressors.Name(index), *setting))
        compressors.SetValue(index, *value);
    }
  }
  void ShowAudioCompressorDialog() override { Host(); }  // PCM has nothing to set
  void ShowSourceDialog() override {
    DeviceDialogHost& host = Host();
    LiveSource& live = Connected();
    if (live.Source().Controls().empty() && live.Source().Inputs().empty())
      throw DeviceError("the device has no settings to show");
    host.EditSource(live.Name(), live.Source());
  }
  void ShowFormatDialog() override {
    DeviceDialogHost& host = Host();
    LiveSource& live = Connected();
    const auto formats = live.Source().Formats();
    if (formats.empty()) throw DeviceError("the device has no formats to choose from");
    if (const auto row = host.ChooseFormat(live.Name(), formats, CurrentFormatRow(live, formats)))
      Require(live.Source().SelectFormat(*row));
  }
  void ShowDisplayDialog() override {
    Host();
    throw DeviceError("the device has no display settings");
  }
  void ShowCaptureDialog() override { ShowVideoCompressorDialog(); }

  // ---- connection and display

  void SetDeviceConnected(bool connected) override {
    CloseSource();
    if (!connected) return;
    std::unique_ptr<FrameSource> source;
    std::string name;
    if (device_index_ == kHttpSourceIndex) {
      source = OpenAddress(devices_.Services().backends, BackendKind::IpCamera, url_);
      name = url_;
      device_class_ = 0;
    } else {
      const VideoDeviceEntry& entry = Entry(devices_.VideoDevices(), device_index_);
      source = entry.open();
      name = entry.name;
      device_class_ = entry.device_class;
    }
    OpenSource(std::move(source), name);
  }
  // The picture is always delivered; how it is shown (preview, stretched, full screen) is the
  // face's, drawn from the capture window's model.
  void SetPreviewEnabled(bool) override {}
  // The device is driven at this rate, for its picture and for a run.
  void SetPreviewRate(int frames_per_second) override {
    devices_.SetPreviewRate(frames_per_second);
    rate_asked_ = frames_per_second;
  }
  void SetStretchPreview(bool) override {}
  bool OverlayEnabled() override { return false; }  // no overlay hardware: the picture is always drawn
  void SetOverlayEnabled(bool enabled) override {
    if (enabled) throw DeviceError("the device has no overlay");
  }
  void SetFullScreenMode(bool) override {}
  bool AudioPreview() override { return audio_preview_; }
  void SetAudioPreview(bool on) override { audio_preview_ = on; }
  void SetUseVMR9(bool) override {}  // one renderer here: the face's
  int VideoWidth() override { return Connected().Source().Width(); }
  int VideoHeight() override { return Connected().Source().Height(); }
  int DeviceClass() override { return device_class_; }

  // ---- movie runs

  std::string CaptureFileName() override { return capture_file_; }
  void SetCaptureFileName(const std::string& path) override { capture_file_ = path; }
  void SetCaptureAudio(bool on) override { capture_audio_ = on; }
  void SetTimeLimitEnabled(bool enabled) override { limit_enabled_ = enabled; }
  void SetTimeLimitSeconds(int seconds) override { limit_seconds_ = seconds; }

  void StartCapture() override {
    LiveSource& live = Connected();
    if (IsCapturing()) throw DeviceError("a capture is already running");
    EndRun(run_);
    MovieRun::Request request;
    request.path = capture_file_;
    request.format = devices_.Compressors().MovieFormatOf(devices_.Compressors().ControlCompressor());
    request.format.frames_per_second = RunRate(live);
    request.format.audio = kControlSoundFormat;
    if (limit_enabled_) request.limit_seconds = limit_seconds_;
    std::unique_ptr<AudioSource> sound;
    if (capture_audio_ && !devices_.AudioDevices().empty())
      sound = Entry(devices_.AudioDevices(), audio_device_).open();
    run_end_.Begin("");
    run_ = std::make_unique<MovieRun>(devices_.Services().movies, devices_.Running(), live, std::move(sound), request,
                                      [this](RecordingEnd end, const Error& why) {
                                        run_end_.Ended(end, why);
                                        PostEvent(&CaptureControlEvents::CaptureStopped);
                                      });
    if (auto started = run_->Start(); !started) {
      run_.reset();
      // A run that cannot start ends at once, as any run that fails.
      run_end_.FailedToStart(started.error());
      PostEvent(&CaptureControlEvents::CaptureStopped);
      throw DeviceError(started.error().message);
    }
    PostEvent(&CaptureControlEvents::CaptureStarted);
  }
  void StopCapture() override {
    if (run_) run_->RequestStop();
  }
  bool IsCapturing() override { return run_ && run_->Running(); }
  CaptureStats GetCaptureStats() override {
    CaptureStats stats;
    const MovieRun* counting = single_frames_ ? single_frames_.get() : run_.get();
    if (const Recorder* recorder = counting ? counting->recorder() : nullptr) {
      stats.frames_captured = static_cast<std::int32_t>(recorder->FramesWritten());
      stats.frames_dropped = static_cast<std::int32_t>(recorder->FramesDropped());
      stats.elapsed_ms = static_cast<std::int32_t>(recorder->ElapsedMs());
    }
    return stats;
  }
  RunFailure CaptureFailure() override { return run_end_.Failure(); }
  std::shared_ptr<const Picture> GetSnapshot() override {
    auto picture = Connected().Latest();
    if (!picture) throw DeviceError("the device has not delivered a picture yet");
    return picture;
  }
  void OpenFrameCapture(int frames_per_second) override {
    LiveSource& live = Connected();
    EndRun(single_frames_);
    MovieRun::Request request;
    request.path = capture_file_;
    request.format = devices_.Compressors().MovieFormatOf(devices_.Compressors().ControlCompressor());
    request.format.frames_per_second = frames_per_second > 0 ? frames_per_second : 1;
    request.pace = RecordingPace::FrameByFrame;
    single_frames_ =
        std::make_unique<MovieRun>(devices_.Services().movies, devices_.Running(), live, nullptr, request, nullptr);
    if (auto started = single_frames_->Start(); !started) {
      single_frames_.reset();
      throw DeviceError(started.error().message);
    }
  }
  void CaptureFrame() override {
    if (!single_frames_) throw DeviceError("no frame capture is open");
    Require(single_frames_->AddLatestFrame());
  }
  void CloseFrameCapture() override {
    if (!single_frames_) throw DeviceError("no frame capture is open");
    EndRun(single_frames_);
  }

  // ---- streams

  void OpenStream(const std::string& url) override {
    CloseSource();
    OpenSource(OpenAddress(devices_.Services().backends, BackendKind::NetworkStream, url), url);
    stream_playing_ = true;
  }
  void PlayStream() override {
    LiveSource& live = Connected();
    if (stream_playing_) return;
    Require(live.Start());
    stream_playing_ = true;
  }
  void StopStream() override {
    Connected().Stop();
    stream_playing_ = false;
  }
  void CloseStream() override { CloseSource(); }
  void StreamFullScreen(int) override {}
  void StreamVideoSize(int& width, int& height) override {
    width = live_ ? live_->Source().Width() : 0;
    height = live_ ? live_->Source().Height() : 0;
  }

  // ---- burnt-in text and camcorder transport

  // The control burns in its running time code ("SMPTE") or nothing (an empty text); the size
  // is the font's in points, the colour red in the low byte.
  void DrawVideoText(int, const std::string& text, int x, int y, const std::string&, int size, std::int32_t colour,
                     int) override {
    LiveSource& live = Connected();
    if (text.empty()) {
      live.SetTimeCode(std::nullopt);
      return;
    }
    if (text != kRunningTimeCode) throw DeviceError("the device burns in its time code only");
    const auto channel = [colour](int shift) { return static_cast<std::uint8_t>((colour >> shift) & 0xFF); };
    live.SetTimeCode(BurntInTimeCode{x, y, GlyphUnitFor(size), {channel(16), channel(8), channel(0)}});
  }
  // A source without a tape deck answers 0: no camcorder.
  int DVCommand(int command) override {
    TapeTransport* deck = Connected().Source().Transport();
    return deck ? Value(deck->Command(command)) : 0;
  }
  std::uint32_t DVTimeCode() override { return Value(Deck().TimeCode()); }
  DateTime DVRecordDate() override { return Value(Deck().RecordDate()); }

  // ---- export: with no DV deck to take it, the movie goes to a DV stream file beside it

  void StartDVExport(const std::string& path) override {
    dv_export_.reset();
    dv_export_ = std::make_unique<ThreadedDvExport>(devices_.Services().loop, path);
  }
  void DVTransport(int command) override {
    if (!dv_export_) return;
    if (command == kDvSend)
      dv_export_->Start([this] {
        if (events_) events_->DVExportFinished();
      });
    if (command == kDvStop) dv_export_->Stop();
  }
  void CloseMovie() override { dv_export_.reset(); }
  std::int64_t PositionMs() override { return dv_export_ ? dv_export_->PositionMs() : 0; }
  std::int64_t LengthMs() override { return dv_export_ ? dv_export_->LengthMs() : 0; }
  std::string DVExportFile() override { return dv_export_ ? dv_export_->Target() : ""; }

  // ---- TV tuner

  void SetTunerChannel(int channel) override { Require(ConnectedTuner().Tune(channel)); }
  int TunerInput() override { return ConnectedTuner().Input(); }
  void SetTunerInput(int input) override { Require(ConnectedTuner().SelectInput(input)); }
  void SetTunerCountry(int code) override { Require(ConnectedTuner().SetCountry(code)); }
  int TunerSignal() override {
    SourceTuner& tuner = ConnectedTuner();
    if (tuner.Settling()) return kTunerSettling;
    return tuner.Locked() ? 1 : 0;
  }
  int TunerChannelMin() override { return ConnectedTuner().LowestChannel(); }
  int TunerChannelMax() override { return ConnectedTuner().HighestChannel(); }

  SourceTuner& ConnectedTuner() {
    SourceTuner* tuner = Connected().Source().Tuner();
    if (!tuner) throw DeviceError("the device has no tuner");
    return *tuner;
  }

  // ---- the face's hands on the picture

  std::shared_ptr<const Picture> LatestPicture() const override { return live_ ? live_->Latest() : nullptr; }
  std::string SourceMessage() const override { return live_ ? live_->EndMessage() : std::string(); }
  std::string RunMessage() const override { return run_end_.Message(); }
  void MousePressed(int button) override {
    if (events_) events_->MouseDown(button);
  }
  void KeyPressed(int) override {}  // the control has no abort key

 private:
  LiveSource& Connected() {
    if (!live_) throw DeviceError("no device is connected");
    return *live_;
  }

  TapeTransport& Deck() {
    TapeTransport* deck = Connected().Source().Transport();
    if (!deck) throw DeviceError("the device is no camcorder");
    return *deck;
  }

  DeviceDialogHost& Host() {
    DeviceDialogHost* host = devices_.Services().dialogs;
    if (!host) throw DeviceError("there is no window to show the dialog in");
    return *host;
  }

  AudioSource& SoundSettings() {
    if (!sound_settings_) sound_settings_ = Entry(devices_.AudioDevices(), audio_device_).open();
    return *sound_settings_;
  }

  static int CurrentFormatRow(LiveSource& live, const std::vector<SourceFormat>& formats) {
    for (std::size_t row = 0; row < formats.size(); ++row)
      if (formats[row].width == live.Source().Width() && formats[row].height == live.Source().Height())
        return static_cast<int>(row);
    return 0;
  }

  void OpenSource(std::unique_ptr<FrameSource> source, const std::string& name) {
    if (!source) throw DeviceError("the device " + name + " cannot be opened");
    auto live = std::make_unique<LiveSource>(std::move(source), name);
    if (auto started = live->Start(); !started) {
      devices_.ConnectFailed(started.error().message);
      throw DeviceError(started.error().message);
    }
    live_ = std::move(live);
    devices_.SetConnected(this);
  }

  void CloseSource() {
    EndRun(run_);
    EndRun(single_frames_);
    devices_.Forget(this);
    live_.reset();
    stream_playing_ = false;
  }

  // A run goes at the rate the program drives the device at; a device never told one keeps its own.
  double RunRate(LiveSource& live) const {
    if (rate_asked_ > 0) return rate_asked_;
    const double rate = live.Source().FramesPerSecond();
    return rate > 0 ? rate : kRateOfSourcesWithoutOne;
  }

  static void EndRun(std::unique_ptr<MovieRun>& run) {
    if (!run) return;
    run->RequestStop();
    run->Finish();
    run.reset();
  }

  // Events reach the logic thread through the loop, never from a back end's thread directly.
  void PostEvent(void (CaptureControlEvents::*event)()) {
    std::weak_ptr<bool> alive = alive_;
    devices_.Services().loop.Post([this, event, alive] {
      if (alive.lock() && events_) (events_->*event)();
    });
  }

  RealCaptureDevices& devices_;
  CaptureControlEvents* events_ = nullptr;
  int device_index_ = 0;
  std::string url_;
  int audio_device_ = 0;
  int device_class_ = 0;
  bool audio_preview_ = false;
  bool capture_audio_ = false, limit_enabled_ = false, stream_playing_ = false;
  int limit_seconds_ = 0;
  int rate_asked_ = 0;
  std::string capture_file_;
  std::unique_ptr<AudioSource> sound_settings_;
  std::unique_ptr<LiveSource> live_;
  RunEnd run_end_;
  std::unique_ptr<MovieRun> run_;
  std::unique_ptr<MovieRun> single_frames_;
  std::unique_ptr<ThreadedDvExport> dv_export_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace

std::unique_ptr<VideoCaptureControl> RealCaptureDevices::MakeCaptureControl() {
  return std::make_unique<RealCaptureControl>(*this);
}

}  // namespace zr::platform::linux_impl
