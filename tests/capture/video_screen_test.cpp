// The right button let go over a driver's picture pops the main window's View menu up there;
// the control kind has no menu to pop up.

#include <gtest/gtest.h>

#include "tests/support/recording_fixture.h"

namespace zr::testing {
namespace {

using platform::sim::DeviceSpec;
using platform::sim::ShownDialog;

class PictureRightClick : public RecordingTest {
 protected:
  std::string PoppedUp() {
    screen().PictureRightButtonUp();
    std::string entries;
    for (const auto& dialog : world.dialogs.Shown())
      if (dialog.kind == ShownDialog::Kind::PopupMenu)
        for (const auto& entry : dialog.menu) entries += entry.text + (entry.enabled ? ";" : " (disabled);");
    return entries;
  }
};

TEST_F(PictureRightClick, OnADriverPopsUpTheViewMenu) {
  AddDevice(DeviceSpec::Kind::Vfw);
  StartAndConnect("vfw");
  EXPECT_EQ(PoppedUp(), "Overlay Mode (disabled);Preview Mode;-;Full Screen;");
}

TEST_F(PictureRightClick, OnTheControlKindPopsUpNothing) {
  AddDevice(DeviceSpec::Kind::Wdm);
  StartAndConnect("wdm");
  EXPECT_EQ(PoppedUp(), "");
}

}  // namespace
}  // namespace zr::testing
