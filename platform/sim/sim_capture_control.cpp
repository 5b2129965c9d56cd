// The simulated capture control: devices of the control kind, IP cameras and streams. A camera
// or a stream is what the world says answers at its address; an address where nothing
// answers, or that refuses, fails to connect or to open.

#include <algorithm>
#include <cmath>
#include <optional>

#include "base/program_error.h"
#include "platform/dv_tape_deck.h"
#include "platform/sim/sim_devices.h"
#include "platform/sim/sim_recording.h"

namespace zr::platform::sim {

namespace {

std::string BoolText(bool value) { return value ? "true" : "false"; }
constexpr int kHttpSourceIndex = -2;
constexpr int kCableInput = 1;
constexpr int kAntennaInput = 2;

class SimCaptureControl : public VideoCaptureControl, public SimSource {
 public:
  explicit SimCaptureControl(SimDeviceWorld& world) : world_(world), capture_file_(world.DefaultCaptureFile()) {}
  ~SimCaptureControl() override {
    if (recording_) recording_->End();
    world_.ForgetSource(this);
  }

  void SetEventSink(CaptureControlEvents* events) override { events_ = events; }

  int VideoDeviceCount() override { return static_cast<int>(Devices().size()); }
  std::string VideoDeviceName(int index) override { return DeviceAt(index).name; }
  int VideoDeviceIndex() override { return device_index_; }
  void SetVideoDeviceIndex(int index) override {
    Write("VideoDeviceIndex", std::to_string(index));
    device_index_ = index;
  }
  void SetNetworkSourceUrl(const std::string& url) override {
    Write("NetworkSourceUrl", url);
    url_ = url;
  }

  int AudioDeviceCount() override { return static_cast<int>(AudioInputs().size()); }
  std::string AudioDeviceName(int index) override { return Item(AudioInputs(), index); }
  int AudioDeviceIndex() override { return audio_device_; }
  void SetAudioDeviceIndex(int index) override {
    Write("AudioDeviceIndex", std::to_string(index));
    audio_device_ = index;
  }
  int AudioInputCount() override { return static_cast<int>(AudioInputs().size()); }
  std::string AudioInputName(int index) override { return Item(AudioInputs(), index); }
  int AudioInputIndex() override { return audio_input_; }
  void SetAudioInputIndex(int index) override {
    Write("AudioInputIndex", std::to_string(index));
    audio_input_ = index;
  }
  int AudioInputLevel(int) override { return 50; }
  void SelectAudioInputLevel(int pin) override { Invoke("AudioInputLevel", std::to_string(pin)); }

  int VideoInputCount() override { return spec_ ? static_cast<int>(spec_->inputs.size()) : 0; }
  std::string VideoInputName(int index) override { return spec_ ? Item(spec_->inputs, index) : ""; }
  int VideoInputIndex() override { return video_input_; }
  void SetVideoInputIndex(int index) override {
    Write("VideoInputIndex", std::to_string(index));
    video_input_ = index;
  }
  std::vector<VideoFormatRow> VideoFormatList() override {
    return spec_ ? spec_->formats : std::vector<VideoFormatRow>{};
  }
  void SelectVideoFormat(int row) override {
    Invoke("SelectVideoFormat", std::to_string(row));
    if (!spec_ || row < 0 || row >= static_cast<int>(spec_->formats.size())) throw DeviceError("no such format");
    spec_->width = spec_->formats[static_cast<std::size_t>(row)].width;
    spec_->height = spec_->formats[static_cast<std::size_t>(row)].height;
  }

  int VideoCompressorCount() override { return 2; }
  std::string VideoCompressorName(int index) override { return index == 0 ? "MJPEG Compressor" : "Uncompressed"; }
  int VideoCompressorIndex() override { return video_compressor_; }
  void SetVideoCompressorIndex(int index) override {
    Write("VideoCompressorIndex", std::to_string(index));
    video_compressor_ = index;
  }
  int AudioCompressorCount() override { return 1; }
  std::string AudioCompressorName(int) override { return "PCM"; }
  int AudioCompressorIndex() override { return 0; }
  void SetAudioCompressorIndex(int index) override { Write("AudioCompressorIndex", std::to_string(index)); }

  void ShowVideoCompressorDialog() override { Invoke("ShowVideoCompressorDialog"); }
  void ShowAudioCompressorDialog() override { Invoke("ShowAudioCompressorDialog"); }
  void ShowSourceDialog() override { Dialog("ShowSourceDialog", spec_ && spec_->source_dialog); }
  void ShowFormatDialog() override { Dialog("ShowFormatDialog", spec_ && spec_->format_dialog); }
  void ShowDisplayDialog() override { Dialog("ShowDisplayDialog", spec_ && spec_->display_dialog); }
  void ShowCaptureDialog() override { Invoke("ShowCaptureDialog"); }

  void SetDeviceConnected(bool connected) override {
    Write("DeviceConnected", BoolText(connected));
    if (!connected) {
      if (recording_) recording_->End();
      spec_.reset();
      playing_ = false;
      world_.ForgetSource(this);
      return;
    }
    Show(SelectedDevice());
  }
  // A preview and an overlay exclude each other: the preview turned on ends the overlay.
  void SetPreviewEnabled(bool enabled) override {
    Write("PreviewEnabled", BoolText(enabled));
    if (enabled) overlay_ = false;
  }
  void SetPreviewRate(int frames_per_second) override {
    Write("PreviewRate", std::to_string(frames_per_second));
    rate_asked_ = frames_per_second;
  }
  void SetStretchPreview(bool stretch) override { Write("StretchPreview", BoolText(stretch)); }
  bool OverlayEnabled() override { return overlay_; }
  void SetOverlayEnabled(bool enabled) override {
    Write("OverlayEnabled", BoolText(enabled));
    overlay_ = enabled;
  }
  void SetFullScreenMode(bool full_screen) override { Write("FullScreenMode", BoolText(full_screen)); }
  bool AudioPreview() override { return audio_preview_; }
  void SetAudioPreview(bool on) override {
    Write("AudioPreview", BoolText(on));
    audio_preview_ = on;
  }
  void SetUseVMR9(bool use) override { Write("UseVMR9", BoolText(use)); }
  int VideoWidth() override { return Connected().width; }
  int VideoHeight() override { return Connected().height; }
  int DeviceClass() override { return spec_ ? spec_->device_class : 0; }

  std::string CaptureFileName() override { return capture_file_; }
  void SetCaptureFileName(const std::string& path) override {
    Write("CaptureFileName", path);
    capture_file_ = path;
  }
  void SetCaptureAudio(bool on) override {
    Write("CaptureAudio", BoolText(on));
    capture_audio_ = on;
  }
  void SetTimeLimitEnabled(bool enabled) override {
    Write("TimeLimitEnabled", BoolText(enabled));
    limit_enabled_ = enabled;
  }
  void SetTimeLimitSeconds(int seconds) override {
    Write("TimeLimitSeconds", std::to_string(seconds));
    limit_seconds_ = seconds;
  }

  void StartCapture() override {
    Invoke("StartCapture");
    const DeviceSpec& described = Connected();
    if (recording_ && recording_->Running()) throw DeviceError("a capture is already running");
    SimRecording::Settings settings;
    settings.path = capture_file_;
    // The run goes at the rate the program drives the device at, else at the device's own.
    const int rate = rate_asked_ > 0 ? rate_asked_ : described.fps > 0 ? described.fps : 15;
    settings.microseconds_per_frame = std::lround(1e6 / rate);
    settings.width = described.width;
    settings.height = described.height;
    if (capture_audio_) settings.audio = AudioFormat{22050, 1, 16};
    if (limit_enabled_) settings.limit_seconds = limit_seconds_;
    settings.disk_full_at_frame = world_.disk_full_after_frames;
    start_failure_ = RunFailure::None;
    recording_ = std::make_shared<SimRecording>(
        world_.Loop(), world_.Movies(), settings, [this] { return CurrentPicture(); },
        [this] { PostEvent(&CaptureControlEvents::CaptureStopped); });
    if (auto started = recording_->Start(); !started) {
      // A run that cannot start ends at once, as any run that fails.
      start_failure_ = StartFailure(started.error());
      PostEvent(&CaptureControlEvents::CaptureStopped);
      throw DeviceError(started.error().message);
    }
    PostEvent(&CaptureControlEvents::CaptureStarted);
  }
  void StopCapture() override {
    Invoke("StopCapture");
    if (recording_) recording_->End();
  }
  bool IsCapturing() override { return recording_ && recording_->Running(); }
  RunFailure CaptureFailure() override {
    if (start_failure_ != RunFailure::None || !recording_) return start_failure_;
    return recording_->Failure();
  }
  CaptureStats GetCaptureStats() override {
    CaptureStats stats;
    const auto& counting = single_frames_ ? single_frames_ : recording_;
    if (counting) {
      stats.frames_captured = static_cast<std::int32_t>(counting->Frames());
      stats.frames_dropped = static_cast<std::int32_t>(counting->Dropped());
      stats.elapsed_ms = static_cast<std::int32_t>(recording_ ? recording_->ElapsedMs() : 0);
    }
    return stats;
  }
  std::shared_ptr<const Picture> GetSnapshot() override {
    Connected();
    return std::make_shared<const Picture>(CurrentPicture());
  }
  void OpenFrameCapture(int frames_per_second) override {
    Invoke("OpenFrameCapture", std::to_string(frames_per_second));
    const DeviceSpec& described = Connected();
    SimRecording::Settings settings;
    settings.path = capture_file_;
    settings.width = described.width;
    settings.height = described.height;
    single_frames_ = std::make_shared<SimRecording>(
        world_.Loop(), world_.Movies(), settings, [this] { return CurrentPicture(); }, nullptr);
    if (!single_frames_->OpenForSingleFrames(frames_per_second)) {
      single_frames_.reset();
      throw DeviceError("the capture file cannot be written");
    }
  }
  void CaptureFrame() override {
    Invoke("CaptureFrame");
    Connected();
    if (!single_frames_ || !single_frames_->AppendFrame()) throw DeviceError("no frame capture is open");
  }
  void CloseFrameCapture() override {
    Invoke("CloseFrameCapture");
    if (!single_frames_) throw DeviceError("no frame capture is open");
    single_frames_->End();
    single_frames_.reset();
  }

  void OpenStream(const std::string& url) override {
    Invoke("OpenStream", url);
    stream_ = Reached(url);
  }
  // A playing stream is what the control shows.
  void PlayStream() override {
    Invoke("PlayStream");
    if (!stream_) throw DeviceError("no stream is open");
    Show(*stream_);
    playing_ = true;
  }
  void StopStream() override {
    Invoke("StopStream");
    if (!playing_) return;
    playing_ = false;
    spec_.reset();
    world_.ForgetSource(this);
  }
  void CloseStream() override {
    Invoke("CloseStream");
    stream_.reset();
  }
  void StreamFullScreen(int on) override { Invoke("StreamFullScreen", std::to_string(on)); }
  // The size is known once the stream plays.
  void StreamVideoSize(int& width, int& height) override {
    width = playing_ && spec_ ? spec_->width : 0;
    height = playing_ && spec_ ? spec_->height : 0;
  }

  void DrawVideoText(int line, const std::string& text, int x, int y, const std::string& font, int size,
                     std::int32_t colour, int background) override {
    Invoke("DrawVideoText", std::to_string(line) + ", " + text + ", " + std::to_string(x) + ", " + std::to_string(y) +
                                ", " + font + ", " + std::to_string(size) + ", " + std::to_string(colour) + ", " +
                                std::to_string(background));
  }
  // A camcorder holds the cassette every simulated deck holds; an unplugged one answers nothing.
  int DVCommand(int command) override {
    Invoke("DVCommand", std::to_string(command));
    return IsCamcorder(Connected()) ? Deck().Command(command, world_.Loop().NowMs()) : 0;
  }
  std::uint32_t DVTimeCode() override { return Deck().TimeCode(world_.Loop().NowMs()); }
  DateTime DVRecordDate() override { return Deck().RecordDate(world_.Loop().NowMs()); }

  // ---- export to the DV deck: the movie plays out on the virtual clock, at its own length;
  // a movie that cannot be read, or no deck, sends nothing and never ends.

  void StartDVExport(const std::string& path) override {
    Invoke("StartDVExport", path);
    EndDVSend();
    dv_position_ms_ = 0;
    dv_length_ms_ = 0;
    auto info = world_.Movies().ReadInfo(path);
    if (!info) throw DeviceError(info.error().message);
    const double seconds =
        info->frames_per_second > 0 ? static_cast<double>(info->frame_count) / info->frames_per_second : 0.0;
    dv_length_ms_ = std::llround(seconds * 1000.0);
    dv_ready_ = spec_ && spec_->device_class >= 2;
  }
  void DVTransport(int command) override {
    Invoke("DVTransport", std::to_string(command));
    if (command == kDvSend && dv_ready_ && !dv_sending_since_) SendToDeck();
    if (command == kDvStop) EndDVSend();
  }
  void CloseMovie() override {
    Invoke("CloseMovie");
    EndDVSend();
    dv_ready_ = false;
  }
  std::int64_t PositionMs() override {
    if (!dv_sending_since_) return dv_position_ms_;
    return std::min(world_.Loop().NowMs() - *dv_sending_since_ + dv_position_ms_, dv_length_ms_);
  }
  std::int64_t LengthMs() override { return dv_length_ms_; }
  std::string DVExportFile() override { return ""; }

  // A tuner tunes any channel of its band and locks a signal at the channels the scenario
  // gave, once the channel has settled; its input starts on the antenna.
  void SetTunerChannel(int channel) override {
    Invoke("SetTunerChannel", std::to_string(channel));
    const DeviceSpec& tuner = ConnectedTuner();
    if (channel < tuner.lowest_channel || channel > tuner.highest_channel) throw DeviceError("no such channel");
    channel_ = channel;
    settled_at_ms_ = world_.Loop().NowMs() + tuner.tuner_settle_ms;
  }
  int TunerInput() override {
    ConnectedTuner();
    return tuner_input_;
  }
  void SetTunerInput(int input) override {
    Invoke("SetTunerInput", std::to_string(input));
    ConnectedTuner();
    if (input != kCableInput && input != kAntennaInput) throw DeviceError("no such tuner input");
    tuner_input_ = input;
  }
  void SetTunerCountry(int code) override {
    Invoke("SetTunerCountry", std::to_string(code));
    ConnectedTuner();
  }
  int TunerSignal() override {
    const auto& locked = ConnectedTuner().signal_channels;
    if (world_.Loop().NowMs() < settled_at_ms_) return kTunerSettling;
    return std::find(locked.begin(), locked.end(), channel_) != locked.end() ? 1 : 0;
  }
  int TunerChannelMin() override { return ConnectedTuner().lowest_channel; }
  int TunerChannelMax() override { return ConnectedTuner().highest_channel; }

  // ---- the scenario's hands on the source

  void MousePressed(int button) override {
    if (events_) events_->MouseDown(button);
  }

 private:
  void Write(const std::string& property, const std::string& value) { world_.Log(property + "=" + value); }
  void Invoke(const std::string& method, const std::string& arguments = "") {
    world_.Log(method + "(" + arguments + ")");
  }
  void Dialog(const std::string& method, bool available) {
    Invoke(method);
    if (!available) throw DeviceError("the device has no such dialog");
  }

  std::vector<const DeviceSpec*> Devices() const { return world_.DevicesOfKind(DeviceSpec::Kind::Wdm); }
  const DeviceSpec& DeviceAt(int index) const {
    const auto devices = Devices();
    if (index < 0 || index >= static_cast<int>(devices.size())) throw DeviceError("no such device");
    return *devices[static_cast<std::size_t>(index)];
  }
  std::vector<std::string> AudioInputs() const { return spec_ ? spec_->audio_inputs : std::vector<std::string>{}; }
  static std::string Item(const std::vector<std::string>& items, int index) {
    if (index < 0 || index >= static_cast<int>(items.size())) throw DeviceError("no such entry");
    return items[static_cast<std::size_t>(index)];
  }

  DeviceSpec SelectedDevice() const {
    if (device_index_ == kHttpSourceIndex) return Reached(url_);
    const DeviceSpec& described = DeviceAt(device_index_);
    if (described.connect_fails) throw DeviceError("the device cannot be connected");
    return described;
  }

  // What answers at `address`.
  DeviceSpec Reached(const std::string& address) const {
    const DeviceSpec* described = world_.AtAddress(address);
    if (!described) throw DeviceError("nothing answers at " + address);
    if (described->connect_fails) throw DeviceError(address + " refuses the connection");
    return *described;
  }

  void Show(const DeviceSpec& described) {
    // The cassette stays where it was when the same camcorder is connected again.
    if (IsCamcorder(described) && (!deck_ || deck_name_ != described.name)) {
      deck_ = MakeDemoTapeDeck();
      deck_name_ = described.name;
    }
    spec_ = described;
    picture_ = described.picture;
    unplugged_ = false;
    world_.SetConnectedSource(this);
  }

  const DeviceSpec& Connected() const {
    if (!spec_ || unplugged_) throw DeviceError("no device is connected");
    return *spec_;
  }
  const DeviceSpec& ConnectedTuner() const {
    const DeviceSpec& described = Connected();
    if (described.device_class != 1) throw DeviceError("the device has no tuner");
    return described;
  }

  static bool IsCamcorder(const DeviceSpec& described) { return described.device_class >= 2; }
  DvTapeDeck& Deck() {
    if (!IsCamcorder(Connected()) || !deck_) throw DeviceError("the device is no camcorder");
    return *deck_;
  }

  void SendToDeck() {
    dv_sending_since_ = world_.Loop().NowMs();
    const std::uint64_t send = ++*dv_send_;
    std::weak_ptr<std::uint64_t> current = dv_send_;
    world_.Loop().Schedule(*dv_sending_since_ + dv_length_ms_ - dv_position_ms_, SimEventLoop::WorkKind::BackEnd,
                           [this, current, send] {
                             const auto alive = current.lock();
                             if (!alive || *alive != send) return;
                             EndDVSend();
                             PostEvent(&CaptureControlEvents::DVExportFinished);
                           });
  }
  // Stops the movie where it is; a scheduled end of an earlier send no longer counts.
  void EndDVSend() {
    dv_position_ms_ = PositionMs();
    dv_sending_since_.reset();
    ++*dv_send_;
  }

  void PostEvent(void (CaptureControlEvents::*event)()) {
    std::weak_ptr<bool> alive = alive_;
    world_.Loop().Post([this, event, alive] {
      if (alive.lock() && events_) (events_->*event)();
    });
  }

  SimDeviceWorld& world_;
  CaptureControlEvents* events_ = nullptr;
  int device_index_ = 0;
  std::string url_;
  int audio_device_ = 0, audio_input_ = 0, video_input_ = 0, video_compressor_ = 0;
  bool overlay_ = false, audio_preview_ = false, capture_audio_ = false, limit_enabled_ = false;
  int limit_seconds_ = 0;
  int rate_asked_ = 0;
  std::string capture_file_;
  RunFailure start_failure_ = RunFailure::None;
  std::shared_ptr<SimRecording> single_frames_;
  std::optional<DeviceSpec> stream_;  // the stream opened, playing or not
  bool playing_ = false;
  std::optional<DvTapeDeck> deck_;
  std::string deck_name_;
  int channel_ = 0;
  std::int64_t settled_at_ms_ = 0;
  int tuner_input_ = kAntennaInput;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  static constexpr int kDvSend = 7, kDvStop = 2;
  bool dv_ready_ = false;  // a readable movie prepared for a deck
  std::int64_t dv_length_ms_ = 0, dv_position_ms_ = 0;
  std::optional<std::int64_t> dv_sending_since_;
  std::shared_ptr<std::uint64_t> dv_send_ = std::make_shared<std::uint64_t>(0);
};

}  // namespace

std::unique_ptr<VideoCaptureControl> MakeSimCaptureControl(SimDeviceWorld& world) {
  return std::make_unique<SimCaptureControl>(world);
}

}  // namespace zr::platform::sim
