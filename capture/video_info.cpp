#include "capture/video_info.h"

#include "capture/capture_device.h"
#include "capture/video_screen.h"
#include "core/window_registry.h"

namespace zr {

VideoInfo::VideoInfo(Program& program) : ui::Window(program.services.loop, "VideoInfo"), program_(program) {
  OK.OnClick = [this] { program_.SlotOf<VideoInfo>().Unload(); };
}

void VideoInfo::Say(const std::string& text) {
  InfoText.Caption = InfoText.Caption.get().empty() ? text : InfoText.Caption.get() + "\n" + text;
}

void VideoInfo::Load() {
  Caption = program_.Translate("Video Device Information...");
  OK.Caption = program_.Translate("OK");
  auto& screen = program_.Window<VideoScreen>();
  const auto& caps = program_.state.CapDriverCaps;
  if (screen.Kind() == DeviceKind::Driver) {
    auto& drivers = program_.services.drivers;
    Say(program_.Translate("Driver:") + vfw::capGetDriverName(drivers, screen.DeviceIndex()));
    Say(program_.Translate("Version: ") + vfw::capGetDriverVersion(drivers, screen.DeviceIndex()));
    Say(program_.Translate("Capture System: MS-VIDEO"));
    Say(program_.Translate(caps.fHasDlgVideoSource ? "Has Source Dialog: Yes" : "Has Source Dialog: No"));
    Say(program_.Translate(caps.fHasDlgVideoFormat ? "Has Format Dialog: Yes" : "Has Format Dialog: No"));
    Say(program_.Translate(caps.fHasOverlay ? "Support Overlay" : "Overlay not supported"));
  } else if (screen.Kind() == DeviceKind::Control) {
    Say(screen.DeviceName());
    Say(program_.Translate("Capture System: WDM Video"));
  }
}

namespace {

const WindowRegistration<VideoInfo> kRegistration{{
    {"Say",
     [](VideoInfo& w, const ProcedureArguments& a) {
       a.Expect(1);
       w.Say(a.Text(0));
     }},
}};

}  // namespace

}  // namespace zr
