// What the scenarios cannot see of the picture server's panel: the loop passes between the
// captions of a picture answer, the address handed to the browser, and why the server does not
// listen in the operator's language.

#include "net/picture_server_panel.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "apps/scenario/world.h"
#include "main_window/master.h"

namespace zr {
namespace {

class PictureServerPanelTest : public ::testing::Test {
 protected:
  PictureServerPanelTest() {
    world_.Start();
    master_ = &world_.program().Window<Master>();
    master_->SetOperationMode("webshare");
  }

  scenario::World world_;
  Master* master_ = nullptr;
};

TEST_F(PictureServerPanelTest, ARequestArrivingDuringAPictureAnswerIsServedInsideIt) {
  std::vector<std::string> seen;
  auto& status = master_->Labels(14).Caption;
  status.OnChange([&] {
    seen.push_back(status.get());
    // The page asked for while the first dot shows is answered at the pass that follows it,
    // before the second dot.
    if (status.get() == "Streaming." && seen.size() == 1) {
      ASSERT_TRUE(world_.picture_server.Deliver("GET / HTTP/1.1\r\nHost: h\r\n\r\n"));
    }
    if (status.get() == "Streaming..") {
      ASSERT_TRUE(world_.picture_server.LastResponse());
      EXPECT_NE(world_.picture_server.LastResponse()->find("Content-Type: text/html"), std::string::npos);
    }
  });
  ASSERT_TRUE(world_.picture_server.Deliver("GET /live HTTP/1.1\r\n\r\n"));
  world_.loop.Yield();
  EXPECT_EQ(seen, (std::vector<std::string>{"Streaming.", "Streaming..", "Streaming"}));
  // Without a device no still is written: the outer request is answered that there is none.
  ASSERT_TRUE(world_.picture_server.LastResponse());
  EXPECT_TRUE(world_.picture_server.LastResponse()->starts_with("HTTP/1.1 404 Not Found\r\n"));
}

TEST_F(PictureServerPanelTest, TheAddressLabelOpensItsCaptionInTheBrowser) {
  master_->WebShare_Port.Text = "8080";
  master_->ShowAddress();
  master_->WebShare_Url.OnClick();
  EXPECT_EQ(world_.desktop.log, std::vector<std::string>{"OpenAddress(http://127.0.0.1:8080)"});
}

TEST_F(PictureServerPanelTest, APortThatCannotBeOpenedIsNamedInTheOperatorsLanguage) {
  world_.program().language = Language::German;
  master_->WebShare_Port.Text = "-1";
  EXPECT_EQ(master_->Labels(14).Caption.get(), "Port -1 gibt es nicht");
  EXPECT_FALSE(world_.picture_server.Listening());
  // A port that opens leaves the caption as it was.
  master_->WebShare_Port.Text = "81";
  EXPECT_TRUE(world_.picture_server.Listening());
  EXPECT_EQ(master_->Labels(14).Caption.get(), "Port -1 gibt es nicht");
}

}  // namespace
}  // namespace zr
