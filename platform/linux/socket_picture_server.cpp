#include "platform/linux/socket_picture_server.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

namespace zr::platform::linux_impl {

namespace {

constexpr int kHighestPort = 65535;
constexpr int kSweepIntervalMs = 250;
constexpr std::size_t kReadPiece = 4096;

// Where the head ends: after the empty line, CR LF or a bare LF; npos while it has not come.
std::size_t EndOfHead(std::string_view head) {
  const std::size_t crlf = head.find("\r\n\r\n");
  const std::size_t lf = head.find("\n\n");
  const std::size_t crlf_end = crlf == std::string_view::npos ? crlf : crlf + 4;
  const std::size_t lf_end = lf == std::string_view::npos ? lf : lf + 2;
  return std::min(crlf_end, lf_end);
}

ListenFailure FailureOf(int error) {
  switch (error) {
    case EADDRINUSE:
      return ListenFailure::PortInUse;
    case EACCES:
    case EPERM:
      return ListenFailure::PortForbidden;
    default:
      return ListenFailure::Other;
  }
}

}  // namespace

std::string FirstLocalAddress() {
  ifaddrs* addresses = nullptr;
  std::string found = "127.0.0.1";
  if (getifaddrs(&addresses) != 0) return found;
  for (const ifaddrs* each = addresses; each; each = each->ifa_next) {
    if (!each->ifa_addr || each->ifa_addr->sa_family != AF_INET) continue;
    if ((each->ifa_flags & IFF_UP) == 0 || (each->ifa_flags & IFF_LOOPBACK) != 0) continue;
    char text[INET_ADDRSTRLEN] = {};
    sockaddr_in address{};
    std::memcpy(&address, each->ifa_addr, sizeof address);
    if (inet_ntop(AF_INET, &address.sin_addr, text, sizeof text)) {
      found = text;
      break;
    }
  }
  freeifaddrs(addresses);
  return found;
}

SocketPictureServer::SocketPictureServer(EventLoop& loop, DescriptorWatcher& descriptors, PictureServerLimits limits)
    : loop_(loop), descriptors_(descriptors), limits_(limits), self_(std::make_shared<SocketPictureServer*>(this)) {}

SocketPictureServer::~SocketPictureServer() {
  loop_.StopTimer(*this);
  Close();
  for (auto& [id, connection] : connections_) descriptors_.Unwatch(connection.socket.fd());
}

int SocketPictureServer::LocalPort() const { return Listening() ? bound_port_ : port_; }

void SocketPictureServer::SetLocalPort(int port) {
  port_ = port;
  if (Listening()) {
    Close();
    Open();
  }
}

void SocketPictureServer::Listen() {
  if (!Listening()) Open();
}

void SocketPictureServer::Close() {
  if (!Listening()) return;
  descriptors_.Unwatch(listening_.fd());
  listening_ = Socket();
}

void SocketPictureServer::Open() {
  failure_ = ListenFailure::None;
  if (port_ < 0 || port_ > kHighestPort) {
    failure_ = ListenFailure::PortInvalid;
    return;
  }
  Socket socket(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!socket.is_open()) {
    failure_ = FailureOf(errno);
    return;
  }
  const int yes = 1;
  setsockopt(socket.fd(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  address.sin_port = htons(static_cast<std::uint16_t>(port_));
  if (bind(socket.fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(socket.fd(), SOMAXCONN) != 0) {
    failure_ = FailureOf(errno);
    return;
  }
  socklen_t length = sizeof address;
  getsockname(socket.fd(), reinterpret_cast<sockaddr*>(&address), &length);
  bound_port_ = ntohs(address.sin_port);
  listening_ = std::move(socket);
  descriptors_.Watch(listening_.fd(), {.read = true}, [this](bool, bool) { Accept(); });
}

// Takes every connection waiting; those beyond the limit are closed at once.
void SocketPictureServer::Accept() {
  for (;;) {
    Socket socket(accept4(listening_.fd(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!socket.is_open()) return;  // none left, or none can be taken now
    if (connections_.size() >= limits_.connections) continue;
    const std::uint64_t id = next_id_++;
    Connection& connection = connections_[id];
    connection.socket = std::move(socket);
    connection.deadline_ms = loop_.NowMs() + limits_.deadline_ms;
    WatchFor(id, {.read = true}, &SocketPictureServer::Read);
    if (connections_.size() == 1) loop_.StartTimer(*this, kSweepIntervalMs);
  }
}

void SocketPictureServer::WatchFor(std::uint64_t id, DescriptorInterest interest,
                                   void (SocketPictureServer::*then)(std::uint64_t)) {
  descriptors_.Watch(Find(id)->socket.fd(), interest, [this, id, then](bool, bool) { (this->*then)(id); });
}

SocketPictureServer::Connection* SocketPictureServer::Find(std::uint64_t id) {
  const auto found = connections_.find(id);
  return found == connections_.end() ? nullptr : &found->second;
}

void SocketPictureServer::Read(std::uint64_t id) {
  Connection& connection = *Find(id);
  char piece[kReadPiece];
  for (;;) {
    const ssize_t got = recv(connection.socket.fd(), piece, sizeof piece, 0);
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
    if (got < 0 || (got == 0 && connection.head.empty())) return Drop(id);
    if (got > 0) connection.head.append(piece, static_cast<std::size_t>(got));
    // A client that closes its side after its request has said all it will say.
    const std::size_t end = got == 0 ? connection.head.size() : EndOfHead(connection.head);
    if (end != std::string::npos && end <= limits_.head_bytes) {
      connection.head.resize(end);
      connection.stage = Stage::Answering;
      descriptors_.Unwatch(connection.socket.fd());
      loop_.Post([self = std::weak_ptr<SocketPictureServer*>(self_), id] {
        if (const auto alive = self.lock()) (*alive)->Answer(id);
      });
      return;
    }
    if (connection.head.size() > limits_.head_bytes) return Drop(id);
  }
}

void SocketPictureServer::Answer(std::uint64_t id) {
  Connection* connection = Find(id);
  if (!connection) return;
  serving_.push_back(Serving{id, connection->head});
  struct Served {
    SocketPictureServer& server;
    std::uint64_t id;
    ~Served() {
      server.serving_.pop_back();
      Connection* done = server.Find(id);
      if (!done) return;
      done->stage = Stage::Writing;
      server.Write(id);
    }
  } served{*this, id};
  if (const RequestListener listener = listener_) listener();
}

std::string SocketPictureServer::RequestText() const { return serving_.empty() ? "" : serving_.back().request; }

void SocketPictureServer::SendText(const std::string& text) {
  if (serving_.empty()) return;
  const std::uint64_t id = serving_.back().id;
  Connection* connection = Find(id);
  if (!connection) return;
  connection->unsent += text;
  Write(id);
}

void SocketPictureServer::SendFile(const std::string& path) { SendText(FileResponse(path)); }

// Sends what the socket takes now. Once the handler is done and all is sent, the sending side
// is shut and the connection waits for the client to close.
void SocketPictureServer::Write(std::uint64_t id) {
  Connection& connection = *Find(id);
  while (!connection.unsent.empty()) {
    const ssize_t sent = send(connection.socket.fd(), connection.unsent.data(), connection.unsent.size(), MSG_NOSIGNAL);
    if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      WatchFor(id, {.write = true}, &SocketPictureServer::Write);
      return;
    }
    if (sent < 0) return Drop(id);
    connection.unsent.erase(0, static_cast<std::size_t>(sent));
  }
  descriptors_.Unwatch(connection.socket.fd());
  if (connection.stage != Stage::Writing) return;
  connection.stage = Stage::Closing;
  shutdown(connection.socket.fd(), SHUT_WR);
  WatchFor(id, {.read = true}, &SocketPictureServer::Drain);
}

void SocketPictureServer::Drain(std::uint64_t id) {
  Connection& connection = *Find(id);
  char piece[kReadPiece];
  for (;;) {
    const ssize_t got = recv(connection.socket.fd(), piece, sizeof piece, 0);
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
    if (got <= 0) return Drop(id);
  }
}

void SocketPictureServer::Drop(std::uint64_t id) {
  const auto found = connections_.find(id);
  if (found == connections_.end()) return;
  descriptors_.Unwatch(found->second.socket.fd());
  connections_.erase(found);
  if (connections_.empty()) loop_.StopTimer(*this);
}

void SocketPictureServer::Fire() {
  const std::int64_t now = loop_.NowMs();
  std::vector<std::uint64_t> late;
  for (const auto& [id, connection] : connections_)
    if (connection.stage != Stage::Answering && now >= connection.deadline_ms) late.push_back(id);
  for (const std::uint64_t id : late) Drop(id);
}

std::string SocketPictureServer::LocalAddress() const { return FirstLocalAddress(); }

}  // namespace zr::platform::linux_impl
