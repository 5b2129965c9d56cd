#pragma once
// The sound level meter on the sound sources of the capture back ends: the built-in test tone
// and the ALSA capture inputs (PipeWire and PulseAudio answer through ALSA where they run). The
// source listened to records 48 kHz 16-bit stereo on a thread of its own; that thread cuts the
// sound into 20 ms blocks and posts the level of each to the loop, so the logic sees a level
// every 20 ms whether it changed or not and the scope runs on while a sound holds.

#include <memory>
#include <vector>

#include "platform/linux/backend_registry.h"
#include "platform/sound_level_meter.h"

namespace zr::platform::linux_impl {

// A meter over these inputs, listed in this order.
std::unique_ptr<SoundLevelMeter> MakeSourceLevelMeter(EventLoop& loop, std::vector<AudioDeviceEntry> inputs);

}  // namespace zr::platform::linux_impl
