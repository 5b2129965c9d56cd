// Reading the files the program parses: a small regular file whole; a FIFO, a device or a folder
// refused before anything waits on it; nothing read past the caller's limit.

#include "platform/regular_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>

#include "tests/support/platform_checks.h"

namespace zr::platform {
namespace {

namespace fs = std::filesystem;

class RegularFileTest : public ::testing::Test {
 protected:
  std::string File(const std::string& name, const std::string& text) const {
    const std::string path = folder_.File(name);
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }
  zr::testing::TemporaryFolder folder_;
};

TEST_F(RegularFileTest, ReadsSmallFilesWholeAndRefusesWhatIsNoFileOrTooLong) {
  const SmallFile read = ReadSmallFile(File("three.txt", "abc"), 3);
  EXPECT_TRUE(read.IsRead());
  EXPECT_EQ(read.text, "abc");
  EXPECT_EQ(ReadSmallFile(File("empty.txt", ""), 0).text, "");

  const SmallFile longer = ReadSmallFile(File("four.txt", "abcd"), 3);
  EXPECT_EQ(longer.outcome, FileOutcome::TooLarge);
  EXPECT_EQ(longer.reason, "is larger than 3 bytes");
  EXPECT_EQ(longer.text, "");

  // A file far longer than the limit is refused by its length, without a byte read.
  const std::string sparse = File("sparse.bin", "");
  fs::resize_file(sparse, std::uintmax_t{8} << 30);
  const auto started = std::chrono::steady_clock::now();
  EXPECT_EQ(ReadSmallFile(sparse, 1 << 20).outcome, FileOutcome::TooLarge);
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(1));

  EXPECT_EQ(ReadSmallFile(folder_.File("missing.txt"), 10).outcome, FileOutcome::Missing);
  const std::string fifo = folder_.File("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  // Opening a FIFO nobody writes to would wait for ever; reading /dev/zero would never end.
  for (const std::string& path : {fifo, std::string("/dev/zero"), folder_.path().string()}) {
    const SmallFile refused = ReadSmallFile(path, 1 << 20);
    EXPECT_EQ(refused.outcome, FileOutcome::NotAFile) << path;
    EXPECT_EQ(refused.reason, "is not a regular file") << path;
  }
}

TEST_F(RegularFileTest, ReadsAtOffsetsUpToTheEnd) {
  const RegularFile file(File("digits.txt", "0123456789"));
  ASSERT_TRUE(file.IsOpen());
  EXPECT_EQ(file.Size(), 10u);
  std::array<std::uint8_t, 4> four{};
  ASSERT_TRUE(file.ReadAt(6, four));
  EXPECT_EQ(std::string(four.begin(), four.end()), "6789");
  EXPECT_FALSE(file.ReadAt(7, four));
  EXPECT_EQ(file.ReadUpTo(7, four), 3u);
  EXPECT_EQ(file.ReadUpTo(12, four), 0u);

  const RegularFile device("/dev/zero");
  EXPECT_FALSE(device.IsOpen());
  EXPECT_FALSE(device.ReadAt(0, four));
}

}  // namespace
}  // namespace zr::platform
