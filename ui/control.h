#pragma once
// The base of every control of the model: a name (and an index inside a control array),
// the enabled and visible flags, the tool tip, and generic access to its properties by name for the faces
// that drive the model from outside (the scenario runner, the widgets).

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "ui/property.h"
#include "ui/value.h"

namespace zr::ui {

class Window;

class Control {
 public:
  Control(Window& owner, std::string name, std::optional<int> index = std::nullopt);
  virtual ~Control();
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;

  const std::string& Name() const { return name_; }
  std::optional<int> Index() const { return index_; }
  Window& Owner() const { return owner_; }

  Property<bool> Enabled{true};
  Property<bool> Visible{true};
  Property<std::string> ToolTipText;

  // The value of a property by its name; `element` is the index of an indexed property such
  // as List(3). Nothing when the control has no such property.
  virtual std::optional<Value> Get(std::string_view property, std::optional<int> element) const;
  // An operator's change of a property; false when the control has no such writable property.
  virtual bool Set(std::string_view property, const Value& value);

  // What an operator's click and double click do on the control itself.
  virtual void Click();
  virtual void DblClick();

  std::function<void()> OnClick;
  std::function<void()> OnDblClick;

 private:
  Window& owner_;
  std::string name_;
  std::optional<int> index_;
};

// Conversions used by the generic property access of every control.
bool ValueToBool(const Value& value);
double ValueToNumber(const Value& value);
std::string ValueToText(const Value& value);

}  // namespace zr::ui
