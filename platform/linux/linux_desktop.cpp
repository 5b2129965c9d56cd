#include "platform/linux/linux_desktop.h"

#include <langinfo.h>
#include <sys/resource.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "platform/linux/desktop_tools.h"
#include "platform/linux/library_versions.h"
#include "platform/linux/sound_player.h"

namespace zr::platform::linux_impl {

namespace {

std::string WithSeparator(std::string folder) {
  if (folder.empty() || folder.back() != '/') folder += '/';
  return folder;
}

std::string DataFolder() {
  const char* data_home = std::getenv("XDG_DATA_HOME");
  if (data_home && *data_home == '/') return WithSeparator(data_home) + "video-zandrell/";
  const char* home = std::getenv("HOME");
  return WithSeparator(home ? home : "/tmp") + ".local/share/video-zandrell/";
}

std::string CurrentDesktops() {
  const char* desktops = std::getenv("XDG_CURRENT_DESKTOP");
  return desktops ? desktops : "";
}

// An installed program has its shared data folder beside its bin/: <prefix>/share/video-zandrell/.
std::filesystem::path InstalledDataFolder(const std::string& executable_folder) {
  std::filesystem::path folder = std::filesystem::path(executable_folder).lexically_normal();
  if (folder.filename().empty()) folder = folder.parent_path();
  return folder.parent_path() / "share" / "video-zandrell";
}

}  // namespace

std::string ExecutableFolder() {
  std::error_code error;
  const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? "" : executable.parent_path().string();
}

bool LinuxDesktop::HasVolumeControl() const {
  return ChooseVolumeControl(VolumeView::Playback, CurrentDesktops(), OnPath).has_value();
}

// The sound is a courtesy: without a sound device or without the file there is nothing to play.
void LinuxDesktop::PlaySoundFile(const std::string& path) { (void)PlayWaveFile(path); }

bool LinuxDesktop::SetProcessPriority(ProcessPriority priority) {
  const int asked = priority == ProcessPriority::RealTime ? -10 : priority == ProcessPriority::High ? -5 : 0;
  for (int nice = asked; nice <= 0; ++nice)
    if (setpriority(PRIO_PROCESS, 0, nice) == 0) return nice == asked;
  return false;
}

// The browser may run for as long as the operator likes.
void LinuxDesktop::OpenAddress(const std::string& address) { StartDetached({"xdg-open", address}); }

bool LinuxDesktop::OpenVolumeControl(VolumeView view) {
  const auto command = ChooseVolumeControl(view, CurrentDesktops(), OnPath);
  return command && StartDetached(*command);
}

bool LinuxDesktop::OpenSystemInformation() {
  const auto command = ChooseSystemInformation(CurrentDesktops(), OnPath);
  return command && StartDetached(*command);
}

SystemDescription LinuxDesktop::DescribeSystem() const { return ReadSystemDescription(); }

std::vector<LibraryVersion> LinuxDesktop::Libraries() const {
  std::vector<LibraryVersion> libraries = LibraryVersions();
  libraries.insert(libraries.end(), toolkit_.libraries.begin(), toolkit_.libraries.end());
  return libraries;
}

std::optional<std::string> LinuxDesktop::UserGuide() const { return FindUserGuide(ExecutableFolder()); }

std::string LinuxDesktop::DecimalSign() const {
  const locale_t desktop = newlocale(LC_NUMERIC_MASK, "", static_cast<locale_t>(nullptr));
  if (desktop == static_cast<locale_t>(nullptr)) return Desktop::DecimalSign();
  const std::string sign = nl_langinfo_l(RADIXCHAR, desktop);
  freelocale(desktop);
  return sign.empty() ? Desktop::DecimalSign() : sign;
}

void LinuxDesktop::ArrangeChildWindows(ArrangeCode code) {
  if (toolkit_.arrange_children) toolkit_.arrange_children(code);
}

void ProvideProgramFile(const std::string& executable_folder, const std::string& program_folder,
                        const std::string& name) {
  const std::filesystem::path target = std::filesystem::path(program_folder) / name;
  std::error_code error;
  if (std::filesystem::exists(std::filesystem::symlink_status(target, error))) return;
  for (const auto& shipped_folder :
       {std::filesystem::path(executable_folder), InstalledDataFolder(executable_folder)}) {
    if (!std::filesystem::is_regular_file(shipped_folder / name, error)) continue;
    std::filesystem::copy_file(shipped_folder / name, target, error);
    return;
  }
}

std::string ResolveProgramFolder(const std::string& executable_folder, const std::string& override_folder) {
  if (!override_folder.empty()) {
    const std::string folder = WithSeparator(std::filesystem::absolute(override_folder).string());
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    return folder;
  }
  // An installed program's folder is the system's (root may write into /usr/bin, and must not),
  // so only a folder of its own that the user can write serves.
  const std::string folder = WithSeparator(executable_folder);
  std::error_code error;
  const bool installed = std::filesystem::is_directory(InstalledDataFolder(executable_folder), error);
  if (!installed && access(folder.c_str(), W_OK) == 0) return folder;
  const std::string data = DataFolder();
  // The folder holds the parameter files, which can hold the upload password: the user's alone.
  std::filesystem::create_directories(data, error);
  std::filesystem::permissions(data, std::filesystem::perms::owner_all, error);
  return data;
}

}  // namespace zr::platform::linux_impl
