#include "platform/linux/linux_desktop.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

namespace fs = std::filesystem;

void WriteText(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

using zr::testing::FileText;

class ProgramFolderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    saved_data_home_ = getenv("XDG_DATA_HOME") ? getenv("XDG_DATA_HOME") : "";
    setenv("XDG_DATA_HOME", (root_ + "/data").c_str(), 1);
  }
  void TearDown() override {
    if (saved_data_home_.empty())
      unsetenv("XDG_DATA_HOME");
    else
      setenv("XDG_DATA_HOME", saved_data_home_.c_str(), 1);
  }
  zr::testing::TemporaryFolder folder_;
  std::string root_ = folder_.path().string();
  std::string saved_data_home_;
};

TEST_F(ProgramFolderTest, TheExecutablesFolderServesWhenWritableAndTheOverrideAlways) {
  fs::create_directories(root_ + "/bin");
  EXPECT_EQ(ResolveProgramFolder(root_ + "/bin", ""), root_ + "/bin/");
  EXPECT_EQ(ResolveProgramFolder(root_ + "/bin/", ""), root_ + "/bin/");
  EXPECT_EQ(ResolveProgramFolder(root_ + "/bin", root_ + "/elsewhere"), root_ + "/elsewhere/");
  EXPECT_TRUE(fs::is_directory(root_ + "/elsewhere"));
}

TEST_F(ProgramFolderTest, AShippedFileIsCopiedOnlyWhereTheProgramFolderHasNone) {
  fs::create_directories(root_ + "/bin");
  fs::create_directories(root_ + "/program");
  WriteText(root_ + "/bin/page.html", "shipped");
  ProvideProgramFile(root_ + "/bin", root_ + "/program/", "page.html");
  EXPECT_EQ(FileText(root_ + "/program/page.html"), "shipped");
  WriteText(root_ + "/program/page.html", "the operator's");
  ProvideProgramFile(root_ + "/bin", root_ + "/program/", "page.html");
  EXPECT_EQ(FileText(root_ + "/program/page.html"), "the operator's");
  // A dangling link at the name is the operator's too; nothing ships, nothing is made.
  fs::create_symlink(root_ + "/nowhere", root_ + "/program/link.html");
  ProvideProgramFile(root_ + "/bin", root_ + "/program/", "link.html");
  ProvideProgramFile(root_ + "/bin", root_ + "/program/", "missing.html");
  EXPECT_TRUE(fs::is_symlink(root_ + "/program/link.html"));
  EXPECT_FALSE(fs::exists(root_ + "/program/missing.html"));
}

TEST_F(ProgramFolderTest, AnUnwritableExecutablesFolderFallsBackToTheDataFolder) {
  // A folder that does not exist cannot be written by anyone, root included.
  const std::string data = root_ + "/data/video-zandrell/";
  EXPECT_EQ(ResolveProgramFolder(root_ + "/missing", ""), data);
  EXPECT_TRUE(fs::is_directory(data));
}

// An installed program (its shared data beside its bin/) keeps its files in the data folder even
// where it could write its own folder, as root can /usr/bin, and takes its shipped files from
// the shared data; a file beside the executable comes first.
TEST_F(ProgramFolderTest, AnInstalledProgramKeepsItsFilesInTheDataFolderAndShipsFromItsSharedData) {
  fs::create_directories(root_ + "/usr/bin");
  fs::create_directories(root_ + "/usr/share/video-zandrell");
  WriteText(root_ + "/usr/share/video-zandrell/page.html", "installed");
  WriteText(root_ + "/usr/share/video-zandrell/codes.zr", "installed");
  WriteText(root_ + "/usr/bin/codes.zr", "beside");
  const std::string data = root_ + "/data/video-zandrell/";
  EXPECT_EQ(ResolveProgramFolder(root_ + "/usr/bin/", ""), data);
  ProvideProgramFile(root_ + "/usr/bin", data, "page.html");
  ProvideProgramFile(root_ + "/usr/bin", data, "codes.zr");
  EXPECT_EQ(FileText(data + "page.html"), "installed");
  EXPECT_EQ(FileText(data + "codes.zr"), "beside");
  EXPECT_EQ(ResolveProgramFolder(root_ + "/usr/bin", root_ + "/own"), root_ + "/own/");
}

// The address goes to the desktop's opener as one argument, however it is spelled, and the call
// returns without waiting for the browser.
TEST(LinuxDesktopAddress, GoesToTheOpenerOnThePathAsOneArgument) {
  zr::testing::TemporaryFolder folder;
  const std::string opener = folder.File("xdg-open");
  const std::string heard = folder.File("heard");
  WriteText(opener, "#!/bin/sh\nprintf '%s|%s' \"$#\" \"$1\" > " + heard + ".part && mv " + heard + ".part " + heard +
                        "\nexec >/dev/null 2>&1\nsleep 2\n");
  fs::permissions(opener, fs::perms::owner_all);
  const std::string saved_path = getenv("PATH") ? getenv("PATH") : "";
  setenv("PATH", (folder.path().string() + ":" + saved_path).c_str(), 1);
  const auto started = std::chrono::steady_clock::now();
  LinuxDesktop().OpenAddress("http://192.0.2.2:8080/ a b");
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(1));
  while (!fs::exists(heard) && std::chrono::steady_clock::now() - started < std::chrono::seconds(10))
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  setenv("PATH", saved_path.c_str(), 1);
  EXPECT_EQ(FileText(heard), "1|http://192.0.2.2:8080/ a b");
}

// The nice value the priority asks for, or the nearest towards 0 the system allows; a process
// that may not lower its nice value keeps the one it has and hears so.
TEST(LinuxDesktopPriority, TheAskedNiceValueOrTheClosestAllowed) {
  LinuxDesktop desktop;
  errno = 0;
  const int before = getpriority(PRIO_PROCESS, 0);
  const bool high = desktop.SetProcessPriority(ProcessPriority::High);
  const int now = getpriority(PRIO_PROCESS, 0);
  EXPECT_EQ(high, now == -5);
  EXPECT_GE(now, -5);
  if (high) {
    EXPECT_TRUE(desktop.SetProcessPriority(ProcessPriority::Normal));
    EXPECT_EQ(getpriority(PRIO_PROCESS, 0), 0);
  } else {
    EXPECT_EQ(now, before > 0 ? before : now);
  }
}

}  // namespace
}  // namespace zr::platform::linux_impl
