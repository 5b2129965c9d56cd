#include "platform/sim/sim_serial_ports.h"

#include <algorithm>

namespace zr::platform::sim {

class SimSerialPorts::Line final : public SerialLine {
 public:
  explicit Line(SimSerialPorts& ports) : ports_(ports) { ports_.open_ = this; }
  ~Line() override {
    ports_.open_ = nullptr;
    ports_.log_("PortOpen=false");
  }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;

  Result<void> RaiseDtr() override {
    ports_.log_("DTREnable=true");
    return {};
  }
  Result<ModemLines> ReadLines() override { return ports_.lines; }

 private:
  SimSerialPorts& ports_;
};

Result<std::unique_ptr<SerialLine>> SimSerialPorts::Open(const std::string& name) {
  log_("CommPort=" + name);
  log_("PortOpen=true");
  if (std::find(names.begin(), names.end(), name) == names.end())
    return Error{"Cannot open " + name + ": No such file or directory", "open"};
  if (open_) return Error{"Cannot open " + name + ": Device or resource busy", "open"};
  return std::unique_ptr<SerialLine>(std::make_unique<Line>(*this));
}

}  // namespace zr::platform::sim
