#pragma once
// The program as the desktop tests run it: a folder of its own that is the program folder and
// the settings' home (removed at the end), the desktop toolkit, and the program's parts in
// English with the machine's own devices.

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "apps/zandrell/program_parts.h"
#include "gui/desktop_toolkit.h"
#include "platform/linux/backend_registry.h"

namespace zr::testing {

class DesktopProgram {
 public:
  // `name` names the folder; without a display `parts` stays empty.
  DesktopProgram(const std::string& name, int& argc, char** argv)
      : folder(std::filesystem::temp_directory_path() / (name + "-" + std::to_string(getpid()))) {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder / "config");
    setenv("XDG_CONFIG_HOME", (folder / "config").c_str(), 1);
    toolkit = gui::DesktopToolkit::Open(argc, argv);
    if (!toolkit) return;
    parts.emplace(
        toolkit->Loop(), toolkit->Descriptors(), [] {}, toolkit->Dialogs(), toolkit->Clipboard(),
        &toolkit->DeviceDialogs(), toolkit->Facts(),
        ProgramStart{FolderWithSeparator(), "", FolderWithSeparator(), Language::English},
        platform::linux_impl::ProbeVideoDevices(), platform::linux_impl::ProbeAudioDevices());
  }
  ~DesktopProgram() {
    parts.reset();
    toolkit.reset();
    std::filesystem::remove_all(folder);
  }
  DesktopProgram(const DesktopProgram&) = delete;
  DesktopProgram& operator=(const DesktopProgram&) = delete;

  std::string FolderWithSeparator() const { return folder.string() + "/"; }
  void Run() { toolkit->Run(parts->program, parts->LiveVideo()); }

  const std::filesystem::path folder;
  std::unique_ptr<gui::DesktopToolkit> toolkit;
  std::optional<ProgramParts> parts;
};

}  // namespace zr::testing
