// The main window's menus and toolbar keys that belong to the running program: the modes,
// the parameter files, the preferences, the sound choice, the Toolbars, Window and Help menus,
// the desktop's own tools and Exit. Each command is one line to the procedure that does the work.

#include <cctype>
#include <cstdio>

#include "base/formatting.h"
#include "capture/codec_catalogue.h"
#include "capture/codec_windows.h"
#include "capture/export_dv.h"
#include "capture/other_info.h"
#include "capture/video_info.h"
#include "capture/video_screen.h"
#include "capture/video_settings.h"
#include "core/about_window.h"
#include "core/main_menus.h"
#include "core/operating_mode.h"
#include "core/preferences.h"
#include "core/settings_keys.h"
#include "core/splash.h"
#include "core/system_information.h"
#include "image/tools/field_of_view.h"
#include "image/tools/full_screen.h"
#include "image/tools/histogram.h"
#include "image/windows/image_window.h"
#include "main_window/master.h"
#include "main_window/parameter_file.h"
#include "movie/movie_viewer.h"
#include "movie/subtitle_editor.h"
#include "net/net_config.h"
#include "peripherals/scanner.h"

namespace zr {

namespace {

// A file's address for the browser: every byte but the unreserved ones and the separators
// written as %XX, so blanks and other signs in the path survive.
std::string FileAddress(const std::string& path) {
  std::string address = "file://";
  for (const char letter : path) {
    const auto byte = static_cast<unsigned char>(letter);
    if (std::isalnum(byte) || letter == '/' || letter == '-' || letter == '_' || letter == '.' || letter == '~') {
      address += letter;
    } else {
      char escaped[4];
      std::snprintf(escaped, sizeof escaped, "%%%02X", byte);
      address += escaped;
    }
  }
  return address;
}

}  // namespace

void Master::MainToolbar_ButtonClick(ui::ToolbarButton& button) {
  const std::string& key = button.Key();
  if (ModeOfKey(key) != OperatingMode::None)
    SetOperationMode(key);
  else if (key == "open")
    OpenCaptureFile();
  else if (key == "save")
    SaveCaptureFile();
  else if (key == "preferences")
    program_.SlotOf<Preferences>().ShowModal(program_.services.loop);
  else if (key == "viewer")
    OpenMovieFromToolbar();
  else if (key == "srt")
    OpenSubtitleEditor();
  else if (key == "about")
    ShowAbout();
  else if (key == "scanner")
    AcquireScan();
  else if (key == "choose_scanner")
    SelectTwainSource(program_);
}

void Master::DeviceToolbar_ButtonClick(ui::ToolbarButton& button) {
  auto& screen = program_.Window<VideoScreen>();
  const std::string& key = button.Key();
  if (key == "device" || key == "wdmsettings")
    screen.WDMCaptureDialog();
  else if (key == "source")
    screen.VideoSource();
  else if (key == "display")
    screen.VideoDisplay();
  else if (key == "format")
    screen.VideoFormat();
  else if (key == "overlay")
    screen.Overlay();
  else if (key == "preview")
    screen.Preview(program_.state.PreviewRate);
  else if (key == "info")
    program_.SlotOf<VideoInfo>().ShowModal(program_.services.loop);
  else if (key == "advanced")
    program_.SlotOf<VideoSettings>().ShowModal(program_.services.loop);
  else if (key == "snapshot")
    TakeSnapshot(false);
  else if (key == "fullscreen")
    ViewFullscreen(program_);
  else if (key == "histogram")
    program_.Window<Histogram>().Show();
  else if (key == "lens")
    program_.Window<FOV>().Show();
  else if (key == "about")
    ShowAbout();
  else if (key == "screen")
    CompanionMissing(
        program_.Translate("Error 03: Cannot run Video Zandrell Screen Capture, which Linux does not have"));
  else if (key == "exportdv")
    program_.Window<ExportDV>().Show();
}

// The device menu: an entry's key holds the device index after its letter, its tag the kind
// or the command word. The format and input menus of a device of the control kind pick a row:
// the device takes that format, or switches to that input, which is remembered as the input
// the device is connected with next time.
void Master::DeviceToolbar_ButtonMenuClick(ui::ToolbarButton& button, ui::ButtonMenu& entry) {
  if (button.Key() == "device") {
    const int index = entry.key.size() > 1 ? static_cast<int>(NumericPrefix(entry.key.substr(1))) : 0;
    program_.Window<VideoScreen>().ConnectVideoCaptureDevice(index, entry.tag, entry.Text);
    return;
  }
  if (program_.Window<VideoScreen>().Kind() != DeviceKind::Control ||
      (button.Key() != "format" && button.Key() != "source"))
    return;
  const int row = button.MenuIndex(entry);
  auto& control = program_.Window<VideoScreen>().Control();
  if (button.Key() == "format") {
    ResumeNext([&] { control.SelectVideoFormat(row); });
  } else {
    ResumeNext([&] {
      control.SetVideoInputIndex(row);
      SaveSetting(program_.services.settings, settings::LastDeviceInput, std::to_string(row));
    });
  }
  program_.Window<VideoScreen>().ResizeWDM();
}

void Master::FileMenu_Click(int index) {
  // The first five entries enter the modes in the order of the main toolbar's mode buttons.
  using namespace file_menu;
  if (index >= kMovieCapture && index <= kWebcamBroadcast)
    SetOperationMode(std::string(ModeKey(kOperatingModes[static_cast<std::size_t>(index)])));
  else if (index == kOpenCaptureFile)
    OpenCaptureFile();
  else if (index == kSaveCaptureFile)
    SaveCaptureFile();
  else if (index == kPreferences)
    program_.SlotOf<Preferences>().ShowModal(program_.services.loop);
  else if (index == kExit)
    program_.SlotOf<Master>().Unload(ui::UnloadMode::FromCode);
  else if (index == kMediaBroadcast)
    CompanionMissing(program_.Translate("Error 02: Cannot run Video Zandrell Broadcast"));
  else if (index == kSystemInformation)
    ShowSystemInformation();
}

// The separate broadcast and screen capture programs exist only for the system the program was
// first written for; the operator gets the message the program gives when one cannot be run.
void Master::CompanionMissing(const std::string& message) {
  program_.MessageBox(message, platform::MessageButtons::Ok, platform::MessageIcon::Stop);
}

void Master::ShowSystemInformation() {
  if (!program_.services.desktop.OpenSystemInformation()) program_.Window<SystemInformation>().Show();
}

void Master::OpenVolumeControl(platform::VolumeView view) {
  if (program_.services.desktop.OpenVolumeControl(view)) return;
  program_.MessageBox(program_.Translate("No volume control was found on this desktop. Install pavucontrol to set "
                                         "the recording and playback levels."),
                      platform::MessageButtons::Ok, platform::MessageIcon::Exclamation);
}

// The control kind hears the captured sound while its preview is off for the change; the
// capture window's "audio" panel shows the same state.
void Master::ToggleAudioPreview() {
  auto& entry = AudioMenu(audio_menu::kPreviewAudio);
  entry.Checked = !entry.Checked;
  auto& screen = program_.Window<VideoScreen>();
  if (screen.Kind() != DeviceKind::Control) return;
  const bool on = entry.Checked;
  screen.StatusBar.Panels("audio").Bevel = on ? ui::BevelStyle::Inset : ui::BevelStyle::Raised;
  ResumeNext([&] {
    auto& control = screen.Control();
    control.SetPreviewEnabled(false);
    control.SetAudioPreview(on);
    control.SetPreviewEnabled(true);
  });
}

// The entries in the menu's order arrange by the codes 1, 2, 0 and 3.
void Master::WindowMenu_Click(int index) {
  static constexpr platform::ArrangeCode kCodes[] = {
      platform::ArrangeCode::TileHorizontally, platform::ArrangeCode::TileVertically, platform::ArrangeCode::Cascade,
      platform::ArrangeCode::ArrangeIcons};
  if (index >= 0 && index < static_cast<int>(std::size(kCodes)))
    program_.services.desktop.ArrangeChildWindows(kCodes[index]);
}

void Master::TWAINx_Click(int index) {
  if (index == scanner_menu::kSelectSource)
    SelectTwainSource(program_);
  else if (index == scanner_menu::kAcquire)
    AcquireScan();
}

// The scan goes into a new picture window, kept as its restore point, so the effects can go back
// to it. A cancelled or failed scan leaves the window empty, still shown as "Untitled"; it
// carries no file name until the operator saves it.
void Master::AcquireScan() {
  auto& window = dynamic_cast<Image&>(program_.SlotOf<Image>().NewInstance());
  window.ShowPicture(AcquireTwainImage(program_));
  window.KeepResetPicture();
  program_.Yield();
  window.Caption = program_.Translate("Untitled");
  window.Show();
}

void Master::HelpMenu_Click(int index) {
  using namespace help_menu;
  if (index == kHelp)
    ShowUserGuide();
  else if (index == kSplashWindow)
    program_.Window<Splash>().Show();
  else if (index == kCheckForUpgrades)
    program_.services.desktop.OpenAddress(kReleasePage);
  else if (index == kHomePage)
    program_.services.desktop.OpenAddress(program_.state.ProductSite);
  else if (index == kAbout)
    ShowAbout();
}

void Master::ShowAbout() { program_.SlotOf<AboutWindow>().ShowModal(program_.services.loop); }

void Master::ShowUserGuide() {
  const auto guide = program_.services.desktop.UserGuide();
  if (!guide) {
    program_.MessageBox(program_.Translate("The user guide is not installed."), platform::MessageButtons::Ok,
                        platform::MessageIcon::Exclamation);
    return;
  }
  program_.services.desktop.OpenAddress(FileAddress(*guide));
}

void Master::ViewMenu_Click(int index) {
  auto& screen = program_.Window<VideoScreen>();
  if (index == view_menu::kOverlayMode)
    screen.Overlay();
  else if (index == view_menu::kPreviewMode)
    screen.Preview(program_.state.PreviewRate);
  else if (index == view_menu::kFullScreen)
    ViewFullscreen(program_);
}

// The device's own dialogs are followed by a refresh of the window, whose size they may change.
void Master::VideoMenu_Click(int index) {
  auto& screen = program_.Window<VideoScreen>();
  using namespace video_menu;
  switch (index) {
    case kVideoSource:
      screen.VideoSource();
      screen.RefreshWindow();
      break;
    case kVideoFormat:
      screen.VideoFormat();
      screen.RefreshWindow();
      break;
    case kVideoDisplay:
      screen.VideoDisplay();
      screen.RefreshWindow();
      break;
    case kVideoCompression:
      screen.VideoCompressionDialog();
      break;
    case kVideoCaptureDevice:
      program_.SlotOf<VideoInfo>().ShowModal(program_.services.loop);
      break;
    case kVideoEngine: {
      auto& entry = VideoMenu(kVideoEngine);
      entry.Checked = !entry.Checked;
      program_.services.settings.Save(kAppTitle, "System", "VMR", entry.Checked ? "Yes" : "No");
      screen.ReconnectWithRenderer(entry.Checked);
      screen.ResizeWDM();
      break;
    }
    case kVideoCodecs:
      program_.SlotOf<Codecs>().ShowModal(program_.services.loop);
      break;
    case kWhatCodec:
      WhatCodec(program_);
      break;
    case kAdvancedSettings:
      program_.SlotOf<VideoSettings>().ShowModal(program_.services.loop);
      break;
    case kSetImageOverlay:
      screen.SetImageOverlay();
      break;
    case kClearImageOverlay:
      screen.ClearImageOverlay();
      break;
    default:
      break;
  }
}

void Master::EditMenu_Click(int index) {
  if (index == edit_menu::kCaptureFrame)
    TakeSnapshot(false);
  else if (index == edit_menu::kPutOnClipboard)
    TakeSnapshot(true);
  else if (index == edit_menu::kOtherInformation)
    program_.Window<OtherInfo>().Show();
}

void Master::OpenSubtitleEditor() {
  const auto chosen = program_.services.dialogs.FileDialog(platform::FileDialogRequest{
      platform::FileDialogKind::Open, program_.Translate("Open AVI"), "Movie File (*.avi)|*.avi|", "", false});
  if (!chosen || chosen->empty()) return;
  auto& editor = program_.Window<SubtitleEditor>();
  editor.OpenMovie(chosen->front());
  editor.Show();
}

// The counter of a series' file names; "insert" is a pressed state read at each shot.
void Master::imagesettings_ButtonClick(ui::ToolbarButton& button) {
  if (button.Key() == "filenames") AskImageCounter();
}

// The name's last three letters choose what to do with the chosen file.
void Master::OpenCaptureFile() {
  const auto chosen = program_.services.dialogs.FileDialog(platform::FileDialogRequest{
      platform::FileDialogKind::Open, program_.Translate("Open..."),
      "All files |*.zrp;*.bmp;*.jpg;*.avi|Zandrell Parameters (*.zrp)|*.zrp|Movie File (*.avi)|*.avi|"
      "Bitmap File (*.bmp)|*.bmp|JPEG Image File (*.jpg)|*.jpg|",
      "", false});
  if (!chosen || chosen->empty()) return;
  const std::string& path = chosen->front();
  const std::string kind = LastThreeLower(path);
  if (kind == "zrp")
    LoadParameters(program_, path);
  else if (kind == "avi")
    OpenMovieInNewViewer(program_, path);
  else if (kind == "bmp" || kind == "jpg")
    OpenPictureInNewWindow(program_, path);
}

void Master::OpenMovieFromToolbar() {
  const auto chosen = program_.services.dialogs.FileDialog(platform::FileDialogRequest{
      platform::FileDialogKind::Open, program_.Translate("Open AVI"), "Movie File (*.avi)|*.avi|", "", false});
  if (!chosen || chosen->empty()) return;
  OpenMovieInNewViewer(program_, chosen->front());
}

void Master::SaveCaptureFile() {
  const std::string& capture = program_.state.CaptureFilename;
  const std::string proposed = capture.size() < 3 ? capture : capture.substr(0, capture.size() - 3) + "zrp";
  const auto chosen = program_.services.dialogs.FileDialog(
      platform::FileDialogRequest{platform::FileDialogKind::Save, program_.Translate("Save Capture Parameters"),
                                  "Zandrell Parameters (*.zrp)|*.zrp|", proposed, false});
  if (!chosen || chosen->empty()) return;
  SaveParameters(program_, chosen->front());
}

// A click flips the check; the entry then shows or hides what it governs.
void Master::Toolbars_Click(int index) {
  auto& entry = Toolbars(index);
  entry.Checked = !entry.Checked;
  if (index == toolbars_menu::kStatusDisplay) StatusPanel.Visible = entry.Checked.get();
  if (index < toolbars_menu::kTvTuner)
    MasterBar.BandAt(index + 1).Visible = entry.Checked.get();
  else
    MasterBar.Bands("tuner").Visible = entry.Checked.get();
}

// The check moves to the chosen entry; the priority lasts until the program ends and is not
// stored.
void Master::cpu_priority_Click(int index) {
  for (const auto& [entry_index, entry] : cpu_priority.Elements()) entry->Checked = entry_index == index;
  const platform::ProcessPriority asked = index == priority_menu::kRealTime ? platform::ProcessPriority::RealTime
                                          : index == priority_menu::kHigh   ? platform::ProcessPriority::High
                                                                            : platform::ProcessPriority::Normal;
  if (!program_.services.desktop.SetProcessPriority(asked))
    StatusString.Caption = program_.Translate("The system does not allow this priority");
}

void Master::AudioMenu_Click(int index) {
  using namespace audio_menu;
  switch (index) {
    case kAudioOff:
      SetAudioCapture(false);
      break;
    case kAudioOn:
      SetAudioCapture(true);
      break;
    case kMono:
      AudioChannels.ListIndex = 0;
      break;
    case kStereo:
      AudioChannels.ListIndex = 1;
      break;
    case k8Bits:
      AudioBits.ListIndex = 0;
      break;
    case k16Bits:
      AudioBits.ListIndex = 1;
      break;
    case kRecordingSettings:
      OpenVolumeControl(platform::VolumeView::Recording);
      break;
    case kSoundVolume:
      OpenVolumeControl(platform::VolumeView::Playback);
      break;
    case kPreviewAudio:
      ToggleAudioPreview();
      break;
    default:
      break;
  }
}

void Master::SetAudioCapture(bool on) {
  MovieToolbar.Button("audio").Value = on ? 1 : 0;
  AudioMenu(audio_menu::kAudioOff).Checked = !on;
  AudioMenu(audio_menu::kAudioOn).Checked = on;
  for (ui::Control* control : std::initializer_list<ui::Control*>{&AudioChannels, &AudioBits, &AudioRate, &AudioDevice,
                                                                  &AudioInput, &AudioLevel})
    control->Enabled = on;
}

void Master::MovieToolbar_ButtonClick(ui::ToolbarButton& button) {
  const std::string& key = button.Key();
  if (key == "record") {
    if (RecordButton().Image == "record")
      CaptureControl(true);
    else
      StopMovieRecord();
  } else if (key == "motion") {
    ArmMotion(&button);
  } else if (key == "autostart") {
    ShowAutostart();
  } else if (key == "audio") {
    SetAudioCapture(button.Value == 1);
  } else if (key == "tcr") {
    program_.Window<VideoScreen>().ShowTCR();
  } else if (key == "compression") {
    program_.Window<VideoScreen>().VideoCompressionDialog();
  } else if (key == "filename") {
    ChooseCaptureFilename();
  } else if (key == "otherinfo") {
    program_.Window<OtherInfo>().Show();
  }
  // "writeinfo" is a pressed state the close-out of a run reads.
}

// The movie's name: a cancelled dialog leaves the name as it was.
void Master::ChooseCaptureFilename() {
  if (program_.state.CaptureType != "movie") return;
  const auto chosen = program_.services.dialogs.FileDialog(
      platform::FileDialogRequest{platform::FileDialogKind::Save, program_.Translate("Set Movie Clip filename..."),
                                  "Movie Clips (*.AVI)|*.avi", program_.state.CaptureFilename, false});
  if (!chosen || chosen->empty()) return;
  program_.state.CaptureFilename = chosen->front();
  program_.Window<VideoScreen>().SetFilename(chosen->front());
}

// A series' name: the dialog's filter follows the name's ending; a cancel leaves all as it was.
void Master::ChooseSeriesFilename() {
  auto& name = program_.state.CaptureFilename;
  std::string ending = name.size() < 3 ? name : name.substr(name.size() - 3);
  for (char& letter : ending) letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
  std::string filter;
  if (ending == "AVI")
    filter = "Movie Clips (*.AVI)|*.avi";
  else if (ending == "BMP")
    filter = "Bitmap Image File (*.BMP)|*.BMP";
  else if (ending == "JPG")
    filter = "JPEG Image File (*.JPG)|*.JPG";
  const auto chosen = program_.services.dialogs.FileDialog(platform::FileDialogRequest{
      platform::FileDialogKind::Save, program_.Translate("Save as..."), filter, name, false});
  if (!chosen || chosen->empty()) return;
  name = chosen->front();
  MasterStatus.Panels("filename").Text = program_.Translate("Filename: ") + name;
}

void Master::MultipleImageToolbar_ButtonClick(ui::ToolbarButton& button) {
  const std::string& key = button.Key();
  if (key == "record")
    CaptureControl(RecordButton().Image == "record");
  else if (key == "motion")
    ArmMotion(&button);
  else if (key == "autostart")
    ShowAutostart();
  else if (key == "vidcompression")
    program_.Window<VideoScreen>().VideoCompressionDialog();
  else if (key == "filename")
    ChooseSeriesFilename();
  else if (key == "effects")
    PopUpEffects(program_.services.dialogs);
  else if (key == "netset")
    program_.SlotOf<NetConfig>().ShowModal(program_.services.loop);
  else if (key == "otherinfo")
    program_.Window<OtherInfo>().Show();
  // "writeinfo" and "ftp" are pressed states a series reads.
}

// How a series is stored decides which keys apply and the name's ending, in capitals. A name
// of fewer than four characters has no ending to take away and is left as it is.
void Master::MultipleImageMode_Click() {
  const int mode = MultipleImageMode.ListIndex;
  const bool movie_file = mode == 0;
  MultipleImageFrameRate.Enabled = movie_file;
  MultipleImageToolbar.Button("filename").Image = movie_file ? "filename" : "save";
  for (const char* key : {"otherinfo", "writeinfo", "vidcompression"})
    MultipleImageToolbar.Button(key).Enabled = movie_file;
  for (const char* key : {"netset", "ftp", "effects"}) MultipleImageToolbar.Button(key).Enabled = !movie_file;
  imagesettings(1).Button("filenames").Enabled = !movie_file;
  const bool clipboard = mode == 5;
  for (const char* key : {"filename", "netset", "ftp"})
    if (clipboard) MultipleImageToolbar.Button(key).Enabled = false;
  if (!clipboard) MultipleImageToolbar.Button("filename").Enabled = true;

  auto& panel = MasterStatus.Panels("filename");
  if (clipboard) {
    panel.Text = "";
    return;
  }
  static constexpr const char* kEndings[] = {".AVI", ".BMP", ".JPG", ".BMP", ".JPG"};
  auto& name = program_.state.CaptureFilename;
  if (mode < 0 || mode > 4 || name.size() < 4) return;
  name = name.substr(0, name.size() - 4) + kEndings[mode];
  panel.Text = program_.Translate("Filename: ") + name;
}

}  // namespace zr
