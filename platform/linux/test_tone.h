#pragma once
// The built-in test tone: a 1 kHz sine at a moderate level with a short, louder beep at the start
// of every second, so that sound and picture (the test camera's clock) can be compared by ear.
// It records in any format a movie takes: 8-bit unsigned or 16-bit signed little-endian, one or
// two channels, any rate. Sample n depends only on n and the rate.
//
// Delivery: chunks of about 20 ms from a thread of its own, paced by the steady clock. The count
// due is worked out from the time elapsed since Start, so that t seconds in exactly
// round(t * rate) sample frames have gone out, however the wake-ups fell.

#include <cstdint>
#include <memory>
#include <span>

#include "platform/linux/audio_source.h"

namespace zr::platform::linux_impl {

// Writes the sample frames starting at `first_frame` into `pcm` (as many whole frames as fit),
// interleaved in `format`. The format must be one the tone takes (see MakeTestTone).
void WriteTestTone(const AudioFormat& format, std::int64_t first_frame, std::span<std::uint8_t> pcm);

// Start gives an Error for a format other than 8 or 16 bits, 1 or 2 channels, 1 to 384000 Hz.
std::unique_ptr<AudioSource> MakeTestTone();

}  // namespace zr::platform::linux_impl
