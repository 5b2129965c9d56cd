#include "image/windows/image_window.h"

#include <map>
#include <string>
#include <utility>

#include "core/window_registry.h"

namespace zr {

Image::Image(Program& program, std::string name)
    : ui::Window(program.services.loop, std::move(name)), program_(program) {
  ResetPicture.Visible = false;
}

void Image::ShowPicture(std::shared_ptr<const platform::Picture> picture) {
  MasterImage.Picture = std::move(picture);
  MasterImage.AutoRedraw = true;
}

void Image::PrepareImageDrawing() {
  MasterImage.AutoRedraw = true;
  zr::PrepareImageDrawing(pen_);
}

// The pen draws on its own copy, which then becomes the holder's picture; the picture the
// holder had may still be shared with the restore point or the clipboard.
void Image::DrawInsertionFile(const std::string& path) {
  MasterImage.AutoRedraw = true;
  if (!MasterImage.Picture || path.empty()) {
    zr::PrepareImageDrawing(pen_);
    return;
  }
  pen_.picture = *MasterImage.Picture;
  zr::DrawInsertionFile(pen_, path, program_.services.clock, program_.InsertionRenderer());
  MasterImage.Picture = std::make_shared<const platform::Picture>(std::move(pen_.picture));
  pen_.picture = {};
}

namespace {

// What the main window calls on the picture window of a still or of a series, as it draws a
// frame's overlay.
using Registration = WindowRegistration<Image>;
std::map<std::string, Registration::Procedure> OverlayProcedures() {
  return {
      {"PrepareImageDrawing", Registration::Calls(&Image::PrepareImageDrawing)},
      {"DrawInsertionFile",
       [](Image& w, const ProcedureArguments& a) {
         a.Expect(1);
         w.DrawInsertionFile(a.Text(0));
       }},
  };
}

// The still of "image" mode, with the snapshots as its extra instances; and the last picture of
// a series.
const Registration kImage(OverlayProcedures(), "Image");
const Registration kMultiImage(OverlayProcedures(), "MultiImage");

}  // namespace

}  // namespace zr
