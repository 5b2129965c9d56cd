#include "platform/linux/capture_devices.h"

namespace zr::platform::linux_impl {

RealCaptureDevices::RealCaptureDevices(CaptureDeviceServices services, std::vector<VideoDeviceEntry> video,
                                       std::vector<AudioDeviceEntry> audio)
    : services_(std::move(services)), video_(std::move(video)), audio_(std::move(audio)) {}

std::shared_ptr<const Picture> RealCaptureDevices::LatestPicture() const {
  return connected_ ? connected_->LatestPicture() : nullptr;
}

std::string RealCaptureDevices::SourceMessage() const {
  return connected_ ? connected_->SourceMessage() : connect_problem_;
}

std::string RealCaptureDevices::RunMessage() const { return connected_ ? connected_->RunMessage() : std::string(); }

void RealCaptureDevices::MousePressed(int button) {
  if (connected_) connected_->MousePressed(button);
}

void RealCaptureDevices::KeyPressed(int virtual_key) {
  if (connected_) connected_->KeyPressed(virtual_key);
}

}  // namespace zr::platform::linux_impl
