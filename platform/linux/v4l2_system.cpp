#include "platform/linux/v4l2_system.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "platform/linux/device_nodes.h"

namespace zr::platform::linux_impl {
namespace {

constexpr const char* kDeviceFolder = "/dev";
constexpr std::string_view kVideoNodePrefix = "video";

class RealSystem final : public V4l2System {
 public:
  std::vector<std::string> ListVideoNodes() override { return ListNumberedNodes(kDeviceFolder, kVideoNodePrefix); }

  int Open(const std::string& path, int flags) override { return ::open(path.c_str(), flags | O_CLOEXEC); }
  int Close(int fd) override { return ::close(fd); }

  int Ioctl(int fd, unsigned long request, void* argument) override {
    return IoctlUninterrupted(fd, request, argument);
  }

  void* Mmap(std::size_t length, int fd, off_t offset) override {
    return ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd, offset);
  }
  int Munmap(void* address, std::size_t length) override { return ::munmap(address, length); }

  int Poll(pollfd& entry, int timeout_ms) override { return ::poll(&entry, 1, timeout_ms); }
};

}  // namespace

V4l2System& RealV4l2System() {
  static RealSystem system;
  return system;
}

}  // namespace zr::platform::linux_impl
