#pragma once
// Simulated serial ports: the names a scenario lists, and modem lines it sets. What the program
// does to a port goes to the device log with the serial control's names: "CommPort=NAME" and
// "PortOpen=true" on opening, "DTREnable=true", "PortOpen=false" when the port is closed.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/serial_ports.h"

namespace zr::platform::sim {

class SimSerialPorts final : public SerialPorts {
 public:
  explicit SimSerialPorts(std::function<void(std::string)> log) : log_(std::move(log)) {}

  std::vector<std::string> Enumerate() override { return names; }
  Result<std::unique_ptr<SerialLine>> Open(const std::string& name) override;

  std::vector<std::string> names;
  ModemLines lines;  // as the open port reads them
  bool PortIsOpen() const { return open_ != nullptr; }

 private:
  class Line;
  std::function<void(std::string)> log_;
  const Line* open_ = nullptr;
};

}  // namespace zr::platform::sim
