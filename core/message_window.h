#pragma once
// The small message window shown while the program saves or applies a parameter file.

#include <string_view>

#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class Msg : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "Msg";
  explicit Msg(Program& program) : ui::Window(program.services.loop, "Msg") {}
  ui::Label Message{*this, "Message"};

  // Shows `text` and lets the window paint before the work starts.
  void Say(Program& program, const std::string& text) {
    Message.Caption = text;
    Show();
    program.Yield();
  }
};

}  // namespace zr
