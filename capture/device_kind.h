#pragma once
// The kinds of capture device. The capture window keeps its kind in its Tag as the word the
// device menu gives it ("vfw", "wdm", "http", "wms"), which is what scenarios and the device
// menu see; inside the program the kind is this enum.

#include <string_view>

namespace zr {

enum class DeviceKind {
  None,         // nothing connected, or a tag of no kind
  Driver,       // "vfw": a capture driver, run through its capture window's operations
  Control,      // "wdm": a capture device run through the capture control
  IpCamera,     // "http": a camera at an address, through the capture control
  MediaStream,  // "wms": a stream at an address, through the capture control
};

// The kind a tag names, matched exactly; DeviceKind::None for any other text.
constexpr DeviceKind DeviceKindOfTag(std::string_view tag) {
  if (tag == "vfw") return DeviceKind::Driver;
  if (tag == "wdm") return DeviceKind::Control;
  if (tag == "http") return DeviceKind::IpCamera;
  if (tag == "wms") return DeviceKind::MediaStream;
  return DeviceKind::None;
}

constexpr std::string_view TagOfDeviceKind(DeviceKind kind) {
  switch (kind) {
    case DeviceKind::Driver:
      return "vfw";
    case DeviceKind::Control:
      return "wdm";
    case DeviceKind::IpCamera:
      return "http";
    case DeviceKind::MediaStream:
      return "wms";
    case DeviceKind::None:
      break;
  }
  return "";
}

// Whether a kind runs through the capture control rather than a driver's capture window.
constexpr bool RunsOnTheControl(DeviceKind kind) {
  return kind == DeviceKind::Control || kind == DeviceKind::IpCamera || kind == DeviceKind::MediaStream;
}

}  // namespace zr
