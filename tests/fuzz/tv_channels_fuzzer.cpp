// The TV tuner's channel plan on any text: a plan that reads keeps the rules the tuner relies
// on, and a plan that does not names the line at fault.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/tv_channels.h"
#include "tests/fuzz/input_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const zr::Result<zr::platform::TvChannelPlan> plan = zr::platform::ParseTvChannelPlan(text);
  if (!plan) {
    zr::fuzz::Require(plan.error().message.starts_with("line "));
    return 0;
  }
  for (const auto& country : plan->countries)
    zr::fuzz::Require(plan->Table(country.antenna_table) && plan->Table(country.cable_table));
  for (const auto& [name, channels] : plan->tables) {
    // By number, each number once, each carrier in the tuners' bands.
    zr::fuzz::Require(std::adjacent_find(channels.begin(), channels.end(), [](const auto& left, const auto& right) {
                        return left.number >= right.number;
                      }) == channels.end());
    for (const auto& channel : channels)
      zr::fuzz::Require(channel.number >= 0 && channel.number <= 32767 && channel.video_khz >= 40000 &&
                        channel.video_khz <= 1000000 && !channel.name.empty());
  }
  return 0;
}
