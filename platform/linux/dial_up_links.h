#pragma once
// The point-to-point links (mobile broadband, PPPoE, dial-up over Bluetooth) that NetworkManager
// has up, asked of its command-line client. A machine without NetworkManager lists nothing, as a
// listing that failed: the hang-up after an upload then does nothing.
//
// Threads: the logic thread; each call waits for the client at most a few seconds.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ftp.h"

namespace zr::platform::linux_impl {

class NetworkManagerLinks final : public DialUpLinks {
 public:
  std::optional<std::vector<std::string>> Active() override;
  void HangUp(const std::string& name) override;
};

// The names of the point-to-point links in the client's terse listing of NAME:TYPE lines, where a
// colon or a backslash of a name comes escaped by a backslash.
std::vector<std::string> PointToPointLinks(std::string_view listing);

}  // namespace zr::platform::linux_impl
