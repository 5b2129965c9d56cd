#pragma once
// The running program: the platform services it was given, the application state and the
// windows. Every handler reaches the rest of the program through it.

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/app_state.h"
#include "core/language.h"
#include "platform/background_work.h"
#include "platform/capture_backends.h"
#include "platform/event_loop.h"
#include "platform/ftp.h"
#include "platform/image_converter.h"
#include "platform/joystick.h"
#include "platform/movie_build.h"
#include "platform/movie_file.h"
#include "platform/movie_player.h"
#include "platform/movie_tools.h"
#include "platform/picture_server.h"
#include "platform/scanner.h"
#include "platform/serial_ports.h"
#include "platform/services.h"
#include "platform/sound_level_meter.h"
#include "ui/window.h"

namespace zr {

class MainWindow;
class TextRenderer;

struct Services {
  platform::EventLoop& loop;
  platform::Dialogs& dialogs;
  platform::Clipboard& clipboard;
  platform::SettingsStore& settings;
  platform::FileSystem& files;
  platform::WallClock& clock;
  platform::Desktop& desktop;
  platform::MovieFiles& movies;
  platform::VfwDriverSystem& drivers;
  std::function<std::unique_ptr<platform::VideoCaptureControl>()> make_capture_control;
  platform::Joystick& joystick;
  platform::SerialPorts& serial_ports;
  platform::SoundLevelMeter& sound_level_meter;
  platform::Ftp& ftp;
  platform::PictureServer& picture_server;
  platform::MovieBuilder& movie_builder;
  // The movie window's long tools: every frame to picture files, and recompression.
  platform::MovieTools& movie_tools;
  // A player of its own for each window that plays a movie.
  std::function<std::unique_ptr<platform::MoviePlayer>()> make_movie_player;
  // The picture window's bit depths and file formats.
  platform::ImageConverter& image_converter;
  // The picture window's effects, away from the logic thread.
  platform::BackgroundWork& background;
  // The scanners the scanner commands choose among and scan with.
  platform::Scanners& scanners;
};

// The application title: the root of the window settings and the title of message boxes.
inline const std::string kAppTitle = "Video Zandrell";
// The product's web address, and the page of its releases, where "Check for Upgrades..." leads.
inline const std::string kHomeAddress = "https://video-zandrell.example/";
inline const std::string kReleasePage = kHomeAddress + "releases/";
constexpr int kVersionMajor = 1;
constexpr int kVersionMinor = 0;
constexpr int kVersionRevision = 1;

class Program {
 public:
  Program(Services services, std::string program_folder);
  ~Program();

  Services services;
  AppState state;

  // The windows: one slot for each registered window kind (core/window_registry.h), made on
  // first touch. A name no window has is a fault of the program and fails loudly.
  ui::WindowSlotBase* FindWindow(std::string_view name);
  std::vector<ui::WindowSlotBase*> Windows();
  ui::WindowSlot<ui::Window>& Slot(std::string_view name);
  template <class W>
  ui::WindowSlot<ui::Window>& SlotOf() {
    return Slot(W::kWindowName);
  }
  // The window, loaded by this touch if it was not.
  template <class W>
  W& Window(std::string_view name = W::kWindowName) {
    return dynamic_cast<W&>(Slot(name)());
  }
  template <class W>
  W* IfLoaded(std::string_view name = W::kWindowName) {
    return dynamic_cast<W*>(Slot(name).IfLoaded());
  }
  // The main window, and one of the feature panels it is composed of.
  zr::MainWindow& MainWindow();
  template <class Panel>
  Panel& MainPanel() {
    return dynamic_cast<Panel&>(MainWindow());
  }

  // Destroys windows unloaded since the loop was last idle.
  void ReleaseUnloadedWindows();

  // Process entry: version text, paths, fixed defaults, the record of this run, the splash,
  // the settings mirrors, then the main window, whose load connects the device.
  void Main();
  // The one way out: disconnects the device and unloads the capture window and the main window.
  void ExitProgram();

  void WriteRunRecord();

  // "Version 1.00 Build 0", translated; set by Main.
  std::string VersionText;

  // The display text for a fixed English text; the key itself where no table has it.
  std::string Translate(const std::string& key, int flag = 0) const;

  // A message box with the application title.
  platform::MessageAnswer MessageBox(const std::string& text,
                                     platform::MessageButtons buttons = platform::MessageButtons::Ok,
                                     platform::MessageIcon icon = platform::MessageIcon::None,
                                     const std::string& title = kAppTitle);

  void Yield() { services.loop.Yield(); }

  // The font of the insertion texts, opened on first use; a FileError when no font file can
  // be found or opened.
  const TextRenderer& InsertionRenderer();

  // What the process entry learns from its surroundings: the program folder (AppPath, with its
  // trailing separator), the command line and the system's version number, read as a decimal
  // (the device menu offers control-kind devices above 5.0).
  std::string ProgramFolder;
  // The operator's home folder, with its trailing separator: where a parameter file without a
  // file name puts the capture.
  std::string HomeFolder;
  // The folder of the system's own set-up files, with its trailing separator: its system.ini
  // lists the compressors of a system of version 5.0 or lower. Such a system is only ever
  // simulated (a scenario's world keeps the file in its temporary folder); elsewhere it stays empty.
  std::string SystemFolder;
  std::string CommandLine;
  double SystemVersion = 10.0;
  // The language of the fixed texts: the desktop's, or the one asked for on the command line.
  Language language = Language::English;
  // The keys held down, as the main window's key-state query sees them ("ctrl", "M", "F12"),
  // and the window in front.
  std::vector<std::string> KeysDown;
  bool KeyDown(std::string_view key) const {
    return std::find(KeysDown.begin(), KeysDown.end(), key) != KeysDown.end();
  }
  std::string ForegroundWindow = "Master";

  // The child of the main window the operator activated last (a picture, movie or capture
  // window), which the tools that follow "the window in use" read. Null once it has unloaded.
  void ActivateChild(const ui::Window& window);
  ui::Window* ActiveChild();

 private:
  std::vector<std::unique_ptr<ui::WindowSlot<ui::Window>>> windows_;
  std::unique_ptr<TextRenderer> insertion_renderer_;
  void FollowActivation(ui::Window& window);
  // The active child by name and serial: a later window at the same address is not it.
  std::string active_child_name_;
  std::uint64_t active_child_serial_ = 0;
};

}  // namespace zr
