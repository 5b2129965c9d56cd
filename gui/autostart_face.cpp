// The Autostart window on the desktop: the tab strip over the two frames of fields, of which
// only the selected tab's frame shows; the countdown as hours : minutes : seconds, the date as
// day, month, year over the time of day; the live clock; OK and Cancel.

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <initializer_list>
#include <utility>
#include <vector>

#include "gui/window_faces.h"
#include "gui/window_widgets.h"
#include "triggers/autostart.h"

namespace zr::gui {

namespace {

class AutostartWindow final : public PlainWindow {
 public:
  AutostartWindow(Autostart& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace), model_(model) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Bound(model_.counttag));
    frames_.push_back(AddFrame(layout, {{&model_.chor, &model_.cmin, &model_.csec}}));
    frames_.push_back(
        AddFrame(layout, {{&model_.dia, &model_.mes, &model_.ano}, {&model_.bh, &model_.bm, &model_.bs}}));
    layout->addWidget(Bound(model_.RealDate));
    layout->addWidget(Bound(model_.RealTime));
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(Bound(model_.start));
    buttons->addWidget(Bound(model_.CancelButton));
    layout->addLayout(buttons);
    Refresh();
  }

  void Refresh() {
    PlainWindow::Refresh();
    for (std::size_t index = 0; index < frames_.size(); ++index)
      frames_[index]->setVisible(model_.countframe(static_cast<int>(index)).Visible);
  }

 private:
  // A frame of rows of fields; the fields of a row of times stand apart by colons.
  QFrame* AddFrame(QVBoxLayout* layout, std::initializer_list<std::vector<ui::Control*>> rows) {
    auto* frame = new QFrame(this);
    frame->setFrameShape(QFrame::StyledPanel);
    auto* lines = new QVBoxLayout(frame);
    for (const auto& fields : rows) {
      auto* line = new QHBoxLayout;
      const bool time = dynamic_cast<ui::RangeControl*>(fields.front()) != nullptr;
      for (std::size_t index = 0; index < fields.size(); ++index) {
        if (time && index > 0) line->addWidget(new QLabel(":", frame));
        line->addWidget(Bound(*fields[index]), 1);
      }
      lines->addLayout(line);
    }
    layout->addWidget(frame);
    return frame;
  }

  Autostart& model_;
  std::vector<QFrame*> frames_;
};

const FaceRegistration kAutostartFace{"Autostart", [](ui::Window& window, const FaceParts& parts) {
                                        auto* face = new AutostartWindow(dynamic_cast<Autostart&>(window), parts.guard,
                                                                         parts.close_box);
                                        return ShownWindow{face, [face] { face->Refresh(); }};
                                      }};

}  // namespace

}  // namespace zr::gui
