// Serial ports: the simulated ports a scenario lists, and the modem lines (CTS, DSR) of the
// open one, which the program sees at its next look at them. The simulated scanners, the other
// peripherals a scenario lists.

#include "apps/scenario/steps.h"

namespace zr::scenario {

namespace {

void Do(Runner& runner, const SerialPorts& ports) { runner.world().serial_ports.names = ports.names; }

void Do(Runner& runner, const Scanners& scanners) {
  auto& devices = runner.world().scanners.devices;
  devices.clear();
  for (const auto& name : scanners.names) {
    platform::sim::SimScannerDevice device{name, 157, 196, static_cast<int>(scanners.band.count()), scanners.failure};
    if (scanners.size) {
      device.width = scanners.size->width;
      device.height = scanners.size->height;
    }
    devices.push_back(std::move(device));
  }
}

void Do(Runner& runner, const SerialLine& line) {
  auto& lines = runner.world().serial_ports.lines;
  (line.signal == SerialSignal::kCts ? lines.cts : lines.dsr) = line.on;
}

}  // namespace

void AddSerialSteps(StepTable& steps) {
  steps.On<SerialPorts>(Do);
  steps.On<SerialLine>(Do);
  steps.On<Scanners>(Do);
}

}  // namespace zr::scenario
