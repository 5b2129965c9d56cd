#include "image/tools/histogram.h"

#include "capture/video_screen.h"
#include "core/window_registry.h"
#include "image/windows/image_window.h"
#include "movie/movie_viewer.h"
#include "platform/atomic_file.h"

namespace zr {

Histogram::Histogram(Program& program) : ui::Window(program.services.loop, "Histogram"), program_(program) {
  Picture1.Width = kToneDrawingWidth;
  Picture1.Height = kToneDrawingHeight;
  originalPicture.Visible = false;
  for (ui::CheckBox* box : {&sRed, &sGreen, &sBlue, &sLuminance}) box->Value = 1;
  HistogramTimer.OnTimer = [this] { HistogramTimer_Timer(); };
  Save2File.OnClick = [this] { Save2File_Click(); };
}

void Histogram::Load() {
  Caption = program_.Translate("Histogram");
  iLabel.Caption = program_.Translate("Click on image window");
  sRed.Caption = program_.Translate("Red");
  sGreen.Caption = program_.Translate("Green");
  sBlue.Caption = program_.Translate("Blue");
  sLuminance.Caption = program_.Translate("Luminance");
  Save2File.Caption = program_.Translate("Export Histogram...");
  HistogramTimer.Enabled = true;
}

void Histogram::Unload() { HistogramTimer.Enabled = false; }

void Histogram::HistogramTimer_Timer() {
  ui::Window* active = program_.ActiveChild();
  const std::string name = active ? active->Name() : "";
  if (name == "Image" || name == "MultiImage") {
    ComputeHistogram(dynamic_cast<Image&>(*active).MasterImage.Picture.get());
  } else if (name == VideoScreen::kWindowName) {
    originalPicture.Picture = dynamic_cast<VideoScreen&>(*active).CurrentFrame();
    ComputeHistogram(originalPicture.Picture.get());
  } else if (name == MovieViewer::kWindowName) {
    originalPicture.Picture = dynamic_cast<MovieViewer&>(*active).Player().CurrentPicture();
    ComputeHistogram(originalPicture.Picture.get());
  } else if (!iLabel.Visible) {
    iLabel.Visible = true;
  }
}

void Histogram::ComputeHistogram(const platform::Picture* source) {
  if (iLabel.Visible) iLabel.Visible = false;
  ToneTables tables = source ? CountTones(*source) : ToneTables{};
  ScaleToneTables(tables, Picture1.Height);
  HistogramText = ToneExportText(tables);
  drawing_ = DrawToneCurves(tables, Picture1.Width, Picture1.Height,
                            {sRed.Value == 1, sGreen.Value == 1, sBlue.Value == 1, sLuminance.Value == 1});
  program_.Yield();
}

// The file is written whole or not at all; a name that is no regular file is passed over,
// as every failure of the export is, without a message.
void Histogram::Save2File_Click() {
  const auto chosen = program_.services.dialogs.FileDialog(
      {platform::FileDialogKind::Save, program_.Translate("Save as..."), "CSV File .CSV|*.CSV", "", false});
  if (!chosen || chosen->empty() || chosen->front().empty()) return;
  (void)platform::ReplaceFileAtomically(chosen->front(), HistogramText, platform::NewFileMode::KeepExisting);
}

const WindowRegistration<Histogram> kRegistration{};

}  // namespace zr
