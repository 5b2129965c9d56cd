#pragma once
// The running program: the platform services it was given, the application state and the
// windows. Every handler reaches the rest of the program through it.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/app_state.h"
#include "platform/capture_backends.h"
#include "platform/event_loop.h"
#include "platform/movie_file.h"
#include "platform/services.h"
#include "ui/window.h"

namespace zr {

class Master;
class VideoScreen;

struct Services {
  platform::EventLoop& loop;
  platform::Dialogs& dialogs;
  platform::Clipboard& clipboard;
  platform::SettingsStore& settings;
  platform::FileSystem& files;
  platform::WallClock& clock;
  platform::MovieFiles& movies;
  platform::VfwDriverSystem& drivers;
  std::function<std::unique_ptr<platform::VideoCaptureControl>()> make_capture_control;
};

// The application title: the root of the window settings and the title of message boxes.
inline const std::string kAppTitle = "Video Zandrell";
constexpr int kVersionMajor = 1;
constexpr int kVersionMinor = 0;
constexpr int kVersionRevision = 0;

class Program {
 public:
  Program(Services services, std::string app_path);
  ~Program();

  Services services;
  AppState state;
  ui::WindowSlot<zr::Master> Master;
  ui::WindowSlot<zr::VideoScreen> VideoScreen;

  // The windows by name, as the faces find them.
  ui::WindowSlotBase* FindWindow(std::string_view name);
  std::vector<ui::WindowSlotBase*> Windows();
  // Destroys windows unloaded since the loop was last idle.
  void ReleaseUnloadedWindows();

  // Process entry: paths, fixed defaults, settings mirrors, then the main window.
  void Main();

  // The display text for a fixed English text; the key itself where no table has it.
  std::string Translate(const std::string& key, int flag = 0) const;

  // A message box with the application title.
  platform::MessageAnswer MessageBox(const std::string& text,
                                     platform::MessageButtons buttons = platform::MessageButtons::Ok,
                                     platform::MessageIcon icon = platform::MessageIcon::None,
                                     const std::string& title = kAppTitle);

  void Yield() { services.loop.Yield(); }

  // The command line the program was started with.
  std::string CommandLine;
  // The keys held down, as the main window's key-state query sees them ("ctrl", "M", "F12"),
  // and the window in front.
  std::vector<std::string> KeysDown;
  std::string ForegroundWindow = "Master";
};

}  // namespace zr
