// The DV export window on the desktop: "Filename:" over the movie's path with Browse beside it,
// the bar of the movie sent, and Start and Exit (or Abort) at the bottom right. Wide enough to
// read a movie's path.

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <utility>

#include "capture/export_dv.h"
#include "gui/window_faces.h"
#include "gui/window_widgets.h"

namespace zr::gui {

namespace {

class ExportDVWindow final : public PlainWindow {
 public:
  ExportDVWindow(ExportDV& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Bound(model.Txt));
    auto* path = new QHBoxLayout;
    path->addWidget(Bound(model.AVI_PAth), 1);
    path->addWidget(Bound(model.OpenPath));
    layout->addLayout(path);
    layout->addWidget(Bound(model.xProg));
    layout->addStretch();
    layout->addLayout(ButtonsAtTheRight({Bound(model.xStart), Bound(model.ExitButton)}));
    setMinimumWidth(440);
    Refresh();
  }
};

const FaceRegistration kExportDVFace{"ExportDV", MakeFace<ExportDVWindow, ExportDV>()};

}  // namespace

}  // namespace zr::gui
