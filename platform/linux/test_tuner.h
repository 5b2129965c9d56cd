#pragma once
// The built-in test tuner: the test camera behind a tuner of its own, always listed, so that the
// tuner band can be tried on a machine without a TV card. Its band runs from channel 1 to 99;
// a few channels carry a station, which shows the test camera's picture in colours of its own,
// and every other channel shows snow. The tuner keeps its input and takes any country.
//
// Threads: the tuner's calls arrive on the logic thread; the channel they set is read by the
// camera's thread as each frame passes.

#include <memory>

#include "platform/linux/frame_source.h"
#include "platform/linux/test_camera.h"

namespace zr::platform::linux_impl {

// The channels of the test tuner's stations, in the order of their colours.
inline constexpr int kTestTunerStations[] = {3, 7, 12, 21, 33, 48};

std::unique_ptr<FrameSource> MakeTestTuner(TestCameraSettings settings = {});

}  // namespace zr::platform::linux_impl
