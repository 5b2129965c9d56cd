// The runner's loop: the next command whenever the program waits for input, each carried out by
// the handler its family added to the step table, and every way a command can go wrong turned
// into a failure at its line.

#include "apps/scenario/runner.h"

#include <fstream>
#include <iostream>
#include <span>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "apps/scenario/runner_state.h"
#include "apps/scenario/steps.h"

namespace zr::scenario {

namespace {

// A failed expectation or a command that could not be carried out, at its line.
struct Failure {
  int line;
  std::string message;
};

// The handlers of every family, gathered once for all runs.
const StepTable& Steps() {
  static const StepTable steps = [] {
    StepTable table;
    for (const auto add_family : kStepFamilies) add_family(table);
    table.RequireEveryKind();
    return table;
  }();
  return steps;
}

void Say(const platform::sim::ShownDialog& dialog) {
  using Kind = platform::sim::ShownDialog::Kind;
  if (dialog.kind == Kind::MessageBox)
    std::cout << "  dialog: message box " << Quoted(dialog.message.text) << "\n";
  else if (dialog.kind == Kind::InputBox)
    std::cout << "  dialog: input box " << Quoted(dialog.input.prompt) << "\n";
  else if (dialog.kind == Kind::CompressionOptions)
    std::cout << "  dialog: compression options\n";
  else if (dialog.kind == Kind::Colour)
    std::cout << "  dialog: colour " << Quoted(dialog.message.title) << "\n";
  else
    std::cout << "  dialog: file dialog " << Quoted(dialog.file.title) << "\n";
}

}  // namespace

void Fail(const std::string& expected, const std::string& found) {
  throw std::runtime_error("expected " + expected + ", found " + found);
}

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

Runner::Runner(std::vector<Command> commands, const std::string& scenario_path, const RunOptions& options)
    : steps_(Steps()),
      commands_(std::move(commands)),
      scenario_folder_(std::filesystem::path(scenario_path).parent_path()),
      options_(options),
      world_(options.keep) {
  world_.loop.SetInputSource(this);
  if (options_.verbose) world_.dialogs.on_shown = [](const platform::sim::ShownDialog& dialog) { Say(dialog); };
}

// The script may end while the program waits in a modal window: that is its end, not a fault.
Outcome Runner::Run() {
  try {
    while (RunNextCommand()) {
      if (world_.Started()) world_.program().ReleaseUnloadedWindows();
    }
    return Outcome{true, 0, ""};
  } catch (const Failure& failure) {
    return Outcome{false, failure.line, failure.message};
  } catch (const platform::sim::InputExhausted&) {
    return Outcome{true, 0, ""};
  }
}

bool Runner::RunNextCommand() {
  if (next_ >= commands_.size()) return false;
  const Command& command = commands_[next_++];
  Execute(command);
  return true;
}

void Runner::Execute(const Command& command) {
  if (options_.verbose) std::cout << command.line << ": " << command.text << "\n";
  try {
    steps_.Run(*this, command.body);
  } catch (const Failure&) {
    throw;
  } catch (const platform::sim::InputExhausted&) {
    throw;
  } catch (const std::exception& error) {
    throw Failure{command.line, error.what()};
  }
}

Program& Runner::program() {
  if (!world_.Started()) throw std::runtime_error("expected the program to have started, found no `start` before");
  return world_.program();
}

std::string Runner::Expand(const std::string& text) const {
  return ExpandPlaceholders(text, world_.AppFolder(), world_.TempFolder());
}

std::string Runner::PathOf(const std::string& path) const {
  const std::string expanded = Expand(path);
  if (!expanded.empty() && expanded.front() == '/') return expanded;
  return world_.AppFolder() + expanded;
}

Target Runner::Locate(const Address& address, bool with_property) {
  std::span<const Segment> path(address.path);
  if (with_property) {
    if (path.empty()) Fail("a property", "none after " + Describe(address.window, path));
    path = path.first(path.size() - 1);
  }
  return Resolve(program(), address.window, path);
}

Outcome RunScenarioText(const std::string& text, const std::string& path, const RunOptions& options) {
  std::vector<Command> commands;
  try {
    commands = ParseScript(text);
  } catch (const ParseError& error) {
    return Outcome{false, error.line(), error.what()};
  }
  try {
    Runner runner(std::move(commands), path, options);
    return runner.Run();
  } catch (const std::exception& error) {
    return Outcome{false, 0, error.what()};
  }
}

Outcome RunScenarioFile(const std::string& path, const RunOptions& options) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return Outcome{false, 0, "expected a scenario file, found no file at " + path};
  std::stringstream text;
  text << file.rdbuf();
  return RunScenarioText(text.str(), path, options);
}

}  // namespace zr::scenario
