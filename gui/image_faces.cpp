// The picture window on the desktop: its tool bar with the effects' drop-down menu on top, the
// picture under it, and the status bar with the effects' progress and the clipboard's message
// at the bottom. The same face serves the still of "image" mode, the snapshots and the series'
// last picture.

#include <QVBoxLayout>
#include <utility>

#include "gui/window_faces.h"
#include "gui/window_widgets.h"
#include "image/windows/image_window.h"

namespace zr::gui {

namespace {

class ImageWindow final : public PlainWindow {
 public:
  ImageWindow(Image& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(Bound(model.Mastertoolbar));
    layout->addWidget(Bound(model.MasterImage), 1);
    // At least as wide as the status bar's texts need, and never narrower than the picture.
    QWidget* status = Bound(model.MasterStatus);
    status->setMinimumWidth(320);
    layout->addWidget(status);
    Refresh();
  }
};

ShownWindow MakeImageWindow(ui::Window& window, const FaceParts& parts) {
  auto* face = new ImageWindow(dynamic_cast<Image&>(window), parts.guard, parts.close_box);
  return ShownWindow{face, [face] { face->Refresh(); }};
}

const FaceRegistration kImageFace{"Image", MakeImageWindow};
const FaceRegistration kMultiImageFace{"MultiImage", MakeImageWindow};

}  // namespace

}  // namespace zr::gui
