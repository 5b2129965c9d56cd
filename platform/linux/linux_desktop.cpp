#include "platform/linux/linux_desktop.h"

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>
#include <thread>

#include "platform/linux/sound_player.h"

namespace zr::platform::linux_impl {

namespace {

bool OnPath(const std::string& program) {
  const char* path = std::getenv("PATH");
  if (!path) return false;
  std::stringstream folders(path);
  std::string folder;
  while (std::getline(folders, folder, ':')) {
    if (!folder.empty() && access((folder + "/" + program).c_str(), X_OK) == 0) return true;
  }
  return false;
}

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

}  // namespace

bool LinuxDesktop::HasVolumeControl() const {
  return OnPath("pavucontrol") || OnPath("pulsemixer") || OnPath("alsamixer");
}

// The sound is a courtesy: without a sound device or without the file there is nothing to play.
void LinuxDesktop::PlaySoundFile(const std::string& path) { (void)PlayWaveFile(path); }

bool LinuxDesktop::SetProcessPriority(ProcessPriority priority) {
  const int asked = priority == ProcessPriority::RealTime ? -10 : priority == ProcessPriority::High ? -5 : 0;
  for (int nice = asked; nice <= 0; ++nice)
    if (setpriority(PRIO_PROCESS, 0, nice) == 0) return nice == asked;
  return false;
}

// The browser may run for as long as the operator likes: a thread of its own waits for the
// opener, so that no process is left behind unreaped.
void LinuxDesktop::OpenAddress(const std::string& address) {
  std::thread([address] {
    std::string program = "xdg-open";
    std::string argument = address;
    char* const arguments[] = {program.data(), argument.data(), nullptr};
    pid_t child = 0;
    if (posix_spawnp(&child, "xdg-open", nullptr, nullptr, arguments, environ) != 0) return;
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
  }).detach();
}

void ProvideProgramFile(const std::string& executable_folder, const std::string& program_folder,
                        const std::string& name) {
  const std::filesystem::path target = std::filesystem::path(program_folder) / name;
  std::error_code error;
  if (std::filesystem::exists(std::filesystem::symlink_status(target, error))) return;
  std::filesystem::copy_file(std::filesystem::path(executable_folder) / name, target, error);
}

std::string ResolveProgramFolder(const std::string& executable_folder, const std::string& override_folder) {
  if (!override_folder.empty()) {
    const std::string folder = WithSeparator(std::filesystem::absolute(override_folder).string());
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    return folder;
  }
  const std::string folder = WithSeparator(executable_folder);
  if (access(folder.c_str(), W_OK) == 0) return folder;
  const std::string data = DataFolder();
  // The folder holds the parameter files, which can hold the upload password: the user's alone.
  std::error_code error;
  std::filesystem::create_directories(data, error);
  std::filesystem::permissions(data, std::filesystem::perms::owner_all, error);
  return data;
}

}  // namespace zr::platform::linux_impl
