// The picture operations as the operator meets them: the messages of a JPEG file that is not
// written and of a bitmap the clipboard cannot take.

#include "image/windows/picture_commands.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "apps/scenario/world.h"

namespace zr {
namespace {

TEST(PictureCommands, AJpegFileThatCannotBeWrittenSaysSo) {
  scenario::World world;
  Program& program = world.MakeProgram();
  const auto missing = std::filesystem::temp_directory_path() / "zr-no-such-folder" / "x.jpg";
  EXPECT_FALSE(SaveJPG(program, platform::Picture::Blank(8, 8), missing.string(), 75));
  ASSERT_EQ(world.dialogs.Shown().size(), 1u);
  const auto& box = world.dialogs.Shown().back().message;
  EXPECT_EQ(box.text, "Failed to save to JPG");
  EXPECT_EQ(box.icon, platform::MessageIcon::Exclamation);
  EXPECT_EQ(box.title, kAppTitle);
}

TEST(PictureCommands, TheDibFormatIsRefusedWithItsMessage) {
  scenario::World world;
  Program& program = world.MakeProgram();
  cDIBSection dib;
  ASSERT_TRUE(dib.Create(3, 2));
  EXPECT_FALSE(CopyToClipboard(program, dib, true));
  ASSERT_EQ(world.dialogs.Shown().size(), 1u);
  EXPECT_EQ(world.dialogs.Shown()[0].message.text,
            "I don't know how to put a DIB on the clipboard! Copy as bitmap instead!!!");
  EXPECT_TRUE(CopyToClipboard(program, dib, false));
  EXPECT_TRUE(world.clipboard.GetPicture().has_value());
  EXPECT_EQ(world.dialogs.Shown().size(), 1u);
}

}  // namespace
}  // namespace zr
