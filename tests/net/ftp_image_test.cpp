// What the scenarios cannot reach of the upload: the hang-up of the point-to-point links after
// it, and a file that cannot be read or a path without a folder.

#include "net/ftp_image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "apps/scenario/world.h"
#include "core/main_window.h"

namespace zr {
namespace {

class FtpImageTest : public ::testing::Test {
 protected:
  void SetUp() override {
    world_.ftp.present = true;
    world_.Start();
    world_.program().state.FtpFolder = "";
  }
  std::string File(const std::string& name, const std::string& content) {
    const std::string path = world_.AppFolder() + name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }
  bool Logged(const std::string& line) const {
    const auto& log = world_.ftp.log;
    return std::find(log.begin(), log.end(), line) != log.end();
  }

  scenario::World world_;
};

TEST_F(FtpImageTest, AfterAnUploadOnlyLinksWithoutANameAreHungUpAndNoneWhenTheSettingSaysNo) {
  world_.ftp.links.active = {"", "Mobile", "   ", " Mobile "};
  const std::string file = File("a.jpg", "picture");
  ShowUpload(world_.program(), file, file);
  EXPECT_EQ(world_.ftp.received.at("a.jpg").size(), 7U);
  EXPECT_EQ(world_.ftp.links.hung_up, (std::vector<std::string>{"", "   "}));

  world_.settings->Save("ZR", "NET", "HANGUP", "0");
  world_.ftp.links.hung_up.clear();
  world_.ftp.links.listings = 0;
  ShowUpload(world_.program(), file, file);
  EXPECT_EQ(world_.ftp.links.listings, 0);
  EXPECT_TRUE(world_.ftp.links.hung_up.empty());
}

TEST_F(FtpImageTest, AFileThatCannotBeReadIsNotSentAndTheUploadStillEnds) {
  world_.settings->Save("ZR", "NET", "HANGUP", "0");
  // Without a folder in the path the name stays the caller's.
  ShowUpload(world_.program(), "missing.jpg", "called.jpg");
  EXPECT_TRUE(Logged("STOR called.jpg"));
  EXPECT_TRUE(Logged("QUIT"));
  EXPECT_TRUE(world_.ftp.received.empty());
  EXPECT_FALSE(world_.program().SlotOf<FTPImage>().Loaded());
  EXPECT_EQ(std::string(world_.program().MainWindow().StatusString.Caption), "");
  // A folder is no file either; the name is what stands behind its last separator.
  ShowUpload(world_.program(), world_.AppFolder(), "x");
  EXPECT_TRUE(world_.ftp.received.empty());
  const std::string nested = File("b.jpg", "12345");
  ShowUpload(world_.program(), nested, "ignored.jpg");
  EXPECT_EQ(world_.ftp.received.at("b.jpg").size(), 5U);
}

}  // namespace
}  // namespace zr
