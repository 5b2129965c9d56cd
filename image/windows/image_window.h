#pragma once
// The picture window: one still in the holder MasterImage, with a hidden copy ResetPicture as
// the restore point. Snapshots each get a window of their own; the still of "image" mode and
// the last picture of a series (MultiImage) have one each.

#include <memory>
#include <string>
#include <string_view>

#include "core/program.h"
#include "image/insertion_overlay.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class Image : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "Image";
  static constexpr ui::WindowPlacement kPlacement = ui::WindowPlacement::InMainWindow;
  Image(Program& program, std::string name);

  ui::PictureBox MasterImage{*this, "MasterImage"};
  ui::PictureBox ResetPicture{*this, "ResetPicture"};
  ui::StatusBar MasterStatus{*this, "MasterStatus"};

  // Takes `picture` as the holder's picture, with persistent drawing on.
  void ShowPicture(std::shared_ptr<const platform::Picture> picture);
  // The holder's picture becomes the restore point.
  void KeepResetPicture() { ResetPicture.Picture = MasterImage.Picture; }

  // Readies the holder for a frame's overlay: persistent drawing on, print position at 0, 0.
  void PrepareImageDrawing();
  // Prints the insertion file at `path` over the holder's picture, read anew for this frame,
  // with the program's clock and text renderer.
  void DrawInsertionFile(const std::string& path);

 private:
  Program& program_;
  // The holder's print settings, kept from one element and one frame to the next.
  ImageDrawing pen_;
};

}  // namespace zr
