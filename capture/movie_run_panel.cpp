#include "capture/movie_run_panel.h"

#include <algorithm>
#include <initializer_list>

#include "base/formatting.h"

namespace zr {

using ui::ButtonStyle;

MovieRunPanel::MovieRunPanel(ui::Window& window, Program& program) : window_(window), program_(program) {
  CreateToolbar();
  MovieFrameRateControl.Min = 1;
  MovieFrameRateControl.Max = 30;
  MovieHoursControl.Max = 99;
  MovieMinutesControl.Max = 59;
  MovieSecondsControl.Max = 59;
  for (ui::Label* display : {&MovieHoursDisplay, &MovieMinutesDisplay, &MovieSecondsDisplay}) display->Caption = "00";
  AudioChannels.AddItem(program_.Translate("Mono"));
  AudioChannels.AddItem(program_.Translate("Stereo"));
  AudioBits.AddItem("8 bits");
  AudioBits.AddItem("16 bits");
  for (const char* rate : {"8 Khz", "11 Khz", "22 Khz", "44 Khz"}) AudioRate.AddItem(program_.Translate(rate));
  PreviewRateLabel.Caption = "Preview Rate:";
  MovieFrameRateControl.OnChange = [this] { MovieFrameRateControl_Change(); };
  MovieHoursControl.OnChange = [this] { MovieLimitControl_Change(MovieHoursControl, MovieHoursDisplay); };
  MovieMinutesControl.OnChange = [this] { MovieLimitControl_Change(MovieMinutesControl, MovieMinutesDisplay); };
  MovieSecondsControl.OnChange = [this] { MovieLimitControl_Change(MovieSecondsControl, MovieSecondsDisplay); };
  MovieDisableLimit.OnClick = [this] { MovieDisableLimit_Click(); };
}

void MovieRunPanel::CreateToolbar() {
  for (const char* key : {"record", "motion", "autostart", "filename", "compression", "otherinfo"})
    MovieToolbar.AddButton(key, ButtonStyle::Default, key);
  for (const char* key : {"audio", "writeinfo", "tcr"}) MovieToolbar.AddButton(key, ButtonStyle::Check, key);
}

// A negative hour or minute control counts as none; the seconds are taken as they stand.
int MovieRunPanel::LimitSeconds() const {
  const int hours = std::max(0, MovieHoursControl.Value.get());
  const int minutes = std::max(0, MovieMinutesControl.Value.get());
  return hours * 3600 + minutes * 60 + MovieSecondsControl.Value.get();
}

// The rate of a movie: kept in the state and shown beside the control; a preview faster than
// the capture is brought down to the same rate.
void MovieRunPanel::MovieFrameRateControl_Change() {
  program_.state.MovieFrameRate = MovieFrameRateControl.Value;
  MovieFrameRateDisplay.Caption = NumberText(MovieFrameRateControl.Value) + " fps";
  if (previewrate.ListIndex + 1 > MovieFrameRateControl.Value) previewrate.ListIndex = MovieFrameRateControl.Value - 1;
}

void MovieRunPanel::MovieLimitControl_Change(ui::RangeControl& control, ui::Label& display) {
  display.Caption = FormatNumber(control.Value, "#00");
}

// A checked box means an unlimited run: the limit controls and their displays are disabled.
void MovieRunPanel::MovieDisableLimit_Click() {
  const bool limited = MovieDisableLimit.Value != 1;
  for (ui::Control* control :
       std::initializer_list<ui::Control*>{&MovieHoursControl, &MovieMinutesControl, &MovieSecondsControl,
                                           &MovieHoursDisplay, &MovieMinutesDisplay, &MovieSecondsDisplay})
    control->Enabled = limited;
}

}  // namespace zr
