#pragma once
// The toolkit windows that show the model's windows: the main window (menus, cool bar, status
// panel, status bar, the area of child windows), the capture window with the live picture,
// and a plain window for every other model window (dialogs, picture windows), laid out from
// its controls.

#include <QHBoxLayout>
#include <QMainWindow>
#include <QMdiArea>
#include <QMenu>
#include <QMenuBar>
#include <QTimer>
#include <functional>
#include <initializer_list>
#include <memory>
#include <vector>

#include "core/program.h"
#include "gui/control_bindings.h"
#include "gui/live_video.h"
#include "platform/picture.h"

namespace zr {
class Master;
class VideoScreen;
}  // namespace zr

namespace zr::gui {

// The rectangle moved, and made smaller where it must, to lie inside `bounds`.
QRect Inside(QRect rect, const QRect& bounds);

// A row of a dialog's buttons, pushed to its right edge.
QHBoxLayout* ButtonsAtTheRight(std::initializer_list<QWidget*> buttons);

// The bindings of one window's controls.
class BoundControls {
 public:
  void Add(std::unique_ptr<Binding> binding) {
    if (binding) bindings_.push_back(std::move(binding));
  }
  void Refresh() {
    for (auto& binding : bindings_) binding->Refresh();
  }

 private:
  std::vector<std::unique_ptr<Binding>> bindings_;
};

// Any model window but the main and capture windows: its controls one under the other, or as
// a face of its own lays them out.
class PlainWindow : public QWidget {
 public:
  enum class Layout { OneUnderTheOther, ByTheFace };
  PlainWindow(ui::Window& model, const Guard& guard, std::function<void()> close_box,
              Layout layout = Layout::OneUnderTheOther);
  void Refresh();

 protected:
  void closeEvent(QCloseEvent* event) override;
  // A left press on the background or a label of a dialog moves it, through the system's move.
  void mousePressEvent(QMouseEvent* event) override;
  // The widget of a control, bound for the window's refresh.
  QWidget* Bound(ui::Control& control);

 private:
  ui::Window& model_;
  const Guard& guard_;
  BoundControls controls_;
  std::function<void()> close_box_;
};

// The start-up picture: our logo with the version line.
class SplashWindow : public QWidget {
 public:
  SplashWindow(ui::Window& model, const Guard& guard);
  void Refresh();

 private:
  ui::Window& model_;
  BoundControls controls_;
};

// The capture window: the live picture at the preview rate, scaled smoothly to the size the
// model gave it, the image overlay over it, its tool bar and status bar around it.
class VideoWindow : public QWidget {
 public:
  VideoWindow(zr::VideoScreen& model, const Guard& guard, LiveVideo live, std::function<void()> close_box);
  void Refresh();
  // Exactly the scaled picture with the bars that show.
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  QRect PictureArea() const;
  // Repaints when the device has a new frame or the overlay changed: whole frames only.
  void ShowNewFrame();
  const QImage& ScaledFrame(const std::shared_ptr<const platform::Picture>& picture, QSize size);
  const QImage& KeyedOverlay();
  zr::VideoScreen& model_;
  const Guard& guard_;
  LiveVideo live_;
  std::function<void()> close_box_;
  BoundControls controls_;
  QWidget* top_ = nullptr;
  QWidget* tape_ = nullptr;  // a camcorder's position and shooting date, under the picture
  QWidget* bottom_ = nullptr;
  QTimer repaint_;
  int shown_rate_ = -1;
  QSize hinted_;
  QPoint drag_start_;
  bool dragging_ = false;
  // The frame last scaled, and what it was scaled from, so that a repaint of the same frame
  // scales nothing.
  std::shared_ptr<const platform::Picture> scaled_from_;
  QImage scaled_;
  std::shared_ptr<const platform::Picture> painted_;
  std::shared_ptr<const platform::Picture> keyed_from_;
  std::int32_t keyed_colour_ = 0;
  QImage keyed_;
};

// The main window.
class MasterWindow : public QMainWindow {
 public:
  MasterWindow(Program& program, const Guard& guard);
  void Refresh();
  QMdiArea& ChildArea() { return *area_; }
  // The model window is gone: nothing the operator does here reaches it any more.
  void Detach() { detached_ = true; }
  // Lays out the child windows by the Window menu's arrange code.
  void ArrangeChildWindows(platform::ArrangeCode code);

 protected:
  void closeEvent(QCloseEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void moveEvent(QMoveEvent* event) override;

 private:
  void BuildMenus();
  void AddMenuEntries(QMenu& menu, ui::ControlArray<ui::Menu>& entries);
  void AddMenuEntry(QMenu& menu, ui::Menu& model);
  void AddDesktopShortcuts();
  void BuildCoolBar();
  void BuildModeBar();
  QWidget* BuildStatusPanel();
  void RefreshMenus();
  void RefreshBands();

  Program& program_;
  zr::Master& model_;
  Guard guard_;
  BoundControls controls_;
  QMdiArea* area_ = nullptr;
  QMenuBar* menu_bar_ = nullptr;
  QWidget* cool_bar_ = nullptr;
  struct MenuEntry {
    ui::Menu* model;
    QAction* action;
  };
  std::vector<MenuEntry> menu_entries_;
  struct BandFrame {
    std::string key;
    QWidget* frame;
  };
  std::vector<BandFrame> bands_;
  bool detached_ = false;
};

}  // namespace zr::gui
