#include "platform/linux/capture_devices.h"

#include "platform/linux/alsa_audio.h"
#include "platform/linux/test_camera.h"
#include "platform/linux/test_tone.h"
#include "platform/linux/v4l2_device.h"

namespace zr::platform::linux_impl {

namespace {
constexpr const char* kTestCameraName = "Built-in Test Camera";
constexpr const char* kTestToneName = "Built-in Test Tone";
constexpr int kTunerClass = 1;
}  // namespace

std::vector<VideoDeviceEntry> ProbeVideoDevices() {
  std::vector<VideoDeviceEntry> devices;
  devices.push_back(VideoDeviceEntry{kTestCameraName, "1.0", 0, [] { return MakeTestCamera(); }});
  V4l2System& system = RealV4l2System();
  for (const auto& device : ListV4l2Devices(system)) {
    devices.push_back(
        VideoDeviceEntry{device.name, device.path, device.has_tuner ? kTunerClass : 0,
                         [&system, path = device.path] { return MakeV4l2Source(system, path); }});
  }
  return devices;
}

std::vector<AudioDeviceEntry> ProbeAudioDevices() {
  std::vector<AudioDeviceEntry> devices;
  devices.push_back(AudioDeviceEntry{kTestToneName, [] { return MakeTestTone(); }});
  for (const auto& device : ListAlsaCaptureDevices())
    devices.push_back(
        AudioDeviceEntry{device.name, [device] { return MakeAlsaAudioSource(device); }});
  return devices;
}

RealCaptureDevices::RealCaptureDevices(CaptureDeviceServices services,
                                       std::vector<VideoDeviceEntry> video,
                                       std::vector<AudioDeviceEntry> audio)
    : services_(std::move(services)), video_(std::move(video)), audio_(std::move(audio)) {}

std::shared_ptr<const Picture> RealCaptureDevices::LatestPicture() const {
  return connected_ ? connected_->LatestPicture() : nullptr;
}

std::string RealCaptureDevices::SourceMessage() const {
  return connected_ ? connected_->SourceMessage() : connect_problem_;
}

void RealCaptureDevices::MousePressed(int button) {
  if (connected_) connected_->MousePressed(button);
}

}  // namespace zr::platform::linux_impl
