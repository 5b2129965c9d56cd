#include "platform/linux/desktop_tools.h"

#include <spawn.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>
#include <thread>

#include "platform/regular_file.h"

namespace zr::platform::linux_impl {

namespace {

// A desktop's own program: the desktops it belongs to (as XDG_CURRENT_DESKTOP names them; none
// for a program of any desktop) and its command.
struct DesktopProgram {
  std::vector<std::string> desktops;
  CommandLine command;
};

std::vector<std::string> DesktopNames(const std::string& desktops) {
  std::vector<std::string> names;
  std::stringstream list(desktops);
  std::string name;
  while (std::getline(list, name, ':'))
    if (!name.empty()) names.push_back(name);
  return names;
}

bool BelongsHere(const DesktopProgram& program, const std::vector<std::string>& here) {
  if (program.desktops.empty()) return true;
  return std::any_of(program.desktops.begin(), program.desktops.end(), [&here](const std::string& desktop) {
    return std::find(here.begin(), here.end(), desktop) != here.end();
  });
}

std::optional<CommandLine> FirstThatRuns(const std::vector<DesktopProgram>& programs, const std::string& desktops,
                                         const ProgramFinder& found) {
  const std::vector<std::string> here = DesktopNames(desktops);
  for (const auto& program : programs)
    if (BelongsHere(program, here) && found(program.command.front())) return program.command;
  return std::nullopt;
}

// The text of a small system file, empty where it cannot be read.
std::string SystemText(const std::string& path) {
  constexpr std::size_t kLimit = 4 * 1024 * 1024;  // the processor list of a machine of many cores
  const SmallFile file = ReadSmallFile(path, kLimit);
  return file.IsRead() ? file.text : "";
}

std::string Trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(" \t\n");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t\n") - first + 1);
}

std::string KernelText() {
  utsname names{};
  if (uname(&names) != 0) return "";
  return std::string(names.sysname) + " " + names.release + " " + names.machine;
}

// The first "model name" and how many processors the list counts.
std::string ProcessorText(const std::string& cpuinfo) {
  std::stringstream lines(cpuinfo);
  std::string line;
  std::string model;
  int count = 0;
  while (std::getline(lines, line)) {
    const auto colon = line.find(':');
    if (colon == std::string::npos) continue;
    const std::string key = Trimmed(line.substr(0, colon));
    if (key == "processor") ++count;
    if (key == "model name" && model.empty()) model = Trimmed(line.substr(colon + 1));
  }
  if (model.empty()) return count > 0 ? std::to_string(count) + " x" : "";
  return count > 1 ? model + " (" + std::to_string(count) + " x)" : model;
}

std::uint64_t MemoryBytes(const std::string& meminfo) {
  std::stringstream lines(meminfo);
  std::string key;
  std::uint64_t kibibytes = 0;
  while (lines >> key) {
    if (key == "MemTotal:" && (lines >> kibibytes)) return kibibytes * 1024;
    lines.ignore(1024, '\n');
  }
  return 0;
}

// Each video4linux device by its name, with its node: "HD Webcam (/dev/video0)".
std::vector<std::string> Cameras(const std::string& root) {
  std::vector<std::string> cameras;
  std::error_code error;
  std::vector<std::filesystem::path> nodes;
  for (const auto& entry : std::filesystem::directory_iterator(root + "/sys/class/video4linux", error))
    nodes.push_back(entry.path());
  std::sort(nodes.begin(), nodes.end());
  for (const auto& node : nodes) {
    const std::string name = Trimmed(SystemText((node / "name").string()));
    cameras.push_back((name.empty() ? node.filename().string() : name) + " (/dev/" + node.filename().string() + ")");
  }
  return cameras;
}

// The first line of each card of /proc/asound/cards: " 0 [PCH ]: HDA-Intel - HDA Intel PCH"
// gives "0: HDA Intel PCH".
std::vector<std::string> SoundCards(const std::string& cards) {
  std::vector<std::string> found;
  std::stringstream lines(cards);
  std::string line;
  while (std::getline(lines, line)) {
    const std::string trimmed = Trimmed(line);
    if (trimmed.empty() || !std::isdigit(static_cast<unsigned char>(trimmed.front()))) continue;
    const auto number_end = trimmed.find_first_not_of("0123456789");
    const auto dash = trimmed.find(" - ");
    const std::string name = dash == std::string::npos ? trimmed.substr(number_end) : trimmed.substr(dash + 3);
    found.push_back(trimmed.substr(0, number_end) + ": " + Trimmed(name));
  }
  return found;
}

}  // namespace

std::optional<CommandLine> ChooseVolumeControl(VolumeView view, const std::string& desktops,
                                               const ProgramFinder& found) {
  const bool recording = view == VolumeView::Recording;
  // pavucontrol's tabs: 3 the output devices, 4 the input devices.
  const std::string tab = recording ? "--tab=4" : "--tab=3";
  const std::vector<DesktopProgram> programs = {
      {{}, {"pavucontrol", tab}},
      {{}, {"pavucontrol-qt", tab}},
      {{"GNOME", "Unity", "Budgie"}, {"gnome-control-center", "sound"}},
      {{"KDE"}, {"kcmshell6", "kcm_pulseaudio"}},
      {{"KDE"}, {"kcmshell5", "kcm_pulseaudio"}},
      {{"MATE"}, {"mate-volume-control", recording ? "--page=input" : "--page=output"}},
      {{"X-Cinnamon"}, {"cinnamon-settings", "sound"}},
  };
  if (auto command = FirstThatRuns(programs, desktops, found)) return command;
  if (found("alsamixer") && found("x-terminal-emulator"))
    return CommandLine{"x-terminal-emulator", "-e", "alsamixer", "-V", recording ? "capture" : "playback"};
  return std::nullopt;
}

std::optional<CommandLine> ChooseSystemInformation(const std::string& desktops, const ProgramFinder& found) {
  const std::vector<DesktopProgram> programs = {
      {{"GNOME", "Unity", "Budgie"}, {"gnome-control-center", "info-overview"}},
      {{"KDE"}, {"kinfocenter"}},
      {{"XFCE"}, {"xfce4-about"}},
      {{"X-Cinnamon"}, {"cinnamon-settings", "info"}},
      {{"MATE"}, {"mate-system-monitor"}},
      {{}, {"hardinfo"}},
      {{}, {"hardinfo2"}},
  };
  return FirstThatRuns(programs, desktops, found);
}

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

bool StartDetached(const CommandLine& command) {
  if (command.empty()) return false;
  std::vector<std::string> words = command;
  std::vector<char*> arguments;
  for (auto& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t child = 0;
  if (posix_spawnp(&child, arguments.front(), nullptr, nullptr, arguments.data(), environ) != 0) return false;
  std::thread([child] {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
  }).detach();
  return true;
}

SystemDescription ReadSystemDescription(const std::string& root) {
  SystemDescription machine;
  machine.kernel = KernelText();
  machine.processor = ProcessorText(SystemText(root + "/proc/cpuinfo"));
  machine.memory_bytes = MemoryBytes(SystemText(root + "/proc/meminfo"));
  machine.cameras = Cameras(root);
  machine.sound_devices = SoundCards(SystemText(root + "/proc/asound/cards"));
  return machine;
}

std::optional<std::string> FindUserGuide(const std::string& executable_folder) {
  std::filesystem::path folder = std::filesystem::path(executable_folder).lexically_normal();
  if (folder.filename().empty()) folder = folder.parent_path();
  const std::filesystem::path places[] = {
      folder / "guide" / "index.html",
      folder.parent_path() / "share" / "doc" / "video-zandrell" / "guide" / "index.html",
  };
  std::error_code error;
  for (const auto& place : places)
    if (std::filesystem::is_regular_file(place, error)) return std::filesystem::absolute(place, error).string();
  return std::nullopt;
}

}  // namespace zr::platform::linux_impl
