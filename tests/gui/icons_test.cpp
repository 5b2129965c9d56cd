#include "gui/icons.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QIcon>
#include <QImage>

#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace zr::gui {
namespace {

// Every image key the toolbars of the program use.
const std::vector<std::string> kToolbarKeys = {
    "open", "save", "viewer", "srt", "preferences", "about", "scanner", "choose_scanner", "movie", "image",
    "multiple", "avibuilder", "webshare", "device", "source", "format", "display", "wdmsettings", "fullscreen",
    "snapshot", "info", "advanced", "histogram", "lens", "exportdv", "screen", "seprate", "overlay", "preview",
    "record", "stop", "pause", "motion", "autostart", "sound", "rs232", "filename", "compression", "otherinfo",
    "audio", "writeinfo", "tcr", "vidcompression", "netset", "effects", "ftp", "insert", "filenames",
    "tuner_add", "tuner_remove", "tuner_country", "tuner_up", "tuner_down", "tuner_antena", "tuner_cable",
    "tuner_station", "add", "delete", "clear", "up", "down", "manual", "joystick"};

// Painting needs the application object; the tests run without a display.
class IconsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (QGuiApplication::instance() != nullptr) return;
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    static int argc = 1;
    static char name[] = "icons_test";
    static char* argv[] = {name, nullptr};
    static QGuiApplication application(argc, argv);
  }
};

int OpaquePixels(const QImage& image) {
  const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
  int count = 0;
  for (int y = 0; y < argb.height(); ++y) {
    for (int x = 0; x < argb.width(); ++x) count += qAlpha(argb.pixel(x, y)) > 0 ? 1 : 0;
  }
  return count;
}

QByteArray Bytes(const QImage& image) {
  const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
  return QByteArray(reinterpret_cast<const char*>(argb.constBits()), argb.sizeInBytes());
}

TEST_F(IconsTest, EveryToolbarKeyHasItsOwnPictogramDrawnAtEverySize) {
  for (const std::string& key : kToolbarKeys) {
    EXPECT_TRUE(HasOwnPictogram(key)) << key;
    for (const int size : {16, 24, 32, 48, 20}) {
      const QImage image = DrawnIcon(key, size).toImage();
      ASSERT_EQ(image.size(), QSize(size, size)) << key;
      const int opaque = OpaquePixels(image);
      // Something is drawn, and the background stays transparent around it.
      EXPECT_GT(opaque, size * size / 20) << key << " at " << size;
      EXPECT_LT(opaque, size * size) << key << " at " << size;
    }
  }
}

TEST_F(IconsTest, NoTwoKeysDrawTheSamePicture) {
  std::map<QByteArray, std::string> drawn;
  for (const std::string& key : kToolbarKeys) {
    const auto [where, added] = drawn.emplace(Bytes(DrawnIcon(key, 32).toImage()), key);
    EXPECT_TRUE(added) << key << " draws the same picture as " << where->second;
  }
}

TEST_F(IconsTest, UnknownKeyGetsALetterTileThatTellsKeysApart) {
  EXPECT_FALSE(HasOwnPictogram("no_such_key"));
  EXPECT_FALSE(HasOwnPictogram(""));
  const QImage tile = DrawnIcon("no_such_key", 32).toImage();
  EXPECT_GT(OpaquePixels(tile), 32 * 32 / 2);
  EXPECT_NE(Bytes(tile), Bytes(DrawnIcon("kilo", 32).toImage()));
  EXPECT_GT(OpaquePixels(DrawnIcon("", 24).toImage()), 0);
  EXPECT_TRUE(DrawnIcon("open", 0).isNull());
}

TEST_F(IconsTest, ToolbarIconFallsBackToOurPictogramAtTheToolbarSizes) {
  // No standard theme name means a histogram, so this icon is always our own.
  const QIcon icon = ToolbarIcon("histogram");
  ASSERT_FALSE(icon.isNull());
  for (const int size : {16, 24, 32, 48}) {
    EXPECT_TRUE(icon.availableSizes().contains(QSize(size, size))) << size;
    EXPECT_EQ(Bytes(icon.pixmap(size).toImage()), Bytes(DrawnIcon("histogram", size).toImage())) << size;
  }
  for (const std::string& key : kToolbarKeys) EXPECT_FALSE(ToolbarIcon(key).isNull()) << key;
  EXPECT_FALSE(ToolbarIcon("no_such_key").isNull());
}

TEST_F(IconsTest, SplashLogoFillsTheAskedSizeInBothLayouts) {
  for (const QSize size : {QSize(480, 160), QSize(200, 260), QSize(64, 64)}) {
    const QImage logo = SplashLogo(size).toImage();
    ASSERT_EQ(logo.size(), size);
    const int opaque = OpaquePixels(logo);
    EXPECT_GT(opaque, size.width() * size.height() / 10) << size.width() << "x" << size.height();
    EXPECT_LT(opaque, size.width() * size.height()) << size.width() << "x" << size.height();
  }
  EXPECT_TRUE(SplashLogo(QSize(0, 100)).isNull());
}

TEST_F(IconsTest, ApplicationIconIsTheLensAtWindowSizes) {
  const QIcon icon = ApplicationIcon();
  ASSERT_FALSE(icon.isNull());
  for (const int size : {16, 32, 256}) {
    const QImage image = icon.pixmap(size).toImage();
    EXPECT_EQ(image.size(), QSize(size, size));
    EXPECT_GT(OpaquePixels(image), size * size / 2) << size;
  }
}

}  // namespace
}  // namespace zr::gui
