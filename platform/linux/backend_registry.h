#pragma once
// The capture back ends of this build, one row each: which back end it is, how it finds the
// devices of the machine, and how it opens a source at an address. The device lists, the
// program's start and the tests all read this one table.
//
// Threads: probing and opening happen on the logic thread; the sources opened run threads of
// their own (frame_source.h, audio_source.h).

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/audio_source.h"
#include "platform/linux/frame_source.h"

namespace zr::platform::linux_impl {

enum class BackendKind {
  TestCamera,     // the built-in test camera, always there
  TestTapeDeck,   // the built-in camcorder with its tape deck, always there
  V4l2,           // cameras and TV cards of the machine
  IpCamera,       // JPEG snapshots or an MJPEG stream over HTTP, by address
  NetworkStream,  // any stream FFmpeg opens, by address
  TestTone,       // the built-in test tone, always there
  Alsa,           // the sound inputs of the machine
};

struct VideoDeviceEntry {
  std::string name;
  std::string version;   // what the driver list shows beside the name
  int device_class = 0;  // 1 a TV tuner, 2 or more a camcorder, otherwise a camera
  std::function<std::unique_ptr<FrameSource>()> open;
  bool built_in = false;  // one of the program's own test sources
};

struct AudioDeviceEntry {
  std::string name;
  std::function<std::unique_ptr<AudioSource>()> open;
};

struct CaptureBackend {
  BackendKind kind;
  std::string_view name;  // as logs and messages name it
  // The devices it finds on this machine now; empty for a back end opened by address.
  std::function<std::vector<VideoDeviceEntry>()> probe_video;
  std::function<std::vector<AudioDeviceEntry>()> probe_sound;
  // A source at an address the operator gives; empty for a back end of listed devices.
  std::function<std::unique_ptr<FrameSource>(const std::string& address)> open_address;
};

using CaptureBackends = std::vector<CaptureBackend>;

// The back ends of this build, in the order their devices are listed: the built-in test camera
// and camcorder first, then V4L2; the built-in test tone first, then ALSA; IP cameras and network streams.
const CaptureBackends& BuiltBackends();

// Every device the back ends find, in the table's order.
std::vector<VideoDeviceEntry> ProbeVideoDevices(const CaptureBackends& backends = BuiltBackends());
std::vector<AudioDeviceEntry> ProbeAudioDevices(const CaptureBackends& backends = BuiltBackends());

// The list with the built-in test camera opening at `size`, one of the formats it offers written
// as "WIDTHxHEIGHT" ("1920x1080"), else at its own; and at `rate` frames a second, a whole number
// from 1 to 30, else at 30.
std::vector<VideoDeviceEntry> WithTestCameraLook(std::vector<VideoDeviceEntry> devices, const std::string& size,
                                                 const std::string& rate);

// A source at `address` from the back end of `kind`; null when the table has no such back end.
std::unique_ptr<FrameSource> OpenAddress(const CaptureBackends& backends, BackendKind kind, const std::string& address);

}  // namespace zr::platform::linux_impl
