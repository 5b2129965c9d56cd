#pragma once
// SoundScope: the control that listens to a sound input and keeps the running record of its
// level the scope draws. While active it hears the level of each block of sound and raises
// LevelExceeded for every level above `Level`, the trigger level.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/sound_level_meter.h"
#include "ui/control.h"

namespace zr {

class SoundScope : public ui::Control {
 public:
  // Five seconds of 20 ms blocks.
  static constexpr std::size_t kHeardLength = 250;

  SoundScope(ui::Window& owner, std::string name, platform::SoundLevelMeter& meter);
  ~SoundScope() override;  // stops listening
  SoundScope(const SoundScope&) = delete;
  SoundScope& operator=(const SoundScope&) = delete;

  // Starts or stops listening to the input `Device` names; activating an active scope does
  // nothing.
  void SetActive(bool on);
  bool Active() const { return active_; }
  int DeviceCount() const { return static_cast<int>(inputs_.size()); }
  // The name of input `index`, from 0; empty for an index beyond the inputs.
  std::string DeviceName(int index) const;
  // Takes effect at the next activation.
  std::int16_t Device = 0;
  std::int32_t Level = 0;
  std::function<void()> LevelExceeded;

  // The levels heard lately, oldest first.
  const std::deque<int>& Heard() const { return heard_; }
  // Why no level is heard while active: the input could not be listened to or stopped.
  const std::string& Problem() const { return problem_; }

  // Active, DeviceCount, DeviceName(i), Device, Level, and LastLevel: the level heard last, 0
  // before any.
  std::optional<ui::Value> Get(std::string_view property, std::optional<int> element) const override;

 private:
  void Hear(int level);

  platform::SoundLevelMeter& meter_;
  std::vector<std::string> inputs_;  // as the meter listed them when the scope was made
  bool active_ = false;
  std::deque<int> heard_;
  std::string problem_;
};

}  // namespace zr
