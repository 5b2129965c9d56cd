// The AVI builder beyond what a scenario can do: the group's files of a folder with a read-only
// one, and entries dragged to another place in the list.

#include "movie/avi_builder_panel.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "apps/scenario/world.h"
#include "core/main_window.h"
#include "image/bmp.h"

namespace zr {
namespace {

namespace fs = std::filesystem;

TEST(AviBuilderGroup, TakesWritableVisibleFilesInNameOrderAndPassesOverReadOnlyOnes) {
  scenario::World world;
  world.Start();
  const std::string folder = world.TempFolder();
  const auto picture = platform::Picture::Blank(4, 2);
  for (const char* name : {"b.bmp", "a.bmp", "locked.bmp", ".hidden.bmp", "c.BMP"})
    ASSERT_TRUE(WriteBmpFile(picture, folder + name));
  fs::permissions(folder + "locked.bmp", fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                  fs::perm_options::remove);
  fs::create_directory(folder + "folder.bmp");

  auto& builder = world.program().MainPanel<AviBuilderPanel>();
  builder.AddGroup(folder, "*.bmp");
  ASSERT_EQ(builder.lstDIBList.ListCount(), 2);
  EXPECT_EQ(builder.lstDIBList.Items[0].text, folder + "a.bmp");
  EXPECT_EQ(builder.lstDIBList.Items[1].text, folder + "b.bmp");
  EXPECT_EQ(builder.ReferenceFormat(), (AviBuilderFormat{true, 4, 2, 24}));
}

// A drag moves the entry one place at a time as the cursor keys do, the selection following it.
TEST(AviBuilderList, ADraggedEntryMovesAsTheCursorKeysMoveIt) {
  scenario::World world;
  world.Start();
  auto& builder = world.program().MainPanel<AviBuilderPanel>();
  std::vector<std::string> files;
  for (const char* name : {"a.bmp", "b.bmp", "c.bmp", "d.bmp"}) {
    files.push_back(world.TempFolder() + name);
    ASSERT_TRUE(WriteBmpFile(platform::Picture::Blank(4, 2), files.back()));
  }
  builder.AddFiles(files);
  const auto order = [&] {
    std::string names;
    for (const auto& item : builder.lstDIBList.Items) names += fs::path(item.text).stem().string();
    return names;
  };
  builder.lstDIBList.OnReorder(0, 2);
  EXPECT_EQ(order(), "bcad");
  EXPECT_EQ(builder.lstDIBList.ListIndex.get(), 2);
  builder.lstDIBList.OnReorder(3, 0);
  EXPECT_EQ(order(), "dbca");
  builder.lstDIBList.OnReorder(1, 9);  // past the end: as far as the down key goes
  EXPECT_EQ(order(), "dcab");
  EXPECT_EQ(builder.lstDIBList.ListIndex.get(), 3);
}

}  // namespace
}  // namespace zr
