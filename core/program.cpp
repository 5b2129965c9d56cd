#include "core/program.h"

#include <stdexcept>

#include "base/formatting.h"
#include "base/program_error.h"
#include "core/main_window.h"
#include "core/settings_keys.h"
#include "core/splash.h"
#include "core/window_registry.h"
#include "image/insertion_overlay.h"
#include "image/text_renderer.h"

namespace zr {

Program::Program(Services given_services, std::string program_folder)
    : services(std::move(given_services)), ProgramFolder(std::move(program_folder)) {
  state.AppPath = ProgramFolder;
  for (const WindowKind& kind : RegisteredWindowKinds())
    windows_.push_back(std::make_unique<ui::WindowSlot<ui::Window>>(kind.name, [this, &kind] {
      auto window = kind.make(*this, kind.name);
      if (kind.placement != ui::WindowPlacement::TopLevel) FollowActivation(*window);
      return window;
    }));
}

Program::~Program() = default;

std::vector<ui::WindowSlotBase*> Program::Windows() {
  std::vector<ui::WindowSlotBase*> slots;
  for (const auto& slot : windows_) slots.push_back(slot.get());
  return slots;
}

ui::WindowSlotBase* Program::FindWindow(std::string_view name) {
  for (const auto& slot : windows_)
    if (slot->Name() == name) return slot.get();
  return nullptr;
}

ui::WindowSlot<ui::Window>& Program::Slot(std::string_view name) {
  for (const auto& slot : windows_)
    if (slot->Name() == name) return *slot;
  throw std::logic_error("no window is registered as " + std::string(name));
}

void Program::ActivateChild(const ui::Window& window) {
  active_child_name_ = window.Name();
  active_child_serial_ = window.Serial();
}

// A child of the main window that shows is activated, as the main window's area activates a
// child window where it appears.
void Program::FollowActivation(ui::Window& window) {
  window.Visible.OnChange([this, &window] {
    if (window.Visible) ActivateChild(window);
  });
}

ui::Window* Program::ActiveChild() {
  ui::WindowSlotBase* slot = FindWindow(active_child_name_);
  if (!slot) return nullptr;
  if (ui::Window* window = slot->LoadedWindow(); window && window->Serial() == active_child_serial_) return window;
  for (int number = 1; number <= slot->ExtraInstanceCount(); ++number)
    if (ui::Window* extra = slot->ExtraInstance(number); extra->Serial() == active_child_serial_) return extra;
  return nullptr;
}

zr::MainWindow& Program::MainWindow() { return Window<zr::MainWindow>(); }

void Program::ReleaseUnloadedWindows() {
  for (const auto& slot : windows_) slot->ReleaseUnloaded();
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
  VersionText = Translate("Version") + " " + std::to_string(kVersionMajor) + "." + FormatNumber(kVersionMinor, "#00") +
                " " + Translate("Build") + " " + FormatNumber(kVersionRevision, "#");
  state.AppPath = ProgramFolder;
  state.IsWindowsAfter2000 = SystemVersion > 5.0 ? True : False;
  state.PreviewRate = 10;
  state.AutostartHours = 0;
  state.AutostartMinutes = 0;
  state.AutostartSeconds = 10;
  state.CaptureFilename = state.AppPath + "zandrell.avi";
  state.ProductSite = kHomeAddress;
  WriteRunRecord();
  Window<zr::Splash>().Show();
  auto& store = services.settings;
  state.PopupMovieViewer = ReadSetting(store, settings::PopupMovieViewer);
  state.AutoPlay = ReadSetting(store, settings::AutoPlay);
  state.ShutterSound = ReadSetting(store, settings::ShutterSound);
  state.JpegQuality = ReadSettingInteger<std::int32_t>(store, settings::JpegQualityAtStart);
  state.MotionSensitivity = ReadSettingInteger<std::int16_t>(store, settings::MotionSensitivity);
  MainWindow().Show();
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
  if (auto* main = IfLoaded<zr::MainWindow>()) {
    main->CloseForExit();
    return;
  }
  // Without the main window there is only the capture window to close; its close disconnects.
  Slot("VideoScreen").Unload();
}

namespace {

const ProgramProcedures kProcedures{{
    {"ExitProgram",
     [](Program& p, const ProcedureArguments& a) {
       a.Expect(0);
       p.ExitProgram();
     }},
}};

}  // namespace

}  // namespace zr
