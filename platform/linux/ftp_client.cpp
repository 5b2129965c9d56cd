#include "platform/linux/ftp_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/result.h"
#include "platform/linux/sockets.h"

namespace zr::platform::linux_impl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kLongestReply = 64 * 1024;
constexpr std::size_t kReceiveChunk = 4096;
constexpr const char* kClosed = "The connection to the FTP server was closed";

std::string Seconds(std::chrono::milliseconds duration) { return std::to_string(duration.count() / 1000) + " s"; }

bool HasLineBreak(const std::string& text) { return text.find_first_of("\r\n") != std::string::npos; }

struct Reply {
  int code = 0;
  std::string text;  // every line of the reply, joined by blanks

  bool Preliminary() const { return code >= 100 && code < 200; }
  bool Completed() const { return code >= 200 && code < 300; }
};

// One control connection and the file being sent, used only by the connection's own thread.
class Session {
 public:
  explicit Session(FtpTimeouts timeouts) : timeouts_(timeouts) {}

  Result<void> Connect(const FtpLogin& login, const std::stop_token& stop) {
    if (login.port <= 0 || login.port > 65535) return Error{"Invalid port " + std::to_string(login.port), "connect"};
    if (HasLineBreak(login.user) || HasLineBreak(login.password))
      return Error{"A user name or password cannot hold a line break", "USER"};
    auto connected = ConnectToHost(login.host, login.port, Clock::now() + timeouts_.connect, stop);
    if (!connected) {
      if (stop.stop_requested()) return Error{kClosed, "connect"};
      if (connected.error().message == "timed out")
        return Error{"No answer from " + login.host + " in " + Seconds(timeouts_.connect), "connect"};
      return Error{connected.error().message, connected.error().where};
    }
    control_ = std::move(*connected);
    auto greeting = ReadReply(stop);
    while (greeting && greeting->Preliminary()) greeting = ReadReply(stop);
    if (auto refused = Expect(greeting, &Reply::Completed, "connect"); !refused) return refused;
    auto user = Command("USER " + (login.user.empty() ? std::string("anonymous") : login.user), stop);
    if (user && user->code == 331) return Expect(Command("PASS " + login.password, stop), &Reply::Completed, "PASS");
    return Expect(user, &Reply::Completed, "USER");
  }

  Result<void> ChangeDirectory(const std::string& folder, const std::stop_token& stop) {
    if (HasLineBreak(folder)) return Error{"A folder name cannot hold a line break", "CWD"};
    return Expect(Command("CWD " + folder, stop), &Reply::Completed, "CWD");
  }

  Result<void> OpenFile(const std::string& name, FtpTransferType type, const std::stop_token& stop) {
    if (HasLineBreak(name)) return Error{"A file name cannot hold a line break", "STOR"};
    auto typed =
        Expect(Command(type == FtpTransferType::Binary ? "TYPE I" : "TYPE A", stop), &Reply::Completed, "TYPE");
    if (!typed) return typed;
    auto offer = Listen();
    if (!offer) return offer.error();
    auto ported = Expect(Command(*offer, stop), &Reply::Completed, "PORT");
    if (!ported) return ported;
    auto stored = Expect(Command("STOR " + name, stop), &Reply::Preliminary, "STOR");
    if (!stored) return stored;
    return AcceptData(stop);
  }

  Result<void> Write(const std::vector<std::uint8_t>& block, const std::stop_token& stop) {
    if (!data_.is_open()) return Error{"No file is open on the FTP server", "write"};
    const std::string_view bytes(reinterpret_cast<const char*>(block.data()), block.size());
    switch (SendAll(data_.fd(), bytes, timeouts_.block, stop)) {
      case SendOutcome::Sent:
        return {};
      case SendOutcome::Stopped:
        return Error{kClosed, "write"};
      case SendOutcome::TimedOut:
        return Error{"The FTP server took no data for " + Seconds(timeouts_.block), "write"};
      case SendOutcome::Failed:
        break;
    }
    return Error{std::strerror(errno), "write", errno};
  }

  Result<void> CloseFile(const std::stop_token& stop) {
    if (!data_.is_open()) return Error{"No file is open on the FTP server", "close"};
    data_ = Socket();
    return Expect(ReadReply(stop), &Reply::Completed, "STOR");
  }

  // Says goodbye without waiting for the answer, and lets go of every socket.
  void Quit() {
    if (control_.is_open()) {
      static constexpr std::string_view kQuit = "QUIT\r\n";
      [[maybe_unused]] const auto sent = ::send(control_.fd(), kQuit.data(), kQuit.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    }
    data_ = Socket();
    listener_ = Socket();
    control_ = Socket();
  }

 private:
  // The reply's text as the failure's when it is not of the kind expected.
  static Result<void> Expect(const Result<Reply>& reply, bool (Reply::*kind)() const, const char* where) {
    if (!reply) return reply.error();
    if (!((*reply).*kind)()) return Error{reply->text, where};
    return {};
  }

  Result<Reply> Command(const std::string& line, const std::stop_token& stop) {
    if (!control_.is_open()) return Error{"Not connected to the FTP server", "send"};
    switch (SendAll(control_.fd(), line + "\r\n", timeouts_.reply, stop)) {
      case SendOutcome::Sent:
        return ReadReply(stop);
      case SendOutcome::Stopped:
        return Error{kClosed, "send"};
      case SendOutcome::TimedOut:
        return Error{"The FTP server took no command for " + Seconds(timeouts_.reply), "send"};
      case SendOutcome::Failed:
        break;
    }
    return Error{std::strerror(errno), "send", errno};
  }

  // One reply, of one line ("226 Done") or many ("230-Welcome", …, "230 Done"), whole within the
  // reply timeout.
  Result<Reply> ReadReply(const std::stop_token& stop) {
    const auto deadline = Clock::now() + timeouts_.reply;
    for (;;) {
      if (auto reply = TakeReply()) return *reply;
      if (received_.size() > kLongestReply) return Error{"The FTP server's reply is too long", "recv"};
      switch (WaitForSocket(control_.fd(), POLLIN, TimeLeft(deadline), stop)) {
        case WaitOutcome::Stopped:
          return Error{kClosed, "recv"};
        case WaitOutcome::TimedOut:
          return Error{"No reply from the FTP server in " + Seconds(timeouts_.reply), "recv"};
        case WaitOutcome::Ready:
          break;
      }
      char chunk[kReceiveChunk];
      const ssize_t got = ::recv(control_.fd(), chunk, sizeof chunk, 0);
      if (got == 0) return Error{"The FTP server closed the connection", "recv"};
      if (got < 0 && errno != EAGAIN && errno != EINTR) return Error{std::strerror(errno), "recv", errno};
      if (got > 0) received_.append(chunk, static_cast<std::size_t>(got));
    }
  }

  // The first whole reply of what has arrived, taken out of it; nothing while it is incomplete.
  std::optional<Result<Reply>> TakeReply() {
    Reply reply;
    std::size_t at = 0;
    for (;;) {
      const std::size_t end = received_.find('\n', at);
      if (end == std::string::npos) return std::nullopt;
      std::string line = received_.substr(at, end - at);
      if (line.ends_with('\r')) line.pop_back();
      at = end + 1;
      const bool numbered = line.size() >= 3 && std::isdigit(static_cast<unsigned char>(line[0])) &&
                            std::isdigit(static_cast<unsigned char>(line[1])) &&
                            std::isdigit(static_cast<unsigned char>(line[2]));
      if (reply.code == 0) {
        if (!numbered) return Result<Reply>(Error{"The server does not speak FTP: " + line, "recv"});
        reply.code = std::stoi(line.substr(0, 3));
      }
      reply.text += (reply.text.empty() ? "" : " ") + line;
      const bool last = numbered && std::stoi(line.substr(0, 3)) == reply.code && (line.size() == 3 || line[3] == ' ');
      if (last) {
        received_.erase(0, at);
        return Result<Reply>(std::move(reply));
      }
    }
  }

  // A port for the server to connect back to, on the address the control connection uses:
  // the PORT command (EPRT for IPv6) that offers it.
  Result<std::string> Listen() {
    sockaddr_storage local{};
    socklen_t length = sizeof local;
    if (::getsockname(control_.fd(), reinterpret_cast<sockaddr*>(&local), &length) != 0)
      return Error{std::strerror(errno), "getsockname", errno};
    if (local.ss_family == AF_INET) reinterpret_cast<sockaddr_in&>(local).sin_port = 0;
    if (local.ss_family == AF_INET6) reinterpret_cast<sockaddr_in6&>(local).sin6_port = 0;
    listener_ = Socket(::socket(local.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!listener_.is_open() || ::bind(listener_.fd(), reinterpret_cast<sockaddr*>(&local), length) != 0 ||
        ::listen(listener_.fd(), 1) != 0 ||
        ::getsockname(listener_.fd(), reinterpret_cast<sockaddr*>(&local), &length) != 0)
      return Error{std::strerror(errno), "listen", errno};
    if (local.ss_family == AF_INET) {
      const auto& address = reinterpret_cast<const sockaddr_in&>(local);
      const std::uint32_t host = ntohl(address.sin_addr.s_addr);
      const std::uint16_t port = ntohs(address.sin_port);
      return "PORT " + std::to_string(host >> 24) + "," + std::to_string((host >> 16) & 255) + "," +
             std::to_string((host >> 8) & 255) + "," + std::to_string(host & 255) + "," + std::to_string(port >> 8) +
             "," + std::to_string(port & 255);
    }
    const auto& address = reinterpret_cast<const sockaddr_in6&>(local);
    char text[INET6_ADDRSTRLEN] = {};
    ::inet_ntop(AF_INET6, &address.sin6_addr, text, sizeof text);
    return "EPRT |2|" + std::string(text) + "|" + std::to_string(ntohs(address.sin6_port)) + "|";
  }

  Result<void> AcceptData(const std::stop_token& stop) {
    switch (WaitForSocket(listener_.fd(), POLLIN, timeouts_.reply, stop)) {
      case WaitOutcome::Stopped:
        return Error{kClosed, "accept"};
      case WaitOutcome::TimedOut:
        return Error{"The FTP server did not connect for the file in " + Seconds(timeouts_.reply), "accept"};
      case WaitOutcome::Ready:
        break;
    }
    data_ = Socket(::accept4(listener_.fd(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    listener_ = Socket();
    if (!data_.is_open()) return Error{std::strerror(errno), "accept", errno};
    return {};
  }

  FtpTimeouts timeouts_;
  Socket control_;
  Socket listener_;
  Socket data_;
  std::string received_;
};

// The operations in the order the logic asked for them, each carried out on the connection's
// thread and reported through the loop. After Close every operation, queued or new, fails.
class SocketFtpConnection final : public FtpConnection {
 public:
  SocketFtpConnection(EventLoop& loop, FtpTimeouts timeouts)
      : loop_(loop), session_(timeouts), worker_([this](std::stop_token stop) { Work(stop); }) {}
  ~SocketFtpConnection() override { Close(); }

  void Connect(const FtpLogin& login, FtpDone done) override {
    Queue([this, login](const std::stop_token& stop) { return session_.Connect(login, stop); }, std::move(done));
  }
  void ChangeDirectory(const std::string& folder, FtpDone done) override {
    Queue([this, folder](const std::stop_token& stop) { return session_.ChangeDirectory(folder, stop); },
          std::move(done));
  }
  void OpenFile(const std::string& remote_name, FtpTransferType type, FtpDone done) override {
    Queue([this, remote_name, type](const std::stop_token& stop) { return session_.OpenFile(remote_name, type, stop); },
          std::move(done));
  }
  void Write(std::vector<std::uint8_t> block, FtpDone done) override {
    Queue([this, block = std::move(block)](const std::stop_token& stop) { return session_.Write(block, stop); },
          std::move(done));
  }
  void CloseFile(FtpDone done) override {
    Queue([this](const std::stop_token& stop) { return session_.CloseFile(stop); }, std::move(done));
  }
  void Close() override { worker_.request_stop(); }

 private:
  using Operation = std::function<Result<void>(const std::stop_token&)>;

  void Queue(Operation operation, FtpDone done) {
    std::lock_guard lock(mutex_);
    if (worker_.get_stop_token().stop_requested()) return Report(std::move(done), Error{kClosed, "closed"});
    operations_.emplace_back(std::move(operation), std::move(done));
    wake_.notify_one();
  }

  void Report(FtpDone done, const Result<void>& result) {
    loop_.Post([done = std::move(done), outcome = FtpOutcome{result.ok(), result.ok() ? "" : result.error().message}] {
      done(outcome);
    });
  }

  void Work(const std::stop_token& stop) {
    for (;;) {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, stop, [this] { return !operations_.empty(); });
      if (stop.stop_requested()) break;
      auto [operation, done] = std::move(operations_.front());
      operations_.pop_front();
      lock.unlock();
      Report(std::move(done), operation(stop));
    }
    session_.Quit();
    std::lock_guard lock(mutex_);
    for (auto& [operation, done] : operations_) Report(std::move(done), Error{kClosed, "closed"});
    operations_.clear();
  }

  EventLoop& loop_;
  Session session_;
  std::mutex mutex_;
  std::condition_variable_any wake_;
  std::deque<std::pair<Operation, FtpDone>> operations_;
  std::jthread worker_;  // last: it starts once everything it uses is made
};

}  // namespace

std::unique_ptr<FtpConnection> SocketFtp::NewConnection() {
  return std::make_unique<SocketFtpConnection>(loop_, timeouts_);
}

}  // namespace zr::platform::linux_impl
