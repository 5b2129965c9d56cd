#pragma once
// The device information window: a few lines about the connected device, shown modally
// while the capture window keeps running.

#include <string_view>

#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class VideoInfo : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "VideoInfo";
  explicit VideoInfo(Program& program);

  ui::Label InfoText{*this, "InfoText"};  // the lines printed so far, one per line
  ui::CommandButton OK{*this, "OK"};

  void Load() override;
  // Prints one line.
  void Say(const std::string& text);

 private:
  Program& program_;
};

}  // namespace zr
