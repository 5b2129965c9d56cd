#include "platform/linux/capture_devices.h"

namespace zr::platform::linux_impl {

RealCaptureDevices::RealCaptureDevices(CaptureDeviceServices services, std::vector<VideoDeviceEntry> video,
                                       std::vector<AudioDeviceEntry> audio)
    : services_(std::move(services)), video_(std::move(video)), audio_(std::move(audio)) {}

std::shared_ptr<const Picture> RealCaptureDevices::LatestPicture() const {
  return Connected() ? connected_.back()->LatestPicture() : nullptr;
}

std::string RealCaptureDevices::SourceMessage() const {
  return Connected() ? connected_.back()->SourceMessage() : connect_problem_;
}

std::string RealCaptureDevices::RunMessage() const {
  return Connected() ? connected_.back()->RunMessage() : std::string();
}

void RealCaptureDevices::MousePressed(int button) {
  if (Connected()) connected_.back()->MousePressed(button);
}

void RealCaptureDevices::KeyPressed(int virtual_key) {
  if (Connected()) connected_.back()->KeyPressed(virtual_key);
}

}  // namespace zr::platform::linux_impl
