#pragma once
// The movie run's panel of the main window: the movie toolbar, the limit and frame rate of a
// run, the preview rate and the sound format. Its own handlers keep the displays beside their
// controls; the toolbar's commands belong to the main window.

#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class MovieRunPanel {
 private:
  ui::Window& window_;
  Program& program_;

 public:
  MovieRunPanel(ui::Window& window, Program& program);

  ui::Toolbar MovieToolbar{window_, "MovieToolbar"};

  ui::Frame MoviePanel{window_, "MoviePanel"};
  ui::CheckBox MovieDisableLimit{window_, "MovieDisableLimit"};
  ui::RangeControl MovieHoursControl{window_, "MovieHoursControl"};
  ui::RangeControl MovieMinutesControl{window_, "MovieMinutesControl"};
  ui::RangeControl MovieSecondsControl{window_, "MovieSecondsControl"};
  ui::Label MovieHoursDisplay{window_, "MovieHoursDisplay"};
  ui::Label MovieMinutesDisplay{window_, "MovieMinutesDisplay"};
  ui::Label MovieSecondsDisplay{window_, "MovieSecondsDisplay"};
  ui::RangeControl MovieFrameRateControl{window_, "MovieFrameRateControl"};
  ui::Label MovieFrameRateDisplay{window_, "MovieFrameRateDisplay"};
  ui::ListControl previewrate{window_, "previewrate"};
  ui::Label PreviewRateLabel{window_, "PreviewRateLabel"};

  // ---- sound settings
  ui::ListControl AudioChannels{window_, "AudioChannels"};
  ui::ListControl AudioBits{window_, "AudioBits"};
  ui::ListControl AudioRate{window_, "AudioRate"};
  ui::ListControl AudioDevice{window_, "AudioDevice"};
  ui::ListControl AudioInput{window_, "AudioInput"};
  ui::ListControl AudioLevel{window_, "AudioLevel"};

  // The limit of a run in seconds, as the three limit controls give it.
  int LimitSeconds() const;

 private:
  void CreateToolbar();
  void MovieFrameRateControl_Change();
  static void MovieLimitControl_Change(ui::RangeControl& control, ui::Label& display);
  void MovieDisableLimit_Click();
};

}  // namespace zr
