#include "gui/icons.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QIcon>
#include <QImage>
#include <QPalette>
#include <cmath>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "apps/scenario/world.h"
#include "core/window_registry.h"
#include "ui/controls.h"

namespace zr::gui {
namespace {

// The images the program gives the button "record" while a run goes on or a still waits.
const std::vector<std::string> kImagesOfARun = {"stop", "pause"};

// Every image key the toolbars of the program's windows start with, read from the windows
// themselves (made without their load), and the images a run gives its button.
std::set<std::string> ToolbarImageKeys() {
  scenario::World world;
  Program& program = world.MakeProgram();
  std::set<std::string> keys(kImagesOfARun.begin(), kImagesOfARun.end());
  for (const WindowKind& kind : RegisteredWindowKinds()) {
    const std::unique_ptr<ui::Window> window = kind.make(program, kind.name);
    for (const ui::Control* control : window->Controls())
      if (const auto* toolbar = dynamic_cast<const ui::Toolbar*>(control))
        for (const auto& button : toolbar->Buttons())
          if (!button->Image.get().empty()) keys.insert(button->Image.get());
  }
  return keys;
}

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
  const std::set<std::string> keys = ToolbarImageKeys();
  ASSERT_GT(keys.size(), 50u);
  for (const std::string& key : keys) {
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

// The share of a pictogram's drawn pixels that stand out from `background` in lightness.
double ShareStandingOut(const QImage& image, const QColor& background) {
  const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
  int drawn = 0;
  int standing_out = 0;
  for (int y = 0; y < argb.height(); ++y)
    for (int x = 0; x < argb.width(); ++x) {
      const QRgb pixel = argb.pixel(x, y);
      if (qAlpha(pixel) < 128) continue;
      ++drawn;
      standing_out += std::abs(QColor(pixel).lightness() - background.lightness()) >= 60 ? 1 : 0;
    }
  return drawn ? static_cast<double>(standing_out) / drawn : 0.0;
}

// On a light and on a dark theme alike, every pictogram stands out from the window's background.
TEST_F(IconsTest, EveryPictogramReadsOnALightAndADarkTheme) {
  const QPalette desktop = QGuiApplication::palette();
  for (const QColor& window : {QColor(0xEF, 0xEF, 0xEF), QColor(0x35, 0x35, 0x35)}) {
    QGuiApplication::setPalette(QPalette(window));
    for (const std::string& key : ToolbarImageKeys())
      EXPECT_GT(ShareStandingOut(DrawnIcon(key, 48).toImage(), window), 0.5)
          << key << " on " << window.name().toStdString();
  }
  QGuiApplication::setPalette(desktop);
}

TEST_F(IconsTest, NoTwoKeysDrawTheSamePicture) {
  std::map<QByteArray, std::string> drawn;
  const std::set<std::string> keys = ToolbarImageKeys();
  ASSERT_GT(keys.size(), 50u);
  for (const std::string& key : keys) {
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
  for (const std::string& key : ToolbarImageKeys()) EXPECT_FALSE(ToolbarIcon(key).isNull()) << key;
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
