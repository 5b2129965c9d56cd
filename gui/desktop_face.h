#pragma once
// The face of the program on the desktop: a toolkit window for every model window that is
// loaded and visible, kept in step with the model after every pass of the loop, and the
// operator's keys as the main window's key state. It holds no logic: every click goes to the
// model's control, every failure of a handler is shown and the program goes on.

#include <QElapsedTimer>
#include <QObject>
#include <QSettings>
#include <QTimer>
#include <map>
#include <memory>
#include <utility>

#include "core/program.h"
#include "gui/qt_event_loop.h"
#include "gui/qt_services.h"
#include "gui/window_widgets.h"

namespace zr::gui {

class DesktopFace final : public QObject {
 public:
  DesktopFace(Program& program, QtEventLoop& loop, QtDialogs& dialogs, LiveVideo live);
  ~DesktopFace() override;

  // Brings every toolkit window in step with the model now.
  void Sync();
  MasterWindow* MainWindow() const { return master_.get(); }
  // The toolkit window showing a model window, if one does.
  QWidget* WidgetOf(const ui::Window& window) const;
  // Called once the main window is gone for good.
  void OnProgramEnd(std::function<void()> ended) { ended_ = std::move(ended); }
  // Told the window that dialogs open over, whenever the face has looked at the windows.
  void OnParentWindow(std::function<void(QWidget*)> tell) { tell_parent_ = std::move(tell); }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  using WindowKey = std::pair<const ui::Window*, std::uint64_t>;
  struct Shown {
    QWidget* widget = nullptr;  // owned by the main window's child area or by this face
    std::function<void()> refresh;
    bool child = false;  // inside the main window's child area
    // Where the window was last, kept by its name when it closes and given back when it opens:
    // its size too unless its frame follows its widget; only the size for a further instance.
    std::string place_key;  // empty for a window that places itself
    bool keeps_size = true;
    bool keeps_position = true;
  };

  void SyncMaster();
  void SyncWindow(ui::WindowSlotBase& slot, ui::Window& window, bool extra);
  Shown MakeShown(ui::WindowSlotBase& slot, ui::Window& window, bool extra);
  void DropWindowsNotIn(const std::map<WindowKey, bool>& live);
  void ShowFailure(const std::exception& failure);
  QWidget* FrameOf(const Shown& shown) const;
  void RestorePlace(const Shown& shown);
  void SavePlace(const Shown& shown);
  void TrackKey(QEvent* event);
  void ReleaseKey(const std::string& name, std::int64_t pressed_at);
  void ForwardMousePress(Qt::MouseButton button);
  void ForwardKeyPress(QEvent* event);

  Program& program_;
  QtEventLoop& loop_;
  QtDialogs& dialogs_;
  LiveVideo live_;
  Guard guard_;
  std::unique_ptr<MasterWindow> master_;
  std::map<WindowKey, Shown> shown_;
  QTimer sync_;
  QSettings places_;
  QElapsedTimer key_clock_;
  std::map<std::string, std::int64_t> pressed_at_;  // by key name, on key_clock_
  bool syncing_ = false;
  std::function<void()> ended_;
  std::function<void(QWidget*)> tell_parent_;
};

// The key names the main window's key-state query uses ("ctrl", "shift", "A", "F12"); empty
// for keys it does not ask about.
std::string KeyStateName(int toolkit_key);
// The system's code of a key (27 Escape, 32 Space, 'A'..'Z', '0'..'9', 112.. F1..), or 0.
int VirtualKeyOf(int toolkit_key);

}  // namespace zr::gui
