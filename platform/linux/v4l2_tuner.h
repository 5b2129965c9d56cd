#pragma once
// The TV tuner of a V4L2 TV card. The channel bar's numbers are the channels of the table the
// country and the input (antenna or cable) choose from the channel plan (platform/tv_channels.h);
// a channel is tuned by its picture carrier (VIDIOC_S_FREQUENCY), the country sets the card's
// standard (VIDIOC_S_STD), and the signal is the tuner's own (VIDIOC_G_TUNER). The bar runs over
// the table's channels that lie in the tuner's range.
//
// A tuned card needs a moment before its signal means anything (the tuner's PLL and the
// decoder's line lock): for kTunerSettleTime after each tuning the tuner says it is settling
// instead of reading a signal that belongs to no channel yet. The time is the back end's own
// steady clock; the logic only hears "settling" and asks again at its next tick.
//
// Threads: every call arrives on the logic thread and returns quickly: the tuner's calls go to
// a file of the card opened without blocking, as the capture source's own setting calls do.

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/linux/frame_source.h"
#include "platform/linux/v4l2_device_file.h"
#include "platform/tv_channels.h"

namespace zr::platform::linux_impl {

inline constexpr std::chrono::milliseconds kTunerSettleTime{150};

// A channel plan read once and shared by every tuner; an Error where the file could not be read.
using SharedChannelPlan = std::shared_ptr<const Result<TvChannelPlan>>;

// Runs `change` on a file of the card while the card does not stream: the capture source stops
// its stream around it and starts it again (the cards take a new standard only then).
using WhileNotStreaming = std::function<Result<void>(const std::function<Result<void>(const DeviceFile&)>&)>;

using SteadyClock = std::function<std::chrono::steady_clock::time_point()>;

// A frequency in the tuner's units: 62.5 Hz where the tuner has V4L2_TUNER_CAP_LOW, else
// 62.5 kHz; rounded to the nearest unit.
std::uint32_t TunerUnitsOf(int khz, bool low_units);
// The tuner's signal strength, 0 to 65535, as the program's lock: a strength of half the scale
// or more is a station. Most cards answer 0 or 65535 alone.
bool SignalLocks(std::int32_t strength);
// The card's standard bits for a country's standard.
std::uint64_t V4l2StandardOf(TvStandard standard);

std::unique_ptr<SourceTuner> MakeV4l2Tuner(V4l2System& system, std::string path, SharedChannelPlan plan,
                                           WhileNotStreaming while_not_streaming,
                                           SteadyClock clock = std::chrono::steady_clock::now);

}  // namespace zr::platform::linux_impl
