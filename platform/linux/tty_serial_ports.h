#pragma once
// The machine's serial ports through the terminal devices: the ports are the stable names under
// /dev/serial/by-id, then the built-in UARTs (/dev/ttyS*, only those the driver says have a
// real UART behind them), then the USB adapters and modems (/dev/ttyUSB*, /dev/ttyACM*) that
// no by-id name leads to, each kind in the order of its numbers. A port is opened without
// waiting for a carrier and kept for this program alone (TIOCEXCL); DTR is raised with
// TIOCMBIS and CTS and DSR read with TIOCMGET.

#include <memory>

#include "platform/linux/serial_system.h"
#include "platform/serial_ports.h"

namespace zr::platform::linux_impl {

std::unique_ptr<SerialPorts> MakeTtySerialPorts(SerialSystem& system = RealSerialSystem());

}  // namespace zr::platform::linux_impl
