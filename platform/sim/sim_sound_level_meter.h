#pragma once
// Simulated sound inputs: the names a scenario lists, and the level the input listened to
// reports when the scenario says so, through the loop as the real meter's thread does.

#include <optional>
#include <string>
#include <vector>

#include "platform/sound_level_meter.h"

namespace zr::platform::sim {

class SimSoundLevelMeter final : public SoundLevelMeter {
 public:
  explicit SimSoundLevelMeter(EventLoop& loop) : posting_(loop) {}

  std::vector<std::string> Inputs() override { return names; }
  Result<void> Listen(int index, LevelListener listener) override;
  void Stop() override {
    posting_.End();
    listened = -1;
  }

  // The input listened to reports `level`; nobody hears it while no input is listened to.
  void Report(int level);

  std::vector<std::string> names;
  int listened = -1;  // the input listened to, -1 for none

 private:
  LevelPosting posting_;
  std::optional<LevelPosting::Poster> post_;
};

}  // namespace zr::platform::sim
