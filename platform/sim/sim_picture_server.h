#pragma once
// The picture server of the scenario world: requests come from the scenario as raw text and go
// through the loop as a real server's do; what the program sends in answer is kept whole, as
// a browser would receive it, until the next request.
//
// Any port from 1 to 65535 can be listened on; the machine's address is 127.0.0.1.

#include <optional>
#include <string>
#include <vector>

#include "platform/event_loop.h"
#include "platform/picture_server.h"

namespace zr::platform::sim {

class SimPictureServer final : public PictureServer {
 public:
  explicit SimPictureServer(EventLoop& loop) : loop_(loop) {}

  int LocalPort() const override { return port_; }
  void SetLocalPort(int port) override;
  bool Listening() const override { return listening_; }
  void Listen() override;
  void Close() override { listening_ = false; }
  ListenFailure Failure() const override { return failure_; }
  std::string LocalAddress() const override { return "127.0.0.1"; }
  std::string RequestText() const override;
  void SendText(const std::string& text) override;
  void SendFile(const std::string& path) override;
  void SetRequestListener(RequestListener listener) override { listener_ = std::move(listener); }

  // Hands a whole request to the server: false when it does not listen (the response is then
  // empty). The program hears of it at the next pass of the loop.
  bool Deliver(std::string request);
  // Everything sent in answer to the last request served to its end, empty for one refused;
  // nothing before any.
  const std::optional<std::string>& LastResponse() const { return last_response_; }

 private:
  struct Exchange {
    std::string request;
    std::string response;
  };

  void Open();

  EventLoop& loop_;
  int port_ = 80;
  bool listening_ = false;
  ListenFailure failure_ = ListenFailure::None;
  RequestListener listener_;
  // The requests being served, the current one last.
  std::vector<Exchange> serving_;
  std::optional<std::string> last_response_;
};

}  // namespace zr::platform::sim
