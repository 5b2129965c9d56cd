// The sound level detector on the desktop: our running scope of the level with the limit marked
// across it, the input list and the limit slider under it, and the arming button.

#include <QGridLayout>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>
#include <utility>

#include "gui/toolkit_language.h"
#include "gui/window_faces.h"
#include "gui/window_widgets.h"
#include "triggers/sound_detector.h"

namespace zr::gui {

namespace {

constexpr int kFullLevel = 100;
const QColor kScreen(16, 24, 20);
const QColor kGrid(48, 72, 60);
const QColor kUnder(60, 200, 110);
const QColor kOver(230, 70, 50);
const QColor kLimitLine(240, 200, 60);

// The scope: the levels heard lately, newest at the right edge, one column each, over a grid
// of quarters; what stands above the limit is drawn in the alarm colour.
class SoundScopeWidget final : public QWidget {
 public:
  explicit SoundScopeWidget(const SoundScope& scope) : scope_(scope) {
    setMinimumSize(static_cast<int>(SoundScope::kHeardLength) + 2, 120);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    const QRectF area = QRectF(rect()).adjusted(1, 1, -1, -1);
    painter.fillRect(rect(), kScreen);
    DrawGrid(painter, area);
    DrawLevels(painter, area);
    DrawLimit(painter, area);
    DrawState(painter, area);
  }

 private:
  double YOf(const QRectF& area, int level) const { return area.bottom() - area.height() * level / kFullLevel; }

  void DrawGrid(QPainter& painter, const QRectF& area) const {
    painter.setPen(QPen(kGrid, 1));
    for (int level = 25; level < kFullLevel; level += 25)
      painter.drawLine(QPointF(area.left(), YOf(area, level)), QPointF(area.right(), YOf(area, level)));
  }

  void DrawLevels(QPainter& painter, const QRectF& area) const {
    const auto& heard = scope_.Heard();
    const double column = area.width() / SoundScope::kHeardLength;
    double x = area.right() - column * static_cast<double>(heard.size());
    for (const int level : heard) {
      const QColor colour = level > scope_.Level ? kOver : kUnder;
      painter.fillRect(QRectF(x, YOf(area, level), column + 0.5, area.bottom() - YOf(area, level)), colour);
      x += column;
    }
  }

  void DrawLimit(QPainter& painter, const QRectF& area) const {
    const double y = YOf(area, scope_.Level);
    painter.setPen(QPen(kLimitLine, 2, Qt::DashLine));
    painter.drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
    painter.setPen(kLimitLine);
    const double text_y = y < area.top() + 16 ? y + 14 : y - 4;
    painter.drawText(QPointF(area.left() + 4, text_y), QString::number(scope_.Level));
  }

  // The last level heard at the top right, or why nothing is heard across the middle.
  void DrawState(QPainter& painter, const QRectF& area) const {
    painter.setPen(Qt::white);
    if (!scope_.Problem().empty()) {
      painter.drawText(area, Qt::AlignCenter | Qt::TextWordWrap, Translate(scope_.Problem()));
      return;
    }
    if (scope_.Heard().empty()) return;
    painter.drawText(area.adjusted(0, 2, -4, 0), Qt::AlignRight | Qt::AlignTop, QString::number(scope_.Heard().back()));
  }

  const SoundScope& scope_;
};

class SoundDetectorWindow final : public PlainWindow {
 public:
  SoundDetectorWindow(AudioDetector& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace), scope_(new SoundScopeWidget(model.audio)) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(scope_, 1);
    auto* row = new QGridLayout;
    row->addWidget(Bound(model.SoundDevice), 0, 0);
    row->addWidget(Bound(model.Limit), 0, 1);
    row->setColumnStretch(0, 1);
    row->setColumnStretch(1, 1);
    layout->addLayout(row);
    layout->addWidget(Bound(model.StartCapture));
    setMinimumWidth(420);
    Refresh();
  }

  void RefreshAll() {
    Refresh();
    scope_->update();
  }

 private:
  SoundScopeWidget* scope_;
};

const FaceRegistration kSoundDetectorFace{"AudioDetector", [](ui::Window& window, const FaceParts& parts) {
                                            auto* face = new SoundDetectorWindow(dynamic_cast<AudioDetector&>(window),
                                                                                 parts.guard, parts.close_box);
                                            return ShownWindow{face, [face] { face->RefreshAll(); }};
                                          }};

}  // namespace

}  // namespace zr::gui
