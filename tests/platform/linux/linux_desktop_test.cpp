#include "platform/linux/linux_desktop.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace zr::platform::linux_impl {
namespace {

namespace fs = std::filesystem;

class ProgramFolderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "zandrell-folder-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    root_ = pattern;
    saved_data_home_ = getenv("XDG_DATA_HOME") ? getenv("XDG_DATA_HOME") : "";
    setenv("XDG_DATA_HOME", (root_ + "/data").c_str(), 1);
  }
  void TearDown() override {
    if (saved_data_home_.empty())
      unsetenv("XDG_DATA_HOME");
    else
      setenv("XDG_DATA_HOME", saved_data_home_.c_str(), 1);
    fs::remove_all(root_);
  }
  std::string root_;
  std::string saved_data_home_;
};

TEST_F(ProgramFolderTest, TheExecutablesFolderServesWhenWritableAndTheOverrideAlways) {
  fs::create_directories(root_ + "/bin");
  EXPECT_EQ(ResolveProgramFolder(root_ + "/bin", ""), root_ + "/bin/");
  EXPECT_EQ(ResolveProgramFolder(root_ + "/bin/", ""), root_ + "/bin/");
  EXPECT_EQ(ResolveProgramFolder(root_ + "/bin", root_ + "/elsewhere"), root_ + "/elsewhere/");
}

TEST_F(ProgramFolderTest, AnUnwritableExecutablesFolderFallsBackToTheDataFolder) {
  // A folder that does not exist cannot be written by anyone, root included.
  const std::string data = root_ + "/data/video-zandrell/";
  EXPECT_EQ(ResolveProgramFolder(root_ + "/missing", ""), data);
  EXPECT_TRUE(fs::is_directory(data));
}

}  // namespace
}  // namespace zr::platform::linux_impl
