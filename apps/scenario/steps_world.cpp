// The world the program starts in: the os flag, the settings store, files and the fixtures
// beside the scenario, the command line, and the start of the program itself.

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "apps/scenario/steps.h"

namespace zr::scenario {

namespace {

void Do(Runner& runner, const SystemFlag& flag) {
  if (flag.name != "windows-after-2000") Fail("the os flag windows-after-2000", Quoted(flag.name));
  runner.start_conditions().windows_after_2000 = flag.on;
}

void Do(Runner& runner, const Setting& setting) {
  runner.world().settings->Save(setting.app, setting.section, setting.key, runner.Expand(setting.value));
}

void Do(Runner& runner, const WriteFile& file) {
  const std::string path = runner.PathOf(file.path);
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << runner.Expand(file.content);
  if (!out) Fail("a file written at " + path, "an error");
}

void Do(Runner& runner, const CopyFile& copy) {
  const auto source = runner.scenario_folder() / copy.fixture;
  std::error_code error;
  std::filesystem::copy_file(source, runner.PathOf(copy.destination), std::filesystem::copy_options::overwrite_existing,
                             error);
  if (error) Fail("a fixture " + Quoted(copy.fixture) + " beside the scenario", error.message());
}

void Do(Runner& runner, const CommandLine& line) { runner.start_conditions().command_line = runner.Expand(line.text); }

void Do(Runner& runner, const Start&) {
  const StartConditions& conditions = runner.start_conditions();
  Program& started = runner.world().MakeProgram();
  started.SystemVersion = conditions.windows_after_2000 ? 10.0 : 5.0;
  started.CommandLine = conditions.command_line;
  started.Main();
}

}  // namespace

void AddWorldSteps(StepTable& steps) {
  steps.On<SystemFlag>(Do);
  steps.On<Setting>(Do);
  steps.On<WriteFile>(Do);
  steps.On<CopyFile>(Do);
  steps.On<CommandLine>(Do);
  steps.On<Start>(Do);
}

}  // namespace zr::scenario
