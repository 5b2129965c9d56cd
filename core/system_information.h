#pragma once
// The program's own system information window, where the desktop has no tool of its own: the
// kernel, the processor, the memory, the cameras and the sound devices of the machine, one row
// each.

#include <string_view>

#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class SystemInformation : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "SystemInformation";
  explicit SystemInformation(Program& program);

  // What each row is, then its value.
  ui::ListView Facts{*this, "Facts"};
  ui::CommandButton OK{*this, "OK"};

  void Load() override;

 private:
  void AddFact(const std::string& what, const std::string& value);
  Program& program_;
};

}  // namespace zr
