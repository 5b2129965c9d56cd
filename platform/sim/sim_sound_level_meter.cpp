#include "platform/sim/sim_sound_level_meter.h"

namespace zr::platform::sim {

Result<void> SimSoundLevelMeter::Listen(int index, LevelListener listener) {
  Stop();
  if (index < 0 || index >= static_cast<int>(names.size()))
    return Error{"There is no sound input number " + std::to_string(index), "Listen"};
  listened = index;
  post_ = posting_.Begin(std::move(listener));
  return {};
}

void SimSoundLevelMeter::Report(int level) {
  if (posting_.Listening()) post_->Level(level);
}

}  // namespace zr::platform::sim
