#include "apps/scenario/addressing.h"

namespace zr::scenario {

namespace {

std::string DescribeSegment(const Segment& segment) {
  std::string text = segment.name;
  if (segment.index) text += "(" + std::to_string(*segment.index) + ")";
  for (const auto& key : segment.keys) text += "[" + key + "]";
  return text;
}

[[noreturn]] void NoSuch(const std::string& what, const std::string& found) {
  throw AddressError("expected " + what + ", found " + found);
}

void ResolveKeys(Target& target, const Segment& segment) {
  if (segment.keys.empty()) return;
  const std::string& key = segment.keys[0];
  if (auto* toolbar = dynamic_cast<ui::Toolbar*>(target.control)) {
    target.button = toolbar->FindButton(key);
    if (!target.button) NoSuch("a button of " + toolbar->Name(), "\"" + key + "\"");
    if (segment.keys.size() > 1) {
      target.button_menu = target.button->FindMenu(segment.keys[1]);
      if (!target.button_menu) NoSuch("an entry of button " + key, "\"" + segment.keys[1] + "\"");
    }
    return;
  }
  if (auto* coolbar = dynamic_cast<ui::CoolBar*>(target.control)) {
    target.band = coolbar->FindBand(key);
    if (!target.band) NoSuch("a band of " + coolbar->Name(), "\"" + key + "\"");
    return;
  }
  if (auto* status_bar = dynamic_cast<ui::StatusBar*>(target.control)) {
    target.panel = status_bar->FindPanel(key);
    if (!target.panel) NoSuch("a panel of " + status_bar->Name(), "\"" + key + "\"");
    return;
  }
  if (auto* list = dynamic_cast<ui::ListControl*>(target.control)) {
    for (int entry = 0; entry < list->ListCount(); ++entry)
      if (list->Items[static_cast<std::size_t>(entry)].key == key) target.element = entry;
    if (!target.element) NoSuch("an entry of " + list->Name(), "\"" + key + "\"");
    return;
  }
  NoSuch("a control with keyed items", DescribeSegment(segment));
}

// A caption as an address names a button: without its blanks, dots and "&".
std::string CaptionAsName(const std::string& caption) {
  std::string name;
  for (const char c : caption)
    if (c != ' ' && c != '.' && c != '&') name += c;
  return name;
}

// A command button the program's documents name only by its caption.
ui::Control* FindButtonByCaption(const ui::Window& window, const std::string& name) {
  for (ui::Control* control : window.Controls()) {
    auto* button = dynamic_cast<ui::CommandButton*>(control);
    if (button && CaptionAsName(button->Caption.get()) == name) return button;
  }
  return nullptr;
}

std::optional<ui::Value> PanelProperty(const ui::Panel& panel, std::string_view property) {
  if (property == "Text") return ui::Value{panel.Text.get()};
  if (property == "Bevel") return ui::Value{std::string(panel.Bevel == ui::BevelStyle::Inset ? "inset" : "raised")};
  return std::nullopt;
}

std::optional<ui::Value> ButtonMenuProperty(const ui::ButtonMenu& entry, std::string_view property) {
  if (property == "Caption" || property == "Text") return ui::Value{entry.Text.get()};
  if (property == "Checked") return ui::Value{entry.Checked.get()};
  if (property == "Enabled") return ui::Value{entry.Enabled.get()};
  if (property == "Visible") return ui::Value{entry.Visible.get()};
  return std::nullopt;
}

}  // namespace

std::string Describe(const WindowRef& window, std::span<const Segment> segments) {
  std::string text = window.name;
  if (window.instance > 0) text += "#" + std::to_string(window.instance);
  for (const auto& segment : segments) text += "." + DescribeSegment(segment);
  return text;
}

ui::WindowSlotBase& FindSlot(Program& program, const WindowRef& window) {
  auto* slot = program.FindWindow(window.name);
  if (!slot) NoSuch("a window of the program", "\"" + window.name + "\"");
  return *slot;
}

ui::Window* FindWindowInstance(Program& program, const WindowRef& window, bool touch) {
  auto& slot = FindSlot(program, window);
  if (window.instance > 0) {
    auto* extra = slot.ExtraInstance(window.instance);
    if (!extra) NoSuch("an instance #" + std::to_string(window.instance) + " of " + window.name, "none");
    return extra;
  }
  return touch ? &slot.TouchWindow() : slot.LoadedWindow();
}

Target Resolve(Program& program, const WindowRef& window, std::span<const Segment> controls) {
  Target target;
  target.slot = &FindSlot(program, window);
  target.window = FindWindowInstance(program, window, /*touch=*/true);
  if (controls.empty()) return target;
  if (controls.size() > 1) NoSuch("a control and a property", Describe(window, controls));
  const Segment& segment = controls[0];
  target.control = target.window->FindControl(segment.name, segment.index);
  if (!target.control && !segment.index) target.control = FindButtonByCaption(*target.window, segment.name);
  if (!target.control && segment.index) {
    // An element of a list, a tab strip or a status bar: W.C(i).
    target.control = target.window->FindControl(segment.name);
    target.element = segment.index;
  }
  if (!target.control) NoSuch("a control of " + window.name, "\"" + DescribeSegment(segment) + "\"");
  ResolveKeys(target, segment);
  if (target.element) {
    if (auto* status_bar = dynamic_cast<ui::StatusBar*>(target.control)) {
      if (*target.element < 1 || *target.element > status_bar->PanelCount())
        NoSuch("a panel number of " + status_bar->Name(), std::to_string(*target.element));
      target.panel = &status_bar->Panels(*target.element);
    }
  }
  return target;
}

std::optional<ui::Value> ReadProperty(const Target& target, const Segment& property) {
  const std::string& name = property.name;
  if (target.button_menu) return ButtonMenuProperty(*target.button_menu, name);
  if (target.button) return target.button->Get(name);
  if (target.band) return name == "Visible" ? std::optional<ui::Value>(target.band->Visible.get()) : std::nullopt;
  if (target.panel) return PanelProperty(*target.panel, name);
  if (target.control) return target.control->Get(name, property.index);
  if (name == "Loaded") return ui::Value{true};
  return target.window->Get(name);
}

bool WriteProperty(const Target& target, const Segment& property, const ui::Value& value) {
  const std::string& name = property.name;
  if (target.button) return target.button->Set(name, value);
  if (target.band) {
    if (name != "Visible") return false;
    target.band->Visible = ui::ValueToBool(value);
    return true;
  }
  if (target.panel) {
    if (name != "Text") return false;
    target.panel->Text = ui::ValueToText(value);
    return true;
  }
  if (target.control) return target.control->Set(name, value);
  return target.window->Set(name, value);
}

namespace {

// An operator's click or double click does not reach a control that is disabled or hidden.
bool Operable(const Target& target) { return !target.control || (target.control->Enabled && target.control->Visible); }

}  // namespace

void ClickTarget(const Target& target) {
  if (!Operable(target)) return;
  if (target.button_menu) {
    static_cast<ui::Toolbar*>(target.control)->ClickButtonMenu(*target.button, *target.button_menu);
  } else if (target.button) {
    static_cast<ui::Toolbar*>(target.control)->ClickButton(*target.button);
  } else if (target.panel) {
    static_cast<ui::StatusBar*>(target.control)->ClickPanel(*target.panel);
  } else if (auto* list = dynamic_cast<ui::ListControl*>(target.control); list && target.element) {
    list->ClickEntry(*target.element);
  } else if (auto* view = dynamic_cast<ui::ListView*>(target.control); view && target.element) {
    view->ClickEntry(*target.element);
  } else if (auto* tabs = dynamic_cast<ui::TabStrip*>(target.control); tabs && target.element) {
    tabs->ClickTab(*target.element);
  } else if (target.control) {
    target.control->Click();
  } else if (target.window) {
    target.window->Click();
  }
}

void DoubleClickTarget(const Target& target) {
  if (!Operable(target)) return;
  if (auto* list = dynamic_cast<ui::ListControl*>(target.control); list && target.element) {
    list->DblClickEntry(*target.element);
  } else if (target.control) {
    target.control->DblClick();
  }
}

}  // namespace zr::scenario
