#pragma once
// A world for the program to run in without hardware: a fresh temporary folder holding the
// program folder, the home folder and the temporary folder; simulated services and devices on
// a virtual clock; the real movie writer. The scenario runner and the tests run the program
// in one of these.

#include <memory>
#include <string>

#include "core/program.h"
#include "platform/linux/ffmpeg_movie_files.h"
#include "platform/linux/ini_settings_store.h"
#include "platform/linux/magick_image_converter.h"
#include "platform/sim/sim_background_work.h"
#include "platform/sim/sim_devices.h"
#include "platform/sim/sim_event_loop.h"
#include "platform/sim/sim_ftp.h"
#include "platform/sim/sim_joystick.h"
#include "platform/sim/sim_movie_builder.h"
#include "platform/sim/sim_movie_player.h"
#include "platform/sim/sim_movie_tools.h"
#include "platform/sim/sim_picture_server.h"
#include "platform/sim/sim_scanner.h"
#include "platform/sim/sim_serial_ports.h"
#include "platform/sim/sim_services.h"
#include "platform/sim/sim_sound_level_meter.h"

namespace zr::scenario {

class World final : private platform::sim::InputSource {
 public:
  // Makes the folders under a fresh temporary folder; `keep` leaves them afterwards.
  explicit World(bool keep = false);
  virtual ~World();
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  const std::string& Root() const { return root_; }
  const std::string& AppFolder() const { return app_folder_; }    // with trailing separator
  const std::string& TempFolder() const { return temp_folder_; }  // with trailing separator

  platform::sim::SimEventLoop loop;
  platform::sim::SimDialogs dialogs;
  platform::sim::SimClipboard clipboard;
  platform::sim::SimDesktop desktop;
  std::unique_ptr<platform::linux_impl::IniSettingsStore> settings;
  std::unique_ptr<platform::sim::SimFileSystem> files;
  platform::sim::SimWallClock clock{loop};
  platform::linux_impl::FfmpegMovieFiles movies;
  std::unique_ptr<platform::sim::SimDeviceWorld> devices;
  std::unique_ptr<platform::VfwDriverSystem> drivers;
  platform::sim::SimJoystick joystick{loop};
  platform::sim::SimSerialPorts serial_ports{[this](std::string line) { devices->Log(std::move(line)); }};
  platform::sim::SimSoundLevelMeter sound_inputs{loop};
  platform::sim::SimFtpServer ftp{loop};
  platform::sim::SimPictureServer picture_server{loop};
  platform::sim::SimMovieBuilder movie_builder{loop, movies};
  platform::sim::SimMovieTools movie_tools{loop, movies};
  // The real converter: it touches nothing but the files it is given, the same on every run.
  platform::linux_impl::MagickImageConverter image_converter;
  platform::sim::SimBackgroundWork background;
  platform::sim::SimScanners scanners{loop, [this](std::string line) { devices->Log(std::move(line)); }};

  // The program; made by Start, ended by a later Start or by the world's end.
  Program& program() { return *program_; }
  bool Started() const { return program_ != nullptr; }
  // Makes a fresh program over this world's services and runs its entry. Unless another input
  // source is set on the loop, the operator cancels the device chooser and gives no other input.
  void Start();
  // A fresh program without running its entry (tests that drive procedures directly).
  Program& MakeProgram();

 private:
  std::string root_;
  std::string app_folder_;
  std::string temp_folder_;
  bool RunNextCommand() override;
  bool keep_;
  std::unique_ptr<Program> program_;
};

}  // namespace zr::scenario
