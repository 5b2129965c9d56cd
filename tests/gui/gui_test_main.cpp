// The widget tests run without a display, on the toolkit's offscreen platform, with one
// application object for all of them, and a settings folder of their own (the desktop face
// keeps the places of the windows there).

#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>
#include <filesystem>
#include <string>

int main(int argc, char** argv) {
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  std::string settings = (std::filesystem::temp_directory_path() / "zr-gui-tests-XXXXXX").string();
  if (!mkdtemp(settings.data())) return 1;
  setenv("XDG_CONFIG_HOME", settings.c_str(), 1);
  QApplication application(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  const int failed = RUN_ALL_TESTS();
  std::filesystem::remove_all(settings);
  return failed;
}
