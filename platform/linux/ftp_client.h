#pragma once
// Our own FTP client on plain sockets: active mode (the server connects back to a port the
// client offers with PORT or EPRT), the transfer type asked for, CWD and STOR, replies of one
// line or many. Each connection has a thread of its own that carries out one operation after
// another and posts how each ended to the logic's loop; every wait has a deadline and watches a
// stop request, so closing a connection ends whatever it waits for within a fraction of a second.
//
// The password goes to the server and nowhere else: no outcome, message or log holds it.
//
// Threads: the calls of the seam on the logic thread; the connection's own thread does the rest.

#include <chrono>
#include <memory>

#include "platform/event_loop.h"
#include "platform/ftp.h"

namespace zr::platform::linux_impl {

struct FtpTimeouts {
  std::chrono::milliseconds connect{10000};  // looking the name up and connecting, together
  std::chrono::milliseconds reply{15000};    // each reply of the server, and its data connection
  std::chrono::milliseconds block{30000};    // each block of the file, until the server takes it
};

class SocketFtp final : public Ftp {
 public:
  SocketFtp(EventLoop& loop, DialUpLinks& links, FtpTimeouts timeouts = {})
      : loop_(loop), links_(links), timeouts_(timeouts) {}

  std::unique_ptr<FtpConnection> NewConnection() override;
  DialUpLinks& Links() override { return links_; }

 private:
  EventLoop& loop_;
  DialUpLinks& links_;
  FtpTimeouts timeouts_;
};

}  // namespace zr::platform::linux_impl
