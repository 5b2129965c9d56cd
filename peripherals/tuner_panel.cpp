#include "peripherals/tuner_panel.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>

#include "base/formatting.h"
#include "base/program_error.h"
#include "core/main_menus.h"
#include "core/main_window.h"
#include "platform/atomic_file.h"
#include "platform/regular_file.h"

namespace zr {

namespace {

constexpr const char* kStationFile = "TVTuner.ini";
// No list of stations comes near this; a longer file is read only this far, and a device or a
// FIFO not at all.
constexpr std::size_t kLargestStationFileBytes = 1 << 20;
constexpr int kCableInput = 1;
constexpr int kAntennaInput = 2;
constexpr int kTunerClass = 1;

std::string ReadStationFile(const std::string& path) {
  const platform::RegularFile file(path);
  std::string text(static_cast<std::size_t>(std::min<std::uint64_t>(file.Size(), kLargestStationFileBytes)), '\0');
  const auto read = file.ReadUpTo(0, std::span(reinterpret_cast<std::uint8_t*>(text.data()), text.size()));
  text.resize(read.value_or(0));
  return text;
}

bool HasEntryKeyed(const ui::ToolbarButton& button, const std::string& key) {
  return !key.empty() && std::any_of(button.ButtonMenus.begin(), button.ButtonMenus.end(),
                                     [&](const auto& entry) { return entry->key == key; });
}

// A station's key: the channel with "S" behind it.
std::string StationKey(int channel) { return std::to_string(channel) + "S"; }

}  // namespace

TunerPanel::TunerPanel(ui::Window& window, Program& program, ControlAccess control)
    : window_(window), program_(program), control_(std::move(control)) {
  for (const char* key : {"tuner_add", "tuner_remove", "tuner_country", "tuner_up", "tuner_down"})
    TunerBar.AddButton(key, ui::ButtonStyle::Default, key);
  for (const char* key : {"tuner_antena", "tuner_cable"}) TunerBar.AddButton(key, ui::ButtonStyle::Check, key);
  TunerBar.AddButton("tuner_station", ui::ButtonStyle::Dropdown, "tuner_station");
  TunerSlider.is_scroll_bar = true;
  TunerSlider.OnChange = [this] { TunerSlider_Change(); };
  TunerBar.OnButtonClick = [this](ui::ToolbarButton& button) { TunerBar_ButtonClick(button); };
  TunerBar.OnButtonMenuClick = [this](ui::ToolbarButton&, ui::ButtonMenu& entry) { TunerBar_ButtonMenuClick(entry); };
  Tuner.OnTimer = [this] { Tuner_Timer(); };
}

void TunerPanel::ShowForDevice(platform::VideoCaptureControl& control) {
  auto& master = program_.MainWindow();
  const bool tuner = control.DeviceClass() == kTunerClass;
  master.MasterBar.Bands("tuner").Visible = tuner;
  master.Toolbars(toolbars_menu::kTvTuner).Visible = tuner;
  if (!tuner) return;
  ResumeNext([&] { FollowChannelRange(control); });
  ResumeNext([&] { ShowInput(control.TunerInput()); });
}

// The input and the country choose the tuner's channel table, and with it the bar's range.
void TunerPanel::FollowChannelRange(platform::VideoCaptureControl& control) {
  const int lowest = control.TunerChannelMin();
  const int highest = control.TunerChannelMax();
  TunerSlider.Min = lowest;
  TunerSlider.Max = highest;
  // A bar outside its new range comes inside it, and tunes there.
  TunerSlider.Value = std::clamp(TunerSlider.Value.get(), lowest, highest);
}

// The whole file split at its line ends; each line is a key and a name parted by a tab. A name
// holding a tab is cut at it, a line without one adds nothing, and a second station with a key
// already in the menu is lost, as menu keys are unique.
void TunerPanel::ReadStations(const std::string& folder) {
  auto& station = TunerBar.Button("tuner_station");
  const std::string text = ReadStationFile(folder + kStationFile);
  std::size_t start = 0;
  while (start < text.size()) {
    const std::size_t end = std::min(text.find("\r\n", start), text.size());
    const std::string_view line(text.data() + start, end - start);
    start = end + 2;
    const std::size_t tab = line.find('\t');
    if (tab == std::string_view::npos) continue;
    const std::string key(line.substr(0, tab));
    const std::string_view rest = line.substr(tab + 1);
    if (HasEntryKeyed(station, key)) continue;
    station.AddMenu(key, std::string(rest.substr(0, rest.find('\t'))));
  }
}

// Rewritten whole, atomically: a crash leaves the old list or the new one.
void TunerPanel::WriteStations(const std::string& folder) {
  std::string text;
  for (const auto& entry : TunerBar.Button("tuner_station").ButtonMenus)
    text += entry->key + '\t' + entry->Text.get() + "\r\n";
  (void)platform::ReplaceFileAtomically(folder + kStationFile, text, platform::NewFileMode::KeepExisting);
}

void TunerPanel::TunerSlider_Change() {
  ResumeNext([&] { control_().SetTunerChannel(TunerSlider.Value.get()); });
  program_.MainWindow().Labels(8).Caption =
      program_.Translate("Channel:") + " " + std::to_string(TunerSlider.Value.get());
}

void TunerPanel::TunerBar_ButtonClick(ui::ToolbarButton& button) {
  const std::string& key = button.Key();
  if (key == "tuner_up") StartSeek("1");
  if (key == "tuner_down") StartSeek("-1");
  if (key == "tuner_country") AskCountry();
  if (key == "tuner_add") AddStation();
  if (key == "tuner_remove") RemoveStation();
  if (key == "tuner_antena") {
    ShowInput(kAntennaInput);
    ResumeNext([&] { control_().SetTunerInput(kAntennaInput); });
    ResumeNext([&] { FollowChannelRange(control_()); });
  }
  if (key == "tuner_cable") {
    ShowInput(kCableInput);
    ResumeNext([&] { control_().SetTunerInput(kCableInput); });
    ResumeNext([&] { FollowChannelRange(control_()); });
  }
}

// The station's key less its "S" is its channel; a channel outside the bar's range is not taken.
void TunerPanel::TunerBar_ButtonMenuClick(ui::ButtonMenu& entry) {
  std::string channel = entry.key;
  std::erase(channel, 'S');
  ResumeNext([&] { MoveBarTo(NumericPrefix(channel)); });
}

// One channel further; the seek ends at the end of the band or at a channel with a signal. A
// tuner still settling on the channel of the last step is asked again at the next tick, before
// the seek moves on.
void TunerPanel::Tuner_Timer() {
  if (signal_pending_) {
    ReadSeekSignal();
    if (signal_pending_ || !Tuner.Enabled) return;
  }
  const int before = TunerSlider.Value;
  ResumeNext([&] { MoveBarTo(before + NumericPrefix(Tuner.Tag.get())); });
  if (TunerSlider.Value == before) Tuner.Enabled = false;
  ReadSeekSignal();
}

void TunerPanel::ReadSeekSignal() {
  signal_pending_ = false;
  ResumeNext([&] {
    const int signal = control_().TunerSignal();
    if (signal == platform::kTunerSettling) signal_pending_ = true;
    if (signal == 1) Tuner.Enabled = false;
  });
}

// A second seek while one runs only changes its direction.
void TunerPanel::StartSeek(const char* step) {
  Tuner.Tag = step;
  Tuner.Enabled = true;
  signal_pending_ = false;
}

// The code goes to the tuner without its plus signs and is not kept: the country is set again
// at each start unless the device keeps it.
void TunerPanel::AskCountry() {
  const auto answer = program_.services.dialogs.InputBox(platform::InputBoxRequest{
      program_.Translate("Enter your telephone country code (ex: Portugal +351)") + "\r\n" +
          program_.Translate("This will this will setup the color system and the frequency settings of the tuner."),
      kAppTitle, "+1"});
  std::string code = answer.value_or("");
  std::erase(code, '+');
  ResumeNext([&] { control_().SetTunerCountry(RoundHalfEven(NumericPrefix(code))); });
  ResumeNext([&] { FollowChannelRange(control_()); });
}

// Only an empty answer (a cancel too) adds the station, named by its channel: a typed name is
// never taken. A station already on that channel stays as it was.
void TunerPanel::AddStation() {
  const auto answer = program_.services.dialogs.InputBox(
      platform::InputBoxRequest{program_.Translate("Enter the name of the station:"), kAppTitle, ""});
  if (!answer.value_or("").empty()) return;
  const int channel = TunerSlider.Value;
  auto& station = TunerBar.Button("tuner_station");
  if (HasEntryKeyed(station, StationKey(channel))) return;
  station.AddMenu(StationKey(channel), program_.Translate("Channel") + " " + std::to_string(channel));
}

void TunerPanel::RemoveStation() {
  auto& entries = TunerBar.Button("tuner_station").ButtonMenus;
  const std::string key = StationKey(TunerSlider.Value);
  std::erase_if(entries, [&](const auto& entry) { return entry->key == key; });
}

void TunerPanel::MoveBarTo(double channel) {
  const int value = RoundHalfEven16(channel);
  if (value < TunerSlider.Min || value > TunerSlider.Max) throw ProgramError("the channel is beyond the bar's range");
  TunerSlider.Value = value;
}

void TunerPanel::ShowInput(int input) {
  TunerBar.Button("tuner_cable").Value = input == kCableInput ? 1 : 0;
  TunerBar.Button("tuner_antena").Value = input == kAntennaInput ? 1 : 0;
}

}  // namespace zr
