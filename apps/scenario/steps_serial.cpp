// Serial ports: the simulated ports a scenario lists and the modem lines (CTS, DSR) of the open
// one. The runner does not carry these out yet; a scenario that uses them fails at that line.

#include "apps/scenario/steps.h"

namespace zr::scenario {

namespace {

void Do(Runner&, const SerialPorts&) { NotYetSupported("serial-ports"); }
void Do(Runner&, const SerialLine&) { NotYetSupported("serial"); }

}  // namespace

void AddSerialSteps(StepTable& steps) {
  steps.On<SerialPorts>(Do);
  steps.On<SerialLine>(Do);
}

}  // namespace zr::scenario
