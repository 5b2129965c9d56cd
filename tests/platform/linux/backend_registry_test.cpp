// The table of capture back ends: the built-in devices head the lists, every kind is there
// once, and an address goes to the back end of its kind only.

#include "platform/linux/backend_registry.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace zr::platform::linux_impl {
namespace {

TEST(BackendRegistry, TheBuiltInDevicesHeadTheListsAndEveryKindIsThereOnce) {
  std::set<BackendKind> kinds;
  for (const auto& backend : BuiltBackends()) {
    EXPECT_TRUE(kinds.insert(backend.kind).second) << backend.name << " is in the table twice";
    const int ways = (backend.probe_video ? 1 : 0) + (backend.probe_sound ? 1 : 0) + (backend.open_address ? 1 : 0);
    EXPECT_EQ(ways, 1) << backend.name << " must either list devices of one medium or open addresses";
  }
  EXPECT_EQ(kinds.size(), 7u);
  const auto video = ProbeVideoDevices();
  ASSERT_FALSE(video.empty());
  EXPECT_EQ(video.front().name, "Built-in Test Camera");
  ASSERT_GE(video.size(), 2u);
  EXPECT_EQ(video[1].name, "Built-in Test Tuner");
  EXPECT_EQ(video[1].device_class, 1);
  const auto sound = ProbeAudioDevices();
  ASSERT_FALSE(sound.empty());
  EXPECT_EQ(sound.front().name, "Built-in Test Tone");
}

TEST(BackendRegistry, AnAddressOpensOnlyWithTheBackEndOfItsKind) {
  std::string opened;
  const CaptureBackends table{{BackendKind::NetworkStream, "stream", {}, {}, [&](const std::string& address) {
                                 opened = address;
                                 return std::unique_ptr<FrameSource>();
                               }}};
  EXPECT_EQ(OpenAddress(table, BackendKind::IpCamera, "http://camera/"), nullptr);
  EXPECT_TRUE(opened.empty());
  OpenAddress(table, BackendKind::NetworkStream, "rtsp://camera/live");
  EXPECT_EQ(opened, "rtsp://camera/live");
  EXPECT_TRUE(ProbeVideoDevices(table).empty());
}

// The settings name the built-in camera's size and rate in the camera's own terms: a size it
// offers and a whole rate from 1 to 30 open it so, anything else leaves it, and every other
// device, as they were.
TEST(BackendRegistry, TheTestCameraOpensAtASizeAndRateItOffers) {
  const auto looked = WithTestCameraLook(ProbeVideoDevices(), "1920x1080", "1");
  ASSERT_FALSE(looked.empty());
  auto camera = looked.front().open();
  EXPECT_EQ(camera->Width(), 1920);
  EXPECT_EQ(camera->Height(), 1080);
  EXPECT_EQ(camera->FramesPerSecond(), 1);
  for (const std::string text : {"", "1920x1081", "1920 x 1080", "1920x1080 ", "x1080", "0x0", "0", "31", "2.5"}) {
    auto unchanged = WithTestCameraLook(ProbeVideoDevices(), text, text).front().open();
    EXPECT_EQ(unchanged->Width(), 640) << text;
    EXPECT_EQ(unchanged->Height(), 480) << text;
    EXPECT_EQ(unchanged->FramesPerSecond(), 30) << text;
  }
  bool other_opened = false;
  std::vector<VideoDeviceEntry> others{{"USB Camera", "/dev/video0", 0, [&] {
                                          other_opened = true;
                                          return std::unique_ptr<FrameSource>();
                                        }}};
  others = WithTestCameraLook(std::move(others), "1920x1080", "1");
  EXPECT_EQ(others.front().open(), nullptr);
  EXPECT_TRUE(other_opened);
}

}  // namespace
}  // namespace zr::platform::linux_impl
