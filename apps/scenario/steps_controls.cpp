// What an operator does to the program's windows and controls (clicks, property changes, keys,
// the close box, the window state), and what other code of the program does to them: `call`,
// `load` and `unload`.

#include <cstdint>
#include <string>

#include "apps/scenario/addressing.h"
#include "apps/scenario/comparisons.h"
#include "apps/scenario/procedures.h"
#include "apps/scenario/steps.h"
#include "core/window_registry.h"

namespace zr::scenario {

namespace {

ui::Value ToUiValue(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* number = std::get_if<double>(&value)) return *number;
  if (const auto* flag = std::get_if<bool>(&value)) return *flag;
  if (const auto* colour = std::get_if<Colour>(&value))
    return std::int64_t{ui::Rgb(colour->red, colour->green, colour->blue)};
  Fail("a value for a property", ValueText(value));
}

// A click is also a press of the mouse button, which a running capture may be set to stop on.
void Do(Runner& runner, const Click& click) {
  const Target target = runner.Locate(click.target, false);
  World& world = runner.world();
  if (auto* source = world.devices->ConnectedSource()) source->MousePressed(1);
  if (world.loop.Blocking())
    world.loop.Post([target] { ClickTarget(target); });
  else
    ClickTarget(target);
}

void Do(Runner& runner, const DoubleClick& click) { DoubleClickTarget(runner.Locate(click.target, false)); }

void Do(Runner& runner, const SetProperty& set) {
  const Target target = runner.Locate(set.target, true);
  const Segment& property = set.target.path.back();
  if (!WriteProperty(target, property, ToUiValue(set.value)))
    Fail("a writable property", Quoted(property.name) + " of " + Describe(set.target.window, set.target.path));
}

void Do(Runner& runner, const Key& key) {
  auto& keys = runner.program().KeysDown;
  std::erase(keys, key.name);
  if (key.down) keys.push_back(key.name);
}

// A child of the main window brought to the front is also the main window's active child.
void Do(Runner& runner, const Foreground& foreground) {
  FindSlot(runner.program(), foreground.window);
  runner.program().ForegroundWindow = foreground.window.name;
  const WindowKind* kind = FindWindowKind(foreground.window.name);
  if (!kind || kind->placement == ui::WindowPlacement::TopLevel) return;
  if (ui::Window* window = FindWindowInstance(runner.program(), foreground.window, false))
    runner.program().ActivateChild(*window);
}

void Do(Runner& runner, const CloseWindow& close) {
  auto& slot = FindSlot(runner.program(), close.window);
  if (close.window.instance > 0) {
    if (auto* window = slot.ExtraInstance(close.window.instance)) slot.UnloadExtra(*window, ui::UnloadMode::CloseBox);
  } else {
    slot.Unload(ui::UnloadMode::CloseBox);
  }
}

void Do(Runner& runner, const MinimizeWindow& minimize) {
  FindWindowInstance(runner.program(), minimize.window, true)->WindowState =
      static_cast<int>(ui::WindowState::Minimized);
}

void Do(Runner& runner, const RestoreWindow& restore) {
  FindWindowInstance(runner.program(), restore.window, true)->WindowState = static_cast<int>(ui::WindowState::Normal);
}

void Do(Runner& runner, const Call& call) {
  CallProcedure(runner.program(), call.window, call.procedure, call.arguments, runner.world().AppFolder(),
                runner.world().TempFolder());
}

void Do(Runner& runner, const LoadWindow& load) { FindWindowInstance(runner.program(), load.window, true); }

void Do(Runner& runner, const UnloadWindow& unload) {
  FindSlot(runner.program(), unload.window).Unload(ui::UnloadMode::FromCode);
}

}  // namespace

void AddControlSteps(StepTable& steps) {
  steps.On<Click>(Do);
  steps.On<DoubleClick>(Do);
  steps.On<SetProperty>(Do);
  steps.On<Key>(Do);
  steps.On<Foreground>(Do);
  steps.On<CloseWindow>(Do);
  steps.On<MinimizeWindow>(Do);
  steps.On<RestoreWindow>(Do);
  steps.On<Call>(Do);
  steps.On<LoadWindow>(Do);
  steps.On<UnloadWindow>(Do);
}

}  // namespace zr::scenario
