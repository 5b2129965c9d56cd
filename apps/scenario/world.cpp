#include "apps/scenario/world.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "capture/choose_device.h"
#include "platform/linux/library_versions.h"

namespace zr::scenario {

namespace {

constexpr std::uint64_t kSimulatedDiskBytes = 20ULL * 1024 * 1024 * 1024;

std::string MakeTemporaryRoot() {
  std::string pattern = (std::filesystem::temp_directory_path() / "zandrell-world-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a temporary folder");
  return pattern;
}

}  // namespace

World::World(bool keep) : root_(MakeTemporaryRoot()), keep_(keep) {
  app_folder_ = root_ + "/app/";
  temp_folder_ = root_ + "/temp/";
  for (const char* folder : {"/app", "/temp", "/home", "/home/.config", "/home/.local/share"})
    std::filesystem::create_directories(root_ + folder);
  files = std::make_unique<platform::sim::SimFileSystem>(root_, kSimulatedDiskBytes);
  settings = std::make_unique<platform::linux_impl::IniSettingsStore>(root_ + "/home/.config/video-zandrell/");
  loop.SetInputSource(this);
  devices = std::make_unique<platform::sim::SimDeviceWorld>(loop, movies, clipboard, dialogs, app_folder_);
  drivers = platform::sim::MakeSimDriverSystem(*devices);
  // The program stands on the same libraries in the scenario world: the about window names them.
  desktop.libraries = platform::linux_impl::LibraryVersions();
  desktop.guide_folder = app_folder_;
}

World::~World() {
  program_.reset();
  if (!keep_) {
    std::error_code error;
    std::filesystem::remove_all(root_, error);
  }
}

Program& World::MakeProgram() {
  program_.reset();
  program_ = std::make_unique<Program>(
      Services{loop,
               dialogs,
               clipboard,
               *settings,
               *files,
               clock,
               desktop,
               movies,
               *drivers,
               [this] { return platform::sim::MakeSimCaptureControl(*devices); },
               joystick,
               serial_ports,
               sound_inputs,
               ftp,
               picture_server,
               movie_builder,
               movie_tools,
               [this] { return std::make_unique<platform::sim::SimMoviePlayer>(loop, movies); },
               image_converter,
               background,
               scanners},
      app_folder_);
  program_->HomeFolder = root_ + "/home/";
  program_->SystemFolder = temp_folder_;
  return *program_;
}

void World::Start() { MakeProgram().Main(); }

bool World::RunNextCommand() {
  if (!program_ || !program_->SlotOf<ChooseDevice>().Loaded()) return false;
  program_->SlotOf<ChooseDevice>().Unload();
  return true;
}

}  // namespace zr::scenario
