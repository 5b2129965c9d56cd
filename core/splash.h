#pragma once
// The start-up picture: the logo with the version line, up for four seconds while the main
// window loads behind it. Nothing waits on it.

#include <string_view>

#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class Splash : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "Splash";
  explicit Splash(Program& program);
  ui::Label VersionLine{*this, "VersionLine"};
  ui::Timer Timer1{*this, "Timer1", 4000, false};
  void Load() override;

 private:
  Program& program_;
};

}  // namespace zr
