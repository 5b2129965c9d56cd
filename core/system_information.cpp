#include "core/system_information.h"

#include "core/window_registry.h"

namespace zr {

SystemInformation::SystemInformation(Program& program)
    : ui::Window(program.services.loop, "SystemInformation"), program_(program) {
  OK.OnClick = [this] { program_.SlotOf<SystemInformation>().Unload(); };
}

void SystemInformation::AddFact(const std::string& what, const std::string& value) {
  Facts.ListItems.push_back({program_.Translate(what), {value}});
}

// A kind of device the machine has none of still has its row, saying so.
void SystemInformation::Load() {
  Caption = program_.Translate("System Information");
  OK.Caption = program_.Translate("OK");
  Facts.ColumnHeaders = {program_.Translate("Item"), program_.Translate("Value")};
  const platform::SystemDescription machine = program_.services.desktop.DescribeSystem();
  AddFact("Kernel", machine.kernel);
  AddFact("Processor", machine.processor);
  AddFact("Memory", std::to_string(machine.memory_bytes >> 20) + " MB");
  const std::pair<const char*, const std::vector<std::string>*> devices[] = {{"Camera", &machine.cameras},
                                                                             {"Sound device", &machine.sound_devices}};
  for (const auto& [what, names] : devices) {
    if (names->empty()) AddFact(what, program_.Translate("none"));
    for (const auto& name : *names) AddFact(what, name);
  }
}

namespace {

const WindowRegistration<SystemInformation> kRegistration;

}  // namespace

}  // namespace zr
