#include "platform/sim/sim_devices.h"

#include <cmath>

#include "base/program_error.h"
#include "image/bmp.h"
#include "platform/sim/sim_recording.h"

namespace zr::platform::sim {

namespace {

constexpr const char* kCaptureEndText = "End of capture";

std::string BoolText(bool value) { return value ? "true" : "false"; }

void Fill(Picture& picture, int x0, int x1, int red, int green, int blue) {
  for (int y = 0; y < picture.height; ++y) {
    for (int x = x0; x < x1; ++x) {
      std::uint8_t* pixel = picture.PixelFromTop(x, y);
      pixel[0] = static_cast<std::uint8_t>(blue);
      pixel[1] = static_cast<std::uint8_t>(green);
      pixel[2] = static_cast<std::uint8_t>(red);
    }
  }
}

Picture Bars(int width, int height) {
  static constexpr int kBars[8][3] = {{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                                      {255, 0, 255},   {255, 0, 0},   {0, 0, 255},   {0, 0, 0}};
  Picture picture = Picture::Blank(width, height);
  for (int bar = 0; bar < 8; ++bar)
    Fill(picture, width * bar / 8, width * (bar + 1) / 8, kBars[bar][0], kBars[bar][1], kBars[bar][2]);
  return picture;
}

Picture Gradient(int width, int height) {
  Picture picture = Picture::Blank(width, height);
  for (int x = 0; x < width; ++x) {
    const int level = width > 1 ? x * 255 / (width - 1) : 0;
    Fill(picture, x, x + 1, level, level, level);
  }
  return picture;
}

// A picture file shown at the device's size: nearest pixel.
Picture Scaled(const Picture& source, int width, int height) {
  Picture picture = Picture::Blank(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const std::uint8_t* from = source.PixelFromTop(x * source.width / width, y * source.height / height);
      std::uint8_t* to = picture.PixelFromTop(x, y);
      to[0] = from[0];
      to[1] = from[1];
      to[2] = from[2];
    }
  }
  return picture;
}

// ---- the driver kind

class SimCaptureWindow : public VfwCaptureWindow, public SimSource {
 public:
  explicit SimCaptureWindow(SimDeviceWorld& world) : world_(world), capture_file_(world.DefaultCaptureFile()) {}
  ~SimCaptureWindow() override {
    if (recording_) recording_->End();
    world_.ForgetSource(this);
  }

  bool Connect(int driver_index) override {
    world_.Log("capConnect(" + std::to_string(driver_index) + ")");
    const auto drivers = world_.DevicesOfKind(DeviceSpec::Kind::Vfw);
    if (driver_index < 0 || driver_index >= static_cast<int>(drivers.size())) return false;
    const DeviceSpec& described = *drivers[static_cast<std::size_t>(driver_index)];
    if (described.connect_fails) return false;
    spec_ = described;
    picture_ = described.picture;
    unplugged_ = false;
    status_ = CAPSTATUS{};
    status_.uiImageWidth = static_cast<UINT>(described.width);
    status_.uiImageHeight = static_cast<UINT>(described.height);
    status_.fAudioHardware = described.audio_inputs.empty() ? 0 : 1;
    parms_ = DriverDefaults(described);
    world_.SetConnectedSource(this);
    return true;
  }

  bool Disconnect() override {
    world_.Log("capDestroy()");
    if (recording_) recording_->End();
    world_.ForgetSource(this);
    const bool was_connected = spec_.has_value();
    spec_.reset();
    return was_connected;
  }

  bool GetCaps(CAPDRIVERCAPS& caps) override {
    if (!Usable()) return false;
    caps = CAPDRIVERCAPS{};
    caps.fHasOverlay = spec_->overlay ? 1 : 0;
    caps.fHasDlgVideoSource = spec_->source_dialog ? 1 : 0;
    caps.fHasDlgVideoFormat = spec_->format_dialog ? 1 : 0;
    caps.fHasDlgVideoDisplay = spec_->display_dialog ? 1 : 0;
    caps.fCaptureInitialized = 1;
    return true;
  }

  bool GetStatus(CAPSTATUS& status) override {
    if (!spec_) return false;
    if (recording_) {
      status_.dwCurrentVideoFrame = static_cast<DWORD>(recording_->Frames());
      status_.dwCurrentVideoFramesDropped = static_cast<DWORD>(recording_->Dropped());
      status_.dwCurrentTimeElapsedMS = static_cast<DWORD>(recording_->ElapsedMs());
      status_.fCapturingNow = recording_->Running() ? 1 : 0;
    }
    status_.dwReturn = static_cast<DWORD>(failure_);
    status = status_;
    return true;
  }

  bool SetStatusCallback(CaptureStatusCallback callback, void* context) override {
    world_.Log(std::string("capSetStatusCallback(") + (callback ? "1" : "0") + ")");
    callback_ = callback;
    callback_context_ = context;
    return true;
  }

  bool GetSetup(CAPTUREPARMS& parms) override {
    if (!Usable()) return false;
    parms = parms_;
    return true;
  }

  bool SetSetup(const CAPTUREPARMS& parms) override {
    world_.Log("capSetSetup()");
    if (!Usable()) return false;
    parms_ = parms;
    return true;
  }

  int GetAudioFormatSize() override { return Usable() ? 18 : 0; }

  bool SetAudioFormat(const WAVEFORMATEX& format, int size) override {
    world_.Log("capSetAudioFormat(" + std::to_string(size) + ")");
    if (!Usable()) return false;
    audio_ = format;
    return true;
  }

  bool GetAudioFormat(WAVEFORMATEX& format, int) override {
    if (!Usable()) return false;
    format = audio_;
    return true;
  }

  bool ShowDialog(DriverDialog dialog) override {
    switch (dialog) {
      case DriverDialog::VideoFormat:
        world_.Log("capShowFormatDialog()");
        return Usable() && spec_->format_dialog;
      case DriverDialog::VideoSource:
        world_.Log("capShowSourceDialog()");
        return Usable() && spec_->source_dialog;
      case DriverDialog::VideoDisplay:
        world_.Log("capShowDisplayDialog()");
        return Usable() && spec_->display_dialog;
      case DriverDialog::VideoCompression:
        // Accepted or cancelled, the dialog was shown: the run keeps the compressor it has.
        world_.Log("capShowCompressionDialog()");
        if (!Usable()) return false;
        world_.DialogsService().CompressionOptions();
        return true;
    }
    return false;
  }

  PreviewResult Preview(int frames_per_second, int) override {
    world_.Log("capPreview(" + std::to_string(frames_per_second) + ")");
    if (!Usable()) return {false, false};
    status_.fLiveWindow = 1;
    status_.fOverlayWindow = 0;
    return {true, true};
  }

  bool Overlay() override {
    world_.Log("capOverlay()");
    if (!Usable() || !spec_->overlay) return false;
    status_.fLiveWindow = 0;
    status_.fOverlayWindow = 1;
    return true;
  }

  bool SetScale(bool scale) override {
    world_.Log("capSetScale(" + BoolText(scale) + ")");
    status_.fScale = scale ? 1 : 0;
    return Usable();
  }

  bool Place(int x, int y, int width, int height, Placement) override {
    world_.Log("capResize(" + std::to_string(x) + ", " + std::to_string(y) + ", " + std::to_string(width) + ", " +
               std::to_string(height) + ")");
    return true;
  }

  bool SetCaptureFile(const std::string& path) override {
    world_.Log("capSetCaptureFile(" + path + ")");
    if (!Usable()) return false;
    capture_file_ = path;
    return true;
  }

  std::string GetCaptureFile() override { return capture_file_; }

  std::shared_ptr<const Picture> SaveDib(const std::string& path) override {
    world_.Log("capSaveDib(" + path + ")");
    if (!Usable()) return nullptr;
    auto picture = std::make_shared<const Picture>(CurrentPicture());
    return WriteBmpFile(*picture, path) ? picture : nullptr;
  }

  std::shared_ptr<const Picture> LatestFrame() override {
    return Usable() ? std::make_shared<const Picture>(CurrentPicture()) : nullptr;
  }

  bool CopyFrame() override {
    world_.Log("capCopyFrame()");
    if (!Usable()) return false;
    world_.ClipboardService().SetPicture(CurrentPicture());
    return true;
  }

  bool StartSequence() override {
    world_.Log("capStartSequence()");
    if (!Usable() || (recording_ && recording_->Running())) return false;
    SimRecording::Settings settings;
    settings.path = capture_file_;
    settings.microseconds_per_frame = parms_.dwRequestMicroSecPerFrame;
    settings.width = spec_->width;
    settings.height = spec_->height;
    if (parms_.fCaptureAudio)
      settings.audio = AudioFormat{static_cast<int>(audio_.nSamplesPerSec), audio_.nChannels, audio_.wBitsPerSample};
    if (parms_.fLimitEnabled) settings.limit_seconds = static_cast<int>(parms_.wTimeLimit);
    if (parms_.dwIndexSize > 0) settings.most_frames = parms_.dwIndexSize;
    settings.disk_full_at_frame = world_.disk_full_after_frames;
    failure_ = RunFailure::None;
    end_text_ = kCaptureEndText;
    recording_ = std::make_shared<SimRecording>(
        world_.Loop(), world_.Movies(), settings, [this] { return CurrentPicture(); }, [this] { RunEnded(); });
    status_.fCapFileExists = 1;
    if (auto started = recording_->Start(); !started) {
      // A run that cannot start ends at once, and says why, as any run that fails.
      failure_ = StartFailure(started.error());
      end_text_ = started.error().message;
      Report(kCaptureEndStatusId, end_text_.c_str());
      return false;
    }
    Report(kCaptureBeginStatusId, "Capture start");
    if (parms_.fYield == 0) {
      auto recording = recording_;
      world_.Loop().Block([recording] { return !recording->Running(); });
    }
    return true;
  }

  bool Stop() override {
    world_.Log("capStop()");
    if (!recording_ || !recording_->Running()) return false;
    recording_->End();
    return true;
  }

  bool OpenSingleFrame() override {
    world_.Log("capOpenSingleFrame()");
    if (!Usable()) return false;
    SimRecording::Settings settings;
    settings.path = capture_file_;
    settings.width = spec_->width;
    settings.height = spec_->height;
    single_frames_ = std::make_shared<SimRecording>(
        world_.Loop(), world_.Movies(), settings, [this] { return CurrentPicture(); }, nullptr);
    const double rate = parms_.dwRequestMicroSecPerFrame > 0 ? 1e6 / parms_.dwRequestMicroSecPerFrame : 15.0;
    if (!single_frames_->OpenForSingleFrames(rate)) {
      single_frames_.reset();
      return false;
    }
    return true;
  }

  bool CloseSingleFrame() override {
    world_.Log("capCloseSingleFrame()");
    if (!single_frames_) return false;
    single_frames_->End();
    single_frames_.reset();
    return true;
  }

  bool SingleFrame() override {
    world_.Log("capSingleFrame()");
    return Usable() && single_frames_ && single_frames_->AppendFrame();
  }

  // ---- the scenario's hands on the source

  void MousePressed(int button) override {
    if (!recording_ || !recording_->Running()) return;
    const bool aborts = (button == 1 && parms_.fAbortLeftMouse) || (button == 2 && parms_.fAbortRightMouse);
    if (aborts) recording_->End();
  }

 private:
  static CAPTUREPARMS DriverDefaults(const DeviceSpec& described) {
    CAPTUREPARMS parms;
    parms.dwRequestMicroSecPerFrame = static_cast<DWORD>(std::lround(1e6 / (described.fps > 0 ? described.fps : 15)));
    parms.wPercentDropForError = 10;
    parms.fYield = 0;
    parms.dwIndexSize = 34952;
    parms.wNumVideoRequested = 5;
    parms.fCaptureAudio = described.audio_inputs.empty() ? 0 : 1;
    parms.vKeyAbort = 27;
    parms.fAbortLeftMouse = 1;
    parms.fAbortRightMouse = 1;
    parms.wNumAudioRequested = 4;
    return parms;
  }

  bool Usable() const { return spec_.has_value() && !unplugged_; }

  void RunEnded() {
    if (recording_->Failure() != RunFailure::None) {
      failure_ = recording_->Failure();
      end_text_ = recording_->FailureMessage();
    }
    Report(kCaptureEndStatusId, end_text_.c_str());
  }

  void Report(std::int16_t id, const char* text) {
    if (callback_) callback_(callback_context_, id, text);
  }

  SimDeviceWorld& world_;
  CAPSTATUS status_;
  CAPTUREPARMS parms_;
  WAVEFORMATEX audio_;
  std::string capture_file_;
  CaptureStatusCallback callback_ = nullptr;
  void* callback_context_ = nullptr;
  RunFailure failure_ = RunFailure::None;
  std::string end_text_ = kCaptureEndText;  // the text of the last 301: its pointer outlives the call
  std::shared_ptr<SimRecording> single_frames_;
};

class SimDriverSystem : public VfwDriverSystem {
 public:
  explicit SimDriverSystem(SimDeviceWorld& world) : world_(world) {}

  std::optional<DriverDescription> Describe(int driver_index) override {
    const auto drivers = world_.DevicesOfKind(DeviceSpec::Kind::Vfw);
    if (driver_index < 0 || driver_index >= static_cast<int>(drivers.size())) return std::nullopt;
    return DriverDescription{drivers[static_cast<std::size_t>(driver_index)]->name, "1.0"};
  }

  std::unique_ptr<VfwCaptureWindow> CreateCaptureWindow(const std::string&, int, int, int, int) override {
    world_.Log("capCreateWindow()");
    return std::make_unique<SimCaptureWindow>(world_);
  }

 private:
  SimDeviceWorld& world_;
};

}  // namespace

std::vector<const DeviceSpec*> SimDeviceWorld::DevicesOfKind(DeviceSpec::Kind kind) const {
  std::vector<const DeviceSpec*> found;
  for (const auto& device : devices)
    if (device.kind == kind) found.push_back(&device);
  return found;
}

const DeviceSpec* SimDeviceWorld::AtAddress(const std::string& address) const {
  for (const auto& device : devices)
    if (device.kind == DeviceSpec::Kind::Address && device.name == address) return &device;
  return nullptr;
}

Picture RenderPicture(const PictureSpec& described, int width, int height) {
  switch (described.kind) {
    case PictureSpec::Kind::Solid: {
      Picture picture = Picture::Blank(width, height);
      Fill(picture, 0, width, described.red, described.green, described.blue);
      return picture;
    }
    case PictureSpec::Kind::Pattern:
      return described.pattern == "gradient" ? Gradient(width, height) : Bars(width, height);
    case PictureSpec::Kind::File: {
      const auto file = ReadBmpFile(described.path);
      return file ? Scaled(*file, width, height) : Picture::Blank(width, height);
    }
  }
  return Picture::Blank(width, height);
}

std::unique_ptr<VfwDriverSystem> MakeSimDriverSystem(SimDeviceWorld& world) {
  return std::make_unique<SimDriverSystem>(world);
}

}  // namespace zr::platform::sim
