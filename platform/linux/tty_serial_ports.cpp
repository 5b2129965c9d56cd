#include "platform/linux/tty_serial_ports.h"

#include <fcntl.h>
#include <linux/serial.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace zr::platform::linux_impl {
namespace {

constexpr const char* kById = "/dev/serial/by-id";
constexpr int kOpenFlags = O_RDWR | O_NOCTTY | O_NONBLOCK;

std::string SystemWords(int error) { return std::strerror(error); }

// The nodes of one kind in /dev ("ttyUSB" → ttyUSB0, ttyUSB1, …), in the order of their numbers.
std::vector<std::string> NumberedNodes(const std::vector<std::string>& names, const std::string& prefix) {
  std::vector<std::pair<unsigned long, std::string>> numbered;
  for (const std::string& name : names) {
    if (name.size() <= prefix.size() || name.size() > prefix.size() + 6 || !name.starts_with(prefix)) continue;
    const std::string digits = name.substr(prefix.size());
    if (!std::all_of(digits.begin(), digits.end(), [](unsigned char c) { return std::isdigit(c) != 0; })) continue;
    numbered.emplace_back(std::stoul(digits), "/dev/" + name);
  }
  std::sort(numbered.begin(), numbered.end());
  std::vector<std::string> paths;
  for (auto& [number, path] : numbered) paths.push_back(std::move(path));
  return paths;
}

class TtyLine final : public SerialLine {
 public:
  TtyLine(SerialSystem& system, int fd, std::string name) : system_(system), fd_(fd), name_(std::move(name)) {}
  ~TtyLine() override { system_.Close(fd_); }
  TtyLine(const TtyLine&) = delete;
  TtyLine& operator=(const TtyLine&) = delete;

  Result<void> RaiseDtr() override {
    int bits = TIOCM_DTR;
    if (system_.Ioctl(fd_, TIOCMBIS, &bits) == 0) return {};
    return Failed("raise DTR on", "TIOCMBIS");
  }

  Result<ModemLines> ReadLines() override {
    int bits = 0;
    if (system_.Ioctl(fd_, TIOCMGET, &bits) != 0) return Failed("read the lines of", "TIOCMGET");
    return ModemLines{(bits & TIOCM_CTS) != 0, (bits & TIOCM_DSR) != 0};
  }

 private:
  Error Failed(const std::string& what, const char* where) const {
    const int error = errno;
    return Error{"Cannot " + what + " " + name_ + ": " + SystemWords(error), where, error};
  }

  SerialSystem& system_;
  const int fd_;
  const std::string name_;
};

class TtySerialPorts final : public SerialPorts {
 public:
  explicit TtySerialPorts(SerialSystem& system) : system_(system) {}

  std::vector<std::string> Enumerate() override {
    std::vector<std::string> ports;
    std::set<std::string> reached;  // the nodes a by-id name leads to
    std::vector<std::string> by_id = system_.ListFolder(kById);
    std::sort(by_id.begin(), by_id.end());
    for (const std::string& name : by_id) {
      const std::string path = std::string(kById) + "/" + name;
      const std::string target = system_.LinkTarget(path);
      if (target.empty()) continue;
      ports.push_back(path);
      reached.insert(target);
    }
    const std::vector<std::string> nodes = system_.ListFolder("/dev");
    for (const char* kind : {"ttyS", "ttyUSB", "ttyACM"}) {
      for (const std::string& path : NumberedNodes(nodes, kind)) {
        if (reached.count(path) > 0) continue;
        if (kind == std::string("ttyS") && !HasRealUart(path)) continue;
        ports.push_back(path);
      }
    }
    return ports;
  }

  Result<std::unique_ptr<SerialLine>> Open(const std::string& name) override {
    const int fd = system_.Open(name, kOpenFlags);
    if (fd < 0) {
      const int error = errno;
      return Error{"Cannot open " + name + ": " + SystemWords(error), "open", error};
    }
    if (system_.Ioctl(fd, TIOCEXCL, nullptr) != 0) {
      const int error = errno;
      system_.Close(fd);
      if (error == ENOTTY) return Error{name + " is not a serial port", "TIOCEXCL", error};
      return Error{"Cannot open " + name + ": " + SystemWords(error), "TIOCEXCL", error};
    }
    return std::unique_ptr<SerialLine>(std::make_unique<TtyLine>(system_, fd, name));
  }

 private:
  // Most machines have many ttyS nodes with no UART behind them; the driver tells them apart.
  // A node this user may not open cannot be told apart, and is left out with them.
  bool HasRealUart(const std::string& path) {
    const int fd = system_.Open(path, kOpenFlags);
    if (fd < 0) return false;
    serial_struct info{};
    const bool real = system_.Ioctl(fd, TIOCGSERIAL, &info) == 0 && info.type != PORT_UNKNOWN;
    system_.Close(fd);
    return real;
  }

  SerialSystem& system_;
};

}  // namespace

std::unique_ptr<SerialPorts> MakeTtySerialPorts(SerialSystem& system) {
  return std::make_unique<TtySerialPorts>(system);
}

}  // namespace zr::platform::linux_impl
