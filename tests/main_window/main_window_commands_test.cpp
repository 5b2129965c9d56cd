// What the scenarios cannot give the Help menu: a guide whose path the browser's address must
// spell with escapes.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "apps/scenario/world.h"
#include "core/main_menus.h"
#include "main_window/master.h"

namespace zr {
namespace {

TEST(MainWindowCommands, TheGuidesAddressEscapesWhatAnAddressCannotHoldAsItStands) {
  scenario::World world;
  world.Start();
  const std::string folder = world.program().state.AppPath + "my guides #1/";
  std::filesystem::create_directories(folder + "guide");
  std::ofstream(folder + "guide/index.html") << "<html></html>";
  world.desktop.guide_folder = folder;
  world.program().Window<Master>().HelpMenu(help_menu::kHelp).Click();
  ASSERT_EQ(world.desktop.log.size(), 1u);
  EXPECT_EQ(world.desktop.log[0],
            "OpenAddress(file://" + world.program().state.AppPath + "my%20guides%20%231/guide/index.html)");
}

}  // namespace
}  // namespace zr
