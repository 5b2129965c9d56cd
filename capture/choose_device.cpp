#include "capture/choose_device.h"

#include <algorithm>

#include "base/formatting.h"
#include "base/program_error.h"
#include "capture/device_kind.h"
#include "capture/movie_run_panel.h"
#include "capture/series_panel.h"
#include "capture/video_screen.h"
#include "core/main_window.h"
#include "core/settings_keys.h"
#include "core/window_registry.h"

namespace zr {

namespace {
constexpr int kCountDownSeconds = 20;
}

ChooseDevice::ChooseDevice(Program& program) : ui::Window(program.services.loop, "ChooseDevice"), program_(program) {
  CountDown.OnTimer = [this] { CountDown_Timer(); };
  devices.OnClick = [this] { StopCountDown(); };
  devices.OnDblClick = [this] { start_Click(); };
  start.OnClick = [this] { start_Click(); };
  Cancel.OnClick = [this] { program_.SlotOf<ChooseDevice>().Unload(); };
}

void ChooseDevice::Load() {
  const std::string last = ReadSetting(program_.services.settings, settings::LastDevice);
  for (const auto& entry : program_.MainWindow().DeviceToolbar.Button("device").ButtonMenus) {
    if (const DeviceKind kind = DeviceKindOfTag(entry->tag); kind != DeviceKind::Driver && kind != DeviceKind::Control)
      continue;
    devices.Items.push_back(ui::ListItem{entry->Text, entry->key, entry->tag, entry->Text == last});
    if (entry->Text == last) devices.ListIndex = devices.ListCount() - 1;
  }
  // A first start, or a last device that is gone: the first entry (not bold), so that the countdown
  // and "Use the selected device" still connect a device; but where the program's own test sources
  // stand first, the machine's first camera, and without one a line says so.
  const auto& items = devices.Items;
  const bool test_sources = std::any_of(
      items.begin(), items.end(), [this](const ui::ListItem& item) { return IsControlKind(item) && IsBuiltIn(item); });
  const auto camera = std::find_if(
      items.begin(), items.end(), [this](const ui::ListItem& item) { return IsControlKind(item) && !IsBuiltIn(item); });
  if (devices.ListIndex < 0 && test_sources && camera != items.end())
    devices.ListIndex = static_cast<int>(camera - items.begin());
  if (devices.ListIndex < 0 && devices.ListCount() > 0) devices.ListIndex = 0;
  NoCamera.Caption = program_.Translate("No camera was found on this machine.");
  NoCamera.Visible = test_sources && camera == items.end();
  Cancel.Caption = program_.Translate("Cancel");
  Caption = program_.Translate("Choose video capture device...");
  count_ = 0;
  CountDown_Timer();
  CountDown.Enabled = true;
}

bool ChooseDevice::IsControlKind(const ui::ListItem& entry) {
  return DeviceKindOfTag(entry.tag) == DeviceKind::Control;
}

// One of the program's own test sources, by its entry of the control kind.
bool ChooseDevice::IsBuiltIn(const ui::ListItem& entry) {
  bool built_in = false;
  const int index = static_cast<int>(NumericPrefix(entry.key.substr(1)));
  ResumeNext([&] { built_in = program_.Window<VideoScreen>().Control().VideoDeviceBuiltIn(index); });
  return built_in;
}

// The button shows the seconds left; at the end it presses itself.
void ChooseDevice::CountDown_Timer() {
  if (count_ <= kCountDownSeconds)
    start.Caption = program_.Translate("Use the selected device") + " (" + std::to_string(kCountDownSeconds - count_) +
                    program_.Translate(" sec") + ")";
  ++count_;
  if (count_ > kCountDownSeconds) {
    CountDown.Enabled = false;
    start_Click();
  }
}

// Any click in the list ends the countdown for good.
void ChooseDevice::StopCountDown() {
  CountDown.Enabled = false;
  start.Caption = program_.Translate("Use the selected device");
}

void ChooseDevice::start_Click() {
  CountDown.Enabled = false;
  if (devices.ListIndex >= 0) {
    const ui::ListItem entry = devices.Items[static_cast<std::size_t>(devices.ListIndex.get())];
    SaveSetting(program_.services.settings, settings::LastDevice, entry.text);
    const int index = static_cast<int>(NumericPrefix(entry.key.substr(1)));
    auto& screen = program_.Window<VideoScreen>();
    screen.ConnectVideoCaptureDevice(index, entry.tag, entry.text);
    if (DeviceKindOfTag(entry.tag) == DeviceKind::Control) {
      const int input = ReadSettingInteger(program_.services.settings, settings::LastDeviceInput);
      ResumeNext([&] { screen.Control().SetVideoInputIndex(input); });
    }
  }
  program_.SlotOf<ChooseDevice>().Unload();
}

namespace {

const WindowRegistration<ChooseDevice> kRegistration;

}  // namespace

}  // namespace zr
