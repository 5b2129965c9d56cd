#pragma once
// Finds what an address of a scenario names in the live control model: a window, a control, a
// toolbar button and its drop-down entry, a cool-bar band, a status-bar panel, a list entry.

#include <optional>
#include <span>
#include <stdexcept>
#include <string>

#include "apps/scenario/script.h"
#include "core/program.h"
#include "ui/controls.h"

namespace zr::scenario {

// An address that names nothing: "expected ..., found ..." for the runner to report.
class AddressError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Target {
  ui::WindowSlotBase* slot = nullptr;
  ui::Window* window = nullptr;
  ui::Control* control = nullptr;  // none: the window itself
  ui::ToolbarButton* button = nullptr;
  ui::ButtonMenu* button_menu = nullptr;
  ui::Band* band = nullptr;
  ui::Panel* panel = nullptr;
  std::optional<int> element;  // a list entry, a tab, a panel number
};

// The window of a reference; `touch` loads it as a first reference does.
ui::WindowSlotBase& FindSlot(Program& program, const WindowRef& window);
ui::Window* FindWindowInstance(Program& program, const WindowRef& window, bool touch);

// The thing named by the window and the control segments (without a property).
Target Resolve(Program& program, const WindowRef& window, std::span<const Segment> controls);

// A property of a target; nothing when it has no such property.
std::optional<ui::Value> ReadProperty(const Target& target, const Segment& property);
// An operator's change of a property; false when it has no such writable property.
bool WriteProperty(const Target& target, const Segment& property, const ui::Value& value);

// What an operator's click and double click do on a target.
void ClickTarget(const Target& target);
void DoubleClickTarget(const Target& target);

std::string Describe(const WindowRef& window, std::span<const Segment> segments);

}  // namespace zr::scenario
