// The scanner's windows on the desktop. SelectSource: the label over the list of scanners, the
// chosen one selected, Select and Cancel at the bottom right. ScanProgress: which scanner the
// page comes from, the bar of the share scanned, and Cancel at the bottom right.

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <utility>

#include "gui/window_faces.h"
#include "gui/window_widgets.h"
#include "peripherals/scanner.h"

namespace zr::gui {

namespace {

class SelectSourceWindow final : public PlainWindow {
 public:
  SelectSourceWindow(SelectSource& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Bound(model.SourcesLabel));
    layout->addWidget(Bound(model.Sources), 1);
    layout->addLayout(ButtonsAtTheRight({Bound(model.Select), Bound(model.Cancel)}));
    setMinimumSize(360, 240);
    Refresh();
  }
};

class ScanProgressWindow final : public PlainWindow {
 public:
  ScanProgressWindow(ScanProgress& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Bound(model.Status));
    layout->addWidget(Bound(model.Progress));
    layout->addStretch();
    layout->addLayout(ButtonsAtTheRight({Bound(model.Cancel)}));
    setMinimumWidth(360);
    Refresh();
  }
};

const FaceRegistration kSelectSourceFace{"SelectSource", MakeFace<SelectSourceWindow, SelectSource>()};
const FaceRegistration kScanProgressFace{"ScanProgress", MakeFace<ScanProgressWindow, ScanProgress>()};

}  // namespace

}  // namespace zr::gui
