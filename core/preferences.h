#pragma once
// The Preferences dialog. OK writes the sliders and the two flags of the store at once; the
// three mirrored flags change only in memory and reach the store at the next close of the
// program. Cancel writes nothing.

#include <string_view>

#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class Preferences : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "Preferences";
  explicit Preferences(Program& program);

  ui::CheckBox PopUpViewer{*this, "PopUpViewer"};
  ui::CheckBox Autoplay{*this, "Autoplay"};
  ui::CheckBox ESounds{*this, "ESounds"};
  ui::CheckBox OverwriteQuestion{*this, "OverwriteQuestion"};
  ui::CheckBox HangUp{*this, "HangUp"};
  ui::Label MotionCaption{*this, "MotionCaption"};
  ui::RangeControl Motion{*this, "Motion"};
  ui::Label MotionMore{*this, "MotionMore"};
  ui::Label MotionLess{*this, "MotionLess"};
  ui::Label JpegCaption{*this, "JpegCaption"};
  ui::RangeControl JpegCompression{*this, "JpegCompression"};
  ui::Label JpegMore{*this, "JpegMore"};
  ui::Label JpegLess{*this, "JpegLess"};
  ui::CommandButton OK{*this, "OK"};
  ui::CommandButton Cancel{*this, "Cancel"};

  void Load() override;

 private:
  void OK_Click();
  Program& program_;
};

}  // namespace zr
