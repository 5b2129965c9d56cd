#pragma once
// "Other Information": the six texts that go into the information chunk of a finished movie
// and into the parameter file. The list picks a text, the box edits it; every change is kept in
// the state at once, so closing the window keeps everything.

#include <string_view>

#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class OtherInfo : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "OtherInfo";
  explicit OtherInfo(Program& program);

  ui::ListControl InfoItems{*this, "InfoItems"};
  ui::TextBox TextItems{*this, "TextItems"};

  void Load() override;

 private:
  Program& program_;
};

}  // namespace zr
