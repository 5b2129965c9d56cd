#include "image/tools/full_screen.h"

#include "base/formatting.h"
#include "capture/capture_device.h"
#include "capture/movie_run_panel.h"
#include "capture/video_screen.h"
#include "core/main_window.h"
#include "core/window_registry.h"

namespace zr {

Fullscreen::Fullscreen(Program& program) : ui::Window(program.services.loop, "Fullscreen"), program_(program) {
  Keyy.Visible = false;
  mira.OnClick = [this] { Close(); };
  Keyy.OnChange = [this] { Close(); };
}

Fullscreen::~Fullscreen() { vfw::capDestroy(preview_); }

void Fullscreen::Load() {
  const platform::ScreenSize screen = program_.services.desktop.Screen();
  Left = 0;
  Top = 0;
  Width = screen.width;
  Height = screen.height;
  mira.Visible = true;
  if (auto* capture = program_.IfLoaded<VideoScreen>()) mira.Picture = capture->CurrentFrame();
  mira.Left = 0;
  mira.Top = 0;
  mira.Width = screen.width;
  mira.Height = screen.height;
}

void Fullscreen::Unload() { vfw::capDestroy(preview_); }

void Fullscreen::Close() { program_.SlotOf<Fullscreen>().Unload(); }

void Fullscreen::StartFullscreenPreview() {
  auto* capture = program_.IfLoaded<VideoScreen>();
  preview_ = vfw::capCreateWindow(program_.services.drivers);
  if (!preview_) return;
  if (vfw::capConnect(*preview_, capture ? capture->DeviceIndex() : 0) == 0) {
    vfw::capDestroy(preview_);
    return;
  }
  CAPSTATUS status;
  vfw::capGetStatus(*preview_, status);
  vfw::capPreview(program_, *preview_, program_.MainPanel<MovieRunPanel>().previewrate.ListIndex + 1);
  PlacePreview();
  if (DisplayMode == "OVERLAY") vfw::capOverlay(*preview_);
}

// A device that scales its picture itself shows its natural frame in the middle of the screen
// (a frame larger than the screen starts above and left of it); any other is scaled to the
// whole window.
void Fullscreen::PlacePreview() {
  CAPSTATUS status;
  vfw::capGetStatus(*preview_, status);
  const int frame_width = static_cast<int>(status.uiImageWidth);
  const int frame_height = static_cast<int>(status.uiImageHeight);
  if (status.fScale != 0) {
    preview_area_ = {RoundHalfEven((Width - frame_width) / 2.0), RoundHalfEven((Height - frame_height) / 2.0),
                     frame_width, frame_height};
    vfw::capResize(*preview_, preview_area_.left, preview_area_.top, frame_width, frame_height);
    vfw::capResize(*preview_, 0, 0, 0, 0);
  } else {
    vfw::capSetScale(*preview_, true);
    preview_area_ = {0, 0, Width, Height};
    vfw::capResize(*preview_, 0, 0, Width, Height);
  }
}

void ViewFullscreen(Program& program) {
  auto& view = program.Window<Fullscreen>();
  view.DisplayMode = program.MainWindow().DeviceToolbar.Button("overlay").Value == 1 ? "OVERLAY" : "";
  view.Show();
  view.StartFullscreenPreview();
}

const WindowRegistration<Fullscreen> kRegistration{
    {{"StartFullscreenPreview", WindowRegistration<Fullscreen>::Calls(&Fullscreen::StartFullscreenPreview)}}};
const ProgramProcedures kProcedures{{{"ViewFullscreen", [](Program& program, const ProcedureArguments& arguments) {
                                        arguments.Expect(0);
                                        ViewFullscreen(program);
                                      }}}};

}  // namespace zr
