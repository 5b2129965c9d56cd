// Replacing a file whole: the mode a new, a private and a replaced file get, whatever the umask;
// nothing left behind when the replacement fails; and the umask left alone.

#include "platform/atomic_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "tests/support/platform_checks.h"

namespace zr::platform {
namespace {

namespace fs = std::filesystem;

class AtomicFile : public ::testing::Test {
 protected:
  void SetUp() override { saved_umask_ = ::umask(027); }
  void TearDown() override { ::umask(saved_umask_); }
  std::string File(const std::string& name) const { return folder_.File(name); }
  static mode_t ModeOf(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
  }

  zr::testing::TemporaryFolder folder_;
  mode_t saved_umask_ = 022;
};

TEST_F(AtomicFile, ANewFileFollowsTheUmaskAPrivateOneIsTheUsersAloneAReplacedOneKeepsItsMode) {
  ASSERT_TRUE(ReplaceFileAtomically(File("new.txt"), "one", NewFileMode::KeepExisting));
  EXPECT_EQ(ModeOf(File("new.txt")), 0640u);
  ::umask(0);
  ASSERT_TRUE(ReplaceFileAtomically(File("private.zrp"), "secret", NewFileMode::Private));
  EXPECT_EQ(ModeOf(File("private.zrp")), 0600u);
  ::chmod(File("new.txt").c_str(), 0604);
  ASSERT_TRUE(ReplaceFileAtomically(File("new.txt"), "two", NewFileMode::KeepExisting));
  EXPECT_EQ(ModeOf(File("new.txt")), 0604u);
  EXPECT_EQ(zr::testing::FileText(File("new.txt")), "two");
  // The umask the test set is still the process's.
  EXPECT_EQ(::umask(0), 0u);
}

TEST_F(AtomicFile, AReplacementThatFailsLeavesTheOldFileAndNoTemporary) {
  fs::create_directories(File("taken/inside"));
  const auto failed = ReplaceFileAtomically(File("taken"), "text", NewFileMode::Private);
  EXPECT_FALSE(failed);
  EXPECT_TRUE(fs::is_directory(File("taken/inside")));
  int entries = 0;
  for (const auto& entry : fs::directory_iterator(folder_.path())) entries += entry.path().filename() != "taken";
  EXPECT_EQ(entries, 0) << "a temporary file was left behind";
  EXPECT_FALSE(ReplaceFileAtomically(File("missing/file.txt"), "text", NewFileMode::Private));
}

}  // namespace
}  // namespace zr::platform
