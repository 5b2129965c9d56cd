#pragma once
// The serial ports of the machine as the switch trigger uses them: no data, only the modem
// lines. An open port has its DTR line raised on request (the voltage a switch loops back to
// CTS or DSR) and tells the state of CTS and DSR. Closing is the port's destruction.
//
// Threads: every call on the logic thread; each returns at once (the ports are opened without
// waiting for a carrier, and the lines are read from the driver's state).

#include <memory>
#include <string>
#include <vector>

#include "base/result.h"

namespace zr::platform {

struct ModemLines {
  bool cts = false;
  bool dsr = false;
};

class SerialLine {
 public:
  virtual ~SerialLine() = default;  // closes the port
  virtual Result<void> RaiseDtr() = 0;
  virtual Result<ModemLines> ReadLines() = 0;
};

class SerialPorts {
 public:
  virtual ~SerialPorts() = default;
  // The ports there are now, by the names the system gives them, in a stable order.
  virtual std::vector<std::string> Enumerate() = 0;
  // Opens the port of that name for this program alone; the error says why it cannot be.
  virtual Result<std::unique_ptr<SerialLine>> Open(const std::string& name) = 0;
};

}  // namespace zr::platform
