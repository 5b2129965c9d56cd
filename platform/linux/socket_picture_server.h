#pragma once
// The picture server on real sockets: a small HTTP responder on the program's own loop. The
// listening socket and every connection are non-blocking descriptors the loop watches; a
// request is read up to the end of its head, handed to the logic by an event posted to the
// loop, and its response is written as the socket takes it, without ever waiting on a client.
// After the response the sending side is shut and the connection closed once the client has
// closed too (or at its deadline), so that no unread byte of the client cuts the response off.
//
// What a hostile or slow client meets: at most `connections` at once (one more is closed as
// soon as it is taken), a head of at most `head_bytes` (a longer one is closed), and a deadline
// for the whole exchange from the connection on (a client that trickles a byte a second is
// dropped); a connection whose request is being answered is never dropped under its handler.
//
// Threads: everything on the logic thread, in the loop's passes.

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/descriptor_watcher.h"
#include "platform/event_loop.h"
#include "platform/linux/sockets.h"
#include "platform/picture_server.h"

namespace zr::platform::linux_impl {

struct PictureServerLimits {
  std::size_t connections = 64;
  std::size_t head_bytes = 16 * 1024;
  std::int64_t deadline_ms = 10'000;
};

class SocketPictureServer final : public PictureServer, private TimerClient {
 public:
  SocketPictureServer(EventLoop& loop, DescriptorWatcher& descriptors, PictureServerLimits limits = {});
  ~SocketPictureServer();
  SocketPictureServer(const SocketPictureServer&) = delete;
  SocketPictureServer& operator=(const SocketPictureServer&) = delete;

  // While it listens, the port it is bound to (the one the system chose for port 0).
  int LocalPort() const override;
  void SetLocalPort(int port) override;
  bool Listening() const override { return listening_.is_open(); }
  void Listen() override;
  void Close() override;
  ListenFailure Failure() const override { return failure_; }
  // The machine's first non-loopback IPv4 address that is up, else 127.0.0.1.
  std::string LocalAddress() const override;
  std::string RequestText() const override;
  void SendText(const std::string& text) override;
  void SendFile(const std::string& path) override;
  void SetRequestListener(RequestListener listener) override { listener_ = std::move(listener); }

  // The connections open now, in any stage.
  std::size_t OpenConnections() const { return connections_.size(); }

 private:
  enum class Stage { Reading, Answering, Writing, Closing };
  struct Connection {
    Socket socket;
    std::string head;
    std::string unsent;
    std::int64_t deadline_ms = 0;
    Stage stage = Stage::Reading;
  };
  struct Serving {
    std::uint64_t id;
    std::string request;
  };

  void Fire() override;  // drops the connections past their deadline
  void Open();
  void Accept();
  void Read(std::uint64_t id);
  void Answer(std::uint64_t id);
  void Write(std::uint64_t id);
  void Drain(std::uint64_t id);
  void Drop(std::uint64_t id);
  void WatchFor(std::uint64_t id, DescriptorInterest interest, void (SocketPictureServer::*then)(std::uint64_t));
  Connection* Find(std::uint64_t id);

  EventLoop& loop_;
  DescriptorWatcher& descriptors_;
  const PictureServerLimits limits_;
  int port_ = 80;
  int bound_port_ = 0;
  Socket listening_;
  ListenFailure failure_ = ListenFailure::None;
  RequestListener listener_;
  std::map<std::uint64_t, Connection> connections_;
  std::uint64_t next_id_ = 1;
  // The requests whose handlers are under way, the current one last.
  std::vector<Serving> serving_;
  // Events posted for requests find out whether the server is still there.
  std::shared_ptr<SocketPictureServer*> self_;
};

// The machine's first non-loopback IPv4 address that is up, else 127.0.0.1.
std::string FirstLocalAddress();

}  // namespace zr::platform::linux_impl
