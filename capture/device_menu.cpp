#include "capture/device_menu.h"

#include "base/program_error.h"
#include "capture/capture_device.h"
#include "capture/device_kind.h"
#include "capture/movie_run_panel.h"
#include "capture/series_panel.h"
#include "capture/video_screen.h"
#include "core/main_window.h"
#include "core/window_registry.h"

namespace zr {

void BuildDeviceMenu(Program& program) {
  auto& button = program.MainWindow().DeviceToolbar.Button("device");
  auto& control = program.Window<VideoScreen>().Control();
  button.ButtonMenus.clear();
  auto add = [&](const std::string& key, const std::string& text, std::string_view tag) {
    button.AddMenu(key, text, std::string(tag));
  };
  auto separator = [&] { add("", "-", ""); };

  const int drivers = vfw::capGetDriverCount(program.services.drivers);
  for (int index = 0; index < drivers; ++index)
    add("i" + std::to_string(index), vfw::capGetDriverName(program.services.drivers, index) + " (VFW)",
        TagOfDeviceKind(DeviceKind::Driver));
  if (drivers == 0) add("", program.Translate("no Video for Windows devices detected"), "");
  separator();
  if (program.state.IsWindowsAfter2000) {
    ResumeNext([&] {
      const int count = control.VideoDeviceCount();
      for (int index = 0; index < count; ++index)
        add("w" + std::to_string(index), control.VideoDeviceName(index), TagOfDeviceKind(DeviceKind::Control));
    });
  } else {
    add("", program.Translate("WDM devices are only supported under Windows 2000 or higher"), "");
  }
  separator();
  add("", program.Translate("Capture Video Stream... (Windows Media Stream)"),
      TagOfDeviceKind(DeviceKind::MediaStream));
  separator();
  add("", program.Translate("IP Camera... (JPEG HTTP)"), TagOfDeviceKind(DeviceKind::IpCamera));
  separator();
  add("", program.Translate("Video Device Information..."), "info");
  separator();
  add("", program.Translate("Disconnect driver to unplug external device"), "unplug");
}

namespace {

const ProgramProcedures kProcedures{{
    {"BuildDeviceMenu",
     [](Program& p, const ProcedureArguments& a) {
       a.Expect(0);
       BuildDeviceMenu(p);
     }},
}};

}  // namespace

}  // namespace zr
