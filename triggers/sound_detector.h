#pragma once
// The sound level detector: a window that starts the prepared capture when the sound at an input
// goes above a limit. It listens from the moment it opens, so the scope shows what the level
// does; a sound above the limit acts only once the operator has armed it with its button, and
// then starts the capture once and closes the window. A disabled button is the armed state:
// there is no way back but closing the window, which disarms.

#include <string_view>

#include "core/program.h"
#include "triggers/sound_scope.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class AudioDetector : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "AudioDetector";
  explicit AudioDetector(Program& program);

  SoundScope audio;
  ui::ListControl SoundDevice{*this, "SoundDevice"};
  ui::RangeControl Limit{*this, "Limit"};
  ui::CommandButton StartCapture{*this, "StartCapture"};

  void Load() override;
  void Unload() override;

 private:
  void Limit_Change();
  void SoundDevice_Click();
  void StartCapture_Click();
  void audio_LevelExceeded();

  Program& program_;
  bool fired_ = false;
};

}  // namespace zr
