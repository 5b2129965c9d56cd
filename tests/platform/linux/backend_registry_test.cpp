// The table of capture back ends: the built-in devices head the lists, every kind is there
// once, and an address goes to the back end of its kind only.

#include "platform/linux/backend_registry.h"

#include <gtest/gtest.h>

#include <set>

namespace zr::platform::linux_impl {
namespace {

TEST(BackendRegistry, TheBuiltInDevicesHeadTheListsAndEveryKindIsThereOnce) {
  std::set<BackendKind> kinds;
  for (const auto& backend : BuiltBackends()) {
    EXPECT_TRUE(kinds.insert(backend.kind).second) << backend.name << " is in the table twice";
    const int ways = (backend.probe_video ? 1 : 0) + (backend.probe_sound ? 1 : 0) + (backend.open_address ? 1 : 0);
    EXPECT_EQ(ways, 1) << backend.name << " must either list devices of one medium or open addresses";
  }
  EXPECT_EQ(kinds.size(), 6u);
  const auto video = ProbeVideoDevices();
  ASSERT_FALSE(video.empty());
  EXPECT_EQ(video.front().name, "Built-in Test Camera");
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

}  // namespace
}  // namespace zr::platform::linux_impl
