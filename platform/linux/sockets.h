#pragma once
// Sockets for the clients and servers of the real back ends: a descriptor closed by its owner,
// waits in short slices that watch a stop token, sending everything by a timeout, and connecting
// to a host by a deadline that bounds the name lookup too.

#include <netdb.h>
#include <poll.h>

#include <chrono>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>

#include "base/result.h"

namespace zr::platform::linux_impl {

// A socket descriptor, closed when its owner goes.
class Socket {
 public:
  Socket() = default;
  explicit Socket(int fd) : fd_(fd) {}
  Socket(Socket&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Socket& operator=(Socket&& other) noexcept;
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  ~Socket();

  int fd() const { return fd_; }
  bool is_open() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

// How long one slice of a wait lasts: the longest a stop request goes unnoticed.
inline constexpr std::chrono::milliseconds kWaitSlice{50};

enum class WaitOutcome { Ready, TimedOut, Stopped };

// Waits until `fd` is ready for `events` (POLLIN, POLLOUT), or `timeout` has passed, or `stop`
// was asked. An error or hang-up on the socket counts as ready: the next call on it tells.
WaitOutcome WaitForSocket(int fd, short events, std::chrono::milliseconds timeout, const std::stop_token& stop);

enum class SendOutcome { Sent, TimedOut, Stopped, Failed };

// Sends every byte, waiting at most `timeout` each time the socket cannot take more.
SendOutcome SendAll(int fd, std::string_view bytes, std::chrono::milliseconds timeout, const std::stop_token& stop);

struct AddressListDeleter {
  void operator()(addrinfo* list) const { freeaddrinfo(list); }
};
using AddressList = std::unique_ptr<addrinfo, AddressListDeleter>;

// The addresses of `host` by `deadline`. A name lookup cannot be cut short: it runs on a thread of
// its own, which finishes alone when the caller stops waiting for it (at the deadline, or on a
// stop request).
Result<AddressList> Resolve(const std::string& host, int port, std::chrono::steady_clock::time_point deadline,
                            const std::stop_token& stop);
// Tries every address until one takes the connection, all by one deadline.
Result<Socket> Connect(const addrinfo& peers, std::chrono::steady_clock::time_point deadline,
                       const std::stop_token& stop);

// Looks `host` up and connects to one of its addresses, both by `deadline`: a connected
// non-blocking socket, or why there is none ("timed out", "stopped", the system's reason).
Result<Socket> ConnectToHost(const std::string& host, int port, std::chrono::steady_clock::time_point deadline,
                             const std::stop_token& stop);

// Sleeps until `deadline`; false when `stop` was asked first.
bool SleepUntil(std::chrono::steady_clock::time_point deadline, const std::stop_token& stop);

// What is left of the time until `deadline`, none once it has passed.
std::chrono::milliseconds TimeLeft(std::chrono::steady_clock::time_point deadline);

}  // namespace zr::platform::linux_impl
