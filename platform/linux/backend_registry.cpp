#include "platform/linux/backend_registry.h"

#include <filesystem>
#include <iostream>
#include <system_error>

#include "platform/linux/alsa_audio.h"
#include "platform/linux/ip_camera.h"
#include "platform/linux/network_stream.h"
#include "platform/linux/test_camera.h"
#include "platform/linux/test_tape_deck.h"
#include "platform/linux/test_tone.h"
#include "platform/linux/test_tuner.h"
#include "platform/linux/v4l2_device.h"

namespace zr::platform::linux_impl {

namespace {

constexpr const char* kTestCameraName = "Built-in Test Camera";
constexpr const char* kTestTunerName = "Built-in Test Tuner";
constexpr const char* kTestToneName = "Built-in Test Tone";
constexpr const char* kTestTapeDeckName = "Built-in DV Camcorder";
constexpr int kTunerClass = 1;
constexpr int kCamcorderClass = 2;

std::vector<VideoDeviceEntry> ProbeTestCamera() {
  return {VideoDeviceEntry{kTestCameraName, "1.0", 0, [] { return MakeTestCamera(); }, true},
          VideoDeviceEntry{kTestTunerName, "1.0", kTunerClass, [] { return MakeTestTuner(); }, true}};
}

std::vector<VideoDeviceEntry> ProbeTestTapeDeck() {
  return {VideoDeviceEntry{kTestTapeDeckName, "1.0", kCamcorderClass, [] { return MakeTestTapeDeck(); }, true}};
}

// The channel plan the program ships: beside the executable, or in the share folder of an
// installed program. Read at the first TV card's connection and kept for the run.
SharedChannelPlan ShippedChannelPlan() {
  static const SharedChannelPlan plan = [] {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    std::filesystem::path path = folder / kTvChannelFile;
    if (!std::filesystem::exists(path, error))
      path = folder.parent_path() / "share" / "video-zandrell" / kTvChannelFile;
    auto read = std::make_shared<const Result<TvChannelPlan>>(ReadTvChannelPlan(path.string()));
    // Without its plan a TV card's band has no channels; the reason goes where the operator
    // who started the program can read it.
    if (!read->ok()) std::cerr << "zandrell: no TV channels: " << read->error().message << "\n";
    return read;
  }();
  return plan;
}

std::vector<VideoDeviceEntry> ProbeV4l2() {
  std::vector<VideoDeviceEntry> devices;
  V4l2System& system = RealV4l2System();
  for (const auto& device : ListV4l2Devices(system))
    devices.push_back(VideoDeviceEntry{device.name, device.path, device.has_tuner ? kTunerClass : 0,
                                       [&system, path = device.path, tuner = device.has_tuner] {
                                         return MakeV4l2Source(system, path, tuner ? ShippedChannelPlan() : nullptr);
                                       }});
  return devices;
}

std::vector<AudioDeviceEntry> ProbeTestTone() {
  return {AudioDeviceEntry{kTestToneName, [] { return MakeTestTone(); }}};
}

std::vector<AudioDeviceEntry> ProbeAlsa() {
  std::vector<AudioDeviceEntry> devices;
  for (const auto& device : ListAlsaCaptureDevices())
    devices.push_back(AudioDeviceEntry{device.name, [device] { return MakeAlsaAudioSource(device); }});
  return devices;
}

}  // namespace

const CaptureBackends& BuiltBackends() {
  static const CaptureBackends backends = {
      {BackendKind::TestCamera, "built-in test camera", ProbeTestCamera, {}, {}},
      {BackendKind::TestTapeDeck, "built-in camcorder", ProbeTestTapeDeck, {}, {}},
      {BackendKind::V4l2, "V4L2", ProbeV4l2, {}, {}},
      {BackendKind::TestTone, "built-in test tone", {}, ProbeTestTone, {}},
      {BackendKind::Alsa, "ALSA", {}, ProbeAlsa, {}},
      {BackendKind::IpCamera, "IP camera", {}, {}, [](const std::string& url) { return MakeIpCameraSource(url); }},
      {BackendKind::NetworkStream,
       "network stream",
       {},
       {},
       [](const std::string& url) { return MakeNetworkStreamSource(url); }},
  };
  return backends;
}

std::vector<VideoDeviceEntry> ProbeVideoDevices(const CaptureBackends& backends) {
  std::vector<VideoDeviceEntry> devices;
  for (const auto& backend : backends)
    if (backend.probe_video)
      for (auto& device : backend.probe_video()) devices.push_back(std::move(device));
  return devices;
}

std::vector<AudioDeviceEntry> ProbeAudioDevices(const CaptureBackends& backends) {
  std::vector<AudioDeviceEntry> devices;
  for (const auto& backend : backends)
    if (backend.probe_sound)
      for (auto& device : backend.probe_sound()) devices.push_back(std::move(device));
  return devices;
}

std::vector<VideoDeviceEntry> WithTestCameraLook(std::vector<VideoDeviceEntry> devices, const std::string& size,
                                                 const std::string& rate) {
  TestCameraSettings look;
  for (const SourceFormat& format : TestCamera().Formats())
    if (std::to_string(format.width) + "x" + std::to_string(format.height) == size) {
      look.width = format.width;
      look.height = format.height;
    }
  const int fastest = static_cast<int>(TestCameraSettings{}.frames_per_second);
  for (int frames = 1; frames <= fastest; ++frames)
    if (std::to_string(frames) == rate) look.frames_per_second = frames;
  for (auto& device : devices)
    if (device.name == kTestCameraName)
      device.open = [look] { return MakeTestCamera(look); };
    else if (device.name == kTestTunerName)
      device.open = [look] { return MakeTestTuner(look); };
  return devices;
}

std::unique_ptr<FrameSource> OpenAddress(const CaptureBackends& backends, BackendKind kind,
                                         const std::string& address) {
  for (const auto& backend : backends)
    if (backend.kind == kind && backend.open_address) return backend.open_address(address);
  return nullptr;
}

}  // namespace zr::platform::linux_impl
