#pragma once
// What the operator can set on a capture device through its dialogs: the format menu, the
// inputs and the adjustable settings (brightness, contrast, …), and the host that shows those
// dialogs. The desktop face hosts the dialogs; without windows there is no host and a dialog
// cannot be shown.
//
// Threads: all calls arrive on the logic thread.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/result.h"

namespace zr::platform {

struct SourceFormat {  // a row of the format menu
  int width = 0;
  int height = 0;
  int bits_per_pixel = 24;
};

// An adjustable setting of a device, as its source dialog shows it.
struct SourceControl {
  std::uint32_t id = 0;
  std::string name;
  int minimum = 0;
  int maximum = 0;
  int step = 1;
  int default_value = 0;
  int value = 0;
  bool is_switch = false;  // on/off rather than a range
};

class DeviceSettings {
 public:
  // The format menu: empty for sources whose size is fixed by the far end.
  virtual std::vector<SourceFormat> Formats() const { return {}; }
  // Takes a format of the menu; takes effect at once, or at the next start when stopped.
  virtual Result<void> SelectFormat(int row) {
    (void)row;
    return Error{"this source has no format to choose", "SelectFormat"};
  }
  // The input menu (composite, S-Video, tuner, …).
  virtual std::vector<std::string> Inputs() const { return {}; }
  virtual int CurrentInput() const { return 0; }
  virtual Result<void> SelectInput(int index) {
    (void)index;
    return Error{"this source has no input to choose", "SelectInput"};
  }
  // The settings of the source dialog.
  virtual std::vector<SourceControl> Controls() const { return {}; }
  virtual Result<void> SetControl(std::uint32_t id, int value) {
    (void)id;
    (void)value;
    return Error{"this source has no such setting", "SetControl"};
  }

 protected:
  ~DeviceSettings() = default;
};

// A setting of a compressor's configuration dialog: a quality or a bit rate.
struct CompressorSetting {
  std::string label;  // "Quality", "Bit rate (kbit/s)"
  int minimum = 0;
  int maximum = 0;
  int value = 0;
};

class DeviceDialogHost {
 public:
  virtual ~DeviceDialogHost() = default;
  // The format dialog: the row chosen, nothing when cancelled.
  virtual std::optional<int> ChooseFormat(const std::string& device, const std::vector<SourceFormat>& formats,
                                          int current_row) = 0;
  // The source dialog: inputs and settings, applied through `settings` as the operator changes
  // them. Returns when the dialog is closed.
  virtual void EditSource(const std::string& device, DeviceSettings& settings) = 0;
  // A compressor's configuration dialog: the new value, nothing when cancelled.
  virtual std::optional<int> EditCompressorSetting(const std::string& compressor, const CompressorSetting& setting) = 0;
};

}  // namespace zr::platform
