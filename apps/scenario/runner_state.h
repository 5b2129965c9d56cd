#pragma once
// The state of one scenario run, shared by the runner's loop (runner.cpp) and the handlers of
// every family of commands (steps_*.cpp): the commands and the next one to run, the world, the
// folder the scenario file stands in, and what the next `start` is given.

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "apps/scenario/addressing.h"
#include "apps/scenario/runner.h"
#include "apps/scenario/script.h"
#include "apps/scenario/world.h"
#include "core/program.h"
#include "platform/sim/sim_event_loop.h"

namespace zr::scenario {

// What `os` and `args` prepare for the next `start`.
struct StartConditions {
  bool windows_after_2000 = true;
  std::string command_line;
};

class StepTable;

class Runner final : public platform::sim::InputSource {
 public:
  Runner(std::vector<Command> commands, const std::string& scenario_path, const RunOptions& options);

  // Runs the commands to the end of the script or to the first failure.
  Outcome Run();

  // The program waits for input: the next command runs here.
  bool RunNextCommand() override;

  // Runs one command and turns every way it can go wrong into a failure at its line.
  void Execute(const Command& command);

  World& world() { return world_; }
  const World& world() const { return world_; }
  // The running program; a command that needs it before `start` fails.
  Program& program();
  StartConditions& start_conditions() { return start_conditions_; }
  // Fixtures and the pictures of simulated sources stand beside the scenario file.
  const std::filesystem::path& scenario_folder() const { return scenario_folder_; }

  // `text` with $APP and $TEMP replaced by this world's folders.
  std::string Expand(const std::string& text) const;
  // A path of the scenario, expanded; relative paths stand in the program folder.
  std::string PathOf(const std::string& path) const;

  // What an address names in the running program; with_property leaves out its last segment,
  // the name of a property.
  Target Locate(const Address& address, bool with_property);

 private:
  const StepTable& steps_;
  std::vector<Command> commands_;
  std::size_t next_ = 0;
  std::filesystem::path scenario_folder_;
  RunOptions options_;
  World world_;
  StartConditions start_conditions_;
};

// A command that could not be carried out or an expectation that does not hold:
// "expected ..., found ...", reported at the command's line.
[[noreturn]] void Fail(const std::string& expected, const std::string& found);

// "text" in double quotes, as values are shown in failures.
std::string Quoted(const std::string& text);

}  // namespace zr::scenario
