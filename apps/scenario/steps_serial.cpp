// Serial ports: the simulated ports a scenario lists, and the modem lines (CTS, DSR) of the
// open one, which the program sees at its next look at them.

#include "apps/scenario/steps.h"

namespace zr::scenario {

namespace {

void Do(Runner& runner, const SerialPorts& ports) { runner.world().serial_ports.names = ports.names; }

void Do(Runner& runner, const SerialLine& line) {
  auto& lines = runner.world().serial_ports.lines;
  (line.signal == SerialSignal::kCts ? lines.cts : lines.dsr) = line.on;
}

}  // namespace

void AddSerialSteps(StepTable& steps) {
  steps.On<SerialPorts>(Do);
  steps.On<SerialLine>(Do);
}

}  // namespace zr::scenario
