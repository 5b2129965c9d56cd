#include "triggers/sound_scope.h"

namespace zr {

namespace {

ui::Value Whole(std::int64_t number) { return number; }

}  // namespace

SoundScope::SoundScope(ui::Window& owner, std::string name, platform::SoundLevelMeter& meter)
    : ui::Control(owner, std::move(name)), meter_(meter), inputs_(meter.Inputs()) {}

SoundScope::~SoundScope() { SetActive(false); }

std::string SoundScope::DeviceName(int index) const {
  return index >= 0 && index < DeviceCount() ? inputs_[static_cast<std::size_t>(index)] : "";
}

void SoundScope::SetActive(bool on) {
  if (on == active_) return;
  active_ = on;
  heard_.clear();
  problem_.clear();
  if (!on) {
    meter_.Stop();
    return;
  }
  if (Device < 0 || Device >= DeviceCount()) {
    problem_ = "There is no sound input to listen to";
    return;
  }
  auto listening =
      meter_.Listen(Device, {[this](int level) { Hear(level); }, [this](const std::string& why) { problem_ = why; }});
  if (!listening) problem_ = listening.error().message;
}

// The event goes last: its handler may close the window this scope is part of.
void SoundScope::Hear(int level) {
  heard_.push_back(level);
  if (heard_.size() > kHeardLength) heard_.pop_front();
  if (level > Level && LevelExceeded) LevelExceeded();
}

std::optional<ui::Value> SoundScope::Get(std::string_view property, std::optional<int> element) const {
  if (property == "Active") return ui::Value(active_);
  if (property == "DeviceCount") return Whole(DeviceCount());
  if (property == "DeviceName") return ui::Value(DeviceName(element.value_or(-1)));
  if (property == "Device") return Whole(Device);
  if (property == "Level") return Whole(Level);
  if (property == "LastLevel") return Whole(heard_.empty() ? 0 : heard_.back());
  return Control::Get(property, element);
}

}  // namespace zr
