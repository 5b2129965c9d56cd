#include "platform/linux/v4l2_system.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace zr::platform::linux_impl {
namespace {

constexpr const char* kDeviceFolder = "/dev";
constexpr std::string_view kVideoNodePrefix = "video";

// "video" followed by its number only: video0, video12 (not video-loopback or the like).
bool IsVideoNodeName(const std::string& name) {
  if (name.size() <= kVideoNodePrefix.size() || !name.starts_with(kVideoNodePrefix)) return false;
  return std::all_of(name.begin() + static_cast<std::ptrdiff_t>(kVideoNodePrefix.size()), name.end(),
                     [](unsigned char c) { return std::isdigit(c) != 0; });
}

class RealSystem final : public V4l2System {
 public:
  std::vector<std::string> ListVideoNodes() override {
    std::vector<std::string> nodes;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(kDeviceFolder, error)) {
      if (IsVideoNodeName(entry.path().filename().string())) nodes.push_back(entry.path().string());
    }
    return nodes;
  }

  int Open(const std::string& path, int flags) override { return ::open(path.c_str(), flags | O_CLOEXEC); }
  int Close(int fd) override { return ::close(fd); }

  int Ioctl(int fd, unsigned long request, void* argument) override {
    int result = 0;
    do {
      result = ::ioctl(fd, request, argument);
    } while (result == -1 && errno == EINTR);
    return result;
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
