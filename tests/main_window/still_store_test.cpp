// What the scenarios cannot see of a snapshot: the shutter sound asked of the desktop.

#include <gtest/gtest.h>

#include "apps/scenario/world.h"
#include "image/windows/image_window.h"
#include "main_window/master.h"

namespace zr {
namespace {

TEST(StillStore, TheShutterSoundPlaysOnlyWhenSwitchedOnAndEachSnapshotHasItsWindow) {
  scenario::World world;
  world.Start();
  Program& program = world.program();
  program.state.ShutterSound = "0";
  program.Window<Master>().TakeSnapshot(false);
  EXPECT_TRUE(world.desktop.played_sounds.empty());

  program.state.ShutterSound = "1";
  program.Window<Master>().TakeSnapshot(true);
  ASSERT_EQ(world.desktop.played_sounds.size(), 1u);
  EXPECT_EQ(world.desktop.played_sounds[0], program.state.AppPath + "camera.wav");
  EXPECT_EQ(program.SlotOf<Image>().ExtraInstanceCount(), 2);
}

}  // namespace
}  // namespace zr
