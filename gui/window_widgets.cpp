#include "gui/window_widgets.h"

#include <QCloseEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QScrollBar>
#include <QShowEvent>
#include <QStatusBar>
#include <QToolBar>
#include <QVBoxLayout>
#include <QWindow>
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

QHBoxLayout* ButtonsAtTheRight(std::initializer_list<QWidget*> buttons) {
  auto* row = new QHBoxLayout;
  row->addStretch();
  for (QWidget* button : buttons) row->addWidget(button);
  return row;
}

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

void PlainWindow::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton && isWindow() && windowHandle() && windowHandle()->startSystemMove()) return;
  QWidget::mousePressEvent(event);
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
    : model_(model), guard_(guard), live_(std::move(live)), close_box_(std::move(close_box)) {
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
  tape_ = new QWidget(this);
  auto* tape_row = new QHBoxLayout(tape_);
  tape_row->setContentsMargins(2, 2, 2, 2);
  for (zr::ui::TextBox* field : {&model.DVpos, &model.DVtaken}) {
    auto binding = BindControl(*field, guard, tape_);
    tape_row->addWidget(binding->Widget(), 1);
    controls_.Add(std::move(binding));
  }
  layout->addWidget(tape_);
  auto status = BindControl(model.StatusBar, guard, this);
  bottom_ = status->Widget();
  layout->addWidget(bottom_);
  controls_.Add(std::move(status));
  // The window paints only the picture itself: the bars paint their own background.
  for (QWidget* bar : {top_, tape_, bottom_}) bar->setAutoFillBackground(true);
  // The picture sets the width: the bars take it, however narrow, and clip what does not fit.
  for (QWidget* bar : {top_, bottom_}) bar->setSizePolicy(QSizePolicy::Ignored, bar->sizePolicy().verticalPolicy());
  connect(&repaint_, &QTimer::timeout, this, [this] { ShowNewFrame(); });
  Refresh();
}

QSize VideoWindow::sizeHint() const {
  const int toolbar = top_->isVisibleTo(this) ? top_->sizeHint().height() : 0;
  const int tape = tape_->isVisibleTo(this) ? tape_->sizeHint().height() : 0;
  const int status = bottom_->isVisibleTo(this) ? bottom_->sizeHint().height() : 0;
  return QSize(std::max(model_.PictureWidth(), 1), std::max(model_.PictureHeight(), 1) + toolbar + tape + status);
}

// The timer runs at the preview rate; a rate of 0 shows every frame the device gives, up to
// the display's 60 a second.
void VideoWindow::Refresh() {
  controls_.Refresh();
  // The tape's fields belong to the transport bar: both show while a camcorder is connected.
  tape_->setVisible(model_.Mastertoolbar.Visible);
  // The picture's size is the model's, which no layout watches: the frame around the window
  // reads the new size only once told.
  if (sizeHint() != hinted_) {
    hinted_ = sizeHint();
    updateGeometry();
  }
  const int asked = live_.preview_rate ? live_.preview_rate() : 0;
  const int rate = asked <= 0 ? 60 : std::min(asked, 60);
  if (rate != shown_rate_) {
    repaint_.start(1000 / rate);
    shown_rate_ = rate;
  }
  const std::string message = live_.source_message ? live_.source_message() : "";
  setToolTip(Text(message));
}

void VideoWindow::ShowNewFrame() {
  const auto latest = live_.latest_picture ? live_.latest_picture() : nullptr;
  const auto& overlay = model_.CurrentImageOverlay();
  if (latest && latest == painted_ && overlay.picture == keyed_from_ && overlay.transparent_colour == keyed_colour_)
    return;
  update(PictureArea());
}

QRect VideoWindow::PictureArea() const {
  const int top = top_->isVisible() ? top_->geometry().bottom() + 1 : 0;
  const QWidget* under = tape_->isVisible() ? tape_ : bottom_;
  const int bottom = under->isVisible() ? under->geometry().top() : height();
  return QRect(0, top, width(), std::max(bottom - top, 0));
}

const QImage& VideoWindow::ScaledFrame(const std::shared_ptr<const platform::Picture>& picture, QSize size) {
  if (picture != scaled_from_ || scaled_.size() != size) {
    const QImage frame = ToQImage(*picture);
    scaled_ = frame.size() == size ? frame : frame.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    scaled_from_ = picture;
  }
  return scaled_;
}

const QImage& VideoWindow::KeyedOverlay() {
  const auto& overlay = model_.CurrentImageOverlay();
  if (overlay.picture != keyed_from_ || overlay.transparent_colour != keyed_colour_) {
    keyed_ = overlay.picture ? ToKeyedQImage(*overlay.picture, overlay.transparent_colour) : QImage();
    keyed_from_ = overlay.picture;
    keyed_colour_ = overlay.transparent_colour;
  }
  return keyed_;
}

// The live picture when the device gives one, else the last still the window holds, scaled
// smoothly to the picture's place once per frame; the image overlay over it at its top left,
// at the same scale.
void VideoWindow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QRect area = PictureArea();
  std::shared_ptr<const platform::Picture> picture = live_.latest_picture ? live_.latest_picture() : nullptr;
  painted_ = picture;
  if (!picture) picture = model_.StreamPic.Picture;
  if (!picture || picture->width <= 0 || picture->height <= 0 || area.isEmpty()) {
    painter.fillRect(area, QColor(0x26, 0x32, 0x38));
    const std::string message = live_.source_message ? live_.source_message() : "";
    painter.setPen(Qt::white);
    painter.drawText(area, Qt::AlignCenter | Qt::TextWordWrap, Text(message));
    return;
  }
  painter.drawImage(area.topLeft(), ScaledFrame(picture, area.size()));
  const QImage& overlay = KeyedOverlay();
  if (overlay.isNull()) return;
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  const double scale_x = static_cast<double>(area.width()) / picture->width;
  const double scale_y = static_cast<double>(area.height()) / picture->height;
  painter.setClipRect(area);
  painter.drawImage(QRectF(area.topLeft(), QSizeF(overlay.width() * scale_x, overlay.height() * scale_y)), overlay);
}

// A left press on the picture drags the window; the right button let go over it asks the model
// for its menu.
void VideoWindow::mousePressEvent(QMouseEvent* event) {
  dragging_ = event->button() == Qt::LeftButton && PictureArea().contains(event->position().toPoint());
  drag_start_ = event->globalPosition().toPoint();
}

// The window is a child of the main window's area, which the system's move cannot reach: it
// follows the pointer there.
void VideoWindow::mouseMoveEvent(QMouseEvent* event) {
  if (!dragging_ || !(event->buttons() & Qt::LeftButton)) return;
  QWidget* frame = parentWidget() ? parentWidget() : this;
  const QPoint now = event->globalPosition().toPoint();
  frame->move(frame->pos() + (now - drag_start_));
  drag_start_ = now;
}

void VideoWindow::mouseReleaseEvent(QMouseEvent* event) {
  dragging_ = false;
  if (event->button() == Qt::RightButton && PictureArea().contains(event->position().toPoint()))
    guard_([this] { model_.PictureRightButtonUp(); });
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
const MenuOfBar kMenus[] = {{"&File", &MainWindow::FileMenu},         {"&Edit", &MainWindow::EditMenu},
                            {"&View", &MainWindow::ViewMenu},         {"&Video", &MainWindow::VideoMenu},
                            {"&Audio", &MainWindow::AudioMenu},       {"&Toolbars", &MainWindow::Toolbars},
                            {"&Priority", &MainWindow::cpu_priority}, {"&Window", &MainWindow::WindowMenu},
                            {"&Scanner", &MainWindow::TWAINx},        {"&Help", &MainWindow::HelpMenu}};

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
  // A child larger than the area, such as the picture at 800 x 600, is scrolled to rather than
  // cut off, and never makes the main window grow past the screen.
  area_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  area_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
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
      // The Audio menu's "Sample Rate" opens the sample rates.
      if (menu_of_bar.entries == &MainWindow::AudioMenu && index == audio_menu::kSampleRate) {
        QMenu* rates = menu->addMenu(Text(entry->Caption));
        menu_entries_.push_back({entry.get(), rates->menuAction()});
        AddMenuEntries(*rates, model_.SampleRateMenu);
        continue;
      }
      AddMenuEntry(*menu, *entry);
    }
  }
}

void MasterWindow::AddMenuEntries(QMenu& menu, ui::ControlArray<ui::Menu>& entries) {
  for (const auto& [index, entry] : entries.Elements()) AddMenuEntry(menu, *entry);
}

void MasterWindow::AddMenuEntry(QMenu& menu, ui::Menu& model) {
  QAction* action = model.Caption.get() == "-" ? menu.addSeparator() : menu.addAction(Text(model.Caption));
  connect(action, &QAction::triggered, this, [this, entry = &model] { guard_([entry] { entry->Click(); }); });
  menu_entries_.push_back({&model, action});
}

// The child windows laid out in the child area, which lies inside the main window on the
// screen. Tiled "horizontally", the windows stand one above the other, each as wide as the
// area; "vertically", side by side, each as tall as it. Minimised windows keep their icons,
// which "Arrange Icons" lines up along the bottom. A child keeps the least size it needs.
void MasterWindow::ArrangeChildWindows(platform::ArrangeCode code) {
  if (code == platform::ArrangeCode::Cascade) return area_->cascadeSubWindows();
  std::vector<QMdiSubWindow*> open;
  std::vector<QMdiSubWindow*> icons;
  for (QMdiSubWindow* child : area_->subWindowList())
    if (child->isVisible()) (child->isMinimized() ? icons : open).push_back(child);
  const QRect area = area_->viewport()->rect();
  if (code == platform::ArrangeCode::ArrangeIcons) {
    int left = 0;
    for (QMdiSubWindow* icon : icons) {
      icon->move(left, area.height() - icon->height());
      left += icon->width();
    }
    return;
  }
  if (open.empty()) return;
  const bool one_above_the_other = code == platform::ArrangeCode::TileHorizontally;
  const int count = static_cast<int>(open.size());
  for (int place = 0; place < count; ++place) {
    const QRect tile = one_above_the_other
                           ? QRect(0, area.height() * place / count, area.width(),
                                   area.height() * (place + 1) / count - area.height() * place / count)
                           : QRect(area.width() * place / count, 0,
                                   area.width() * (place + 1) / count - area.width() * place / count, area.height());
    // Never smaller than what the child needs, or its picture would lie over its bars: the area
    // scrolls to what passes its edge.
    QMdiSubWindow& child = *open[static_cast<std::size_t>(place)];
    const QSize frame = child.size() - child.widget()->size();
    const QSize least = child.minimumSizeHint().expandedTo(child.widget()->minimumSizeHint() + frame);
    child.setGeometry(QRect(tile.topLeft(), tile.size().expandedTo(least)));
  }
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
      // A band's scroll bar (the tuner's channels) is wide enough to pick a channel of a
      // hundred with the pointer.
      if (auto* scroll_bar = qobject_cast<QScrollBar*>(binding->Widget())) scroll_bar->setMinimumWidth(300);
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

// The place was brought inside the screen before the window had a frame; once shown, the frame
// is brought inside too, the window made smaller by what the frame adds. The system's own shows
// (a restore from the task bar) leave the window where the operator put it.
void MasterWindow::showEvent(QShowEvent* event) {
  QMainWindow::showEvent(event);
  if (event->spontaneous()) return;
  const QRect screen = this->screen()->availableGeometry();
  const QRect frame = frameGeometry();
  if (screen.contains(frame)) return;
  const QRect inner = geometry();
  const QMargins margins(inner.left() - frame.left(), inner.top() - frame.top(), frame.right() - inner.right(),
                         frame.bottom() - inner.bottom());
  setGeometry(Inside(frame, screen).marginsRemoved(margins));
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
