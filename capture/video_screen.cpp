// The capture window's connection, display and dialogs for each device kind.

#include "capture/video_screen.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "base/formatting.h"
#include "capture/capture_device.h"
#include "capture/capture_status.h"
#include "capture/codec_windows.h"
#include "capture/export_dv.h"
#include "capture/movie_run_panel.h"
#include "capture/series_panel.h"
#include "capture/video_info.h"
#include "core/main_menus.h"
#include "core/main_window.h"
#include "core/settings_keys.h"
#include "core/window_registry.h"
#include "image/picture_writer.h"
#include "movie/avi_builder_panel.h"

namespace zr {

namespace {
using platform::MessageButtons;
using platform::MessageIcon;
constexpr int kHttpSourceIndex = -2;

// The size panels of the status bar and the scale each sets, in ten-thousandths.
struct SizePanel {
  const char* key;
  int scale;
};
constexpr SizePanel kSizePanels[] = {
    {"size_0_33", 3300}, {"size_0_50", 5000}, {"size_1_00", 10000}, {"size_2_00", 20000}, {"size_3_00", 30000}};

// The packed colour of the picture's top left corner, where a logo's background usually is.
std::int32_t CornerColour(const platform::Picture& picture) { return std::max(PackedColourAt(picture, 0, 0), 0); }
}  // namespace

VideoScreen::VideoScreen(Program& program)
    : ui::Window(program.services.loop, "VideoScreen"),
      program_(program),
      control_(program.services.make_capture_control()) {
  for (const auto& panel : kSizePanels) StatusBar.AddPanel(panel.key).Bevel = ui::BevelStyle::Raised;
  StatusBar.Panels("size_1_00").Bevel = ui::BevelStyle::Inset;
  // Raised is the sound preview off: a device does not play its microphone into the speakers
  // until the operator asks.
  StatusBar.AddPanel("audio", " " + program.Translate("Audio")).Bevel = ui::BevelStyle::Raised;
  StatusBar.AddPanel("resolution");
  StatusBar.OnPanelClick = [this](ui::Panel& panel) { StatusBar_PanelClick(panel); };
  StatusBar.Visible = false;
  wdmX.Visible = false;
  WDMStatus.OnTimer = [this] { WDMStatus_Timer(); };
  AddTransportButtons();
  control_->SetEventSink(this);
}

void VideoScreen::Load() {
  if (auto* builder = dynamic_cast<AviBuilderPanel*>(program_.IfLoaded<MainWindow>())) builder->FillCompressorList();
}

VideoScreen::~VideoScreen() {
  control_->SetEventSink(nullptr);
  vfw::capDestroy(capture_window_);
}

bool VideoScreen::IsControlKind() const { return RunsOnTheControl(Kind()); }

void VideoScreen::ShowModeNotSupported() {
  program_.MessageBox(program_.Translate("Capture Mode not supported"), MessageButtons::Ok, MessageIcon::Stop);
}

// A close by the operator is refused, yet it still disconnects the device.
bool VideoScreen::QueryUnload(ui::UnloadMode mode) {
  Disconnect();
  return mode != ui::UnloadMode::CloseBox;
}

// The set-up of the old device goes to the device state file, so the next device starts
// from it.
void VideoScreen::Disconnect() {
  auto& store = program_.services.settings;
  Mastertoolbar.Visible = false;
  SaveSetting(store, settings::PopupMovieViewer, program_.state.PopupMovieViewer);
  SaveSetting(store, settings::AutoPlay, program_.state.AutoPlay);
  SaveSetting(store, settings::ShutterSound, program_.state.ShutterSound);
  program_.MainWindow().SaveParameterFile(program_.state.AppPath + kDeviceStateFile);
  ResumeNext([&] {
    if (Kind() == DeviceKind::Driver) {
      SaveSetting(store, settings::CaptureYields, std::to_string(program_.state.CaptureParms.fYield));
      program_.Yield();
      if (capture_window_) vfw::capSetStatusCallback(*capture_window_, false, nullptr);
      program_.state.LastResult = vfw::capDestroy(capture_window_);
      program_.state.hCapWnd = 0;
    } else if (Kind() == DeviceKind::Control || Kind() == DeviceKind::IpCamera) {
      control_->SetDeviceConnected(false);
      wdmX.Visible = false;
    } else if (Kind() == DeviceKind::MediaStream) {
      control_->StopStream();
      control_->CloseStream();
      control_->SetDeviceConnected(false);
      wdmX.Visible = false;
    }
  });
  StatusBar.Visible = false;
  Width = 320;
  Height = 260;
  Caption = "";
}

void VideoScreen::ConnectVideoCaptureDevice(int index, const std::string& kind, const std::string& name) {
  auto& master = program_.MainWindow();
  if (kind == "unplug") {
    master.StatusString.Caption = program_.Translate("Disconnected");
    Disconnect();
    program_.MessageBox(program_.Translate("Device Driver Disconnected.") + "\n" +
                            program_.Translate("Can be now removed if is a USB/Firewire device..."),
                        MessageButtons::Ok, MessageIcon::Information);
    return;
  }
  if (kind == "info") {
    program_.SlotOf<VideoInfo>().ShowModal(program_.services.loop);
    return;
  }
  const DeviceKind device_kind = DeviceKindOfTag(kind);
  if (device_kind == DeviceKind::None) return;
  const std::string previous_kind = Tag;
  Disconnect();
  device_index_ = index;
  device_name_ = name;
  Tag = kind;
  Initialize();
  // A stream or camera without an address connects nothing and keeps the kind it replaced.
  if (address_refused_) Tag = previous_kind;
  if (device_kind != DeviceKind::MediaStream) program_.services.settings.Save(kAppTitle, "System", "LastDevice", name);
}

void VideoScreen::Initialize() {
  address_refused_ = false;
  Mastertoolbar.Visible = false;
  Caption = program_.Translate("Initializing...");
  program_.Yield();
  if (Kind() == DeviceKind::IpCamera || Kind() == DeviceKind::MediaStream)
    InitializeNetworkSource(Kind());
  else if (Kind() == DeviceKind::Control)
    InitializeControl();
  else if (Kind() == DeviceKind::Driver)
    InitializeDriver();
}

bool VideoScreen::AskAddress(const std::string& prompt, std::string& address) {
  const auto answer =
      program_.services.dialogs.InputBox(platform::InputBoxRequest{program_.Translate(prompt), kAppTitle, ""});
  address = answer.value_or("");
  return !address.empty();
}

// A camera or a stream at an address: the window is sized before the source is connected, so
// an IP camera keeps the size it had until the operator picks a scale; a stream is sized again
// once it plays. Each step passes over its own failure and the next one runs.
void VideoScreen::InitializeNetworkSource(DeviceKind kind) {
  const bool stream = kind == DeviceKind::MediaStream;
  std::string address;
  if (!AskAddress(stream ? "Enter the video stream url:" : "Enter the ip camera url:", address)) {
    address_refused_ = true;
    return;
  }
  EnableControlKindMenus(/*device_settings=*/false);
  AudioVFW(false);
  wdmX.Visible = true;
  vfw::capDestroy(capture_window_);
  Caption = stream ? "Windows Media Stream" : "IP CAMERA";
  auto& toolbar = program_.MainWindow().DeviceToolbar;
  toolbar.Button("fullscreen").Enabled = true;
  for (const char* key : {"source", "display", "format"}) toolbar.Button(key).Enabled = false;
  ResumeNext([&] { ResizeWDM(); });
  toolbar.Button("exportdv").Enabled = false;
  ResumeNext([&] { control_->SetDeviceConnected(false); });
  ResumeNext([&] { control_->SetVideoDeviceIndex(kHttpSourceIndex); });
  ResumeNext([&] { control_->SetNetworkSourceUrl(address); });
  ResumeNext([&] { control_->SetCaptureAudio(false); });
  if (stream) {
    ResumeNext(
        [&] { control_->SetUseVMR9(program_.services.settings.Get(kAppTitle, "System", "VMR", "Yes") == "Yes"); });
  }
  ResumeNext([&] { control_->SetDeviceConnected(true); });
  ResumeNext([&] { control_->SetPreviewEnabled(true); });
  StatusBar.Visible = true;
  if (!stream) return;
  ResumeNext([&] { control_->OpenStream(address); });
  ResumeNext([&] { control_->PlayStream(); });
  ResumeNext([&] { ResizeWDM(); });
}

void VideoScreen::InitializeControl() {
  auto& movie = program_.MainPanel<MovieRunPanel>();
  auto& master = program_.MainWindow();
  EnableControlKindMenus(/*device_settings=*/true);
  ResumeNext([&] { control_->SetPreviewRate(movie.previewrate.ListIndex + 1); });
  AudioVFW(false);
  wdmX.Visible = true;
  vfw::capDestroy(capture_window_);
  ResumeNext([&] { control_->SetUseVMR9(program_.services.settings.Get(kAppTitle, "System", "VMR", "Yes") == "Yes"); });
  ResumeNext([&] {
    control_->SetVideoDeviceIndex(device_index_);
    control_->SetDeviceConnected(true);
    Caption = control_->VideoDeviceName(device_index_);
  });
  ResumeNext([&] {
    control_->SetAudioPreview(StatusBar.Panels("audio").Bevel == ui::BevelStyle::Inset);
    control_->SetPreviewEnabled(true);
    ResizeWDM();
  });
  for (const char* key : {"fullscreen", "source", "display", "format"}) master.DeviceToolbar.Button(key).Enabled = true;
  ResumeNext([&] { FillFormatMenu(); });
  ResumeNext([&] { FillInputMenu(); });
  ResumeNext([&] {
    movie.AudioDevice.Clear();
    for (int index = 0; index < control_->AudioDeviceCount(); ++index)
      movie.AudioDevice.AddItem(control_->AudioDeviceName(index));
    movie.AudioDevice.ListIndex = 0;
  });
  // A device that cannot answer its transport is no camcorder either.
  int transport = 0;
  ResumeNext([&] { transport = control_->DVCommand(0); });
  Mastertoolbar.Visible = transport >= 1;
  DVStatus.Enabled = transport >= 1;
  ResumeNext([&] { master.DeviceToolbar.Button("exportdv").Enabled = control_->DeviceClass() >= 2; });
  ResumeNext([&] { master.ShowTunerBand(*control_); });
  StatusBar.Visible = true;
}

// The lists of the sound settings belong to the control; the driver's own lists are off.
void VideoScreen::EnableControlKindMenus(bool device_settings) {
  auto& master = program_.MainWindow();
  for (int index : {video_menu::kAdvancedSettings, video_menu::kVideoEngine, video_menu::kSetImageOverlay,
                    video_menu::kClearImageOverlay})
    master.VideoMenu(index).Visible = device_settings;
  master.DeviceToolbar.Button("wdmsettings").Enabled = device_settings;
  SelectSoundLists(/*driver_lists=*/false);
}

// A driver sets the sound format by channels, bits and rate; a control by device, input and
// level.
void VideoScreen::SelectSoundLists(bool driver_lists) {
  auto& movie = program_.MainPanel<MovieRunPanel>();
  for (ui::Control* list :
       std::initializer_list<ui::Control*>{&movie.AudioDevice, &movie.AudioInput, &movie.AudioLevel})
    list->Enabled = !driver_lists;
  for (ui::Control* list :
       std::initializer_list<ui::Control*>{&movie.AudioBits, &movie.AudioChannels, &movie.AudioRate})
    list->Enabled = driver_lists;
}

void VideoScreen::FillFormatMenu() {
  auto& format = program_.MainWindow().DeviceToolbar.Button("format");
  format.ButtonMenus.clear();
  for (const auto& row : control_->VideoFormatList())
    format.AddMenu("", std::to_string(row.width) + " x " + std::to_string(row.height) + " (" +
                           std::to_string(row.bits_per_pixel) + "bpp)");
}

void VideoScreen::FillInputMenu() {
  auto& source = program_.MainWindow().DeviceToolbar.Button("source");
  const int count = control_->VideoInputCount();
  if (count <= 0) return;
  source.ButtonMenus.clear();
  source.ToolTipText = "";
  for (int index = 0; index < count; ++index) source.AddMenu("", control_->VideoInputName(index));
}

// The driver kind has no lists of formats or inputs: each drop-down shows a disabled "none".
void VideoScreen::ClearControlKindMenus() {
  auto& toolbar = program_.MainWindow().DeviceToolbar;
  for (const char* key : {"source", "format"}) {
    auto& button = toolbar.Button(key);
    button.ButtonMenus.clear();
    button.AddMenu("", program_.Translate("none")).Enabled = false;
    button.ToolTipText = program_.Translate("Available only on WDM devices");
  }
}

void VideoScreen::InitializeDriver() {
  auto& movie = program_.MainPanel<MovieRunPanel>();
  auto& master = program_.MainWindow();
  auto& state = program_.state;
  wdmX.Visible = false;
  SelectSoundLists(/*driver_lists=*/true);
  AudioVFW(true);
  vfw::capDestroy(capture_window_);
  capture_window_ = vfw::capCreateWindow(program_.services.drivers);
  state.hCapWnd = capture_window_ ? 1 : 0;
  vfw::capSetStatusCallback(*capture_window_, true, &state.captureStatus);
  state.LastResult = vfw::capConnect(*capture_window_, device_index_);
  if (state.LastResult == 0) {
    vfw::capDestroy(capture_window_);
    state.hCapWnd = 0;
    master.StatusString.Caption = program_.Translate("Not Connected");
    master.MasterStatus.Panels("resolution").Text = "N/A";
    Caption = program_.Translate("No Signal");
    master.DeviceToolbar.Button("fullscreen").Enabled = false;
    return;
  }
  master.StatusString.Caption = program_.Translate("Connected");
  master.StatusTime.Caption = "00:00:00.00";
  master.DeviceToolbar.Button("fullscreen").Enabled = true;
  vfw::capGetCaps(*capture_window_, state.CapDriverCaps);
  SizeToPicture();
  vfw::capGetCaps(*capture_window_, state.CapDriverCaps);
  vfw::capGetStatus(*capture_window_, state.CapStatus);
  vfw::capGetSetup(*capture_window_, state.CaptureParms);
  FollowDriverCaps();
  vfw::capGetStatus(*capture_window_, state.CapStatus);
  if (state.CapStatus.fOverlayWindow == 1 && state.CapDriverCaps.fHasOverlay == 1)
    Overlay();
  else
    Preview(movie.previewrate.ListIndex + 1);
  vfw::capGetAudioFormat(*capture_window_, state.WaveFormat, kWaveFormatBytes);
  movie.AudioChannels.ListIndex = state.WaveFormat.nChannels == 1 ? 0 : 1;
  movie.AudioBits.ListIndex = state.WaveFormat.wBitsPerSample == 8 ? 0 : 1;
  switch (state.WaveFormat.nSamplesPerSec) {
    case 8000:
      movie.AudioRate.ListIndex = 0;
      break;
    case 11025:
      movie.AudioRate.ListIndex = 1;
      break;
    case 22050:
      movie.AudioRate.ListIndex = 2;
      break;
    case 44100:
      movie.AudioRate.ListIndex = 3;
      break;
    default:
      break;
  }
  master.SetAudioCapture(state.CaptureParms.fCaptureAudio != 0);
  const int rate = FramesPerSecondFromMicroSeconds(state.CaptureParms.dwRequestMicroSecPerFrame);
  movie.MovieFrameRateControl.Value = rate < 2 ? movie.MovieFrameRateControl.Min.get() : rate;
  if (state.CaptureParms.fLimitEnabled == 1) movie.MovieDisableLimit.Value = 0;
  movie.MovieHoursControl.Value = static_cast<int>(state.CaptureParms.wTimeLimit / 3600);
  movie.MovieMinutesControl.Value = static_cast<int>(state.CaptureParms.wTimeLimit % 3600 / 60);
  movie.MovieSecondsControl.Value = static_cast<int>(state.CaptureParms.wTimeLimit % 60);
  master.MasterStatus.Panels("filename").Text =
      program_.Translate("Filename: ") + vfw::capGetCaptureFile(*capture_window_);
  state.CaptureParms.fYield = ReadSettingInteger<BOOL>(program_.services.settings, settings::CaptureYields);
  program_.MainWindow().LoadParameterFile(state.AppPath + kDeviceStateFile);
  // Whatever the file said.
  state.CaptureParms.dwIndexSize = 324000;
  StatusBar.Visible = false;
}

// The view and dialog buttons follow what the driver can do.
void VideoScreen::FollowDriverCaps() {
  auto& master = program_.MainWindow();
  const auto& caps = program_.state.CapDriverCaps;
  auto& toolbar = master.DeviceToolbar;
  toolbar.Button("overlay").Enabled = caps.fHasOverlay != 0;
  master.ViewMenu(view_menu::kOverlayMode).Enabled = caps.fHasOverlay != 0;
  toolbar.Button("source").Enabled = caps.fHasDlgVideoSource != 0;
  master.VideoMenu(video_menu::kVideoSource).Enabled = caps.fHasDlgVideoSource != 0;
  toolbar.Button("display").Enabled = caps.fHasDlgVideoDisplay != 0;
  toolbar.Button("format").Enabled = caps.fHasDlgVideoFormat != 0;
  toolbar.Button("wdmsettings").Enabled = false;
  ClearControlKindMenus();
}

int VideoScreen::Scaled(int pixels) const {
  const std::int64_t product = std::int64_t{pixels} * view_scale_;
  std::int64_t whole = product / 10000;
  const std::int64_t rest = product % 10000;
  if (rest > 5000 || (rest == 5000 && whole % 2 != 0)) ++whole;
  return static_cast<int>(whole);
}

// The sizing step of the driver kind: the capture window at the scaled size of the picture,
// the window around it, the crosshair over it.
void VideoScreen::SizeToPicture() {
  if (!capture_window_) return;
  auto& state = program_.state;
  vfw::capGetStatus(*capture_window_, state.CapStatus);
  const int width = Scaled(static_cast<int>(state.CapStatus.uiImageWidth));
  const int height = Scaled(static_cast<int>(state.CapStatus.uiImageHeight));
  vfw::capResize(*capture_window_, 0, 0, width, height);  // the window stands at 0,0 of its parent
  const std::string resolution = program_.Translate("Resolution:") + " " +
                                 std::to_string(state.CapStatus.uiImageWidth) + "x" +
                                 std::to_string(state.CapStatus.uiImageHeight);
  StatusBar.Panels("resolution").Text = resolution;
  program_.MainWindow().MasterStatus.Panels("resolution").Text = resolution;
  program_.MainWindow().StatusString.Caption = program_.Translate("Connected");
  Width = width;
  Height = height + ShownStatusBarHeight();
  mira.Left = 0;
  mira.Top = 0;
  mira.Width = width;
  mira.Height = height;
}

void VideoScreen::Resize() {
  mira.Left = 0;
  mira.Top = 0;
  mira.Width = Width;
  mira.Height = std::max(Height - kStatusBarHeight, 0);
}

// A size panel is pressed alone and sets the scale; both sizings run, each for its own kinds.
void VideoScreen::StatusBar_PanelClick(ui::Panel& panel) {
  if (panel.key == "audio") return ToggleAudioPreview(panel);
  const auto* chosen = std::find_if(std::begin(kSizePanels), std::end(kSizePanels),
                                    [&](const SizePanel& size) { return panel.key == size.key; });
  if (chosen == std::end(kSizePanels)) return;
  for (const auto& size : kSizePanels)
    StatusBar.Panels(size.key).Bevel = &size == chosen ? ui::BevelStyle::Inset : ui::BevelStyle::Raised;
  view_scale_ = chosen->scale;
  ResumeNext([&] { ResizeWDM(); });
  ResumeNext([&] { SizeToPicture(); });
}

// The sound is heard or not on a device of the control kind alone, changed with the preview
// off; the bevel shows what the device now does (inset: heard).
void VideoScreen::ToggleAudioPreview(ui::Panel& panel) {
  if (Kind() != DeviceKind::Control) return;
  ResumeNext([&] { control_->SetPreviewEnabled(false); });
  ResumeNext([&] { control_->SetAudioPreview(!control_->AudioPreview()); });
  ResumeNext([&] { control_->SetPreviewEnabled(true); });
  ResumeNext([&] { panel.Bevel = control_->AudioPreview() ? ui::BevelStyle::Inset : ui::BevelStyle::Raised; });
}

void VideoScreen::RefreshWindow() {
  if (Kind() == DeviceKind::Driver) SizeToPicture();
}

void VideoScreen::VideoCompressionDialog() {
  if (Kind() == DeviceKind::Driver && capture_window_)
    vfw::capShowCompressionDialog(program_, *capture_window_);
  else if (Kind() == DeviceKind::Control || Kind() == DeviceKind::MediaStream)
    program_.SlotOf<VideoCodec>().ShowModal(program_.services.loop);
}

void VideoScreen::VideoSource() {
  if (Kind() == DeviceKind::Driver && capture_window_)
    vfw::capShowSourceDialog(program_, *capture_window_);
  else if (Kind() == DeviceKind::Control)
    ResumeNext([&] { control_->ShowSourceDialog(); });
}

void VideoScreen::VideoDisplay() {
  if (Kind() == DeviceKind::Driver && capture_window_)
    vfw::capShowDisplayDialog(program_, *capture_window_);
  else if (Kind() == DeviceKind::Control)
    ResumeNext([&] { control_->ShowDisplayDialog(); });
}

void VideoScreen::VideoFormat() {
  if (Kind() == DeviceKind::Driver && capture_window_)
    vfw::capShowFormatDialog(program_, *capture_window_);
  else if (Kind() == DeviceKind::Control)
    ResumeNext([&] { control_->ShowFormatDialog(); });
}

// The buttons follow what the device did, not what was asked; a driver that is in neither mode
// leaves them as they are.
void VideoScreen::MirrorViewButtons() {
  bool live = false;
  bool overlay = false;
  if (Kind() == DeviceKind::Driver) {
    auto& status = program_.state.CapStatus;
    vfw::capGetStatus(*capture_window_, status);
    live = status.fLiveWindow == 1;
    overlay = status.fOverlayWindow == 1;
  } else {
    ResumeNext([&] { overlay = control_->OverlayEnabled(); });
    live = !overlay;
  }
  auto& toolbar = program_.MainWindow().DeviceToolbar;
  if (live) {
    toolbar.Button("overlay").Value = 0;
    toolbar.Button("preview").Value = 1;
  }
  if (overlay) {
    toolbar.Button("overlay").Value = 1;
    toolbar.Button("preview").Value = 0;
  }
}

void VideoScreen::Overlay() {
  if (Kind() == DeviceKind::Driver && capture_window_) {
    program_.state.LastResult = vfw::capOverlay(*capture_window_);
    MirrorViewButtons();
  } else if (Kind() == DeviceKind::Control) {
    ResumeNext([&] {
      control_->SetPreviewEnabled(false);
      control_->SetOverlayEnabled(true);
    });
    MirrorViewButtons();
  }
}

void VideoScreen::Preview(int frames_per_second) {
  if (Kind() == DeviceKind::Driver && capture_window_) {
    program_.state.LastResult = vfw::capPreview(program_, *capture_window_, frames_per_second);
    MirrorViewButtons();
  } else if (Kind() == DeviceKind::Control) {
    ResumeNext([&] {
      control_->SetDeviceConnected(false);
      control_->SetPreviewRate(frames_per_second);
      control_->SetStretchPreview(true);
      control_->SetDeviceConnected(true);
      control_->SetPreviewEnabled(true);
    });
    MirrorViewButtons();
  }
}

void VideoScreen::WDMCaptureDialog() {
  if (Kind() == DeviceKind::Control) ResumeNext([&] { control_->ShowCaptureDialog(); });
}

// A device of the control kind takes a new renderer only on a fresh connection.
void VideoScreen::ReconnectWithRenderer(bool use_vmr9) {
  if (Kind() != DeviceKind::Control) return;
  ResumeNext([&] { control_->SetDeviceConnected(false); });
  ResumeNext([&] { control_->SetUseVMR9(use_vmr9); });
  ResumeNext([&] { control_->SetDeviceConnected(true); });
  ResumeNext([&] { control_->SetPreviewEnabled(true); });
}

// The control and the window around it at the scaled size of the picture. A stream tells its
// size only once it plays: until then the window keeps its size, and the next change of scale
// asks again. A device whose size cannot be read keeps the sizes it had.
void VideoScreen::ResizeWDM() {
  if (!IsControlKind()) return;
  int width = 0;
  int height = 0;
  if (Kind() == DeviceKind::MediaStream) {
    wdmX.Left = 0;
    wdmX.Top = 0;
    control_->StreamVideoSize(width, height);
    control_->SetStretchPreview(true);
    if (width == 0 || height == 0) return;
  } else {
    control_->SetStretchPreview(true);
    bool read = false;
    ResumeNext([&] {
      height = control_->VideoHeight();
      width = control_->VideoWidth();
      read = true;
    });
    if (!read) return;
    wdmX.Left = 0;
    wdmX.Top = Mastertoolbar.Visible ? kToolbarHeight : 0;
    const std::string resolution =
        program_.Translate("Resolution:") + " " + FormatNumber(width, "#0") + "x" + FormatNumber(height, "#0");
    StatusBar.Panels("resolution").Text = resolution;
    program_.MainWindow().MasterStatus.Panels("resolution").Text = resolution;
    program_.MainWindow().StatusString.Caption = program_.Translate("Connected");
  }
  wdmX.Width = Scaled(width);
  wdmX.Height = Scaled(height);
  Width = wdmX.Width;
  Height = wdmX.Top + wdmX.Height + ShownStatusBarHeight();
}

void VideoScreen::AudioVFW(bool enabled) {
  auto& menu = program_.MainWindow().AudioMenu;
  for (int index = 2; index <= 9; ++index) menu(index).Enabled = enabled;
}

void VideoScreen::CaptureStarted() { WDMStatus.Enabled = true; }

void VideoScreen::CaptureStopped() {
  WDMStatus.Enabled = false;
  if (frame_job_open_) return;
  program_.MainWindow().StopMovieRecord();
  ShowRunFailure(program_, control_->CaptureFailure());
}

void VideoScreen::PictureRightButtonUp() {
  if (Kind() != DeviceKind::Driver || !capture_window_) return;
  auto& menu = program_.MainWindow().ViewMenu;
  std::vector<int> indexes;
  std::vector<platform::PopupMenuEntry> entries;
  for (const auto& [index, entry] : menu.Elements()) {
    if (!entry->Visible) continue;
    indexes.push_back(index);
    entries.push_back({entry->Caption, entry->Checked, entry->Enabled});
  }
  const auto chosen = program_.services.dialogs.PopupMenu(entries);
  if (chosen && *chosen >= 0 && *chosen < static_cast<int>(indexes.size()))
    menu(indexes[static_cast<std::size_t>(*chosen)]).Click();
}

// The picture goes through MotionPicture, the window's work picture, on its way to the display;
// the overlay keeps its own hold of it, as the motion detector fills MotionPicture again.
void VideoScreen::SetImageOverlay() {
  const auto chosen = program_.services.dialogs.FileDialog(platform::FileDialogRequest{
      platform::FileDialogKind::Open, program_.Translate("Open..."), std::string(kPictureOpenFilter), "", false});
  if (!chosen || chosen->empty()) return;
  auto picture = LoadPictureFile(chosen->front());
  if (!picture) {
    program_.MessageBox(program_.Translate("Bad file format."));
    return;
  }
  MotionPicture.Picture = picture;
  const auto colour = program_.services.dialogs.ChooseColour(
      platform::ColourRequest{program_.Translate("Choose the transparency color..."), CornerColour(*picture)});
  if (!colour) return;
  image_overlay_ = ImageOverlay{std::move(picture), *colour};
}

void VideoScreen::ClearImageOverlay() { image_overlay_ = {}; }

// The end of a sent movie ends the transfer of the export window, if it is open.
void VideoScreen::DVExportFinished() {
  if (auto* exporting = program_.IfLoaded<ExportDV>()) exporting->StopProcess();
}

// A press of the left button drags the window by its picture; the faces do the moving.
void VideoScreen::MouseDown(int) {}

namespace {

using Registration = WindowRegistration<VideoScreen>;
const Registration kRegistration{{
    {"Disconnect", Registration::Calls(&VideoScreen::Disconnect)},
    {"RefreshWindow", Registration::Calls(&VideoScreen::RefreshWindow)},
    {"VideoCompressionDialog", Registration::Calls(&VideoScreen::VideoCompressionDialog)},
    {"Initialize", Registration::Calls(&VideoScreen::Initialize)},
    {"VideoSource", Registration::Calls(&VideoScreen::VideoSource)},
    {"VideoDisplay", Registration::Calls(&VideoScreen::VideoDisplay)},
    {"VideoFormat", Registration::Calls(&VideoScreen::VideoFormat)},
    {"Overlay", Registration::Calls(&VideoScreen::Overlay)},
    {"Preview",
     [](VideoScreen& w, const ProcedureArguments& a) {
       a.Expect(1);
       w.Preview(a.Integer(0));
     }},
    {"Record", Registration::Calls(&VideoScreen::Record)},
    {"StopCapture", Registration::Calls(&VideoScreen::StopCapture)},
    {"SaveStill",
     [](VideoScreen& w, const ProcedureArguments& a) {
       a.Expect(3);
       w.SaveStill(a.Text(0), a.Integer(1), a.Flag(2));
     }},
    {"SetFilename",
     [](VideoScreen& w, const ProcedureArguments& a) {
       a.Expect(1);
       w.SetFilename(a.Text(0));
     }},
    {"GetFilename",
     [](VideoScreen& w, const ProcedureArguments& a) {
       a.Expect(0);
       (void)w.GetFilename();
     }},
    {"OpenMultipleImage", Registration::Calls(&VideoScreen::OpenMultipleImage)},
    {"SetCaptureParameters", Registration::Calls(&VideoScreen::SetCaptureParameters)},
    {"CaptureSingle", Registration::Calls(&VideoScreen::CaptureSingle)},
    {"CloseMultipleCapture", Registration::Calls(&VideoScreen::CloseMultipleCapture)},
    {"WDMCaptureDialog", Registration::Calls(&VideoScreen::WDMCaptureDialog)},
    {"ResizeWDM", Registration::Calls(&VideoScreen::ResizeWDM)},
    {"AudioVFW",
     [](VideoScreen& w, const ProcedureArguments& a) {
       a.Expect(1);
       w.AudioVFW(a.Flag(0));
     }},
    {"ConnectVideoCaptureDevice",
     [](VideoScreen& w, const ProcedureArguments& a) {
       a.Expect(3);
       w.ConnectVideoCaptureDevice(a.Integer(0), a.Text(1), a.Text(2));
     }},
    {"ShowTCR", Registration::Calls(&VideoScreen::ShowTCR)},
    {"SetImageOverlay", Registration::Calls(&VideoScreen::SetImageOverlay)},
    {"ClearImageOverlay", Registration::Calls(&VideoScreen::ClearImageOverlay)},
}};

}  // namespace

}  // namespace zr
