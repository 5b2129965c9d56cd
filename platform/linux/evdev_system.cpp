#include "platform/linux/evdev_system.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace zr::platform::linux_impl {
namespace {

constexpr const char* kInputFolder = "/dev/input";
constexpr std::string_view kEventNodePrefix = "event";

// "event" followed by its number only: event0, event12.
bool IsEventNodeName(const std::string& name) {
  if (name.size() <= kEventNodePrefix.size() || !name.starts_with(kEventNodePrefix)) return false;
  return std::all_of(name.begin() + static_cast<std::ptrdiff_t>(kEventNodePrefix.size()), name.end(),
                     [](unsigned char c) { return std::isdigit(c) != 0; });
}

class RealSystem final : public EvdevSystem {
 public:
  std::vector<std::string> ListEventNodes() override {
    std::vector<std::string> nodes;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(kInputFolder, error)) {
      if (IsEventNodeName(entry.path().filename().string())) nodes.push_back(entry.path().string());
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

  ssize_t Read(int fd, void* buffer, std::size_t size) override { return ::read(fd, buffer, size); }
  int Poll(pollfd& entry, int timeout_ms) override { return ::poll(&entry, 1, timeout_ms); }
};

}  // namespace

EvdevSystem& RealEvdevSystem() {
  static RealSystem system;
  return system;
}

}  // namespace zr::platform::linux_impl
