#pragma once
// The picture server of the main window as the operating modes see it: a local address and
// port, and whether it listens. Entering "webshare" opens it, every mode change closes it.
// The responder that answers browsers on that port hangs off Listen and Close.

#include <string>

namespace zr {

class WebShareServer {
 public:
  int LocalPort = 80;
  std::string LocalAddress = "127.0.0.1";

  bool Listening() const { return listening_; }
  void Listen() { listening_ = true; }
  void Close() { listening_ = false; }

 private:
  bool listening_ = false;
};

}  // namespace zr
