#pragma once
// The services and devices every run of the program shares (settings, files, clock, desktop,
// movie files, the real capture devices) around the loop, dialogs and clipboard of the face it
// runs with: the desktop windows or none.

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/program.h"
#include "core/settings_keys.h"
#include "gui/live_video.h"
#include "platform/linux/backend_registry.h"
#include "platform/linux/capture_devices.h"
#include "platform/linux/dial_up_links.h"
#include "platform/linux/evdev_joystick.h"
#include "platform/linux/ffmpeg_movie_files.h"
#include "platform/linux/ffmpeg_movie_player.h"
#include "platform/linux/ftp_client.h"
#include "platform/linux/headless_services.h"
#include "platform/linux/ini_settings_store.h"
#include "platform/linux/linux_desktop.h"
#include "platform/linux/magick_image_converter.h"
#include "platform/linux/sane_scanners.h"
#include "platform/linux/socket_picture_server.h"
#include "platform/linux/source_level_meter.h"
#include "platform/linux/thread_background_work.h"
#include "platform/linux/threaded_movie_builder.h"
#include "platform/linux/threaded_movie_tools.h"
#include "platform/linux/tty_serial_ports.h"

namespace zr {

// What the process learnt from its surroundings.
struct ProgramStart {
  std::string app_path;      // with its trailing separator
  std::string command_line;  // the parameter file named on the command line, or empty
  std::string home_folder;   // with its trailing separator, or empty
  Language language = Language::English;
};

struct ProgramParts {
  // `device_dialogs` is null without windows: the devices' own dialogs cannot be shown then;
  // `toolkit` is a screen alone.
  ProgramParts(platform::EventLoop& loop, platform::DescriptorWatcher& descriptors, std::function<void()> wake,
               platform::Dialogs& dialogs, platform::Clipboard& clipboard, platform::DeviceDialogHost* device_dialogs,
               platform::ToolkitFacts toolkit, const ProgramStart& start,
               std::vector<platform::linux_impl::VideoDeviceEntry> video,
               std::vector<platform::linux_impl::AudioDeviceEntry> audio)
      : settings(platform::linux_impl::DefaultSettingsFolder()),
        desktop(std::move(toolkit)),
        devices(
            platform::linux_impl::CaptureDeviceServices{loop, std::move(wake), movies, clipboard, device_dialogs,
                                                        platform::linux_impl::BuiltBackends(),
                                                        start.app_path + "capture.avi"},
            platform::linux_impl::WithTestCameraLook(std::move(video), ReadSetting(settings, settings::TestCameraSize),
                                                     ReadSetting(settings, settings::TestCameraRate)),
            audio),
        drivers(devices.MakeDriverSystem()),
        joystick(platform::linux_impl::OpenJoystick(platform::linux_impl::RealEvdevSystem(), loop,
                                                    ReadSetting(settings, settings::JoystickDevice))),
        serial_ports(platform::linux_impl::MakeTtySerialPorts()),
        sound_level_meter(platform::linux_impl::MakeSourceLevelMeter(loop, std::move(audio))),
        ftp(loop, links),
        picture_server(loop, descriptors),
        movie_builder(loop, movies),
        movie_tools(loop, movies),
        background(loop),
        scanners(platform::linux_impl::MakeSaneScanners(loop)),
        program(Services{loop,
                         dialogs,
                         clipboard,
                         settings,
                         files,
                         clock,
                         desktop,
                         movies,
                         *drivers,
                         [this] { return devices.MakeCaptureControl(); },
                         *joystick,
                         *serial_ports,
                         *sound_level_meter,
                         ftp,
                         picture_server,
                         movie_builder,
                         movie_tools,
                         [&loop] { return std::make_unique<platform::linux_impl::FfmpegMoviePlayer>(loop); },
                         image_converter,
                         background,
                         *scanners},
                start.app_path) {
    program.CommandLine = start.command_line;
    program.HomeFolder = start.home_folder;
    program.language = start.language;
  }

  // What the desktop face shows of the connected device beside the model.
  gui::LiveVideo LiveVideo() {
    return gui::LiveVideo{[this] { return devices.LatestPicture(); }, [this] { return devices.PreviewRate(); },
                          [this](int button) { devices.MousePressed(button); },
                          [this](int virtual_key) { devices.KeyPressed(virtual_key); },
                          [this] { return devices.SourceMessage(); }};
  }

  platform::linux_impl::IniSettingsStore settings;
  platform::linux_impl::StatvfsFileSystem files;
  platform::linux_impl::LocalWallClock clock;
  platform::linux_impl::LinuxDesktop desktop;
  platform::linux_impl::FfmpegMovieFiles movies;
  platform::linux_impl::RealCaptureDevices devices;
  std::unique_ptr<platform::VfwDriverSystem> drivers;
  // The joystick or game pad the setting names by its path or name, or the first found.
  std::unique_ptr<platform::Joystick> joystick;
  std::unique_ptr<platform::SerialPorts> serial_ports;
  // The built-in test tone and the ALSA inputs found at start.
  std::unique_ptr<platform::SoundLevelMeter> sound_level_meter;
  platform::linux_impl::NetworkManagerLinks links;
  platform::linux_impl::SocketFtp ftp;
  platform::linux_impl::SocketPictureServer picture_server;
  platform::linux_impl::ThreadedMovieBuilder movie_builder;
  platform::linux_impl::ThreadedMovieTools movie_tools;
  platform::linux_impl::MagickImageConverter image_converter;
  platform::linux_impl::ThreadBackgroundWork background;
  std::unique_ptr<platform::Scanners> scanners;
  Program program;
};

}  // namespace zr
