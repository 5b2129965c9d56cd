#pragma once
// A property of a control: a value that tells its control when an assignment really changes
// it, so that the control's change event runs as the toolkit runs it (setting the value of
// an up-down from code runs its Change handler, exactly as a click on its arrows does).

#include <functional>
#include <utility>

namespace zr::ui {

template <class T>
class Property {
 public:
  Property() = default;
  Property(T initial) : value_(std::move(initial)) {}  // NOLINT: implicit, reads as a value
  Property(const Property&) = delete;
  Property& operator=(const Property& other) { return *this = other.value_; }

  Property& operator=(const T& value) {
    if (value == value_) return *this;
    value_ = value;
    if (on_change_) on_change_();
    return *this;
  }

  operator const T&() const { return value_; }  // NOLINT: implicit, reads as a value
  const T& get() const { return value_; }
  bool operator==(const T& other) const { return value_ == other; }

  // The control's own change event; set once by the control that owns the property.
  void OnChange(std::function<void()> handler) { on_change_ = std::move(handler); }

 private:
  T value_{};
  std::function<void()> on_change_;
};

}  // namespace zr::ui
