#pragma once
// The real capture devices of both kinds: the registry of video and sound devices (the built-in
// test camera and test tone first, always there, then the V4L2 and ALSA devices of the machine),
// the driver kind's capture windows and the capture control over them, and the face's hands on
// the connected device (its live picture, a click on the picture).
//
// Threads: every call arrives on the logic thread (the face draws on it too). The back ends'
// threads reach the logic only through EventLoop::Post and the driver's status callback.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/capture_backends.h"
#include "platform/device_settings.h"
#include "platform/event_loop.h"
#include "platform/linux/audio_source.h"
#include "platform/linux/backend_registry.h"
#include "platform/linux/compressors.h"
#include "platform/linux/frame_source.h"
#include "platform/linux/movie_run.h"
#include "platform/movie_file.h"
#include "platform/services.h"

namespace zr::platform::linux_impl {

struct CaptureDeviceServices {
  EventLoop& loop;                  // control events are posted here
  std::function<void()> wake_loop;  // makes a blocked loop look at its condition again
  MovieFiles& movies;
  Clipboard& clipboard;
  DeviceDialogHost* dialogs = nullptr;  // none without windows: no dialog can be shown
  // The back ends that open IP cameras and network streams by address.
  const CaptureBackends& backends = BuiltBackends();
  // A driver's capture file until the program names one, as every driver has one.
  std::string default_capture_file;
};

// A device connected by a capture window or the control.
class ConnectedDevice {
 public:
  virtual std::shared_ptr<const Picture> LatestPicture() const = 0;
  virtual std::string SourceMessage() const = 0;
  // Why its last movie run ended badly, in the back end's words; empty when it ended well.
  virtual std::string RunMessage() const = 0;
  virtual void MousePressed(int button) = 0;     // 1 left, 2 right, 4 middle
  virtual void KeyPressed(int virtual_key) = 0;  // 27 Escape, 'A' for A, ...

 protected:
  ~ConnectedDevice() = default;
};

class RealCaptureDevices {
 public:
  RealCaptureDevices(CaptureDeviceServices services, std::vector<VideoDeviceEntry> video,
                     std::vector<AudioDeviceEntry> audio);

  std::unique_ptr<VfwDriverSystem> MakeDriverSystem();
  std::unique_ptr<VideoCaptureControl> MakeCaptureControl();

  // The face's hands on the device connected last. A second window connected while the first
  // stays (the full-screen view's own preview) takes the face's hands until it lets go.
  bool Connected() const { return !connected_.empty(); }
  std::shared_ptr<const Picture> LatestPicture() const;
  // Why its source stopped, or why the last connect failed; empty while all is well.
  std::string SourceMessage() const;
  // Why the last movie run of the connected device ended badly; empty when it ended well.
  std::string RunMessage() const;
  void MousePressed(int button);
  void KeyPressed(int virtual_key);
  int PreviewRate() const { return preview_rate_; }
  // From any thread: asks every movie run under way to end as a stop ends it (a request from
  // outside to end the process). The runs close their files and report their ends as ever.
  void EndRunsFromAnyThread() { running_.RequestStopAll(); }

  // ---- for the back ends
  CaptureDeviceServices& Services() { return services_; }
  const std::vector<VideoDeviceEntry>& VideoDevices() const { return video_; }
  const std::vector<AudioDeviceEntry>& AudioDevices() const { return audio_; }
  CompressorSettings& Compressors() { return compressors_; }
  RunningRecorders& Running() { return running_; }
  void SetConnected(ConnectedDevice* device) {
    std::erase(connected_, device);
    connected_.push_back(device);
    connect_problem_.clear();
  }
  void ConnectFailed(const std::string& message) { connect_problem_ = message; }
  void Forget(ConnectedDevice* device) { std::erase(connected_, device); }
  void SetPreviewRate(int frames_per_second) { preview_rate_ = frames_per_second; }

 private:
  CaptureDeviceServices services_;
  std::vector<VideoDeviceEntry> video_;
  std::vector<AudioDeviceEntry> audio_;
  CompressorSettings compressors_;
  RunningRecorders running_;
  std::vector<ConnectedDevice*> connected_;  // the one connected last at the back
  std::string connect_problem_;
  int preview_rate_ = 15;
};

}  // namespace zr::platform::linux_impl
