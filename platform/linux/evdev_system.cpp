#include "platform/linux/evdev_system.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "platform/linux/device_nodes.h"

namespace zr::platform::linux_impl {
namespace {

constexpr const char* kInputFolder = "/dev/input";
constexpr std::string_view kEventNodePrefix = "event";

class RealSystem final : public EvdevSystem {
 public:
  std::vector<std::string> ListEventNodes() override { return ListNumberedNodes(kInputFolder, kEventNodePrefix); }

  int Open(const std::string& path, int flags) override { return ::open(path.c_str(), flags | O_CLOEXEC); }
  int Close(int fd) override { return ::close(fd); }

  int Ioctl(int fd, unsigned long request, void* argument) override {
    return IoctlUninterrupted(fd, request, argument);
  }

  ssize_t Read(int fd, void* buffer, std::size_t size) override { return ::read(fd, buffer, size); }
  int Poll(pollfd& entry, int timeout_ms) override { return ::poll(&entry, 1, timeout_ms); }
};

}  // namespace

EvdevSystem& RealEvdevSystem() {
  static RealSystem system;
  return system;
}

}  // namespace zr::platform::linux_impl
