#pragma once
// The series' panel of the main window: how the pictures of a series are stored (the mode list
// and the rate of a series movie), the interval controls, the series toolbar, the overlay
// toolbars of both still bands, and the "Shoot" button of a series fired by hand.

#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class SeriesPanel {
 private:
  ui::Window& window_;

 public:
  explicit SeriesPanel(ui::Window& window);

  ui::Toolbar MultipleImageToolbar{window_, "MultipleImageToolbar"};
  ui::CommandButton Shooter{window_, "Shooter"};
  // 0: the overlay of "image" mode; 1: the file counter and the overlay of a series.
  ui::ControlArray<ui::Toolbar> imagesettings;

  ui::ListControl MultipleImageMode{window_, "MultipleImageMode"};
  ui::ListControl MultipleImageFrameRate{window_, "MultipleImageFrameRate"};
  ui::RangeControl MultipleImageHoursControl{window_, "MultipleImageHoursControl"};
  ui::RangeControl MultipleImageMinutesControl{window_, "MultipleImageMinutesControl"};
  ui::RangeControl MultipleImageSecondsControl{window_, "MultipleImageSecondsControl"};
  ui::Label MultipleImageHoursDisplay{window_, "MultipleImageHoursDisplay"};
  ui::Label MultipleImageMinutesDisplay{window_, "MultipleImageMinutesDisplay"};
  ui::Label MultipleImageSecondsDisplay{window_, "MultipleImageSecondsDisplay"};
  // The effects menu of the series toolbar: each entry toggles its check, which lasts as long as
  // the program runs. No store of a series reads the checks.
  ui::ControlArray<ui::Menu> Img_Effects;

  // Pops the effects menu up at the button; the entry chosen toggles.
  void PopUpEffects(platform::Dialogs& dialogs);
  // The panel's fixed texts in the operator's language.
  void LanguageSeriesControls(const Program& program);

 private:
  void CreateToolbars();
};

}  // namespace zr
