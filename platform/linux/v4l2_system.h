#pragma once
// The system calls the V4L2 devices are driven through, behind an interface, so that all the
// device logic above it runs against a played device in the tests. Each call keeps the
// convention of the system call it stands for: -1 (MAP_FAILED for Mmap) with errno set when
// it fails.
//
// Threads: the real one may be called from any thread; a fake must be as safe, because a
// streaming source polls and dequeues on its own thread while the logic thread asks for
// controls and inputs through a second open file.

#include <poll.h>
#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace zr::platform::linux_impl {

class V4l2System {
 public:
  virtual ~V4l2System() = default;

  // The paths of the video device nodes present (/dev/video0, /dev/video1, …), in no order.
  virtual std::vector<std::string> ListVideoNodes() = 0;

  virtual int Open(const std::string& path, int flags) = 0;
  virtual int Close(int fd) = 0;
  // The real one repeats a call a signal interrupted, so EINTR never reaches the caller.
  virtual int Ioctl(int fd, unsigned long request, void* argument) = 0;
  // Maps `length` bytes of a device's buffer at `offset`, shared, for reading and writing.
  virtual void* Mmap(std::size_t length, int fd, off_t offset) = 0;
  virtual int Munmap(void* address, std::size_t length) = 0;
  // Waits for `entry.events` on one file for at most `timeout_ms`; 0 when the time ran out.
  virtual int Poll(pollfd& entry, int timeout_ms) = 0;
};

// The machine's own devices.
V4l2System& RealV4l2System();

}  // namespace zr::platform::linux_impl
