// The capture window's picture under the right button: the driver kind pops the main window's
// View menu up there, the control kind has no menu to pop up.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/recording_fixture.h"

namespace zr::testing {
namespace {

using platform::sim::DeviceSpec;
using platform::sim::ShownDialog;

std::vector<std::string> PoppedUpMenus(std::vector<ShownDialog>& shown) {
  std::vector<std::string> menus;
  for (const auto& dialog : shown) {
    if (dialog.kind != ShownDialog::Kind::PopupMenu) continue;
    std::string entries;
    for (const auto& entry : dialog.menu) entries += entry.text + ";";
    menus.push_back(entries);
  }
  return menus;
}

struct Case {
  DeviceSpec::Kind kind;
  const char* word;
  std::vector<std::string> menus;
};

class PictureRightClick : public RecordingTest, public ::testing::WithParamInterface<Case> {};

TEST_P(PictureRightClick, PopsUpTheViewMenuOnTheDriverKindOnly) {
  AddDevice(GetParam().kind);
  StartAndConnect(GetParam().word);
  screen().PictureRightButtonUp();
  EXPECT_EQ(PoppedUpMenus(world.dialogs.Shown()), GetParam().menus);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, PictureRightClick,
    ::testing::Values(Case{DeviceSpec::Kind::Vfw, "vfw", {"Overlay Mode;Preview Mode;-;Full Screen;"}},
                      Case{DeviceSpec::Kind::Wdm, "wdm", {}}));

}  // namespace
}  // namespace zr::testing
