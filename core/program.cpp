#include "core/program.h"

#include "capture/choose_device.h"
#include "capture/video_info.h"
#include "capture/video_screen.h"
#include "base/formatting.h"
#include "core/master.h"
#include "core/message_window.h"
#include "core/preferences.h"
#include "base/program_error.h"
#include "core/settings_keys.h"
#include "core/splash.h"
#include "image/windows/image_window.h"
#include "image/text_renderer.h"

namespace zr {

namespace {

template <class W>
ui::WindowSlot<W> MakeSlot(Program& program, const char* name) {
  return ui::WindowSlot<W>(name, [&program] { return std::make_unique<W>(program); });
}

ui::WindowSlot<zr::Image> MakeImageSlot(Program& program, const char* name) {
  return ui::WindowSlot<zr::Image>(name, [&program, name] { return std::make_unique<zr::Image>(program, name); });
}

}  // namespace

Program::Program(Services given_services, std::string program_folder)
    : services(std::move(given_services)),
      Master(MakeSlot<zr::Master>(*this, "Master")),
      VideoScreen(MakeSlot<zr::VideoScreen>(*this, "VideoScreen")),
      Splash(MakeSlot<zr::Splash>(*this, "Splash")),
      ChooseDevice(MakeSlot<zr::ChooseDevice>(*this, "ChooseDevice")),
      VideoInfo(MakeSlot<zr::VideoInfo>(*this, "VideoInfo")),
      Preferences(MakeSlot<zr::Preferences>(*this, "Preferences")),
      Msg(MakeSlot<zr::Msg>(*this, "Msg")),
      Image(MakeImageSlot(*this, "Image")),
      MultiImage(MakeImageSlot(*this, "MultiImage")),
      ProgramFolder(std::move(program_folder)) {
  state.AppPath = ProgramFolder;
}

Program::~Program() = default;

std::vector<ui::WindowSlotBase*> Program::Windows() {
  return {&Master, &VideoScreen, &Splash, &ChooseDevice, &VideoInfo, &Preferences, &Msg, &Image, &MultiImage};
}

ui::WindowSlotBase* Program::FindWindow(std::string_view name) {
  for (auto* slot : Windows())
    if (slot->Name() == name) return slot;
  return nullptr;
}

void Program::ReleaseUnloadedWindows() {
  for (auto* slot : Windows()) slot->ReleaseUnloaded();
}

const TextRenderer& Program::InsertionRenderer() {
  if (!insertion_renderer_) {
    auto opened = TextRenderer::Open(InsertionFont());
    if (!opened) throw FileError(opened.error().message);
    insertion_renderer_ = std::make_unique<TextRenderer>(std::move(*opened));
  }
  return *insertion_renderer_;
}

// The flag is kept for the callers, which all pass 0.
std::string Program::Translate(const std::string& key, int) const { return TranslateText(language, key); }

platform::MessageAnswer Program::MessageBox(const std::string& text, platform::MessageButtons buttons,
                                            platform::MessageIcon icon, const std::string& title) {
  return services.dialogs.MessageBox(platform::MessageBoxRequest{text, title, buttons, icon});
}

void Program::Main() {
  VersionText = Translate("Version") + " " + std::to_string(kVersionMajor) + "." +
                FormatNumber(kVersionMinor, "#00") + " " + Translate("Build") + " " +
                FormatNumber(kVersionRevision, "#");
  state.AppPath = ProgramFolder;
  state.IsWindowsAfter2000 = SystemVersion > 5.0 ? True : False;
  state.PreviewRate = 10;
  state.AutostartHours = 0;
  state.AutostartMinutes = 0;
  state.AutostartSeconds = 10;
  state.CaptureFilename = state.AppPath + "zandrell.avi";
  state.ProductSite = "https://video-zandrell.example/";
  WriteRunRecord();
  Splash().Show();
  auto& store = services.settings;
  state.PopupMovieViewer = ReadSetting(store, settings::PopupMovieViewer);
  state.AutoPlay = ReadSetting(store, settings::AutoPlay);
  state.ShutterSound = ReadSetting(store, settings::ShutterSound);
  state.JpegQuality = static_cast<std::int32_t>(ReadSettingNumber(store, settings::JpegQualityAtStart));
  state.MotionSensitivity = static_cast<std::int16_t>(ReadSettingNumber(store, settings::MotionSensitivity));
  Master().Show();
}

// Written at every start and never read: which version ran from where, and when.
void Program::WriteRunRecord() {
  auto& store = services.settings;
  const auto now = services.clock.Now();
  SaveSetting(store, settings::RunVersion, std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor));
  SaveSetting(store, settings::RunBuild, std::to_string(kVersionRevision));
  SaveSetting(store, settings::RunPath, state.AppPath);
  SaveSetting(store, settings::RunDate, DateText(now));
  SaveSetting(store, settings::RunTime, TimeText(now));
}

// The flag comes first, so the load and resize handlers stop working on a window that is
// being destroyed and the parameter file is not overwritten by the last disconnect.
void Program::ExitProgram() {
  state.Exiting = True;
  VideoScreen().Disconnect();
  VideoScreen.Unload();
  Master.Unload();
}

}  // namespace zr
