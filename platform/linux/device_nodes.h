#pragma once
// What the device back ends share of the system: the numbered nodes of a kind in a folder
// ("video0", "event12"), and an ioctl that is not cut short by a signal.

#include <sys/ioctl.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace zr::platform::linux_impl {

// The nodes in `folder` named `prefix` and a number only (not "video-loopback" or the like).
inline std::vector<std::string> ListNumberedNodes(const char* folder, std::string_view prefix) {
  std::vector<std::string> nodes;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    const std::string name = entry.path().filename().string();
    if (name.size() > prefix.size() && name.starts_with(prefix) &&
        std::all_of(name.begin() + static_cast<std::ptrdiff_t>(prefix.size()), name.end(),
                    [](unsigned char c) { return std::isdigit(c) != 0; }))
      nodes.push_back(entry.path().string());
  }
  return nodes;
}

inline int IoctlUninterrupted(int fd, unsigned long request, void* argument) {
  int result = 0;
  do {
    result = ::ioctl(fd, request, argument);
  } while (result == -1 && errno == EINTR);
  return result;
}

}  // namespace zr::platform::linux_impl
