#pragma once
// V4L2 capture devices (webcams, TV and capture cards): the list of the devices present and a
// frame source over each. Everything here reaches the devices through a V4l2System, so the
// tests play the devices with a fake one.

#include <memory>
#include <string>
#include <vector>

#include "platform/linux/frame_source.h"
#include "platform/linux/v4l2_system.h"
#include "platform/linux/v4l2_tuner.h"

namespace zr::platform::linux_impl {

struct V4l2DeviceInfo {
  std::string path;  // the device node, e.g. /dev/video0
  // The card name the driver gives; the node's path for a device another program holds (it
  // cannot be asked then).
  std::string name;
  bool has_tuner = false;  // a TV card: its capture control's device class is the tuner's
};

// Every video capture node that can stream, by node number. A node another program holds
// (busy) or that this user may not open is listed all the same, so the operator sees it and
// learns why it cannot be connected; metadata and output nodes are left out.
std::vector<V4l2DeviceInfo> ListV4l2Devices(V4l2System& system);

// A source over the device node at `path`. Nothing is opened until it is asked something: a
// menu, a setting, or Start. `system` outlives the source.
//
// The format menu has one row per frame size the device offers in a pixel format it can be
// shown in, taking an uncompressed format where the device has one at that size and Motion
// JPEG otherwise; rows are sorted by width, then height. Until a row is chosen, Start keeps the
// device's current size when the menu has it, else the largest row at most 640 wide.
// Changing the format, the rate or the input while running restarts the stream (the devices
// take these only while not streaming); sequence and timestamps carry on across it. If the
// restart fails, the source stays stopped and the call's Error says why.
// A TV card's source is given the channel plan and has a tuner (v4l2_tuner.h); the source of
// any other device is given none.
std::unique_ptr<FrameSource> MakeV4l2Source(V4l2System& system, std::string path,
                                            SharedChannelPlan channel_plan = nullptr);

}  // namespace zr::platform::linux_impl
