// The program. Until the real devices and the windows exist it runs its capture engine on
// the simulated test camera: it records a short movie and says where it wrote it.

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <string>

#include "capture/video_screen.h"
#include "core/master.h"
#include "platform/linux/ffmpeg_movie_files.h"
#include "platform/sim/sim_devices.h"
#include "platform/sim/sim_services.h"

namespace {

void PrintHelp() {
  std::cout << "Usage: zandrell [--record SECONDS] [--output FILE]\n"
               "  --record SECONDS  length of the movie to record (default 3)\n"
               "  --output FILE     the movie file (default zandrell.avi in the current folder)\n"
               "  --help            this text\n";
}

}  // namespace

int main(int argc, char** argv) {
  int seconds = 3;
  std::string output = (std::filesystem::current_path() / "zandrell.avi").string();
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    if (option == "--help") {
      PrintHelp();
      return 0;
    }
    if (option == "--record" && i + 1 < argc) {
      seconds = std::stoi(argv[++i]);
    } else if (option == "--output" && i + 1 < argc) {
      output = std::filesystem::absolute(argv[++i]).string();
    } else {
      std::cerr << "zandrell: unknown option " << option << "\n";
      PrintHelp();
      return 2;
    }
  }
  const std::string app_path = std::filesystem::absolute(argv[0]).parent_path().string() + "/";
  using namespace zr::platform;
  sim::SimEventLoop loop;
  sim::SimDialogs dialogs;
  sim::SimClipboard clipboard;
  sim::SimSettingsStore settings;
  sim::SimFileSystem files(app_path, 1ULL << 40);
  sim::SimWallClock clock(loop);
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
  zr::Program program(zr::Services{loop, dialogs, clipboard, settings, files, clock, movies, *drivers,
                                   [&world] { return sim::MakeSimCaptureControl(world); }},
                      app_path);
  program.Main();
  auto& master = program.Master();
  program.VideoScreen().ConnectVideoCaptureDevice(0, "vfw", camera.name);
  program.state.CaptureParms.fYield = 1;
  master.MovieFrameRateControl.Value = 25;
  master.MovieHoursControl.Value = 0;
  master.MovieMinutesControl.Value = 0;
  master.MovieSecondsControl.Value = seconds;
  program.VideoScreen().SetFilename(output);
  program.services.settings.Save("ZR", "MD", "OQ", "0");
  master.OperationBar.ClickButton(master.RecordButton());
  loop.AdvanceBy(seconds * 1000LL + 500);
  std::cout << master.StatusString.Caption.get() << ": " << output << "\n";
  return master.StatusString.Caption == "Stopped" ? 0 : 1;
}
