// Simulated capture devices and the sources they deliver: the drivers and devices a scenario
// lists, the cameras and streams at its addresses, what the connected source shows and how it
// fails, and the log of every operation the program performs on them; the desktop's own
// programs and the log of what the program asked the desktop for.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

#include "apps/scenario/steps.h"

namespace zr::scenario {

namespace {

platform::sim::PictureSpec ToPictureSpec(const Runner& runner, const Picture& picture) {
  platform::sim::PictureSpec described;
  if (const auto* solid = std::get_if<SolidPicture>(&picture)) {
    described.kind = platform::sim::PictureSpec::Kind::Solid;
    described.red = solid->colour.red;
    described.green = solid->colour.green;
    described.blue = solid->colour.blue;
  } else if (const auto* file = std::get_if<PictureFile>(&picture)) {
    described.kind = platform::sim::PictureSpec::Kind::File;
    described.path = (runner.scenario_folder() / runner.Expand(file->path)).string();
  } else {
    described.kind = platform::sim::PictureSpec::Kind::Pattern;
    described.pattern = std::get<PicturePattern>(picture).name;
  }
  return described;
}

platform::sim::DeviceSpec Described(const Runner& runner, platform::sim::DeviceSpec::Kind kind, const std::string& name,
                                    const DeviceOptions& options) {
  platform::sim::DeviceSpec described;
  described.kind = kind;
  described.name = name;
  described.width = options.size.width;
  described.height = options.size.height;
  if (options.fps) described.fps = static_cast<int>(std::lround(*options.fps));
  if (options.picture) described.picture = ToPictureSpec(runner, *options.picture);
  described.overlay = options.overlay;
  described.source_dialog = options.dialogs.source;
  described.format_dialog = options.dialogs.format;
  described.display_dialog = options.dialogs.display;
  described.connect_fails = options.connect_fails;
  if (options.device_class == DeviceClass::kTuner) described.device_class = 1;
  if (options.device_class == DeviceClass::kDv) described.device_class = 2;
  described.inputs = options.inputs;
  for (const auto& format : options.formats)
    described.formats.push_back(platform::VideoFormatRow{format.width, format.height, format.bits_per_pixel});
  described.audio_inputs = options.audio_inputs;
  if (options.channels) {
    described.lowest_channel = options.channels->lowest;
    described.highest_channel = options.channels->highest;
  }
  described.signal_channels = options.signal_channels;
  described.tuner_settle_ms = options.tuner_settle.count();
  return described;
}

void Do(Runner& runner, const Device& device) {
  using Kind = platform::sim::DeviceSpec::Kind;
  runner.world().devices->devices.push_back(
      Described(runner, device.kind == DeviceKind::kDriver ? Kind::Vfw : Kind::Wdm, device.name, device.options));
}

// A later line for the same address replaces what answers there.
void Do(Runner& runner, const UrlSource& url) {
  auto& devices = runner.world().devices->devices;
  const std::string address = runner.Expand(url.address);
  std::erase_if(devices, [&](const platform::sim::DeviceSpec& device) {
    return device.kind == platform::sim::DeviceSpec::Kind::Address && device.name == address;
  });
  devices.push_back(Described(runner, platform::sim::DeviceSpec::Kind::Address, address, url.options));
}

platform::sim::SimDeviceWorld::Source& ConnectedSource(Runner& runner) {
  auto* source = runner.world().devices->ConnectedSource();
  if (!source) Fail("a connected simulated source", "none");
  return *source;
}

void Do(Runner& runner, const ChangePicture& picture) {
  ConnectedSource(runner).ChangePicture(ToPictureSpec(runner, picture.picture));
}

void Do(Runner& runner, const DropFrames& drop) { ConnectedSource(runner).AddDrops(drop.count); }

void Do(Runner& runner, const Unplug&) { ConnectedSource(runner).Unplug(); }

const std::vector<std::string>& LogOf(const Runner& runner, LogKind kind) {
  return kind == LogKind::kDevice ? runner.world().devices->log : runner.world().desktop.log;
}

std::string LogName(LogKind kind) { return kind == LogKind::kDevice ? "device log" : "desktop log"; }

// Whether a line of the log from `from` on begins with `text`; `at` is where.
bool LogLineStartsWith(const std::vector<std::string>& log, const std::string& text, std::size_t from,
                       std::size_t& at) {
  for (at = from; at < log.size(); ++at)
    if (log[at].rfind(text, 0) == 0) return true;
  return false;
}

std::string LogSummary(const std::vector<std::string>& log, LogKind kind) {
  std::string summary;
  for (const auto& line : log) summary += (summary.empty() ? "" : " | ") + line;
  return summary.empty() ? "an empty " + LogName(kind) : Quoted(summary);
}

void Do(Runner& runner, const ExpectDeviceLog& expect) {
  const auto& log = LogOf(runner, expect.log);
  const std::string text = runner.Expand(expect.text);
  std::size_t at = 0;
  const bool found = LogLineStartsWith(log, text, 0, at);
  if (expect.match == TextMatch::kLacks && found)
    Fail("no " + LogName(expect.log) + " line " + Quoted(text), Quoted(log[at]));
  if (expect.match != TextMatch::kLacks && !found)
    Fail("a " + LogName(expect.log) + " line " + Quoted(text), LogSummary(log, expect.log));
}

void Do(Runner& runner, const ExpectDeviceLogSequence& expect) {
  const auto& log = LogOf(runner, expect.log);
  std::size_t from = 0;
  for (const auto& raw : expect.texts) {
    const std::string text = runner.Expand(raw);
    std::size_t at = 0;
    if (!LogLineStartsWith(log, text, from, at))
      Fail("a " + LogName(expect.log) + " line " + Quoted(text) + " in sequence", LogSummary(log, expect.log));
    from = at + 1;
  }
}

// The desktop has the programs named, and no other.
void Do(Runner& runner, const DesktopTools& tools) {
  static const std::vector<std::string> kKnown = {"volume-control", "system-information"};
  for (const auto& name : tools.names)
    if (std::find(kKnown.begin(), kKnown.end(), name) == kKnown.end())
      Fail("\"volume-control\" or \"system-information\"", Quoted(name));
  auto& desktop = runner.world().desktop;
  const auto named = [&tools](const char* name) {
    return std::find(tools.names.begin(), tools.names.end(), name) != tools.names.end();
  };
  desktop.volume_control = named("volume-control");
  desktop.system_information = named("system-information");
}

}  // namespace

void AddDeviceSteps(StepTable& steps) {
  steps.On<Device>(Do);
  steps.On<UrlSource>(Do);
  steps.On<ChangePicture>(Do);
  steps.On<DropFrames>(Do);
  steps.On<Unplug>(Do);
  steps.On<ExpectDeviceLog>(Do);
  steps.On<ExpectDeviceLogSequence>(Do);
  steps.On<DesktopTools>(Do);
}

}  // namespace zr::scenario
