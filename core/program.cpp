#include "core/program.h"

#include "capture/video_screen.h"
#include "core/formatting.h"
#include "core/master.h"

namespace zr {

namespace {

// A stored number; text that does not parse reads as 0.
double SettingNumber(const std::string& text) {
  try {
    return NumericPrefix(text);
  } catch (const OverflowError&) {
    return 0;
  }
}

}  // namespace

Program::Program(Services given_services, std::string app_path)
    : services(std::move(given_services)),
      Master("Master", [this] { return std::make_unique<zr::Master>(*this); }),
      VideoScreen("VideoScreen", [this] { return std::make_unique<zr::VideoScreen>(*this); }) {
  state.AppPath = std::move(app_path);
}

Program::~Program() = default;

std::vector<ui::WindowSlotBase*> Program::Windows() { return {&Master, &VideoScreen}; }

ui::WindowSlotBase* Program::FindWindow(std::string_view name) {
  for (auto* slot : Windows())
    if (slot->Name() == name) return slot;
  return nullptr;
}

void Program::ReleaseUnloadedWindows() {
  for (auto* slot : Windows()) slot->ReleaseUnloaded();
}

std::string Program::Translate(const std::string& key, int) const { return key; }

platform::MessageAnswer Program::MessageBox(const std::string& text, platform::MessageButtons buttons,
                                            platform::MessageIcon icon, const std::string& title) {
  return services.dialogs.MessageBox(platform::MessageBoxRequest{text, title, buttons, icon});
}

void Program::Main() {
  state.PreviewRate = 10;
  state.AutostartHours = 0;
  state.AutostartMinutes = 0;
  state.AutostartSeconds = 10;
  state.CaptureFilename = state.AppPath + "zandrell.avi";
  state.ProductSite = "https://video-zandrell.example/";
  auto& settings = services.settings;
  state.PopupMovieViewer = settings.Get("ZR", "ZR", "PUMV", "");
  state.AutoPlay = settings.Get("ZR", "ZR", "AP", "");
  state.ShutterSound = settings.Get("ZR", "ZR", "ES", "1");
  state.JpegQuality = static_cast<std::int32_t>(SettingNumber(settings.Get("ZR", "JPEG", "Compression", "100")));
  state.MotionSensitivity = static_cast<std::int16_t>(SettingNumber(settings.Get("ZR", "MD", "SENSE", "5")));
  Master().Show();
}

}  // namespace zr
