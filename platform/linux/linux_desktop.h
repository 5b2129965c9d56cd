#pragma once
// The desktop around the program on Linux: the screen's size and the mixer program, and the
// program folder by the rules of a portable build.

#include <string>

#include "platform/services.h"

namespace zr::platform::linux_impl {

class LinuxDesktop final : public Desktop {
 public:
  // `screen` is what the face knows of the screen (the GUI measures it; headless a default).
  explicit LinuxDesktop(ScreenSize screen = {1920, 1080}) : screen_(screen) {}
  ScreenSize Screen() const override { return screen_; }
  // A sound mixer on the PATH: pavucontrol, pulsemixer or alsamixer.
  bool HasVolumeControl() const override;
  // Through ALSA's default output; see PlayWaveFile.
  void PlaySoundFile(const std::string& path) override;
  // The nice value of the priority (0, -5, -10), else the nearest one towards 0 that the system
  // allows the process.
  bool SetProcessPriority(ProcessPriority priority) override;
  // Through xdg-open, in a process of its own that is not waited for.
  void OpenAddress(const std::string& address) override;

 private:
  ScreenSize screen_;
};

// The program folder, with its trailing separator: `override_folder` when given (made when
// missing, where it can be), else the
// executable's folder; when that cannot be written, $XDG_DATA_HOME/video-zandrell/ (or
// ~/.local/share/video-zandrell/), made when missing.
std::string ResolveProgramFolder(const std::string& executable_folder, const std::string& override_folder);

// Copies the file `name` that ships beside the executable into the program folder when the
// program folder has none (the operator's own file, or anything else at the name, stays).
void ProvideProgramFile(const std::string& executable_folder, const std::string& program_folder,
                        const std::string& name);

}  // namespace zr::platform::linux_impl
