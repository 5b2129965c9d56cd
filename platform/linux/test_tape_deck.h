#pragma once
// The built-in camcorder: a tape deck of its own, always listed, so that the transport bar and
// the tape's time code and shooting dates can be tried on a machine without one. It plays the
// program's own cassette (platform/dv_tape_deck.h) at the PAL DV size and rate; its picture is
// the test camera's pattern at the frame under the head, so it stands still when paused or
// stopped, runs ten times as fast while winding and backwards while rewinding, and its panel
// shows the tape's position.
//
// Threads: as for every frame source; the deck is read by the delivery thread and commanded on
// the logic thread under one lock.

#include <memory>

#include "platform/linux/frame_source.h"

namespace zr::platform::linux_impl {

std::unique_ptr<FrameSource> MakeTestTapeDeck();

}  // namespace zr::platform::linux_impl
