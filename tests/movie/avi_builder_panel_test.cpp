// The AVI builder's group of files: which files of a folder it takes, beyond what a scenario's
// world can arrange (a read-only file).

#include "movie/avi_builder_panel.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

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

}  // namespace
}  // namespace zr
