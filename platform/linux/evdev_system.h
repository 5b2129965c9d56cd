#pragma once
// The system calls the input event devices (/dev/input/event*) are read through, behind an
// interface, so that finding a joystick and reading its buttons run against played devices in
// the tests. Each call keeps the convention of the system call it stands for: -1 with errno set
// when it fails.
//
// Threads: the real one may be called from any thread; a fake must be as safe, because the
// joystick's reader polls and reads on a thread of its own.

#include <poll.h>
#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace zr::platform::linux_impl {

class EvdevSystem {
 public:
  virtual ~EvdevSystem() = default;

  // The paths of the event device nodes present (/dev/input/event0, …), in no order.
  virtual std::vector<std::string> ListEventNodes() = 0;

  virtual int Open(const std::string& path, int flags) = 0;
  virtual int Close(int fd) = 0;
  // The real one repeats a call a signal interrupted, so EINTR never reaches the caller.
  virtual int Ioctl(int fd, unsigned long request, void* argument) = 0;
  virtual ssize_t Read(int fd, void* buffer, std::size_t size) = 0;
  // Waits for `entry.events` on one file for at most `timeout_ms`; 0 when the time ran out.
  virtual int Poll(pollfd& entry, int timeout_ms) = 0;
};

// The machine's own devices.
EvdevSystem& RealEvdevSystem();

}  // namespace zr::platform::linux_impl
