#pragma once
// One widget per control of the model. A binding shows what the control holds (Refresh, run
// by the face after every pass of the loop) and hands the operator's input to the control as
// the scenario runner does: clicks as clicks, changes as property sets. The widgets hold no
// state of their own that the model does not have.

#include <QWidget>
#include <functional>
#include <memory>

#include "ui/controls.h"

namespace zr::gui {

// Runs the operator's action so that a failing handler is reported, not fatal.
using Guard = std::function<void(const std::function<void()>&)>;

class Binding {
 public:
  virtual ~Binding() = default;
  virtual QWidget* Widget() const = 0;
  // Shows the control's present state.
  virtual void Refresh() = 0;
};

// The binding of a control; nothing for controls that have no face (timers, frames, cool bars,
// menus, which the window frame shows).
std::unique_ptr<Binding> BindControl(ui::Control& control, const Guard& guard, QWidget* parent);

// Lists that show as lists rather than drop-downs.
bool ShowsAsListBox(const ui::ListControl& list);

}  // namespace zr::gui
