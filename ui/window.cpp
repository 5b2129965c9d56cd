#include "ui/window.h"

#include <algorithm>
#include <stdexcept>

namespace zr::ui {

// A change of size or state raises the window's Resize event, as the toolkit does.
namespace {
std::uint64_t next_window_serial = 1;
}  // namespace

Window::Window(platform::EventLoop& loop, std::string name)
    : loop_(loop), name_(std::move(name)), serial_(next_window_serial++) {
  Width.OnChange([this] { Resize(); });
  Height.OnChange([this] { Resize(); });
  WindowState.OnChange([this] { Resize(); });
}

Window::~Window() = default;

void Window::Show() { Visible = true; }
void Window::Hide() { Visible = false; }

void Window::Register(Control& control) { controls_.push_back(&control); }

void Window::Unregister(Control& control) { std::erase(controls_, &control); }

Control* Window::FindControl(std::string_view name, std::optional<int> index) const {
  for (Control* control : controls_) {
    if (control->Name() == name && control->Index() == index) return control;
  }
  return nullptr;
}

bool Window::HasControlNamed(std::string_view name) const {
  return std::any_of(controls_.begin(), controls_.end(),
                     [&](const Control* control) { return control->Name() == name; });
}

std::optional<Value> Window::Get(std::string_view property) const {
  if (property == "Caption") return Value{Caption.get()};
  if (property == "Visible") return Value{Visible.get()};
  if (property == "WindowState") return Value{std::int64_t{WindowState}};
  if (property == "Left") return Value{std::int64_t{Left}};
  if (property == "Top") return Value{std::int64_t{Top}};
  if (property == "Width") return Value{std::int64_t{Width}};
  if (property == "Height") return Value{std::int64_t{Height}};
  if (property == "Enabled") return Value{Enabled.get()};
  if (property == "Tag") return Value{Tag.get()};
  if (property == "MousePointer") return Value{std::int64_t{MousePointer}};
  return std::nullopt;
}

bool Window::Set(std::string_view property, const Value& value) {
  if (property == "Caption")
    Caption = ValueToText(value);
  else if (property == "Visible")
    Visible = ValueToBool(value);
  else if (property == "WindowState")
    WindowState = static_cast<int>(ValueToNumber(value));
  else if (property == "Left")
    Left = static_cast<int>(ValueToNumber(value));
  else if (property == "Top")
    Top = static_cast<int>(ValueToNumber(value));
  else if (property == "Width")
    Width = static_cast<int>(ValueToNumber(value));
  else if (property == "Height")
    Height = static_cast<int>(ValueToNumber(value));
  else if (property == "Enabled")
    Enabled = ValueToBool(value);
  else if (property == "Tag")
    Tag = ValueToText(value);
  else if (property == "MousePointer")
    MousePointer = static_cast<int>(ValueToNumber(value));
  else
    return false;
  return true;
}

// A window whose load handler unloads it again stays alive until the loop is idle, so the
// caller still gets a live object.
Window& WindowSlotBase::Touch() {
  if (current_) return *current_;
  current_ = Make();
  Window& made = *current_;
  made.Load();
  return made;
}

void WindowSlotBase::ShowModal(platform::EventLoop& loop) {
  Window* window = &Touch();
  if (current_.get() != window) return;  // its load unloaded it again
  window->Show();
  shown_modally_ = window;
  loop.RunModal([this, window] { return current_.get() != window || !window->Visible; });
  if (shown_modally_ == window) shown_modally_ = nullptr;
}

bool WindowSlotBase::Unload(UnloadMode mode) {
  if (!current_) return true;
  Window* window = current_.get();
  if (!window->QueryUnload(mode)) return false;
  if (current_.get() != window) return true;  // its own query unloaded it already
  // The Unload handler may touch the window again; it is still the current one meanwhile.
  window->Unload();
  if (current_.get() == window) unloaded_.push_back(std::move(current_));
  return true;
}

Window* WindowSlotBase::ExtraInstance(int number) const {
  if (number < 1 || number > ExtraInstanceCount()) return nullptr;
  return extras_[static_cast<std::size_t>(number - 1)].get();
}

Window& WindowSlotBase::AddExtra() {
  extras_.push_back(Make());
  extras_.back()->Load();
  return *extras_.back();
}

bool WindowSlotBase::UnloadExtra(Window& window, UnloadMode mode) {
  auto found = std::find_if(extras_.begin(), extras_.end(), [&](const auto& extra) { return extra.get() == &window; });
  if (found == extras_.end()) return true;
  if (!window.QueryUnload(mode)) return false;
  window.Unload();
  unloaded_.push_back(std::move(*found));
  extras_.erase(found);
  return true;
}

}  // namespace zr::ui
