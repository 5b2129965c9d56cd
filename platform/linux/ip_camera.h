#pragma once
// IP cameras: a camera's http:// address as a frame source.
//
// Start returns at once: the camera is asked on the source's own thread, and the content type
// of its answer tells how it sends:
//   image/jpeg                              a snapshot per request: the address is asked again
//                                           and again, each answer one frame;
//   multipart/x-mixed-replace;boundary=…    a Motion JPEG stream: each part one JPEG picture,
//                                           cut by its Content-Length or by the next boundary.
// Any other type, or no answer, a refusal (401, 404, …), ends the source with the camera's
// message ("The camera at … sent no picture", "… answered 404 Not Found"); a camera that does
// not answer ends it within the connect timeout.
//
// Frames are stamped with the steady clock's microseconds since Start. A camera that stops
// answering while it runs (nothing within the read timeout, a picture not whole within the
// picture timeout however steadily its bytes trickle in, or a stream that closes and cannot be
// opened again at once) ends the source with "The camera at … does not answer".
// Width and Height come from the first frame (0 before); the camera has no rate of its own.

#include <chrono>
#include <memory>
#include <string>

#include "platform/linux/frame_source.h"

namespace zr::platform::linux_impl {

struct IpCameraTimeouts {
  std::chrono::milliseconds connect{5000};
  std::chrono::milliseconds read{5000};
  // The longest one picture may take as a whole: a snapshot from its request to its last byte,
  // a picture of a stream from the end of the one before; the head of an answer likewise.
  std::chrono::milliseconds picture{15000};
  // Snapshot cameras: the shortest time from one request to the next. The camera is asked as
  // fast as it answers, but no more than 30 times a second.
  std::chrono::microseconds snapshot_interval{1'000'000 / 30};
};

std::unique_ptr<FrameSource> MakeIpCameraSource(std::string url, IpCameraTimeouts timeouts = {});

}  // namespace zr::platform::linux_impl
