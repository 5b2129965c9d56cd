#include "gui/desktop_face.h"

#include <QApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMessageBox>
#include <QMouseEvent>
#include <QScreen>
#include <QShortcut>
#include <QStandardPaths>
#include <algorithm>

#include "core/window_registry.h"
#include "gui/toolkit_language.h"
#include "gui/window_faces.h"
#include "main_window/master.h"

namespace zr::gui {

namespace {

// How often the windows are brought in step with the model.
constexpr int kSyncMs = 40;

ui::WindowPlacement PlacementOf(const ui::Window& window) {
  const WindowKind* kind = FindWindowKind(window.Name());
  return kind ? kind->placement : ui::WindowPlacement::TopLevel;
}

}  // namespace

DesktopFace::DesktopFace(Program& program, QtEventLoop& loop, QtDialogs& dialogs, LiveVideo live)
    : program_(program),
      loop_(loop),
      dialogs_(dialogs),
      live_(std::move(live)),
      places_(
          QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + "/video-zandrell/window-places.ini",
          QSettings::IniFormat) {
  guard_ = [this](const std::function<void()>& action) {
    loop_.Guarded(action);
    Sync();
  };
  loop_.SetErrorHandler([this](const std::exception& failure) { ShowFailure(failure); });
  key_clock_.start();
  connect(&sync_, &QTimer::timeout, this, [this] { Sync(); });
  sync_.start(kSyncMs);
  qApp->installEventFilter(this);
}

DesktopFace::~DesktopFace() {
  qApp->removeEventFilter(this);
  loop_.SetErrorHandler(nullptr);
  for (auto& [key, shown] : shown_)
    if (!shown.child) delete shown.widget;
}

void DesktopFace::Sync() {
  if (syncing_) return;
  syncing_ = true;
  UseToolkitLanguage(program_.language);
  SyncMaster();
  std::map<WindowKey, bool> live;
  for (ui::WindowSlotBase* slot : program_.Windows()) {
    if (slot->Name() == "Master") continue;
    if (ui::Window* window = slot->LoadedWindow()) {
      live[{window, window->Serial()}] = true;
      SyncWindow(*slot, *window, false);
    }
    for (int number = 1; number <= slot->ExtraInstanceCount(); ++number) {
      ui::Window* extra = slot->ExtraInstance(number);
      live[{extra, extra->Serial()}] = true;
      SyncWindow(*slot, *extra, true);
    }
  }
  DropWindowsNotIn(live);
  // The face has let go of every unloaded window. They are destroyed only when no handler is
  // under way: a handler that yields may still hold the window it unloaded or made, and this
  // runs inside its yield too.
  if (!loop_.InHandler()) program_.ReleaseUnloadedWindows();
  QWidget* parent = QApplication::activeWindow() ? QApplication::activeWindow() : master_.get();
  dialogs_.SetParentWindow(parent);
  if (tell_parent_) tell_parent_(parent);
  syncing_ = false;
}

void DesktopFace::SyncMaster() {
  auto* model = program_.IfLoaded<Master>();
  if (!model) {
    if (!master_) return;
    std::map<WindowKey, bool> none;
    DropWindowsNotIn(none);
    // Deleted later: this may run inside a handler of the main window itself.
    master_->Detach();
    master_->hide();
    master_.release()->deleteLater();
    if (ended_) ended_();
    return;
  }
  if (!model->Visible) return;
  if (!master_) {
    master_ = std::make_unique<MasterWindow>(program_, guard_);
    master_->show();
  }
  master_->Refresh();
}

void DesktopFace::SyncWindow(ui::WindowSlotBase& slot, ui::Window& window, bool extra) {
  const WindowKey key{&window, window.Serial()};
  auto found = shown_.find(key);
  // The capture window is a child of the main window that shows from its load on.
  const bool visible = window.Visible || PlacementOf(window) == ui::WindowPlacement::InMainFromLoad;
  if (!visible) {
    if (found != shown_.end() && FrameOf(found->second)->isVisible()) {
      SavePlace(found->second);
      FrameOf(found->second)->hide();
    }
    return;
  }
  if (found == shown_.end()) {
    if (PlacementOf(window) != ui::WindowPlacement::TopLevel && !master_) return;
    found = shown_.emplace(key, MakeShown(slot, window, extra)).first;
  }
  found->second.refresh();
  QWidget* frame = FrameOf(found->second);
  if (!frame->isVisible()) {
    RestorePlace(found->second);
    frame->show();
  }
}

QWidget* DesktopFace::FrameOf(const Shown& shown) const {
  return shown.child ? shown.widget->parentWidget() : shown.widget;
}

// A window opens where it was last, inside the screen or the main window's child area however
// the screen or the area changed since; a window opened for the first time stands over the main
// window at the size it asks for, no larger than the screen.
void DesktopFace::RestorePlace(const Shown& shown) {
  if (shown.place_key.empty()) return;
  QWidget* frame = FrameOf(shown);
  const QVariant saved = places_.value(QString::fromStdString(shown.place_key));
  const bool known = saved.canConvert<QRect>() && saved.toRect().isValid();
  if (shown.child && !known) return;  // the child area places a new child itself
  QRect place(frame->geometry().topLeft(), frame->testAttribute(Qt::WA_Resized) ? frame->size() : frame->sizeHint());
  if (known) {
    if (shown.keeps_position) place.moveTopLeft(saved.toRect().topLeft());
    // Never smaller than its texts need now: they may be another language's.
    if (shown.keeps_size) place.setSize(saved.toRect().size().expandedTo(frame->minimumSizeHint()));
  }
  QRect bounds;
  if (shown.child) {
    bounds = master_->ChildArea().viewport()->rect();
  } else {
    const QScreen* screen = known ? QGuiApplication::screenAt(place.center()) : nullptr;
    if (!screen) screen = master_ ? master_->screen() : QGuiApplication::primaryScreen();
    bounds = screen->availableGeometry();
    // Over the main window, as a dialog opens; before the main window shows, mid-screen.
    if (!known) place.moveCenter(master_ ? master_->geometry().center() : bounds.center());
  }
  if (bounds.isEmpty()) return;
  QRect inside = Inside(place, bounds);
  // A frame that follows its widget keeps the widget's size, at the area's top left if larger.
  if (!shown.keeps_size) inside.setSize(place.size());
  frame->setGeometry(inside);
}

void DesktopFace::SavePlace(const Shown& shown) {
  if (shown.place_key.empty()) return;
  places_.setValue(QString::fromStdString(shown.place_key), FrameOf(shown)->geometry());
}

DesktopFace::Shown DesktopFace::MakeShown(ui::WindowSlotBase& slot, ui::Window& window, bool extra) {
  auto close_box = [this, &slot, &window, extra] {
    guard_([&slot, &window, extra] {
      if (extra)
        slot.UnloadExtra(window, ui::UnloadMode::CloseBox);
      else
        slot.Unload(ui::UnloadMode::CloseBox);
    });
  };
  ShownWindow made;
  if (const FaceMaker* face = FindFace(window.Name())) {
    made = (*face)(window, FaceParts{guard_, live_, close_box});
  } else {
    auto* plain = new PlainWindow(window, guard_, close_box);
    made = ShownWindow{plain, [plain] { plain->Refresh(); }};
  }
  Shown shown;
  shown.widget = made.widget;
  shown.refresh = made.refresh;
  if (!made.places_itself) {
    shown.place_key = window.Name();
    shown.keeps_size = !made.frame_follows_widget;
    shown.keeps_position = !extra;
  }
  if (PlacementOf(window) != ui::WindowPlacement::TopLevel) {
    QMdiSubWindow* frame = master_->ChildArea().addSubWindow(made.widget);
    frame->setAttribute(Qt::WA_DeleteOnClose, false);
    frame->setWindowIcon(master_->windowIcon());
    // Ctrl+W is the program's key of the picture server's mode: the frame's own key to close
    // the child in use would close it too.
    for (QAction* action : frame->systemMenu()->actions())
      if (action->shortcut() == QKeySequence(Qt::CTRL | Qt::Key_W)) action->setShortcut(QKeySequence());
    // The child the operator activates is the main window's active child, which the tools
    // that follow the window in use read.
    connect(frame, &QMdiSubWindow::windowStateChanged, this, [this, &window](Qt::WindowStates, Qt::WindowStates now) {
      if (now.testFlag(Qt::WindowActive)) program_.ActivateChild(window);
    });
    shown.child = true;
    shown.refresh = [made, frame, &window, applied = QSize()]() mutable {
      made.refresh();
      const QString title = QString::fromStdString(window.Caption);
      if (frame->windowTitle() != title) frame->setWindowTitle(title);
      const QSize wanted = made.widget->sizeHint();
      if (made.frame_follows_widget && wanted != applied) {
        // The frame's own hint is the widget's with the frame's title and borders around it,
        // right even before the frame was first laid out.
        frame->resize(frame->sizeHint());
        applied = wanted;
      }
    };
    return shown;
  }
  if (made.places_itself) return shown;
  // A dialog: a title and a close box, no maximise; Escape is its close box, which the model
  // answers as its Cancel.
  made.widget->setParent(master_.get(), Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                                            Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint);
  auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), made.widget);
  connect(escape, &QShortcut::activated, made.widget, close_box);
  if (slot.ShownModally(window)) made.widget->setWindowModality(Qt::ApplicationModal);
  if (window.Width > 0 && window.Height > 0)
    made.widget->resize(std::max(window.Width.get(), 240), std::max(window.Height.get(), 120));
  return shown;
}

void DesktopFace::DropWindowsNotIn(const std::map<WindowKey, bool>& live) {
  for (auto it = shown_.begin(); it != shown_.end();) {
    if (live.count(it->first)) {
      ++it;
      continue;
    }
    QWidget* frame = FrameOf(it->second);
    if (frame->isVisible()) SavePlace(it->second);
    // The widget's bindings refer to the window that is going: with its entry gone they are
    // never refreshed again. It leaves the child area now and is deleted once no handler of
    // it can still be running.
    disconnect(frame, nullptr, this, nullptr);
    frame->hide();
    frame->setParent(nullptr);
    frame->deleteLater();
    it = shown_.erase(it);
  }
}

QWidget* DesktopFace::WidgetOf(const ui::Window& window) const {
  const auto found = shown_.find({&window, window.Serial()});
  if (found != shown_.end()) return found->second.widget;
  return &window == program_.IfLoaded<Master>() ? master_.get() : nullptr;
}

void DesktopFace::ShowFailure(const std::exception& failure) {
  QMessageBox::warning(QApplication::activeWindow(), QString::fromStdString(kAppTitle),
                       Translate("The last command failed: %1").arg(failure.what()));
}

bool DesktopFace::eventFilter(QObject* watched, QEvent* event) {
  TrackKey(event);
  if (event->type() == QEvent::MouseButtonPress) ForwardMousePress(static_cast<QMouseEvent*>(event)->button());
  if (event->type() == QEvent::KeyPress) ForwardKeyPress(event);
  return QObject::eventFilter(watched, event);
}

// A driver's run ends on a mouse press anywhere in the program (its abort buttons), before the
// click it belongs to is handled: Rec/Stop itself ends a run that way.
void DesktopFace::ForwardMousePress(Qt::MouseButton button) {
  if (!live_.mouse_pressed) return;
  live_.mouse_pressed(button == Qt::LeftButton ? 1 : button == Qt::RightButton ? 2 : 4);
}

// A driver's run also ends on its abort key, pressed in any window of the program.
void DesktopFace::ForwardKeyPress(QEvent* event) {
  const auto* key_event = static_cast<QKeyEvent*>(event);
  if (!live_.key_pressed || key_event->isAutoRepeat()) return;
  if (const int virtual_key = VirtualKeyOf(key_event->key())) live_.key_pressed(virtual_key);
}

void DesktopFace::TrackKey(QEvent* event) {
  auto& keys = program_.KeysDown;
  if (event->type() == QEvent::ApplicationDeactivate) {
    keys.clear();
    return;
  }
  if (event->type() == QEvent::WindowActivate || event->type() == QEvent::ApplicationActivate) {
    QWidget* active = QApplication::activeWindow();
    program_.ForegroundWindow = active ? active->objectName().toStdString() : "";
    return;
  }
  if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease) return;
  const auto* key_event = static_cast<QKeyEvent*>(event);
  if (key_event->isAutoRepeat()) return;
  const std::string name = KeyStateName(key_event->key());
  if (name.empty()) return;
  if (event->type() == QEvent::KeyPress) {
    if (std::find(keys.begin(), keys.end(), name) == keys.end()) keys.push_back(name);
    pressed_at_[name] = key_clock_.elapsed();
    return;
  }
  // The main timer reads the keys once a tick: a key tapped faster than that stays down for one
  // tick, so that a quick Ctrl+M acts as surely as a held one.
  const auto* master = program_.IfLoaded<Master>();
  const std::int64_t tick_ms = master ? master->MasterTimer.Interval.get() : 0;
  const std::int64_t pressed_at = pressed_at_[name];
  const std::int64_t left_ms = pressed_at + tick_ms - key_clock_.elapsed();
  if (left_ms <= 0) return ReleaseKey(name, pressed_at);
  QTimer::singleShot(static_cast<int>(left_ms), this, [this, name, pressed_at] { ReleaseKey(name, pressed_at); });
}

// Unless it was pressed again since.
void DesktopFace::ReleaseKey(const std::string& name, std::int64_t pressed_at) {
  if (pressed_at_[name] != pressed_at) return;
  auto& keys = program_.KeysDown;
  keys.erase(std::remove(keys.begin(), keys.end(), name), keys.end());
}

int VirtualKeyOf(int toolkit_key) {
  if (toolkit_key == Qt::Key_Escape) return 27;
  if (toolkit_key == Qt::Key_Space) return 32;
  if ((toolkit_key >= Qt::Key_A && toolkit_key <= Qt::Key_Z) || (toolkit_key >= Qt::Key_0 && toolkit_key <= Qt::Key_9))
    return toolkit_key;  // the toolkit codes these keys by their capital letter or digit, as the system does
  if (toolkit_key >= Qt::Key_F1 && toolkit_key <= Qt::Key_F12) return 112 + (toolkit_key - Qt::Key_F1);
  return 0;
}

std::string KeyStateName(int toolkit_key) {
  if (toolkit_key == Qt::Key_Control) return "ctrl";
  if (toolkit_key == Qt::Key_Shift) return "shift";
  if (toolkit_key >= Qt::Key_A && toolkit_key <= Qt::Key_Z)
    return std::string(1, static_cast<char>('A' + (toolkit_key - Qt::Key_A)));
  if (toolkit_key >= Qt::Key_F1 && toolkit_key <= Qt::Key_F12)
    return "F" + std::to_string(toolkit_key - Qt::Key_F1 + 1);
  return "";
}

}  // namespace zr::gui
