// The program's start in another language and the settings it reads as numbers.

#include <gtest/gtest.h>

#include "apps/scenario/world.h"
#include "capture/choose_device.h"
#include "core/settings_keys.h"
#include "main_window/master.h"

namespace zr {
namespace {

TEST(ProgramStart, FixedTextsFollowTheChosenLanguage) {
  scenario::World world;
  Program& program = world.MakeProgram();
  program.language = Language::German;
  std::string chooser_caption;
  struct ReadChooser final : platform::sim::InputSource {
    Program& program;
    std::string& caption;
    ReadChooser(Program& p, std::string& c) : program(p), caption(c) {}
    bool RunNextCommand() override {
      if (!program.SlotOf<ChooseDevice>().Loaded()) return false;
      caption = program.Window<ChooseDevice>().Caption;
      program.SlotOf<ChooseDevice>().Unload();
      return true;
    }
  } reader(program, chooser_caption);
  world.loop.SetInputSource(&reader);
  program.Main();
  auto& master = program.Window<Master>();
  EXPECT_EQ(chooser_caption, TranslateText(Language::German, "Choose video capture device..."));
  EXPECT_NE(chooser_caption, "Choose video capture device...");
  EXPECT_EQ(master.FileMenu(0).Caption.get(), TranslateText(Language::German, "Movie Capture... (CTRL+M)"));
  EXPECT_EQ(master.FileMenu(6).Caption.get(), "-");
  EXPECT_EQ(master.Labels(14).Caption.get(), TranslateText(Language::German, "Stand by"));
  EXPECT_EQ(master.Caption.get(),
            TranslateText(Language::German, "Version") + " 1.00 " + TranslateText(Language::German, "Build") + " 1");
  // Translating twice must not translate a translation.
  master.LanguageControls();
  EXPECT_EQ(master.Toolbars(6).Caption.get(), TranslateText(Language::German, "Web Share "));
}

TEST(ProgramStart, StoredNumbersThatDoNotParseReadAsZero) {
  scenario::World world;
  world.settings->Save("ZR", "MD", "SENSE", "loud");
  world.settings->Save("ZR", "JPEG", "Compression", "85 percent");
  EXPECT_EQ(ReadSettingNumber(*world.settings, settings::MotionSensitivity), 0);
  EXPECT_EQ(ReadSettingNumber(*world.settings, settings::JpegQualityAtStart), 85);
  EXPECT_EQ(ReadSettingNumber(*world.settings, settings::OverwriteQuestion), 1);
  world.Start();
  EXPECT_EQ(world.program().state.MotionSensitivity, 0);
  EXPECT_EQ(world.program().state.JpegQuality, 85);
}

// A stored number beyond the range it is read into reads as 0 too, geometry included: the start
// neither overflows nor stops.
TEST(ProgramStart, StoredNumbersBeyondTheirRangeReadAsZero) {
  scenario::World world;
  auto& store = *world.settings;
  store.Save("ZR", "MD", "SENSE", "70000");
  store.Save("ZR", "JPEG", "Compression", "-2147483649");
  store.Save(settings::kTitleRoot, "Window", "Height", "1E+12");
  store.Save(settings::kTitleRoot, "Window", "Width", "-1E+300");
  store.Save(settings::kTitleRoot, "Window", "State", "1E+30");
  store.Save(settings::kTitleRoot, "WebShare", "Quality", "1E+20");
  store.Save(settings::kTitleRoot, settings::kCoolBarSection, "operation", "1E+30//1");
  world.Start();
  const AppState& state = world.program().state;
  EXPECT_EQ(state.MotionSensitivity, 0);
  EXPECT_EQ(state.JpegQuality, 0);
  auto& master = world.program().Window<Master>();
  EXPECT_EQ(master.WindowState.get(), 0);
  EXPECT_GE(master.Height.get(), 0);
  EXPECT_GE(master.Width.get(), 0);
  EXPECT_EQ(master.WebShare_Quality.Value.get(), 0);
  EXPECT_EQ(master.MasterBar.Bands("operation").Width.get(), 0);
}

}  // namespace
}  // namespace zr
