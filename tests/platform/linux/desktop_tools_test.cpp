#include "platform/linux/desktop_tools.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "platform/linux/library_versions.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

namespace fs = std::filesystem;

ProgramFinder Having(std::set<std::string> programs) {
  return [programs = std::move(programs)](const std::string& program) { return programs.count(program) > 0; };
}

TEST(DesktopTools, TheVolumeControlIsTheMixerWithATabElseTheDesktopsElseAlsamixerInATerminal) {
  const struct {
    std::string desktops;
    std::set<std::string> programs;
    VolumeView view;
    std::optional<CommandLine> expected;
  } cases[] = {
      {"GNOME", {"pavucontrol", "gnome-control-center"}, VolumeView::Recording, CommandLine{"pavucontrol", "--tab=4"}},
      {"", {"pavucontrol-qt"}, VolumeView::Playback, CommandLine{"pavucontrol-qt", "--tab=3"}},
      {"ubuntu:GNOME",
       {"gnome-control-center", "kcmshell6"},
       VolumeView::Playback,
       CommandLine{"gnome-control-center", "sound"}},
      {"KDE", {"gnome-control-center", "kcmshell5"}, VolumeView::Recording, CommandLine{"kcmshell5", "kcm_pulseaudio"}},
      {"MATE", {"mate-volume-control"}, VolumeView::Recording, CommandLine{"mate-volume-control", "--page=input"}},
      {"XFCE",
       {"alsamixer", "x-terminal-emulator"},
       VolumeView::Recording,
       CommandLine{"x-terminal-emulator", "-e", "alsamixer", "-V", "capture"}},
      {"XFCE", {"alsamixer", "gnome-control-center"}, VolumeView::Playback, std::nullopt},
  };
  for (const auto& c : cases)
    EXPECT_EQ(ChooseVolumeControl(c.view, c.desktops, Having(c.programs)), c.expected) << c.desktops;
}

TEST(DesktopTools, TheSystemInformationToolIsTheDesktopsElseHardinfo) {
  const struct {
    std::string desktops;
    std::set<std::string> programs;
    std::optional<CommandLine> expected;
  } cases[] = {
      {"KDE", {"kinfocenter", "hardinfo"}, CommandLine{"kinfocenter"}},
      {"Budgie:GNOME", {"gnome-control-center"}, CommandLine{"gnome-control-center", "info-overview"}},
      {"XFCE", {"kinfocenter", "hardinfo"}, CommandLine{"hardinfo"}},
      {"XFCE", {"kinfocenter"}, std::nullopt},
  };
  for (const auto& c : cases) EXPECT_EQ(ChooseSystemInformation(c.desktops, Having(c.programs)), c.expected);
}

TEST(DesktopTools, AProgramThatIsNowhereIsNotStarted) {
  EXPECT_FALSE(StartDetached({"zr-no-such-program-anywhere"}));
  EXPECT_FALSE(StartDetached({}));
}

void WriteText(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

TEST(DesktopTools, TheMachineIsReadFromTheSystemsFiles) {
  zr::testing::TemporaryFolder folder;
  const fs::path root = folder.path();
  WriteText(
      root / "proc/cpuinfo",
      "processor\t: 0\nmodel name\t: Example CPU @ 3.00GHz\n\nprocessor\t: 1\nmodel name\t: Example CPU @ 3.00GHz\n");
  WriteText(root / "proc/meminfo", "MemTotal:       16314720 kB\nMemFree:         1000 kB\n");
  WriteText(root / "sys/class/video4linux/video2/name", "Second Camera\n");
  WriteText(root / "sys/class/video4linux/video0/name", "HD Webcam\n");
  WriteText(root / "proc/asound/cards",
            " 0 [PCH            ]: HDA-Intel - HDA Intel PCH\n                      HDA Intel PCH at 0xf0000000\n"
            " 1 [Webcam         ]: USB-Audio - HD Webcam\n                      Webcam at usb-1\n");
  const SystemDescription machine = ReadSystemDescription(root.string());
  EXPECT_FALSE(machine.kernel.empty());
  EXPECT_EQ(machine.processor, "Example CPU @ 3.00GHz (2 x)");
  EXPECT_EQ(machine.memory_bytes, 16314720ull * 1024);
  EXPECT_EQ(machine.cameras, (std::vector<std::string>{"HD Webcam (/dev/video0)", "Second Camera (/dev/video2)"}));
  EXPECT_EQ(machine.sound_devices, (std::vector<std::string>{"0: HDA Intel PCH", "1: HD Webcam"}));
  const SystemDescription empty = ReadSystemDescription((root / "nothing").string());
  EXPECT_TRUE(empty.cameras.empty());
  EXPECT_EQ(empty.memory_bytes, 0u);
}

TEST(DesktopTools, TheGuideIsBesideTheExecutableElseWhereTheInstallationKeepsIt) {
  zr::testing::TemporaryFolder folder;
  const fs::path root = folder.path();
  fs::create_directories(root / "bin");
  EXPECT_EQ(FindUserGuide((root / "bin").string()), std::nullopt);
  WriteText(root / "share/doc/video-zandrell/guide/index.html", "installed");
  EXPECT_EQ(FindUserGuide((root / "bin/").string()), (root / "share/doc/video-zandrell/guide/index.html").string());
  WriteText(root / "bin/guide/index.html", "beside");
  EXPECT_EQ(FindUserGuide((root / "bin").string()), (root / "bin/guide/index.html").string());
}

TEST(LibraryVersions, EachLibraryReportsAVersionAndALicence) {
  for (const auto& library : LibraryVersions()) {
    EXPECT_FALSE(library.version.empty()) << library.name;
    EXPECT_FALSE(library.licence.empty()) << library.name;
    EXPECT_NE(library.version.find('.'), std::string::npos) << library.name << " " << library.version;
  }
}

}  // namespace
}  // namespace zr::platform::linux_impl
