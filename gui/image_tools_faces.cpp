// The picture tools on the desktop: the histogram's curves painted from the model's drawing
// over its curve choices and the export button; the field of view calculator as a form; the
// full-screen view as a window over the whole screen the operator asked from, showing its own
// preview's live picture where the model placed it, or else the frame it opened with.

#include <QApplication>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>
#include <utility>

#include "gui/picture_image.h"
#include "gui/window_faces.h"
#include "gui/window_widgets.h"
#include "image/tools/field_of_view.h"
#include "image/tools/full_screen.h"
#include "image/tools/histogram.h"

namespace zr::gui {

namespace {

QColor ColourOf(ToneCurve curve) {
  switch (curve) {
    case ToneCurve::Red:
      return Qt::red;
    case ToneCurve::Green:
      return Qt::green;
    case ToneCurve::Blue:
      return Qt::blue;
  }
  return Qt::black;
}

// Picture1: white, the outline of a black box per tone from the bottom up to its luminance,
// one dot per tone and colour curve.
class ToneCurvesView final : public QWidget {
 public:
  ToneCurvesView(const Histogram& model, QWidget* parent) : QWidget(parent), model_(model) {
    setObjectName("Picture1");
    setFixedSize(model.Picture1.Width, model.Picture1.Height);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::white);
    const ToneDrawing& drawing = model_.Drawing();
    painter.setPen(Qt::black);
    for (const ToneDrawing::Bar& bar : drawing.bars)
      painter.drawRect(QRectF(QPointF(bar.left, bar.top), QPointF(bar.right, drawing.height)).normalized());
    for (const ToneDrawing::Dot& dot : drawing.dots) {
      painter.setPen(ColourOf(dot.curve));
      painter.drawPoint(dot.x, dot.y);
    }
  }

 private:
  const Histogram& model_;
};

class HistogramWindow final : public PlainWindow {
 public:
  HistogramWindow(Histogram& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace) {
    auto* layout = new QVBoxLayout(this);
    curves_ = new ToneCurvesView(model, this);
    layout->addWidget(curves_);
    layout->addWidget(Bound(model.iLabel));
    auto* choices = new QHBoxLayout;
    for (ui::CheckBox* box : {&model.sRed, &model.sGreen, &model.sBlue, &model.sLuminance})
      choices->addWidget(Bound(*box));
    choices->addStretch();
    choices->addWidget(Bound(model.Save2File));
    layout->addLayout(choices);
    Refresh();
  }

  void Refresh() {
    PlainWindow::Refresh();
    curves_->update();
  }

 private:
  ToneCurvesView* curves_ = nullptr;
};

class FieldOfViewWindow final : public PlainWindow {
 public:
  FieldOfViewWindow(FOV& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace) {
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    form->addRow(Bound(model.Labels(0)), Bound(model.ccd));
    form->addRow(Bound(model.Labels(1)), Bound(model.ccd_lens));
    form->addRow(Bound(model.Labels(2)), Bound(model.ccd_object));
    layout->addLayout(form);
    layout->addWidget(Bound(model.fov_H));
    layout->addWidget(Bound(model.fov_W));
    Refresh();
  }
};

// Frameless over the whole screen; any key or mouse press ends the view.
class FullscreenWindow final : public QWidget {
 public:
  FullscreenWindow(Fullscreen& model, const FaceParts& parts)
      : model_(model), guard_(parts.guard), live_(parts.live), close_box_(parts.close_box) {
    setObjectName("Fullscreen");
    setWindowFlag(Qt::FramelessWindowHint);
    setFocusPolicy(Qt::StrongFocus);
    QWidget* asked_from = QApplication::activeWindow();
    QScreen* screen = asked_from ? asked_from->screen() : QGuiApplication::primaryScreen();
    setGeometry(screen->geometry());
    setWindowState(Qt::WindowFullScreen);
  }

  void Refresh() { update(); }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    auto live = model_.PreviewConnected() && live_.latest_picture ? live_.latest_picture() : nullptr;
    if (live) {
      painter.drawImage(PreviewRect(), ToQImage(*live));
    } else if (model_.mira.Picture) {
      painter.drawImage(rect(), ToQImage(*model_.mira.Picture));
    }
  }
  void keyPressEvent(QKeyEvent*) override { End(); }
  void mousePressEvent(QMouseEvent*) override { End(); }
  void closeEvent(QCloseEvent* event) override {
    event->ignore();
    close_box_();
  }

 private:
  // The model's place of the preview on its screen, brought to this window's size.
  QRectF PreviewRect() const {
    const Fullscreen::Area& area = model_.PreviewArea();
    const double across = model_.Width > 0 ? width() / static_cast<double>(model_.Width) : 1;
    const double down = model_.Height > 0 ? height() / static_cast<double>(model_.Height) : 1;
    return {area.left * across, area.top * down, area.width * across, area.height * down};
  }
  void End() {
    guard_([this] { model_.Close(); });
  }

  Fullscreen& model_;
  const Guard& guard_;
  const LiveVideo& live_;
  std::function<void()> close_box_;
};

const FaceRegistration kHistogramFace{"Histogram", [](ui::Window& window, const FaceParts& parts) {
                                        auto* face = new HistogramWindow(dynamic_cast<Histogram&>(window), parts.guard,
                                                                         parts.close_box);
                                        return ShownWindow{face, [face] { face->Refresh(); }};
                                      }};

const FaceRegistration kFieldOfViewFace{"FOV", [](ui::Window& window, const FaceParts& parts) {
                                          auto* face = new FieldOfViewWindow(dynamic_cast<FOV&>(window), parts.guard,
                                                                             parts.close_box);
                                          return ShownWindow{face, [face] { face->Refresh(); }};
                                        }};

const FaceRegistration kFullscreenFace{"Fullscreen", [](ui::Window& window, const FaceParts& parts) {
                                         auto* face = new FullscreenWindow(dynamic_cast<Fullscreen&>(window), parts);
                                         ShownWindow shown{face, [face] { face->Refresh(); }};
                                         shown.places_itself = true;
                                         return shown;
                                       }};

}  // namespace

}  // namespace zr::gui
