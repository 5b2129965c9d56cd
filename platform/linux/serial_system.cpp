#include "platform/linux/serial_system.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "platform/linux/device_nodes.h"

namespace zr::platform::linux_impl {
namespace {

class RealSystem final : public SerialSystem {
 public:
  std::vector<std::string> ListFolder(const std::string& folder) override {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error))
      names.push_back(entry.path().filename().string());
    return names;
  }

  std::string LinkTarget(const std::string& path) override {
    std::error_code error;
    if (!std::filesystem::is_symlink(path, error)) return "";
    const auto target = std::filesystem::canonical(path, error);
    return error ? "" : target.string();
  }

  int Open(const std::string& path, int flags) override { return ::open(path.c_str(), flags | O_CLOEXEC); }
  int Close(int fd) override { return ::close(fd); }
  int Ioctl(int fd, unsigned long request, void* argument) override {
    return IoctlUninterrupted(fd, request, argument);
  }
};

}  // namespace

SerialSystem& RealSerialSystem() {
  static RealSystem system;
  return system;
}

}  // namespace zr::platform::linux_impl
