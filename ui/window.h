#pragma once
// A window of the model: a named set of controls with a load/unload life. The logic reads and
// writes its controls directly; the faces find them by name.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/event_loop.h"
#include "ui/control.h"

namespace zr::ui {

// Why a window is asked to close, as its QueryUnload handler is told.
enum class UnloadMode {
  CloseBox = 0,     // the operator's close box or the window menu
  FromCode = 1,     // an Unload statement of the program
  AppWindows = 2,   // the desktop session ends
  TaskManager = 3,  // another program closes it
  Owner = 5,        // the owning window closes
};

enum class WindowState { Normal = 0, Minimized = 1, Maximized = 2 };

// Where a window shows on the desktop.
enum class WindowPlacement {
  TopLevel,        // a window of its own (dialogs, the splash)
  InMainWindow,    // a child of the main window, shown when it is visible
  InMainFromLoad,  // a child of the main window, shown from its load on (the capture window)
};

class Window {
 public:
  Window(platform::EventLoop& loop, std::string name);
  virtual ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  const std::string& Name() const { return name_; }
  platform::EventLoop& Loop() const { return loop_; }
  // Unique for the life of the process: tells a window from a later one at the same address.
  std::uint64_t Serial() const { return serial_; }

  Property<std::string> Caption;
  Property<bool> Visible{false};
  Property<int> WindowState{0};
  Property<int> Left{0};
  Property<int> Top{0};
  Property<int> Width{0};   // pixels
  Property<int> Height{0};  // pixels
  Property<bool> Enabled{true};
  Property<std::string> Tag;
  // 0 the usual arrow, kHourglass while the window waits on long work.
  Property<int> MousePointer{0};
  static constexpr int kHourglass = 11;

  // Handlers of the window's life; each window overrides what it has.
  virtual void Load() {}
  // False cancels the close.
  virtual bool QueryUnload(UnloadMode) { return true; }
  virtual void Unload() {}
  virtual void Resize() {}
  // A click on the window's own surface, outside its controls; most windows do nothing.
  virtual void Click() {}

  void Show();
  void Hide();

  // Controls by name; `index` picks an element of a control array.
  void Register(Control& control);
  void Unregister(Control& control);
  Control* FindControl(std::string_view name, std::optional<int> index = std::nullopt) const;
  bool HasControlNamed(std::string_view name) const;
  const std::vector<Control*>& Controls() const { return controls_; }

  std::optional<Value> Get(std::string_view property) const;
  bool Set(std::string_view property, const Value& value);

 private:
  platform::EventLoop& loop_;
  std::string name_;
  std::uint64_t serial_;
  std::vector<Control*> controls_;
};

// The holder of a window that is made on first touch and destroyed by its unload; touching it
// again makes a fresh one with default state. A window unloaded while its own handler runs is
// kept alive until the loop is idle again, so the handler can finish on a live object.
class WindowSlotBase {
 public:
  explicit WindowSlotBase(std::string name) : name_(std::move(name)) {}
  virtual ~WindowSlotBase() = default;
  const std::string& Name() const { return name_; }

  Window& TouchWindow() { return Touch(); }
  Window* LoadedWindow() const { return current_.get(); }
  bool Loaded() const { return current_ != nullptr; }
  // Loads and shows the window modally: returns when it is hidden or unloaded.
  void ShowModal(platform::EventLoop& loop);
  // Whether `window` is this slot's window shown modally now: the other windows wait for it.
  bool ShownModally(const Window& window) const { return shown_modally_ == &window; }
  // Runs QueryUnload and Unload; false when QueryUnload cancelled.
  bool Unload(UnloadMode mode = UnloadMode::FromCode);

  // Extra instances of windows that can have several (picture and movie windows), counted
  // from 1 in order of creation.
  Window* ExtraInstance(int number) const;
  int ExtraInstanceCount() const { return static_cast<int>(extras_.size()); }
  bool UnloadExtra(Window& window, UnloadMode mode = UnloadMode::FromCode);

  // Destroys the windows unloaded since the last call; called when the loop is idle.
  void ReleaseUnloaded() { unloaded_.clear(); }

 protected:
  virtual std::unique_ptr<Window> Make() = 0;
  Window& Touch();
  Window& AddExtra();

 private:
  std::string name_;
  std::unique_ptr<Window> current_;
  std::vector<std::unique_ptr<Window>> extras_;
  std::vector<std::unique_ptr<Window>> unloaded_;
  const Window* shown_modally_ = nullptr;
};

template <class W>
class WindowSlot : public WindowSlotBase {
 public:
  using Factory = std::function<std::unique_ptr<W>()>;
  WindowSlot(std::string name, Factory factory) : WindowSlotBase(std::move(name)), factory_(std::move(factory)) {}

  // A first touch creates the window and runs its Load handler.
  W& operator()() { return static_cast<W&>(Touch()); }
  W* IfLoaded() const { return static_cast<W*>(LoadedWindow()); }
  W& NewInstance() { return static_cast<W&>(AddExtra()); }

 protected:
  std::unique_ptr<Window> Make() override { return factory_(); }

 private:
  Factory factory_;
};

}  // namespace zr::ui
