#include "platform/linux/sockets.h"

#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace zr::platform::linux_impl {

using Clock = std::chrono::steady_clock;

Socket& Socket::operator=(Socket&& other) noexcept {
  if (this != &other) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = std::exchange(other.fd_, -1);
  }
  return *this;
}

Socket::~Socket() {
  if (fd_ >= 0) ::close(fd_);
}

WaitOutcome WaitForSocket(int fd, short events, std::chrono::milliseconds timeout, const std::stop_token& stop) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    if (stop.stop_requested()) return WaitOutcome::Stopped;
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return WaitOutcome::TimedOut;
    pollfd watched{fd, events, 0};
    const int ready = ::poll(&watched, 1, static_cast<int>(std::min(left, kWaitSlice).count()));
    if (ready > 0) return WaitOutcome::Ready;
    if (ready < 0 && errno != EINTR) return WaitOutcome::Ready;  // the next call reports it
  }
}

bool SleepUntil(std::chrono::steady_clock::time_point deadline, const std::stop_token& stop) {
  std::mutex mutex;
  std::condition_variable_any woken;
  std::unique_lock lock(mutex);
  woken.wait_until(lock, stop, deadline, [] { return false; });
  return !stop.stop_requested();
}

SendOutcome SendAll(int fd, std::string_view bytes, std::chrono::milliseconds timeout, const std::stop_token& stop) {
  while (!bytes.empty()) {
    switch (WaitForSocket(fd, POLLOUT, timeout, stop)) {
      case WaitOutcome::Stopped:
        return SendOutcome::Stopped;
      case WaitOutcome::TimedOut:
        return SendOutcome::TimedOut;
      case WaitOutcome::Ready:
        break;
    }
    const ssize_t sent = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno != EAGAIN && errno != EINTR) return SendOutcome::Failed;
    if (sent > 0) bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return SendOutcome::Sent;
}

std::chrono::milliseconds TimeLeft(Clock::time_point deadline) {
  return std::max(std::chrono::milliseconds(0),
                  std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()));
}

namespace {

Result<AddressList> LookUp(const std::string& host, const std::string& port) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  const int status = getaddrinfo(host.c_str(), port.c_str(), &hints, &list);
  if (status != 0) return Error{gai_strerror(status), "getaddrinfo"};
  return AddressList(list);
}

}  // namespace

Result<AddressList> Resolve(const std::string& host, int port, Clock::time_point deadline,
                            const std::stop_token& stop) {
  struct Lookup {
    std::mutex mutex;
    std::condition_variable_any done;
    std::optional<Result<AddressList>> result;
  };
  auto lookup = std::make_shared<Lookup>();
  std::thread([lookup, host, port = std::to_string(port)] {
    auto found = LookUp(host, port);
    std::lock_guard lock(lookup->mutex);
    lookup->result.emplace(std::move(found));
    lookup->done.notify_all();
  }).detach();
  std::unique_lock lock(lookup->mutex);
  if (!lookup->done.wait_until(lock, stop, deadline, [&] { return lookup->result.has_value(); }))
    return Error{stop.stop_requested() ? "stopped" : "timed out", "getaddrinfo"};
  return std::move(*lookup->result);
}

namespace {

int PendingSocketError(int fd) {
  int error = 0;
  socklen_t size = sizeof error;
  if (::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) != 0) return errno;
  return error;
}

// A connected non-blocking socket, or why there is none: "timed out", "stopped", or the
// system's reason.
Result<Socket> ConnectOne(const addrinfo& peer, Clock::time_point deadline, const std::stop_token& stop) {
  Socket socket(::socket(peer.ai_family, peer.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, peer.ai_protocol));
  if (!socket.is_open()) return Error{std::strerror(errno), "socket"};
  if (::connect(socket.fd(), peer.ai_addr, peer.ai_addrlen) == 0) return socket;
  if (errno != EINPROGRESS) return Error{std::strerror(errno), "connect"};
  switch (WaitForSocket(socket.fd(), POLLOUT, TimeLeft(deadline), stop)) {
    case WaitOutcome::Stopped:
      return Error{"stopped", "connect"};
    case WaitOutcome::TimedOut:
      return Error{"timed out", "connect"};
    case WaitOutcome::Ready:
      break;
  }
  if (const int error = PendingSocketError(socket.fd()); error != 0) {
    return Error{std::strerror(error), "connect"};
  }
  return socket;
}

}  // namespace

Result<Socket> Connect(const addrinfo& peers, Clock::time_point deadline, const std::stop_token& stop) {
  Error last{"no address", "connect"};
  for (const addrinfo* peer = &peers; peer != nullptr; peer = peer->ai_next) {
    auto connected = ConnectOne(*peer, deadline, stop);
    if (connected) return connected;
    last = connected.error();
    if (stop.stop_requested() || Clock::now() >= deadline) break;
  }
  return last;
}

Result<Socket> ConnectToHost(const std::string& host, int port, Clock::time_point deadline,
                             const std::stop_token& stop) {
  auto peers = Resolve(host, port, deadline, stop);
  if (!peers) return peers.error();
  return Connect(**peers, deadline, stop);
}

}  // namespace zr::platform::linux_impl
