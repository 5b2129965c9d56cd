#include "gui/window_widgets.h"

#include <QCloseEvent>
#include <QGridLayout>
#include <QLabel>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>
#include <QVBoxLayout>
#include <algorithm>

#include "capture/video_screen.h"
#include "core/main_menus.h"
#include "gui/flow_layout.h"
#include "gui/icons.h"
#include "gui/picture_image.h"
#include "gui/window_faces.h"
#include "main_window/master.h"

namespace zr::gui {

namespace {

QString Text(const std::string& text) { return QString::fromStdString(text); }

void ApplyVisibility(QWidget& widget, bool visible) {
  if (widget.isVisibleTo(widget.parentWidget()) != visible) widget.setVisible(visible);
}

}  // namespace

QRect Inside(QRect rect, const QRect& bounds) {
  rect.setSize(rect.size().boundedTo(bounds.size()));
  rect.moveLeft(std::clamp(rect.left(), bounds.left(), bounds.right() + 1 - rect.width()));
  rect.moveTop(std::clamp(rect.top(), bounds.top(), bounds.bottom() + 1 - rect.height()));
  return rect;
}

// ---- PlainWindow

PlainWindow::PlainWindow(ui::Window& model, const Guard& guard, std::function<void()> close_box, Layout layout_by)
    : model_(model), guard_(guard), close_box_(std::move(close_box)) {
  setObjectName(Text(model.Name()));
  if (layout_by == Layout::ByTheFace) return;
  auto* layout = new QVBoxLayout(this);
  for (ui::Control* control : model.Controls()) {
    auto binding = BindControl(*control, guard, this);
    if (!binding) continue;
    layout->addWidget(binding->Widget());
    controls_.Add(std::move(binding));
  }
  layout->addStretch();
  Refresh();
}

void PlainWindow::Refresh() {
  if (windowTitle() != Text(model_.Caption)) setWindowTitle(Text(model_.Caption));
  setEnabled(model_.Enabled);
  if (model_.MousePointer == ui::Window::kHourglass)
    setCursor(Qt::WaitCursor);
  else
    unsetCursor();
  controls_.Refresh();
}

QWidget* PlainWindow::Bound(ui::Control& control) {
  auto binding = BindControl(control, guard_, this);
  QWidget* widget = binding->Widget();
  controls_.Add(std::move(binding));
  return widget;
}

// The close box is the operator's: the model decides whether the window goes.
void PlainWindow::closeEvent(QCloseEvent* event) {
  event->ignore();
  close_box_();
}

// ---- SplashWindow

SplashWindow::SplashWindow(ui::Window& model, const Guard& guard)
    : QWidget(nullptr, Qt::SplashScreen | Qt::FramelessWindowHint), model_(model) {
  setObjectName("Splash");
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 8);
  auto* logo = new QLabel(this);
  logo->setPixmap(SplashLogo(QSize(std::max(model.Width.get(), 320), std::max(model.Height.get() - 30, 160))));
  layout->addWidget(logo);
  for (ui::Control* control : model.Controls()) {
    auto binding = BindControl(*control, guard, this);
    if (!binding) continue;
    layout->addWidget(binding->Widget(), 0, Qt::AlignHCenter);
    controls_.Add(std::move(binding));
  }
  Refresh();
}

void SplashWindow::Refresh() {
  setGeometry(model_.Left, model_.Top, model_.Width, model_.Height);
  controls_.Refresh();
}

namespace {

const FaceRegistration kSplashFace{"Splash", [](ui::Window& window, const FaceParts& parts) {
                                     auto* splash = new SplashWindow(window, parts.guard);
                                     return ShownWindow{splash, [splash] { splash->Refresh(); }, false, true};
                                   }};

}  // namespace

// ---- VideoWindow

namespace {

// The capture window's frame takes the size of the picture and its bars whenever that changes.
const FaceRegistration kVideoFace{
    std::string(zr::VideoScreen::kWindowName), [](ui::Window& window, const FaceParts& parts) {
      auto* video = new VideoWindow(dynamic_cast<zr::VideoScreen&>(window), parts.guard, parts.live, parts.close_box);
      return ShownWindow{video, [video] { video->Refresh(); }, true, false};
    }};

}  // namespace

VideoWindow::VideoWindow(zr::VideoScreen& model, const Guard& guard, LiveVideo live, std::function<void()> close_box)
    : model_(model), live_(std::move(live)), close_box_(std::move(close_box)) {
  setObjectName("VideoScreen");
  setAttribute(Qt::WA_OpaquePaintEvent);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  auto toolbar = BindControl(model.Mastertoolbar, guard, this);
  top_ = toolbar->Widget();
  layout->addWidget(top_);
  controls_.Add(std::move(toolbar));
  layout->addStretch();
  auto status = BindControl(model.StatusBar, guard, this);
  bottom_ = status->Widget();
  layout->addWidget(bottom_);
  controls_.Add(std::move(status));
  connect(&repaint_, &QTimer::timeout, this, [this] { update(PictureArea()); });
  Refresh();
}

QSize VideoWindow::sizeHint() const {
  const int toolbar = top_->isVisibleTo(this) ? top_->sizeHint().height() : 0;
  return QSize(std::max(model_.Width.get(), 160), std::max(model_.Height.get(), 120) + toolbar);
}

void VideoWindow::Refresh() {
  controls_.Refresh();
  const int rate = std::clamp(live_.preview_rate ? live_.preview_rate() : 0, 1, 60);
  if (rate != shown_rate_) {
    repaint_.start(1000 / rate);
    shown_rate_ = rate;
  }
  const std::string message = live_.source_message ? live_.source_message() : "";
  setToolTip(Text(message));
}

QRect VideoWindow::PictureArea() const {
  const int top = top_->isVisible() ? top_->geometry().bottom() + 1 : 0;
  const int bottom = bottom_->isVisible() ? bottom_->geometry().top() : height();
  return QRect(0, top, width(), std::max(bottom - top, 0));
}

// The live picture when the device gives one, else the last still the window holds; scaled to
// the window as the size panels made it.
void VideoWindow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QRect area = PictureArea();
  std::shared_ptr<const platform::Picture> picture = live_.latest_picture ? live_.latest_picture() : nullptr;
  if (!picture) picture = model_.StreamPic.Picture;
  if (!picture) {
    painter.fillRect(area, QColor(0x26, 0x32, 0x38));
    const std::string message = live_.source_message ? live_.source_message() : "";
    painter.setPen(Qt::white);
    painter.drawText(area, Qt::AlignCenter | Qt::TextWordWrap, Text(message));
    return;
  }
  painter.drawImage(area, ToQImage(*picture));
}

void VideoWindow::mousePressEvent(QMouseEvent* event) { drag_start_ = event->globalPosition().toPoint(); }

// Dragging the picture moves the window.
void VideoWindow::mouseMoveEvent(QMouseEvent* event) {
  if (!(event->buttons() & Qt::LeftButton)) return;
  QWidget* frame = parentWidget() ? parentWidget() : this;
  const QPoint now = event->globalPosition().toPoint();
  frame->move(frame->pos() + (now - drag_start_));
  drag_start_ = now;
}

void VideoWindow::closeEvent(QCloseEvent* event) {
  event->ignore();
  close_box_();
}

// ---- MasterWindow

namespace {

// The menus of the menu bar: the title and the model's menu array behind it.
struct MenuOfBar {
  const char* title;
  ui::ControlArray<ui::Menu> MainWindow::*entries;
};
const MenuOfBar kMenus[] = {{"&File", &MainWindow::FileMenu},        {"&Edit", &MainWindow::EditMenu},
                            {"&View", &MainWindow::ViewMenu},        {"&Video", &MainWindow::VideoMenu},
                            {"&Audio", &MainWindow::AudioMenu},      {"&Toolbars", &MainWindow::Toolbars},
                            {"&Priority", &MainWindow::cpu_priority}};

// What each band of the cool bar holds, by control name (an index after '#' for an element of
// a control array); "|" starts a second row inside the band.
struct BandContent {
  const char* key;
  std::vector<const char*> controls;
};
const BandContent kBands[] = {
    {"device", {"DeviceToolbar"}},
    {"operation", {"OperationBar"}},
    {"movie",
     {"MovieToolbar",
      "MovieFrameRateControl",
      "MovieFrameRateDisplay",
      "PreviewRateLabel",
      "previewrate",
      "|",
      "MovieDisableLimit",
      "MovieHoursControl",
      "MovieHoursDisplay",
      "MovieMinutesControl",
      "MovieMinutesDisplay",
      "MovieSecondsControl",
      "MovieSecondsDisplay",
      "AudioChannels",
      "AudioBits",
      "AudioRate",
      "Labels#6",
      "AudioDevice",
      "Labels#5",
      "AudioInput",
      "AudioLevel"}},
    {"image", {"imagesettings#0"}},
    {"multiple",
     {"MultipleImageToolbar", "MultipleImageMode", "MultipleImageFrameRate", "imagesettings#1", "|", "TriggerType",
      "Shooter", "MultipleImageHoursControl", "MultipleImageHoursDisplay", "MultipleImageMinutesControl",
      "MultipleImageMinutesDisplay", "MultipleImageSecondsControl", "MultipleImageSecondsDisplay", "MotionLabel"}},
    {"avibuilder",
     {"AviBuilderCursors", "AVIBuildFPS", "ImgAviCodec", "BuildAVI", "AVIBuildProgress", "AVIBuildCancel", "|",
      "lstDIBList"}},
    {"webshare", {"Labels#10", "WebShare_Port", "Labels#11", "WebShare_Quality", "WebShare_Url", "Labels#14"}},
    {"tuner", {"TunerBar", "Labels#8", "TunerSlider"}},
};

ui::Control* FindByEntry(const ui::Window& window, std::string_view entry) {
  const auto hash = entry.find('#');
  if (hash == std::string_view::npos) return window.FindControl(entry);
  return window.FindControl(entry.substr(0, hash), std::stoi(std::string(entry.substr(hash + 1))));
}

}  // namespace

MasterWindow::MasterWindow(Program& program, const Guard& guard)
    : program_(program), model_(program.Window<Master>()), guard_(guard) {
  setObjectName("Master");
  setWindowIcon(ApplicationIcon());
  BuildMenus();
  AddDesktopShortcuts();
  BuildCoolBar();
  BuildModeBar();
  area_ = new QMdiArea(this);
  area_->setObjectName("ChildArea");
  area_->setBackground(QColor(0x45, 0x5A, 0x64));
  // The cool bar stands over the child area, beside the mode bar, which so has the window's
  // whole height for its buttons.
  auto* centre = new QWidget(this);
  auto* column = new QVBoxLayout(centre);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);
  column->addWidget(cool_bar_);
  column->addWidget(area_, 1);
  setCentralWidget(centre);
  auto status = BindControl(model_.MasterStatus, guard, this);
  statusBar()->addWidget(status->Widget(), 1);
  controls_.Add(std::move(status));
  // The place the window was left in, brought inside the screen if the screen changed since.
  const QRect screen = this->screen()->availableGeometry();
  if (model_.Width > 0 && model_.Height > 0)
    setGeometry(Inside(QRect(model_.Left, model_.Top, model_.Width, model_.Height), screen));
  else
    resize(QSize(1024, 720).boundedTo(screen.size()));
  Refresh();
}

void MasterWindow::BuildMenus() {
  menu_bar_ = new QMenuBar(this);
  for (const auto& menu_of_bar : kMenus) {
    QMenu* menu = menu_bar_->addMenu(Text(program_.Translate(menu_of_bar.title)));
    for (const auto& [index, entry] : (model_.*menu_of_bar.entries).Elements()) {
      ui::Menu* model = entry.get();
      QAction* action = entry->Caption.get() == "-" ? menu->addSeparator() : menu->addAction(Text(entry->Caption));
      connect(action, &QAction::triggered, this, [this, model] { guard_([model] { model->Click(); }); });
      menu_entries_.push_back({model, action});
    }
    if (menu_of_bar.entries == &MainWindow::Toolbars) {
      QMenu* window = menu_bar_->addMenu(Text(program_.Translate("&Window")));
      window->addAction(Text(program_.Translate("Tile")), this, [this] { area_->tileSubWindows(); });
      window->addAction(Text(program_.Translate("Cascade")), this, [this] { area_->cascadeSubWindows(); });
      window->addAction(Text(program_.Translate("Arrange Icons")), this, [this] {
        int left = 0;
        for (QMdiSubWindow* child : area_->subWindowList()) {
          if (!child->isMinimized()) continue;
          child->move(left, area_->height() - child->height());
          left += child->width();
        }
      });
    }
  }
  QMenu* help = menu_bar_->addMenu(Text(program_.Translate("&Help")));
  help->addAction(Text(program_.Translate("About")), this, [this] {
    QMessageBox::about(this, Text(kAppTitle),
                       Text(kAppTitle + "\n" + program_.VersionText + "\n" + program_.state.ProductSite));
  });
}

// The desktop's usual keys on the menu entries that do the same: Ctrl+Q quits as File > Exit
// does, F11 shows the full-screen view (any key ends it). The program's own Ctrl keys are read
// from the key state by the main timer.
void MasterWindow::AddDesktopShortcuts() {
  const std::pair<const ui::Menu*, QKeySequence> keys[] = {
      {&model_.FileMenu(file_menu::kExit), QKeySequence(Qt::CTRL | Qt::Key_Q)},
      {&model_.ViewMenu(view_menu::kFullScreen), QKeySequence(Qt::Key_F11)}};
  for (const auto& [menu, key] : keys)
    for (auto& [model, action] : menu_entries_)
      if (model == menu) action->setShortcut(key);
}

// The bands, and the controls inside each line of a band, wrap onto further lines where the
// window is too narrow for them, so that no control is cut or folded away.
void MasterWindow::BuildCoolBar() {
  auto* bar = new QWidget(this);
  bar->setObjectName("MasterBar");
  auto* rows = new QVBoxLayout(bar);
  rows->setContentsMargins(2, 2, 2, 2);
  rows->setSpacing(2);
  auto* first_row = new FlowLayout;
  rows->addLayout(first_row);
  for (const auto& band : kBands) {
    auto* frame = new QFrame(bar);
    frame->setObjectName(Text(band.key));
    frame->setFrameShape(QFrame::StyledPanel);
    auto* lines = new QVBoxLayout(frame);
    lines->setContentsMargins(4, 2, 4, 2);
    auto* line = new FlowLayout;
    lines->addLayout(line);
    for (const char* name : band.controls) {
      if (std::string_view(name) == "|") {
        line = new FlowLayout;
        lines->addLayout(line);
        continue;
      }
      ui::Control* control = FindByEntry(model_, name);
      if (!control) continue;
      auto binding = BindControl(*control, guard_, frame);
      if (!binding) continue;
      line->addWidget(binding->Widget());
      controls_.Add(std::move(binding));
    }
    const bool top_row = std::string_view(band.key) == "device" || std::string_view(band.key) == "operation";
    if (top_row)
      first_row->addWidget(frame);
    else
      rows->addWidget(frame);
    bands_.push_back({band.key, frame});
  }
  first_row->addWidget(BuildStatusPanel());
  setMenuBar(menu_bar_);
  cool_bar_ = bar;
}

// The operating modes and the file commands stand in a bar down the left side of the window.
void MasterWindow::BuildModeBar() {
  auto binding = BindControl(model_.MainToolbar, guard_, this);
  auto* bar = qobject_cast<QToolBar*>(binding->Widget());
  bar->setOrientation(Qt::Vertical);
  bar->setMovable(false);
  // Every mode and command stays in sight: the window is never shorter than the bar.
  bar->setMinimumHeight(bar->sizeHint().height());
  addToolBar(Qt::LeftToolBarArea, bar);
  controls_.Add(std::move(binding));
}

// Status, time and dropped frames, light on dark as the run's panel always was.
QWidget* MasterWindow::BuildStatusPanel() {
  auto* panel = new QFrame(this);
  panel->setObjectName("StatusPanel");
  panel->setStyleSheet("#StatusPanel { background: #1c2428; border-radius: 4px; } QLabel { color: #cfd8dc; }");
  auto* grid = new QGridLayout(panel);
  grid->setContentsMargins(8, 2, 8, 2);
  const std::pair<ui::Control*, ui::Control*> rows[] = {{&model_.StatusCaption, &model_.StatusString},
                                                        {&model_.TimeCaption, &model_.StatusTime},
                                                        {&model_.DroppedCaption, &model_.DroppedString}};
  int row = 0;
  for (const auto& [caption, value] : rows) {
    for (int column = 0; column < 2; ++column) {
      auto binding = BindControl(column == 0 ? *caption : *value, guard_, panel);
      grid->addWidget(binding->Widget(), row, column);
      controls_.Add(std::move(binding));
    }
    ++row;
  }
  panel->setMinimumWidth(260);
  return panel;
}

void MasterWindow::Refresh() {
  if (windowTitle() != Text(model_.Caption)) setWindowTitle(Text(model_.Caption));
  controls_.Refresh();
  RefreshMenus();
  RefreshBands();
  if (auto* panel = findChild<QWidget*>("StatusPanel")) ApplyVisibility(*panel, model_.StatusPanel.Visible);
}

void MasterWindow::RefreshMenus() {
  for (auto& [model, action] : menu_entries_) {
    if (!action->isSeparator() && action->text() != Text(model->Caption)) action->setText(Text(model->Caption));
    action->setCheckable(model->Checked);
    action->setChecked(model->Checked);
    action->setEnabled(model->Enabled);
    action->setVisible(model->Visible);
  }
}

void MasterWindow::RefreshBands() {
  for (auto& [key, frame] : bands_) ApplyVisibility(*frame, model_.MasterBar.Bands(key).Visible);
}

void MasterWindow::closeEvent(QCloseEvent* event) {
  event->ignore();
  if (detached_) return;
  guard_([this] { program_.SlotOf<Master>().Unload(ui::UnloadMode::CloseBox); });
}

// The operator's sizing is the window's size in the model, which runs its Resize handler.
void MasterWindow::resizeEvent(QResizeEvent* event) {
  QMainWindow::resizeEvent(event);
  if (detached_) return;
  guard_([this] {
    model_.Width = width();
    model_.Height = height();
  });
}

void MasterWindow::moveEvent(QMoveEvent* event) {
  QMainWindow::moveEvent(event);
  if (detached_) return;
  model_.Left = x();
  model_.Top = y();
}

}  // namespace zr::gui
