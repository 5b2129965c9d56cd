#pragma once
// Simulated capture devices of both kinds. They deliver their picture in virtual time, write
// real movie files through the program's own movie writer, count frames and drops, end a
// limited run when its time is up, and append every operation the program performs on them
// to the device log (reads are not logged).

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/capture_backends.h"
#include "platform/movie_file.h"
#include "platform/services.h"
#include "platform/sim/sim_event_loop.h"
#include "platform/sim/sim_recording.h"
#include "platform/sim/sim_services.h"

namespace zr::platform::sim {

// What a simulated source shows.
struct PictureSpec {
  enum class Kind { Solid, File, Pattern } kind = Kind::Solid;
  int red = 128, green = 128, blue = 128;
  std::string path;     // Kind::File
  std::string pattern;  // Kind::Pattern: "bars", "gradient"
};

// A driver, a device of the control kind, or what a camera or stream at an address delivers
// (Kind::Address: the name is the address).
struct DeviceSpec {
  enum class Kind { Vfw, Wdm, Address } kind = Kind::Vfw;
  std::string name;
  int width = 320;
  int height = 240;
  int fps = 15;
  PictureSpec picture;
  bool overlay = false;
  bool source_dialog = false, format_dialog = false, display_dialog = false;
  bool connect_fails = false;
  int device_class = 0;  // 1 tuner, 2 DV, otherwise a camera
  std::vector<std::string> inputs;
  std::vector<VideoFormatRow> formats;
  std::vector<std::string> audio_inputs;
  // A tuner's band and the channels it finds a signal at.
  int lowest_channel = 1;
  int highest_channel = 125;
  std::vector<int> signal_channels;
  // How long a tuned channel settles before its signal can be read, as on a real card.
  std::int64_t tuner_settle_ms = 0;
};

// Everything the simulated devices share: the log, the event loop, the movie writer, the
// picture that the connected source shows and its failure switches.
class SimDeviceWorld {
 public:
  SimDeviceWorld(SimEventLoop& loop, MovieFiles& movies, Clipboard& clipboard, SimDialogs& dialogs,
                 std::string app_folder)
      : loop_(loop), movies_(movies), clipboard_(clipboard), dialogs_(dialogs), app_folder_(std::move(app_folder)) {}

  std::vector<DeviceSpec> devices;
  std::vector<std::string> log;
  void Log(std::string line) { log.push_back(std::move(line)); }
  // The disk the movies go to is full once a run has written this many frames (nothing: never).
  std::optional<std::int64_t> disk_full_after_frames;

  SimEventLoop& Loop() { return loop_; }
  MovieFiles& Movies() { return movies_; }
  Clipboard& ClipboardService() { return clipboard_; }
  // The dialogs a device shows itself (a driver's compressor choice).
  SimDialogs& DialogsService() { return dialogs_; }
  std::string DefaultCaptureFile() const { return app_folder_ + "capture.avi"; }

  // The source most recently connected; the scenario's picture, drop and unplug act on it.
  class Source {
   public:
    virtual void ChangePicture(const PictureSpec& picture) = 0;
    virtual void AddDrops(int frames) = 0;
    virtual void Unplug() = 0;
    virtual void MousePressed(int button) = 0;

   protected:
    ~Source() = default;
  };
  // The source connected last; one connected beside it (the full-screen view's own preview)
  // takes its place until it lets go.
  void SetConnectedSource(Source* source) {
    std::erase(connected_, source);
    connected_.push_back(source);
  }
  void ForgetSource(Source* source) { std::erase(connected_, source); }
  Source* ConnectedSource() const { return connected_.empty() ? nullptr : connected_.back(); }

  std::vector<const DeviceSpec*> DevicesOfKind(DeviceSpec::Kind kind) const;
  // What answers at `address`; nothing when no camera or stream is there.
  const DeviceSpec* AtAddress(const std::string& address) const;

 private:
  SimEventLoop& loop_;
  MovieFiles& movies_;
  Clipboard& clipboard_;
  SimDialogs& dialogs_;
  std::string app_folder_;
  std::vector<Source*> connected_;  // the one connected last at the back
};

// The picture a source shows, at the given size; a file that cannot be read shows black.
Picture RenderPicture(const PictureSpec& described, int width, int height);

// What both kinds of simulated device share: the device connected, the picture its source
// shows, its movie run, and the scenario's hands on them.
class SimSource : public SimDeviceWorld::Source {
 public:
  void ChangePicture(const PictureSpec& picture) override { picture_ = picture; }
  void AddDrops(int frames) override {
    if (recording_) recording_->AddDrops(frames);
  }
  void Unplug() override {
    unplugged_ = true;
    if (recording_ && recording_->Running()) recording_->End();
  }

 protected:
  ~SimSource() = default;
  Picture CurrentPicture() const {
    return RenderPicture(picture_, spec_ ? spec_->width : 320, spec_ ? spec_->height : 240);
  }

  std::optional<DeviceSpec> spec_;
  PictureSpec picture_;
  bool unplugged_ = false;
  std::shared_ptr<SimRecording> recording_;
};

std::unique_ptr<VfwDriverSystem> MakeSimDriverSystem(SimDeviceWorld& world);
std::unique_ptr<VideoCaptureControl> MakeSimCaptureControl(SimDeviceWorld& world);

}  // namespace zr::platform::sim
