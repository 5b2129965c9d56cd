#pragma once
// The full-screen view: the live picture over the whole screen, through a preview of its own on
// the device in use, until a key or a click. Where that preview cannot connect, the frame the
// capture window showed when the view opened stays on the screen, and a key or a click still
// closes it.

#include <memory>
#include <string>
#include <string_view>

#include "core/program.h"
#include "platform/capture_backends.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class Fullscreen : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "Fullscreen";
  explicit Fullscreen(Program& program);
  ~Fullscreen() override;

  ui::PictureBox mira{*this, "mira"};
  // Hidden; has the focus, so that any key typed reaches it.
  ui::TextBox Keyy{*this, "Keyy"};

  // "OVERLAY" or empty; set before the window shows.
  std::string DisplayMode;

  // Where the preview's picture stands in the window, in pixels; meaningful while it is
  // connected.
  struct Area {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
  };
  bool PreviewConnected() const { return preview_ != nullptr; }
  const Area& PreviewArea() const { return preview_area_; }

  void Load() override;
  void Unload() override;
  // Makes the window's own preview on the device in use, placed by the device's scaling.
  void StartFullscreenPreview();
  // A key, or a mouse press anywhere on the window: the view ends.
  void Close();
  void Click() override { Close(); }

 private:
  void PlacePreview();

  Program& program_;
  std::unique_ptr<platform::VfwCaptureWindow> preview_;
  Area preview_area_;
};

// Opens the full-screen view, with the overlay when the capture window shows one.
void ViewFullscreen(Program& program);

}  // namespace zr
