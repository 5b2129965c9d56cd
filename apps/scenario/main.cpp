// zandrell-scenario FILE...: runs each scenario file in a fresh world and says how each went.

#include <iostream>
#include <string>
#include <vector>

#include "apps/scenario/runner.h"

namespace {

constexpr const char* kUsage = "Usage: zandrell-scenario [--verbose] [--keep] FILE...\n";

void PrintHelp() {
  std::cout << kUsage
            << "Runs each scenario FILE against the capture program on simulated devices: the program's\n"
               "own handlers, driven the way an operator drives them (clicks, typing, answers to\n"
               "dialogs, time that passes on a virtual clock), with what it shows and writes checked.\n"
               "Each file runs in a fresh world of its own: a temporary folder holding the program\n"
               "folder, the home folder, the settings and the temporary files.\n\n"
               "  --verbose               print every command as it runs and every dialog shown\n"
               "  --keep                  keep each world's folder afterwards\n"
               "  --help                  this text\n\n"
               "One line is printed for each file, \"PASS FILE\" or \"FAIL FILE:LINE: what was expected,\n"
               "what was found\", then \"N passed, N failed\".\n"
               "Exit status: 0 when every file passed; 1 when one failed; 2 when no FILE was named.\n";
}

}  // namespace

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
      PrintHelp();
      return 0;
    } else
      files.push_back(argument);
  }
  if (files.empty()) {
    std::cerr << kUsage;
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
