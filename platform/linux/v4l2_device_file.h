#pragma once
// An open V4L2 device node and the texts of its failures, shared by the capture source and the
// TV tuner of the same card. Every node opens without blocking: a call never waits for a
// device that does not answer.

#include <fcntl.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

#include "base/result.h"
#include "platform/linux/v4l2_system.h"

namespace zr::platform::linux_impl {

inline constexpr int kV4l2OpenFlags = O_RDWR | O_NONBLOCK;

inline std::string ErrnoText(int code) { return std::generic_category().message(code); }

inline std::string DeviceText(const std::string& path) { return "The device " + path; }

inline bool IsUnplugged(int code) { return code == ENODEV || code == EIO || code == ENXIO; }

inline Error OpenError(const std::string& path, int code) {
  if (code == EBUSY) return {DeviceText(path) + " is busy", "open"};
  if (code == ENOENT || IsUnplugged(code)) return {DeviceText(path) + " is not connected", "open"};
  return {DeviceText(path) + " cannot be opened: " + ErrnoText(code), "open"};
}

inline Error DeviceError(const std::string& path, int code, const char* where) {
  if (code == EBUSY) return {DeviceText(path) + " is busy", where};
  if (IsUnplugged(code)) return {DeviceText(path) + " was unplugged", where};
  return {DeviceText(path) + " fails: " + ErrnoText(code), where};
}

class DeviceFile {
 public:
  DeviceFile(V4l2System& system, const std::string& path)
      : system_(&system), fd_(system.Open(path, kV4l2OpenFlags)), open_error_(fd_ < 0 ? errno : 0) {}
  DeviceFile(DeviceFile&& other) noexcept
      : system_(other.system_), fd_(std::exchange(other.fd_, -1)), open_error_(other.open_error_) {}
  DeviceFile& operator=(DeviceFile&&) = delete;
  ~DeviceFile() {
    if (fd_ >= 0) system_->Close(fd_);
  }

  bool is_open() const { return fd_ >= 0; }
  int open_error() const { return open_error_; }
  int fd() const { return fd_; }
  V4l2System& system() const { return *system_; }

  // 0 when the device did it, else the errno it answered with.
  int Ioctl(unsigned long request, void* argument) const {
    return system_->Ioctl(fd_, request, argument) < 0 ? errno : 0;
  }

 private:
  V4l2System* system_;
  int fd_;
  int open_error_;
};

}  // namespace zr::platform::linux_impl
