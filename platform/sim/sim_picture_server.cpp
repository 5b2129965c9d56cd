#include "platform/sim/sim_picture_server.h"

#include <utility>

namespace zr::platform::sim {

namespace {
constexpr int kHighestPort = 65535;
}

void SimPictureServer::SetLocalPort(int port) {
  port_ = port;
  if (listening_) Open();
}

void SimPictureServer::Listen() {
  if (!listening_) Open();
}

void SimPictureServer::Open() {
  const bool valid = port_ >= 1 && port_ <= kHighestPort;
  listening_ = valid;
  failure_ = valid ? ListenFailure::None : ListenFailure::PortInvalid;
}

std::string SimPictureServer::RequestText() const { return serving_.empty() ? "" : serving_.back().request; }

void SimPictureServer::SendText(const std::string& text) {
  if (!serving_.empty()) serving_.back().response += text;
}

void SimPictureServer::SendFile(const std::string& path) {
  if (!serving_.empty()) serving_.back().response += FileResponse(path);
}

bool SimPictureServer::Deliver(std::string request) {
  if (!listening_) {
    last_response_ = std::string();  // the connection is refused: nothing comes back
    return false;
  }
  loop_.Post([this, request = std::move(request)] {
    serving_.push_back(Exchange{request, ""});
    // What was sent is the response even when the handler fails half way.
    struct Served {
      SimPictureServer& server;
      ~Served() {
        server.last_response_ = std::move(server.serving_.back().response);
        server.serving_.pop_back();
      }
    } served{*this};
    if (const RequestListener listener = listener_) listener();
  });
  return true;
}

}  // namespace zr::platform::sim
