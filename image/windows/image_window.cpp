#include "image/windows/image_window.h"

#include <utility>

#include "core/window_registry.h"

namespace zr {

Image::Image(Program& program, std::string name) : ui::Window(program.services.loop, std::move(name)) {
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
void Image::DrawInsertionFile(const std::string& path, const platform::WallClock& clock, const TextRenderer& renderer) {
  MasterImage.AutoRedraw = true;
  if (!MasterImage.Picture || path.empty()) {
    zr::PrepareImageDrawing(pen_);
    return;
  }
  pen_.picture = *MasterImage.Picture;
  zr::DrawInsertionFile(pen_, path, clock, renderer);
  MasterImage.Picture = std::make_shared<const platform::Picture>(std::move(pen_.picture));
  pen_.picture = {};
}

namespace {

// The still of "image" mode, with the snapshots as its extra instances; and the last picture of
// a series.
const WindowRegistration<Image> kImage({}, "Image");
const WindowRegistration<Image> kMultiImage({}, "MultiImage");

}  // namespace

}  // namespace zr
