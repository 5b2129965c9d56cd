// The serial switch window on the desktop: what the trigger does, the port list, the two lines
// with their states in their colours, and the status bar that says whether the port is ready.

#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <utility>

#include "gui/window_faces.h"
#include "gui/window_widgets.h"
#include "triggers/serial_switch.h"

namespace zr::gui {

namespace {

class SerialSwitchWindow final : public PlainWindow {
 public:
  SerialSwitchWindow(RS232& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace) {
    auto* layout = new QVBoxLayout(this);
    auto* about = Bound(model.Labels(0));
    if (auto* text = qobject_cast<QLabel*>(about)) text->setWordWrap(true);
    layout->addWidget(about);
    auto* grid = new QGridLayout;
    grid->addWidget(Bound(model.Labels(1)), 0, 0);
    grid->addWidget(Bound(model.ComPortList), 0, 1);
    grid->addWidget(Bound(model.Labels(2)), 1, 0);
    grid->addWidget(Bound(model.Labels(4)), 1, 1);
    grid->addWidget(Bound(model.Labels(3)), 2, 0);
    grid->addWidget(Bound(model.Labels(5)), 2, 1);
    grid->setColumnStretch(1, 1);
    layout->addLayout(grid);
    layout->addStretch(1);
    layout->addWidget(Bound(model.RS232Status));
    setMinimumWidth(380);
    Refresh();
  }
};

const FaceRegistration kSerialSwitchFace{"RS232", [](ui::Window& window, const FaceParts& parts) {
                                           auto* face = new SerialSwitchWindow(dynamic_cast<RS232&>(window),
                                                                               parts.guard, parts.close_box);
                                           return ShownWindow{face, [face] { face->Refresh(); }};
                                         }};

}  // namespace

}  // namespace zr::gui
