#include "ui/control.h"

#include <cmath>
#include <stdexcept>

#include "base/formatting.h"
#include "ui/window.h"

namespace zr::ui {

Control::Control(Window& owner, std::string name, std::optional<int> index)
    : owner_(owner), name_(std::move(name)), index_(index) {
  owner_.Register(*this);
}

Control::~Control() { owner_.Unregister(*this); }

std::optional<Value> Control::Get(std::string_view property, std::optional<int>) const {
  if (property == "Enabled") return Value{Enabled.get()};
  if (property == "Visible") return Value{Visible.get()};
  if (property == "ToolTipText") return Value{ToolTipText.get()};
  return std::nullopt;
}

bool Control::Set(std::string_view property, const Value& value) {
  if (property == "Enabled") {
    Enabled = ValueToBool(value);
    return true;
  }
  if (property == "Visible") {
    Visible = ValueToBool(value);
    return true;
  }
  if (property == "ToolTipText") {
    ToolTipText = ValueToText(value);
    return true;
  }
  return false;
}

void Control::Click() {
  if (OnClick) OnClick();
}

void Control::DblClick() {
  if (OnDblClick) OnDblClick();
}

bool ValueToBool(const Value& value) {
  if (const auto* flag = std::get_if<bool>(&value)) return *flag;
  if (const auto* text = std::get_if<std::string>(&value)) {
    if (*text == "True" || *text == "true") return true;
    if (*text == "False" || *text == "false") return false;
    return NumericPrefix(*text) != 0;
  }
  return ValueToNumber(value) != 0;
}

double ValueToNumber(const Value& value) {
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? -1 : 0;
  if (const auto* whole = std::get_if<std::int64_t>(&value)) return static_cast<double>(*whole);
  if (const auto* real = std::get_if<double>(&value)) return *real;
  return NumericPrefix(std::get<std::string>(value));
}

std::string ValueToText(const Value& value) {
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "True" : "False";
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  return NumberText(ValueToNumber(value));
}

}  // namespace zr::ui
