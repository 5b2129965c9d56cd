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

}  // namespace
}  // namespace zr
