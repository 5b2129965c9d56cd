#pragma once
// The system calls the serial ports are found and read through, behind an interface, so that
// the list of ports and the modem lines run against played ports in the tests. Each call keeps
// the convention of the system call it stands for: -1 with errno set when it fails.

#include <string>
#include <vector>

namespace zr::platform::linux_impl {

class SerialSystem {
 public:
  virtual ~SerialSystem() = default;

  // The names of the entries of `folder` ("ttyS0", …); none when it cannot be read.
  virtual std::vector<std::string> ListFolder(const std::string& folder) = 0;
  // The path a link leads to, made absolute; empty when `path` is no link.
  virtual std::string LinkTarget(const std::string& path) = 0;
  virtual int Open(const std::string& path, int flags) = 0;
  virtual int Close(int fd) = 0;
  // The real one repeats a call a signal interrupted, so EINTR never reaches the caller.
  virtual int Ioctl(int fd, unsigned long request, void* argument) = 0;
};

// The machine's own ports.
SerialSystem& RealSerialSystem();

}  // namespace zr::platform::linux_impl
