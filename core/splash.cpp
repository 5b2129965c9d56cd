#include "core/splash.h"

#include "core/window_registry.h"

namespace zr {

namespace {
constexpr int kLogoWidth = 480;
constexpr int kLogoHeight = 300;
}  // namespace

Splash::Splash(Program& program) : ui::Window(program.services.loop, "Splash"), program_(program) {
  Timer1.OnTimer = [this] {
    Timer1.Enabled = false;
    program_.SlotOf<Splash>().Unload();
  };
}

// Sized to its logo and centred on the screen; the timer starts last.
void Splash::Load() {
  Width = kLogoWidth;
  Height = kLogoHeight;
  const auto screen = program_.services.desktop.Screen();
  Left = (screen.width - kLogoWidth) / 2;
  Top = (screen.height - kLogoHeight) / 2;
  VersionLine.Caption = program_.VersionText;
  Timer1.Enabled = true;
}

namespace {

const WindowRegistration<Splash> kRegistration;

}  // namespace

}  // namespace zr
