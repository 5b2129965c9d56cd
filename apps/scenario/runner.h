#pragma once
// The scenario runner: carries out the commands of one scenario file against the program in a
// fresh world. Whenever the program waits for input (at top level or in a modal window) the
// runner runs the next command there; `after` commands run when their time comes, also inside
// a yield or a blocking call.

#include <string>

namespace zr::scenario {

struct RunOptions {
  bool verbose = false;
  bool keep = false;
};

struct Outcome {
  bool passed = false;
  int line = 0;         // the failing line
  std::string message;  // what was expected, what was found
};

// Runs one scenario file; never throws.
Outcome RunScenarioFile(const std::string& path, const RunOptions& options);

// Runs a scenario given as text, as though it were a file at `path` (the fixtures stand beside
// `path`).
Outcome RunScenarioText(const std::string& text, const std::string& path, const RunOptions& options);

}  // namespace zr::scenario
