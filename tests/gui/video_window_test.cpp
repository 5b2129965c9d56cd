// The capture window's face: exactly the scaled picture with its status bar, and the image
// overlay over the live picture at the same scale, its transparent colour letting it through.

#include <gtest/gtest.h>

#include <QImage>

#include "gui/window_widgets.h"
#include "image/picture_writer.h"
#include "tests/support/recording_fixture.h"

namespace zr::testing {
namespace {

std::shared_ptr<const platform::Picture> Solid(int width, int height, std::uint8_t blue, std::uint8_t green,
                                               std::uint8_t red) {
  auto picture = platform::Picture::Blank(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      picture.PixelFromTop(x, y)[0] = blue;
      picture.PixelFromTop(x, y)[1] = green;
      picture.PixelFromTop(x, y)[2] = red;
    }
  return std::make_shared<const platform::Picture>(std::move(picture));
}

class VideoWindowTest : public RecordingTest {};

TEST_F(VideoWindowTest, TheOverlayShowsOverTheScaledPictureSaveWhereItIsTheTransparentColour) {
  AddDevice(platform::sim::DeviceSpec::Kind::Wdm, 32, 24);
  StartAndConnect("wdm");
  // A red picture with a green block at its right: red is the transparent colour.
  auto overlay = platform::Picture(*Solid(8, 8, 0, 0, 255));
  for (int y = 0; y < 8; ++y)
    for (int x = 4; x < 8; ++x) overlay.PixelFromTop(x, y)[1] = 255, overlay.PixelFromTop(x, y)[2] = 0;
  WritePictureFile(std::make_shared<const platform::Picture>(overlay), AppFile("logo.bmp"), 100);
  world.dialogs.QueueFileAnswer(platform::FileDialogKind::Open, std::vector<std::string>{AppFile("logo.bmp")});
  world.dialogs.QueueColourAnswer(255);
  screen().SetImageOverlay();
  ASSERT_TRUE(screen().CurrentImageOverlay().picture);
  screen().StatusBar.ClickPanel(screen().StatusBar.Panels("size_2_00"));

  const gui::Guard guard = [](const std::function<void()>& action) { action(); };
  gui::LiveVideo live;
  live.latest_picture = [] { return Solid(32, 24, 255, 0, 0); };
  gui::VideoWindow window(screen(), guard, live, [] {});
  window.show();
  window.resize(window.sizeHint());
  const QImage shot = window.grab().toImage();
  EXPECT_EQ(shot.width(), 64);                     // the status bar under it, however wide its panels
  EXPECT_EQ(shot.pixel(4, 4), qRgb(0, 0, 255));    // the overlay's red lets the live blue through
  EXPECT_EQ(shot.pixel(12, 4), qRgb(0, 255, 0));   // its green shows, twice its size
  EXPECT_EQ(shot.pixel(40, 30), qRgb(0, 0, 255));  // the live picture beyond it
}

}  // namespace
}  // namespace zr::testing
