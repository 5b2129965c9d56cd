// The main window's life: its load, which connects the device and replays the saved set-up,
// its close request, which saves everything, and its size limits.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <system_error>

#include "base/formatting.h"
#include "capture/choose_device.h"
#include "capture/device_menu.h"
#include "capture/video_screen.h"
#include "core/main_menus.h"
#include "core/settings_keys.h"
#include "main_window/master.h"
#include "main_window/parameter_file.h"

namespace zr {

namespace {

constexpr int kDefaultWidthPixels = 800;
constexpr int kDefaultHeightPixels = 600;
constexpr int kMinimumWidthPixels = 665;
constexpr int kMinimumHeightPixels = 480;
constexpr int kWrittenToolbarEntries = 7;  // entries 7 and 8 are read at start, never written

// A size or place in twips beyond the 32-bit range, as no screen has, reads as 0.
int Pixels(double twips) {
  constexpr auto kFarthest = static_cast<double>(std::numeric_limits<std::int32_t>::max());
  return std::abs(twips) <= kFarthest ? RoundHalfEven(twips / kTwipsPerPixel) : 0;
}
std::string Twips(int pixels) { return std::to_string(pixels * kTwipsPerPixel); }

bool FileExists(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error);
}

}  // namespace

void Master::Load() {
  auto& state = program_.state;
  if (state.Exiting) return;
  cpu_priority(priority_menu::kNormal).Checked = true;
  LanguageControls();
  state.ImageCounterStart = 0;
  state.ImageCounterFormat = "#000000";
  TranslateFixedLabels();
  auto& store = program_.services.settings;
  WebShare_Port.Text = ReadSetting(store, settings::WebSharePort);
  WebShare_Quality.Value = ReadSettingInteger(store, settings::WebShareQuality, std::to_string(WebShare_Quality.Value));
  imagesettings(1).Button("filenames").Caption = program_.Translate("Counter");
  if (program_.services.desktop.HasVolumeControl()) {
    AudioMenu(audio_menu::kRecordingSettings).Enabled = true;
    AudioMenu(audio_menu::kSoundVolume).Enabled = true;
  }
  Caption = program_.VersionText;
  AudioLevel.Clear();
  for (int level = 0; level <= 100; ++level) AudioLevel.AddItem(std::to_string(level) + "%");
  LoadGeometry();
  LoadToolbarChecks();
  LoadCoolBar(kAppTitle);
  program_.Yield();
  FillLists();
  BuildDeviceMenu(program_);
  program_.SlotOf<ChooseDevice>().ShowModal(program_.services.loop);
  state.CaptureFilename = program_.Window<VideoScreen>().GetFilename();
  if (LowerCase(state.CaptureFilename) == "error") state.CaptureFilename = state.AppPath + "zandrell.avi";
  if (FileExists(state.AppPath + kStateFile))
    LoadParameters(program_, state.AppPath + kStateFile);
  else
    SetOperationMode("movie");
  ReadStations(program_.state.AppPath);
  OpenCommandLineFile();
}

void Master::TranslateFixedLabels() {
  for (const auto& [index, label] : Labels.Elements()) label->Caption = program_.Translate(label->Caption);
  AudioMenu(audio_menu::kPreviewAudio).Caption = program_.Translate("Preview Audio (only for WDM drivers)");
}

// Height and width first, so that the centring defaults use the size just set.
void Master::LoadGeometry() {
  auto& store = program_.services.settings;
  const auto screen = program_.services.desktop.Screen();
  Height = Pixels(ReadSettingNumber(store, settings::WindowHeight, Twips(kDefaultHeightPixels)));
  Width = Pixels(ReadSettingNumber(store, settings::WindowWidth, Twips(kDefaultWidthPixels)));
  const double centred_top = (screen.height - static_cast<double>(Height)) * kTwipsPerPixel / 2.0;
  const double centred_left = (screen.width - static_cast<double>(Width)) * kTwipsPerPixel / 2.0;
  Top = Pixels(ReadSettingNumber(store, settings::WindowTop, NumberText(centred_top)));
  Left = Pixels(ReadSettingNumber(store, settings::WindowLeft, NumberText(centred_left)));
  WindowState = ReadSettingInteger(store, settings::WindowState);
}

void Master::LoadToolbarChecks() {
  for (const auto& [index, entry] : Toolbars.Elements())
    entry->Checked = ReadSettingNumber(program_.services.settings, settings::ToolbarShown(index)) == 1;
}

void Master::FillLists() {
  previewrate.Clear();
  for (int rate = 1; rate <= 40; ++rate) previewrate.AddItem(FormatNumber(rate, "#00") + " FPS");
  previewrate.ListIndex = program_.state.PreviewRate >= 1 ? program_.state.PreviewRate - 1 : 11;
  for (ui::ListControl* list : {&MultipleImageFrameRate, &AVIBuildFPS}) {
    list->Clear();
    for (int rate = 1; rate <= 30; ++rate) list->AddItem(LeadingBlank(rate) + " FPS");
    list->ListIndex = 10;
  }
  MultipleImageMode.ListIndex = 0;
}

void Master::OpenCommandLineFile() {
  const std::string& line = program_.CommandLine;
  if (!line.empty()) {
    if (FileExists(line))
      LoadParameters(program_, line);
    else
      program_.MessageBox(program_.Translate("Cannot open ") + line, platform::MessageButtons::Ok,
                          platform::MessageIcon::Exclamation);
  }
  program_.Yield();
}

// Everything is saved before the question, so a declined quit still leaves a fresh set-up.
bool Master::QueryUnload(ui::UnloadMode mode) {
  auto& state = program_.state;
  if (state.Exiting) return true;
  auto& store = program_.services.settings;
  SaveGeometry();
  for (int index = 0; index < kWrittenToolbarEntries; ++index)
    SaveSetting(store, settings::ToolbarShown(index), Toolbars(index).Checked ? "1" : "0");
  SaveCoolBar(kAppTitle);
  WriteStations(program_.state.AppPath);
  SaveSetting(store, settings::WindowState, std::to_string(WindowState.get()));
  SaveSetting(store, settings::PopupMovieViewer, state.PopupMovieViewer);
  SaveSetting(store, settings::AutoPlay, state.AutoPlay);
  SaveSetting(store, settings::ShutterSound, state.ShutterSound);
  // The port the server has, as a 16-bit number: one beyond 32767 is not stored.
  ResumeNext([&] { SaveSetting(store, settings::WebSharePort, std::to_string(ToInt16(stream.LocalPort()))); });
  SaveSetting(store, settings::WebShareQuality, std::to_string(WebShare_Quality.Value));
  SaveParameters(program_, state.AppPath + kStateFile);
  if (mode == ui::UnloadMode::CloseBox) {
    const auto answer =
        program_.MessageBox(Caption.get() + "\n\n" + program_.Translate("Are you sure you want to quit ?"),
                            platform::MessageButtons::YesNo, platform::MessageIcon::Question);
    state.LastResult = static_cast<std::int32_t>(answer);
    if (answer != platform::MessageAnswer::Yes) return false;
  }
  program_.ExitProgram();
  return true;
}

void Master::CloseForExit() {
  program_.Window<VideoScreen>().Disconnect();
  program_.SlotOf<VideoScreen>().Unload();
  program_.SlotOf<Master>().Unload();
}

void Master::SaveParameterFile(const std::string& path) { SaveParameters(program_, path); }
void Master::LoadParameterFile(const std::string& path) { LoadParameters(program_, path); }

// Minimised or maximised, the saved geometry stays as it was.
void Master::SaveGeometry() {
  if (WindowState != static_cast<int>(ui::WindowState::Normal)) return;
  auto& store = program_.services.settings;
  SaveSetting(store, settings::WindowTop, Twips(Top));
  SaveSetting(store, settings::WindowLeft, Twips(Left));
  SaveSetting(store, settings::WindowHeight, Twips(Height));
  SaveSetting(store, settings::WindowWidth, Twips(Width));
}

void Master::Resize() {
  if (program_.state.Exiting || WindowState != static_cast<int>(ui::WindowState::Normal)) return;
  if (Width < kMinimumWidthPixels) Width = kMinimumWidthPixels;
  if (Height < kMinimumHeightPixels) Height = kMinimumHeightPixels;
}

// One key a band: its width and whether it starts a row, separated by "//".
void Master::SaveCoolBar(const std::string& title) {
  for (int position = 1; position <= MasterBar.BandCount(); ++position) {
    const auto& band = MasterBar.BandAt(position);
    program_.services.settings.Save(title, settings::kCoolBarSection, band.key,
                                    std::to_string(band.Width.get()) + "//" + (band.NewRow ? "1" : "0"));
  }
}

void Master::LoadCoolBar(const std::string& title) {
  for (int position = 1; position <= MasterBar.BandCount(); ++position) {
    auto& band = MasterBar.BandAt(position);
    const std::string value = program_.services.settings.Get(title, settings::kCoolBarSection, band.key, "");
    const auto separator = value.find("//");
    if (separator == std::string::npos) continue;
    ResumeNext([&] {
      band.Width = TruncatedOrZero<int>(NumericPrefix(value.substr(0, separator)));
      band.NewRow = NumericPrefix(value.substr(separator + 2)) == 1;
    });
  }
}

}  // namespace zr
