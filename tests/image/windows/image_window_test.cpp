// The picture window's effects as the operator meets them: the progress passing through the
// status bar, diffusion's specks the same at the same moment, the print handed the picture.

#include "image/windows/image_window.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "apps/scenario/world.h"

namespace zr {
namespace {

std::shared_ptr<const platform::Picture> Striped(int width, int height) {
  auto picture = platform::Picture::Blank(width, height);
  for (std::size_t i = 0; i < picture.bottom_up_bgr.size(); ++i)
    picture.bottom_up_bgr[i] = static_cast<std::uint8_t>(i * 37 % 251);
  return std::make_shared<const platform::Picture>(std::move(picture));
}

class ImageWindowTest : public ::testing::Test {
 protected:
  scenario::World world_;
  Program& program_ = world_.MakeProgram();
  Image& window_ = program_.Window<Image>();
};

// 41 pixels wide: a text every second column, 0% to 100%, then the empty one.
TEST_F(ImageWindowTest, ProgressTextsPassThroughTheStatusInOrderAndEndEmpty) {
  window_.ShowPicture(Striped(41, 3));
  std::vector<std::string> shown;
  window_.MasterStatus.SimpleText.OnChange([&] { shown.push_back(window_.MasterStatus.SimpleText); });
  window_.Mastertoolbar_ButtonMenuClick(*window_.Mastertoolbar.Button("effects").FindMenu("soften"));
  ASSERT_EQ(shown.size(), 21u);
  EXPECT_EQ(shown.front(), "Softening... 5%");
  EXPECT_EQ(shown[19], "Softening... 100%");
  EXPECT_EQ(shown.back(), "");
}

TEST_F(ImageWindowTest, DiffusionAtTheSameMomentGivesTheSameSpecks) {
  window_.ShowPicture(Striped(40, 30));
  window_.KeepResetPicture();
  window_.Diffusing();
  const auto first = window_.MasterImage.Picture;
  window_.Mastertoolbar_ButtonClick(window_.Mastertoolbar.Button("effects"));
  EXPECT_EQ(window_.MasterImage.Picture, window_.ResetPicture.Picture);
  window_.Diffusing();
  EXPECT_EQ(window_.MasterImage.Picture->bottom_up_bgr, first->bottom_up_bgr);
  EXPECT_NE(first->bottom_up_bgr, window_.ResetPicture.Picture->bottom_up_bgr);
}

// While an effect's picture is away, the next effect and the restore key wait their turn: the
// negative, then the mirror of the negative, then the still again.
TEST_F(ImageWindowTest, ClicksWhileAnEffectIsAwayWaitTheirTurnInOrder) {
  const auto still = Striped(16, 4);
  window_.ShowPicture(still);
  window_.KeepResetPicture();
  auto& effects = window_.Mastertoolbar.Button("effects");
  world_.background.Hold();
  window_.Mastertoolbar_ButtonMenuClick(*effects.FindMenu("negative"));
  window_.Mastertoolbar_ButtonMenuClick(*effects.FindMenu("flip"));
  std::vector<std::shared_ptr<const platform::Picture>> shown;
  window_.MasterStatus.SimpleText.OnChange([&] {
    if (window_.MasterStatus.SimpleText.get().empty()) shown.push_back(window_.MasterImage.Picture);
  });
  window_.Mastertoolbar_ButtonClick(effects);
  EXPECT_EQ(window_.MasterImage.Picture, still);
  world_.background.EndHeldJobs();
  ASSERT_EQ(shown.size(), 2u);
  const auto negative = ApplyEffect(Effect::Inverting, *still);
  EXPECT_EQ(shown[0]->bottom_up_bgr, negative.bottom_up_bgr);
  EXPECT_EQ(shown[1]->bottom_up_bgr, ApplyEffect(Effect::FlipVertical, negative).bottom_up_bgr);
  EXPECT_EQ(window_.MasterImage.Picture, still);
}

TEST_F(ImageWindowTest, PrintHandsThePictureToThePrintDialog) {
  window_.ShowPicture(Striped(20, 10));
  window_.Caption = "still.bmp";
  window_.Mastertoolbar_ButtonClick(window_.Mastertoolbar.Button("print"));
  ASSERT_EQ(world_.dialogs.Printed().size(), 1u);
  EXPECT_EQ(world_.dialogs.Printed()[0].bottom_up_bgr, window_.MasterImage.Picture->bottom_up_bgr);
}

}  // namespace
}  // namespace zr
