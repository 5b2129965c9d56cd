#pragma once
// The device chooser shown at every start: the hardware devices of the device menu, the last
// one selected in bold, and a twenty second countdown that starts the selection by itself so
// an unattended machine comes up with its last device. At a first start beside the program's own test
// sources, the machine's camera stands selected; without one, a line says that no camera was found.

#include <string_view>

#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class ChooseDevice : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "ChooseDevice";
  explicit ChooseDevice(Program& program);

  ui::Label NoCamera{*this, "NoCamera"};
  ui::ListControl devices{*this, "devices"};
  ui::CommandButton start{*this, "start"};
  ui::CommandButton Cancel{*this, "Cancel"};
  ui::Timer CountDown{*this, "CountDown", 1000, false};

  void Load() override;

 private:
  void CountDown_Timer();
  void StopCountDown();
  static bool IsControlKind(const ui::ListItem& entry);
  bool IsBuiltIn(const ui::ListItem& entry);
  void start_Click();

  Program& program_;
  int count_ = 0;
};

}  // namespace zr
