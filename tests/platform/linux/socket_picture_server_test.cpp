// The picture server on real sockets, answered from the loop the program runs in, with clients
// on threads of their own as browsers would be.

#include "platform/linux/socket_picture_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <future>
#include <string>
#include <vector>

#include "platform/linux/poll_event_loop.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

using std::chrono::steady_clock;

// A blocking client socket connected to the server, whose reads give up after 5 s.
Socket Connect(int port) {
  Socket socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const timeval patience{5, 0};
  setsockopt(socket.fd(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  if (connect(socket.fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return Socket();
  return socket;
}

void SendAll(const Socket& socket, const std::string& bytes) {
  for (std::size_t sent = 0; sent < bytes.size();) {
    const ssize_t now = send(socket.fd(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (now <= 0) return;
    sent += static_cast<std::size_t>(now);
  }
}

// Everything the server sends until it closes; what came before a failed read when it fails.
std::string ReceiveAll(const Socket& socket) {
  std::string received;
  char piece[65536];
  for (;;) {
    const ssize_t got = recv(socket.fd(), piece, sizeof piece, 0);
    if (got <= 0) return received;
    received.append(piece, static_cast<std::size_t>(got));
  }
}

// A browser's whole exchange, on a thread of its own.
std::future<std::string> Exchange(int port, std::string request, bool close_after_sending = false) {
  return std::async(std::launch::async, [port, request = std::move(request), close_after_sending] {
    const Socket socket = Connect(port);
    SendAll(socket, request);
    if (close_after_sending) shutdown(socket.fd(), SHUT_WR);
    return ReceiveAll(socket);
  });
}

// What listening on `port` fails with for an operator without rights to the system's ports: run
// as is by such an operator, and by root in a child that gives its rights up first.
ListenFailure FailureOfListeningWithoutRights(int port) {
  const auto listen = [port] {
    PollEventLoop loop;
    SocketPictureServer server(loop, loop);
    server.SetLocalPort(port);
    server.Listen();
    return server.Failure();
  };
  if (geteuid() != 0) return listen();
  const pid_t child = fork();
  if (child == 0) {
    constexpr uid_t kNobody = 65534;
    if (setresgid(kNobody, kNobody, kNobody) != 0 || setresuid(kNobody, kNobody, kNobody) != 0) _exit(255);
    _exit(static_cast<int>(listen()));
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? static_cast<ListenFailure>(WEXITSTATUS(status)) : ListenFailure::Other;
}

class SocketPictureServerTest : public ::testing::Test {
 protected:
  explicit SocketPictureServerTest(PictureServerLimits limits = {}) : server_(loop_, loop_, limits) {
    server_.SetLocalPort(0);
    server_.Listen();
  }

  // Runs the loop until the future is ready, as the program's own loop would.
  std::string Await(std::future<std::string>& answer) {
    loop_.RunModal([&] { return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready; });
    return answer.get();
  }

  zr::testing::TemporaryFolder folder_;
  PollEventLoop loop_;
  SocketPictureServer server_;
};

TEST_F(SocketPictureServerTest, EachRequestGetsWhatItsHandlerSendsWholeAndThenTheEnd) {
  ASSERT_TRUE(server_.Listening());
  ASSERT_NE(server_.LocalPort(), 0);
  // A file large enough that the socket cannot take it at once.
  std::string picture(3 << 20, '\0');
  for (std::size_t at = 0; at < picture.size(); ++at) picture[at] = static_cast<char>(at * 7 % 251);
  const std::string path = folder_.path().string() + "/zrel-stream.jpg";
  std::ofstream(path, std::ios::binary) << picture;
  std::vector<std::string> requests;
  server_.SetRequestListener([&] {
    requests.push_back(server_.RequestText());
    if (requests.back().starts_with("GET / "))
      server_.SendText("HTTP/1.1 200 OK\r\n\r\npage");
    else
      server_.SendFile(path);
  });

  auto page = Exchange(server_.LocalPort(), "GET / HTTP/1.1\r\nHost: here\r\n\r\nbody that is not read");
  EXPECT_EQ(Await(page), "HTTP/1.1 200 OK\r\n\r\npage");
  // Garbage that ends with the client's close is a request all the same.
  auto garbage = Exchange(server_.LocalPort(), "\x01\x02 no head end", true);
  const std::string answer = Await(garbage);
  EXPECT_TRUE(answer.starts_with("HTTP/1.1 200 OK\r\nContent-Type: image/jpeg\r\nContent-Length: 3145728\r\n"));
  EXPECT_TRUE(answer.ends_with("\r\n\r\n" + picture));
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[0], "GET / HTTP/1.1\r\nHost: here\r\n\r\n");
  EXPECT_EQ(requests[1], "\x01\x02 no head end");
  // Outside a handler there is no request and nothing goes anywhere.
  EXPECT_EQ(server_.RequestText(), "");
  server_.SendText("stray");
  loop_.RunModal([&] { return server_.OpenConnections() == 0; });
}

TEST_F(SocketPictureServerTest, APortInUseIsNamedAndAMovedServerLeavesItsOldPort) {
  const int first_port = server_.LocalPort();
  SocketPictureServer second(loop_, loop_);
  second.SetLocalPort(first_port);
  second.Listen();
  EXPECT_FALSE(second.Listening());
  EXPECT_EQ(second.Failure(), ListenFailure::PortInUse);
  second.SetLocalPort(70000);
  second.Listen();
  EXPECT_EQ(second.Failure(), ListenFailure::PortInvalid);

  server_.SetLocalPort(0);
  ASSERT_TRUE(server_.Listening());
  EXPECT_NE(server_.LocalPort(), first_port);
  EXPECT_FALSE(Connect(first_port).is_open());
  second.SetLocalPort(first_port);
  second.Listen();
  EXPECT_TRUE(second.Listening());
  EXPECT_EQ(second.Failure(), ListenFailure::None);

  std::ifstream unprivileged("/proc/sys/net/ipv4/ip_unprivileged_port_start");
  int lowest_open = 1024;
  unprivileged >> lowest_open;
  if (lowest_open > 80) {
    EXPECT_EQ(FailureOfListeningWithoutRights(80), ListenFailure::PortForbidden);
  }
}

class LimitedServerTest : public SocketPictureServerTest {
 protected:
  LimitedServerTest() : SocketPictureServerTest(PictureServerLimits{3, 1024, 300}) {
    server_.SetRequestListener([this] { server_.SendText("HTTP/1.1 200 OK\r\n\r\nok"); });
  }
};

TEST_F(LimitedServerTest, ASlowClientALongHeadAndAConnectionBeyondTheLimitAreClosedUnanswered) {
  const auto started = steady_clock::now();
  auto slow = Exchange(server_.LocalPort(), "GET / HT");
  auto quick = Exchange(server_.LocalPort(), "GET /live HTTP/1.1\r\n\r\n");
  EXPECT_EQ(Await(quick), "HTTP/1.1 200 OK\r\n\r\nok");
  EXPECT_EQ(Await(slow), "");
  const auto waited = steady_clock::now() - started;
  EXPECT_GE(waited, std::chrono::milliseconds(250));
  EXPECT_LT(waited, std::chrono::seconds(3));

  // A head too long and a connection beyond the limit are closed unanswered.
  auto long_head = Exchange(server_.LocalPort(), "GET /" + std::string(2000, 'a'));
  EXPECT_EQ(Await(long_head), "");
  // Three idle clients fill the server; a fourth is closed as soon as it is taken.
  std::vector<Socket> idle;
  for (int each = 0; each < 3; ++each) idle.push_back(Connect(server_.LocalPort()));
  loop_.RunModal([&] { return server_.OpenConnections() == 3; });
  auto refused = Exchange(server_.LocalPort(), "GET / HTTP/1.1\r\n\r\n");
  EXPECT_EQ(Await(refused), "");
  EXPECT_EQ(server_.OpenConnections(), 3u);
  idle.clear();
  loop_.RunModal([&] { return server_.OpenConnections() == 0; });
  auto served = Exchange(server_.LocalPort(), "GET / HTTP/1.1\r\n\r\n");
  EXPECT_EQ(Await(served), "HTTP/1.1 200 OK\r\n\r\nok");
}

TEST(FirstLocalAddress, IsADottedQuadThatIsNotLoopbackUnlessThereIsNoOther) {
  const std::string address = FirstLocalAddress();
  in_addr parsed{};
  ASSERT_EQ(inet_pton(AF_INET, address.c_str(), &parsed), 1) << address;
  if (address.starts_with("127.")) {
    EXPECT_EQ(address, "127.0.0.1");
  }
}

}  // namespace
}  // namespace zr::platform::linux_impl
