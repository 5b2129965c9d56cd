// The program. Until the real devices and the windows exist it runs on the simulated test
// camera in virtual time: it starts as an operator starts it (the device chooser takes the
// test camera), records a short movie, says where it wrote it and closes as the operator
// closes it, saving its set-up.

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>

#include "capture/choose_device.h"
#include "capture/video_screen.h"
#include "core/master.h"
#include "platform/linux/ffmpeg_movie_files.h"
#include "platform/linux/ini_settings_store.h"
#include "platform/linux/linux_desktop.h"
#include "platform/sim/sim_devices.h"
#include "platform/sim/sim_services.h"

namespace {

void PrintHelp() {
  std::cout << "Usage: zandrell [--record SECONDS] [--output FILE] [--app-path DIR] [PARAMETER_FILE]\n"
               "  --record SECONDS  length of the movie to record (default 3)\n"
               "  --output FILE     the movie file (default zandrell.avi in the current folder)\n"
               "  --app-path DIR    the program folder (default: the executable's folder)\n"
               "  --lang CODE       the language of the texts: en, pt, es, fr or de (default: the desktop's)\n"
               "  PARAMETER_FILE    a .zrp file to apply at start\n"
               "  --help            this text\n";
}

struct Options {
  int seconds = 3;
  std::string output = (std::filesystem::current_path() / "zandrell.avi").string();
  std::string app_path;
  std::string command_line;
  std::optional<zr::Language> language;
};

const char* Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

// The operator of this run: picks the test camera in the chooser.
class ChooseTestCamera final : public zr::platform::sim::InputSource {
 public:
  explicit ChooseTestCamera(zr::Program& program) : program_(program) {}
  bool RunNextCommand() override {
    auto* chooser = program_.ChooseDevice.IfLoaded();
    if (!chooser) return false;
    chooser->devices.ClickEntry(0);
    chooser->start.Click();
    return true;
  }

 private:
  zr::Program& program_;
};

}  // namespace

int main(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    if (option == "--help") {
      PrintHelp();
      return 0;
    }
    if (option == "--record" && i + 1 < argc) options.seconds = std::atoi(argv[++i]);
    else if (option == "--output" && i + 1 < argc) options.output = std::filesystem::absolute(argv[++i]).string();
    else if (option == "--app-path" && i + 1 < argc) options.app_path = argv[++i];
    else if (option == "--lang" && i + 1 < argc) {
      options.language = zr::LanguageOfOption(argv[++i]);
      if (!options.language) {
        std::cerr << "zandrell: unknown language " << argv[i] << " (en, pt, es, fr or de)\n";
        return 2;
      }
    }
    else if (!option.starts_with("--") && options.command_line.empty()) options.command_line = option;
    else {
      std::cerr << "zandrell: unknown option " << option << "\n";
      PrintHelp();
      return 2;
    }
  }
  using namespace zr::platform;
  const std::string executable_folder = std::filesystem::absolute(argv[0]).parent_path().string();
  const std::string app_path = linux_impl::ResolveProgramFolder(executable_folder, options.app_path);
  sim::SimEventLoop loop;
  sim::SimDialogs dialogs;
  sim::SimClipboard clipboard;
  linux_impl::IniSettingsStore settings(linux_impl::DefaultSettingsFolder());
  sim::SimFileSystem files(app_path, 1ULL << 40);
  sim::SimWallClock clock(loop);
  linux_impl::LinuxDesktop desktop;
  linux_impl::FfmpegMovieFiles movies;
  sim::SimDeviceWorld world(loop, movies, clipboard, app_path);
  sim::DeviceSpec camera;
  camera.name = "Test Camera";
  camera.width = 640;
  camera.height = 480;
  camera.fps = 25;
  camera.picture.kind = sim::PictureSpec::Kind::Pattern;
  camera.picture.pattern = "bars";
  world.devices.push_back(camera);
  auto drivers = sim::MakeSimDriverSystem(world);
  zr::Program program(zr::Services{loop, dialogs, clipboard, settings, files, clock, desktop, movies, *drivers,
                                   [&world] { return sim::MakeSimCaptureControl(world); }},
                      app_path);
  program.CommandLine = options.command_line;
  if (const char* home = std::getenv("HOME"); home && *home == '/')
    program.HomeFolder = std::filesystem::path(home).string() + "/";
  program.language = options.language.value_or(
      zr::DesktopLanguage(Environment("LC_ALL"), Environment("LC_MESSAGES"), Environment("LANG")));
  ChooseTestCamera chooser(program);
  loop.SetInputSource(&chooser);
  program.Main();

  auto& master = program.Master();
  program.state.CaptureParms.fYield = 1;
  master.MovieFrameRateControl.Value = 25;
  master.MovieDisableLimit.Value = 0;
  master.MovieHoursControl.Value = 0;
  master.MovieMinutesControl.Value = 0;
  master.MovieSecondsControl.Value = options.seconds;
  program.VideoScreen().SetFilename(options.output);
  program.state.CaptureFilename = options.output;
  std::filesystem::remove(options.output);
  master.OperationBar.ClickButton(master.RecordButton());
  loop.AdvanceBy(options.seconds * 1000LL + 500);
  const bool recorded = master.StatusString.Caption == program.Translate("Stopped");
  std::cout << master.StatusString.Caption.get() << ": " << options.output << "\n";
  program.Master.Unload(zr::ui::UnloadMode::FromCode);
  return recorded ? 0 : 1;
}
