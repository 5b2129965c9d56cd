#pragma once
// "Export AVI to a DV device...": sends a movie out through the capture window's control. The
// window chooses the file, starts and stops the transfer and shows its progress; the control
// does the sending. An abort and the movie's end both come back through StopProcess, which
// looks at the progress timer so that the two can never both run it.

#include <string>
#include <string_view>

#include "core/program.h"
#include "platform/capture_backends.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class ExportDV : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "ExportDV";
  explicit ExportDV(Program& program);

  // In the order the window shows them: the file under its label, then the bar and the buttons.
  ui::Label Txt{*this, "Txt"};
  ui::TextBox AVI_PAth{*this, "AVI_PAth"};
  ui::CommandButton OpenPath{*this, "OpenPath"};
  ui::RangeControl xProg{*this, "xProg"};
  ui::CommandButton xStart{*this, "xStart"};
  ui::CommandButton ExitButton{*this, "ExitButton"};
  ui::Timer DVtimer{*this, "DVtimer", 1000, false};
  // "EXIT" at rest, "ABORT" while a transfer runs: what the exit button does.
  std::string ExitTag;

  // Resets the window to rest: the captions, an empty file box and an empty bar.
  void Load() override;
  // Ends a transfer under way (by the abort button or at the movie's end); nothing without one.
  void StopProcess();

 private:
  void OpenPath_Click();
  void xStart_Click();
  void ExitButton_Click();
  void DVtimer_Timer();
  void TellWhereTheFileGoes(platform::VideoCaptureControl& control);
  platform::VideoCaptureControl& Control();

  Program& program_;
};

}  // namespace zr
