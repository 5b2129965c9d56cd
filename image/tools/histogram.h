#pragma once
// The histogram window: twice a second it draws the tone curves of the child window of the
// main window in use (a picture window, the capture window's live picture, or a movie
// window's frame), and exports the last curves as tab-separated text.

#include <string>
#include <string_view>

#include "core/program.h"
#include "image/tools/tone_histogram.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class Histogram : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "Histogram";
  explicit Histogram(Program& program);

  ui::Timer HistogramTimer{*this, "HistogramTimer", 500, false};
  ui::PictureBox Picture1{*this, "Picture1"};
  ui::PictureBox originalPicture{*this, "originalPicture"};
  ui::Label iLabel{*this, "iLabel"};
  ui::CheckBox sRed{*this, "sRed"};
  ui::CheckBox sGreen{*this, "sGreen"};
  ui::CheckBox sBlue{*this, "sBlue"};
  ui::CheckBox sLuminance{*this, "sLuminance"};
  ui::CommandButton Save2File{*this, "Save2File"};

  // The export text of the last computation.
  std::string HistogramText;
  // What Picture1 shows after the last computation, for the face to paint.
  const ToneDrawing& Drawing() const { return drawing_; }

  void Load() override;
  void Unload() override;

 private:
  void HistogramTimer_Timer();
  // The curves of `source` (none counts as a picture without pixels) onto Picture1.
  void ComputeHistogram(const platform::Picture* source);
  void Save2File_Click();

  Program& program_;
  ToneDrawing drawing_;
};

}  // namespace zr
