#pragma once
// The desktop around the program on Linux: the screen's size, the desktop's own programs the
// program hands work to, the libraries it stands on, and the program folder by the rules of a
// portable build.

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/services.h"

namespace zr::platform::linux_impl {

class LinuxDesktop final : public Desktop {
 public:
  // `toolkit` is what the face knows of the screen, how it arranges child windows and its
  // toolkit's libraries (the GUI tells them; without windows a default screen and nothing else).
  explicit LinuxDesktop(ToolkitFacts toolkit = {}) : toolkit_(std::move(toolkit)) {}
  ScreenSize Screen() const override { return toolkit_.screen; }
  // A sound mixer the program can start (see ChooseVolumeControl).
  bool HasVolumeControl() const override;
  // Through ALSA's default output; see PlayWaveFile.
  void PlaySoundFile(const std::string& path) override;
  // The nice value of the priority (0, -5, -10), else the nearest one towards 0 that the system
  // allows the process.
  bool SetProcessPriority(ProcessPriority priority) override;
  // Through xdg-open, in a process of its own that is not waited for.
  void OpenAddress(const std::string& address) override;
  bool OpenVolumeControl(VolumeView view) override;
  bool OpenSystemInformation() override;
  SystemDescription DescribeSystem() const override;
  // The back ends' libraries, then the toolkit's.
  std::vector<LibraryVersion> Libraries() const override;
  // Beside this executable, or where its installation keeps it.
  std::optional<std::string> UserGuide() const override;
  void ArrangeChildWindows(ArrangeCode code) override;
  // The decimal sign of the desktop's locale (LC_NUMERIC), such as "," in Germany.
  std::string DecimalSign() const override;

 private:
  ToolkitFacts toolkit_;
};

// The folder of the running executable, as the system knows it ("" when it cannot say).
std::string ExecutableFolder();

// The program folder, with its trailing separator: `override_folder` when given (made when
// missing, where it can be), else the executable's folder; when that cannot be written, or the
// program is installed (its shared data folder <prefix>/share/video-zandrell/ stands beside its
// bin/), $XDG_DATA_HOME/video-zandrell/ (or ~/.local/share/video-zandrell/), made when missing.
std::string ResolveProgramFolder(const std::string& executable_folder, const std::string& override_folder);

// Copies the file `name` that ships with the program into the program folder when the program
// folder has none (the operator's own file, or anything else at the name, stays). The shipped
// file is taken from beside the executable, else from the installation's shared data folder.
void ProvideProgramFile(const std::string& executable_folder, const std::string& program_folder,
                        const std::string& name);

}  // namespace zr::platform::linux_impl
