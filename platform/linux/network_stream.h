#pragma once
// Network streams: any address FFmpeg opens (http://, rtsp://, HLS playlists, mms://, file:
// addresses and plain file paths) as a frame source.
//
// The best video stream is decoded and converted to the program's picture. Frames are stamped
// with their presentation time in microseconds from the first frame, and delivered at the
// stream's own pace by the steady clock (a file plays like a live stream, not as fast as it
// decodes). Every wait for the far end - opening, reading the stream's description, each read -
// is bounded by the timeout, and Stop cuts any of them short.
//
// Start returns at once: the stream is opened on the source's own thread. One that cannot be
// opened ends the source with a message naming the address ("… cannot be opened: …", "… does
// not answer" when the timeout ran out). While running, the end of the stream ends the source
// with "The stream has ended"; a read that fails or times out with "The stream at … does not
// answer". Width, Height and FramesPerSecond are known once the stream is open (0 before); the
// rate is the stream's average when it states a plausible one, else 0.

#include <memory>
#include <string>

#include "platform/linux/frame_source.h"

namespace zr::platform::linux_impl {

std::unique_ptr<FrameSource> MakeNetworkStreamSource(std::string url, int timeout_ms = 5000);

}  // namespace zr::platform::linux_impl
