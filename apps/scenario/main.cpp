// zandrell-scenario FILE...: runs each scenario file in a fresh world and says how each went.

#include <iostream>
#include <string>
#include <vector>

#include "apps/scenario/runner.h"

int main(int argc, char** argv) {
  zr::scenario::RunOptions options;
  std::vector<std::string> files;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--verbose")
      options.verbose = true;
    else if (argument == "--keep")
      options.keep = true;
    else if (argument == "--help") {
      std::cout << "Usage: zandrell-scenario [--verbose] [--keep] FILE...\n";
      return 0;
    } else
      files.push_back(argument);
  }
  if (files.empty()) {
    std::cerr << "Usage: zandrell-scenario [--verbose] [--keep] FILE...\n";
    return 2;
  }
  int passed = 0;
  int failed = 0;
  for (const auto& file : files) {
    const auto outcome = zr::scenario::RunScenarioFile(file, options);
    if (outcome.passed) {
      ++passed;
      std::cout << "PASS " << file << "\n";
    } else {
      ++failed;
      std::cout << "FAIL " << file << ":" << outcome.line << ": " << outcome.message << "\n";
    }
  }
  std::cout << passed << " passed, " << failed << " failed\n";
  return failed == 0 ? 0 : 1;
}
