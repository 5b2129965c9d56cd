#include "triggers/sound_detector.h"

#include <algorithm>
#include <string>

#include "core/main_window.h"
#include "core/settings_keys.h"
#include "core/window_registry.h"

namespace zr {

namespace {

constexpr int kHighestLimit = 100;
constexpr int kLimitLargeStep = 5;

}  // namespace

AudioDetector::AudioDetector(Program& program)
    : ui::Window(program.services.loop, std::string(kWindowName)),
      audio(*this, "audio", program.services.sound_level_meter),
      program_(program) {
  Limit.is_slider = true;
  Limit.Min = 0;
  Limit.Max = kHighestLimit;
  Limit.large_step = kLimitLargeStep;
  Limit.OnChange = [this] { Limit_Change(); };
  SoundDevice.OnClick = [this] { SoundDevice_Click(); };
  StartCapture.OnClick = [this] { StartCapture_Click(); };
  audio.LevelExceeded = [this] { audio_LevelExceeded(); };
}

// The list fills with the scope's inputs and picks the first (which listens already); the
// stored limit comes next, then both handlers run once more, the limit's first.
void AudioDetector::Load() {
  Caption = program_.Translate("Audio Detector");
  StartCapture.Caption = program_.Translate("Start Capture trigged by sound level detection");
  SoundDevice.Clear();
  for (int index = 0; index < audio.DeviceCount(); ++index) SoundDevice.AddItem(audio.DeviceName(index));
  if (SoundDevice.ListCount() > 0) SoundDevice.ListIndex = 0;
  const int stored = ReadSettingInteger(program_.services.settings, settings::SoundLimit);
  Limit.Value = std::clamp(stored, Limit.Min.get(), Limit.Max.get());
  Limit_Change();
  SoundDevice_Click();
}

void AudioDetector::Unload() { audio.SetActive(false); }

void AudioDetector::Limit_Change() {
  audio.Level = Limit.Value;
  SaveSetting(program_.services.settings, settings::SoundLimit, std::to_string(audio.Level));
  audio.SetActive(true);
}

void AudioDetector::SoundDevice_Click() {
  audio.SetActive(false);
  audio.Device = static_cast<std::int16_t>(SoundDevice.ListIndex.get());
  audio.SetActive(true);
}

void AudioDetector::StartCapture_Click() { StartCapture.Enabled = false; }

// One shot: a level heard while the capture starts (its start lets the loop run) finds the
// detector fired already.
void AudioDetector::audio_LevelExceeded() {
  if (StartCapture.Enabled || fired_) return;
  fired_ = true;
  program_.MainWindow().CaptureControl(true);
  program_.SlotOf<AudioDetector>().Unload();
}

namespace {
const WindowRegistration<AudioDetector> kRegistration;
}  // namespace

}  // namespace zr
