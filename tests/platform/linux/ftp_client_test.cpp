// The FTP client against a real server on 127.0.0.1 (pyftpdlib): whole uploads in both transfer
// types, the server's refusals as its own words, and servers that stall or hang up, which end in
// a failure by the deadlines instead of a hang.

#include "platform/linux/ftp_client.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/dial_up_links.h"
#include "platform/linux/poll_event_loop.h"
#include "platform/sim/sim_ftp.h"
#include "tests/support/local_ftp_server.h"

namespace zr::platform::linux_impl {
namespace {

using testing::LocalFtpServer;
using Clock = std::chrono::steady_clock;

std::vector<std::uint8_t> Bytes(const std::string& text) { return {text.begin(), text.end()}; }

// Whether the operation succeeded; the server's or the system's words when not.
bool Done(const FtpOutcome& outcome) {
  EXPECT_TRUE(outcome.done) << outcome.text;
  return outcome.done;
}

std::string FileText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class FtpClientTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(LocalFtpServer::Available()) << "scripts/setup.sh installs python3-pyftpdlib"; }

  // Runs the loop until the operation reports, as the upload window does.
  FtpOutcome Await(const std::function<void(FtpDone)>& start) {
    std::optional<FtpOutcome> outcome;
    start([&](const FtpOutcome& reported) { outcome = reported; });
    loop_.RunModal([&] { return outcome.has_value(); });
    return *outcome;
  }

  FtpOutcome Connect(FtpConnection& connection, const LocalFtpServer& server,
                     const std::string& password = LocalFtpServer::kPassword) {
    return Await([&](FtpDone done) {
      connection.Connect(FtpLogin{"127.0.0.1", server.Port(), LocalFtpServer::kUser, password}, std::move(done));
    });
  }

  // Sends `block` again and again until the connection fails or `most` blocks went; the failure.
  std::optional<FtpOutcome> WriteUntilFailure(FtpConnection& connection, int most) {
    const std::vector<std::uint8_t> block(64 * 1024, 'x');
    for (int sent = 0; sent < most; ++sent) {
      const auto outcome = Await([&](FtpDone done) { connection.Write(block, std::move(done)); });
      if (!outcome.done) return outcome;
    }
    const auto closed = Await([&](FtpDone done) { connection.CloseFile(std::move(done)); });
    if (!closed.done) return closed;
    return std::nullopt;
  }

  PollEventLoop loop_;
  sim::SimDialUpLinks links_;
};

TEST_F(FtpClientTest, AFileArrivesWholeInTheFolderBinaryAsSentAndAsTextWithTheServersLineEnds) {
  LocalFtpServer server;
  SocketFtp ftp(loop_, links_);
  auto connection = ftp.NewConnection();
  ASSERT_TRUE(Done(Connect(*connection, server)));
  const auto changed = Await([&](FtpDone done) { connection->ChangeDirectory("pics", std::move(done)); });
  EXPECT_TRUE(changed.done) << changed.text;
  const std::string content = std::string(248, 'a') + "\r\n";
  for (const auto type : {FtpTransferType::Binary, FtpTransferType::Ascii}) {
    const std::string name = type == FtpTransferType::Binary ? "binary.bin" : "text.txt";
    ASSERT_TRUE(Done(Await([&](FtpDone done) { connection->OpenFile(name, type, std::move(done)); })));
    for (std::size_t at = 0; at < content.size(); at += 100) {
      const auto block = Bytes(content.substr(at, 100));
      ASSERT_TRUE(Done(Await([&](FtpDone done) { connection->Write(block, std::move(done)); })));
    }
    ASSERT_TRUE(Done(Await([&](FtpDone done) { connection->Write({}, std::move(done)); })));
    const auto stored = Await([&](FtpDone done) { connection->CloseFile(std::move(done)); });
    EXPECT_TRUE(stored.done) << stored.text;
  }
  connection->Close();
  EXPECT_EQ(FileText(server.Root() / "pics" / "binary.bin"), content);
  EXPECT_EQ(FileText(server.Root() / "pics" / "text.txt"), std::string(248, 'a') + "\n");
  // After the close every operation fails, without waiting for anything.
  EXPECT_FALSE(Await([&](FtpDone done) { connection->ChangeDirectory("pics", std::move(done)); }).done);
}

TEST_F(FtpClientTest, RefusalsComeBackInTheServersWordsAndAFolderRefusedLeavesTheConnectionUsable) {
  LocalFtpServer server;
  SocketFtp ftp(loop_, links_);
  const auto refused_login = Connect(*ftp.NewConnection(), server, "wrong-password");
  EXPECT_FALSE(refused_login.done);
  EXPECT_TRUE(refused_login.text.starts_with("530")) << refused_login.text;
  EXPECT_EQ(refused_login.text.find("wrong-password"), std::string::npos);

  auto connection = ftp.NewConnection();
  ASSERT_TRUE(Done(Connect(*connection, server)));
  const auto folder = Await([&](FtpDone done) { connection->ChangeDirectory("nowhere", std::move(done)); });
  EXPECT_FALSE(folder.done);
  EXPECT_TRUE(folder.text.starts_with("550")) << folder.text;
  ASSERT_TRUE(
      Done(Await([&](FtpDone done) { connection->OpenFile("root.bin", FtpTransferType::Binary, std::move(done)); })));
  ASSERT_TRUE(Done(Await([&](FtpDone done) { connection->Write(Bytes("in the login folder"), std::move(done)); })));
  ASSERT_TRUE(Done(Await([&](FtpDone done) { connection->CloseFile(std::move(done)); })));
  EXPECT_EQ(FileText(server.Root() / "root.bin"), "in the login folder");
  const auto no_name = Await(
      [&](FtpDone done) { connection->OpenFile("a\r\nDELE root.bin", FtpTransferType::Binary, std::move(done)); });
  EXPECT_FALSE(no_name.done);
  EXPECT_TRUE(std::filesystem::exists(server.Root() / "root.bin"));
}

TEST_F(FtpClientTest, APortNobodyListensOnIsRefusedAtOnce) {
  const int probe = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  ASSERT_EQ(::bind(probe, reinterpret_cast<sockaddr*>(&address), length), 0);
  ::getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length);
  ::close(probe);
  SocketFtp ftp(loop_, links_);
  const auto connection = ftp.NewConnection();
  const auto refused = Await([&](FtpDone done) {
    connection->Connect(FtpLogin{"127.0.0.1", ntohs(address.sin_port), "anna", "s3cret"}, std::move(done));
  });
  EXPECT_FALSE(refused.done);
  EXPECT_EQ(refused.text, "Connection refused");
}

TEST_F(FtpClientTest, AServerThatStallsMidFileFailsTheUploadByTheBlockDeadline) {
  LocalFtpServer server(LocalFtpServer::Mode::Stall);
  SocketFtp ftp(loop_, links_, FtpTimeouts{std::chrono::seconds(10), std::chrono::seconds(2), std::chrono::seconds(1)});
  auto connection = ftp.NewConnection();
  ASSERT_TRUE(Done(Connect(*connection, server)));
  ASSERT_TRUE(
      Done(Await([&](FtpDone done) { connection->OpenFile("big.bin", FtpTransferType::Binary, std::move(done)); })));
  const auto started = Clock::now();
  const auto failure = WriteUntilFailure(*connection, 20000);
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->text, "The FTP server took no data for 1 s");
  EXPECT_LT(Clock::now() - started, std::chrono::seconds(20));
}

TEST_F(FtpClientTest, AServerThatHangsUpMidFileFailsTheUpload) {
  LocalFtpServer server(LocalFtpServer::Mode::Close);
  SocketFtp ftp(loop_, links_, FtpTimeouts{std::chrono::seconds(10), std::chrono::seconds(2), std::chrono::seconds(2)});
  auto connection = ftp.NewConnection();
  ASSERT_TRUE(Done(Connect(*connection, server)));
  ASSERT_TRUE(
      Done(Await([&](FtpDone done) { connection->OpenFile("cut.bin", FtpTransferType::Binary, std::move(done)); })));
  const auto failure = WriteUntilFailure(*connection, 20000);
  ASSERT_TRUE(failure.has_value());
  const std::vector<std::string> hung_up = {"The FTP server closed the connection", "Broken pipe",
                                            "Connection reset by peer"};
  EXPECT_NE(std::find(hung_up.begin(), hung_up.end(), failure->text), hung_up.end()) << failure->text;
}

TEST_F(FtpClientTest, ClosingEndsAnOperationThatWaitsOnAStalledServerAtOnce) {
  LocalFtpServer server(LocalFtpServer::Mode::Stall);
  SocketFtp ftp(loop_, links_);
  auto connection = ftp.NewConnection();
  ASSERT_TRUE(Done(Connect(*connection, server)));
  ASSERT_TRUE(
      Done(Await([&](FtpDone done) { connection->OpenFile("big.bin", FtpTransferType::Binary, std::move(done)); })));
  std::optional<FtpOutcome> outcome;
  connection->Write(std::vector<std::uint8_t>(64 * 1024 * 1024, 'x'), [&](const FtpOutcome& o) { outcome = o; });
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  const auto closed_at = Clock::now();
  connection->Close();
  loop_.RunModal([&] { return outcome.has_value(); });
  EXPECT_LT(Clock::now() - closed_at, std::chrono::seconds(2));
  EXPECT_FALSE(outcome->done);
  EXPECT_EQ(outcome->text, "The connection to the FTP server was closed");
}

TEST(DialUpLinks, OnlyPointToPointLinksAreListedWithTheirNamesUnescaped) {
  EXPECT_EQ(PointToPointLinks("Wired connection 1:802-3-ethernet\nMobile\\: Vodafone:gsm\n:pppoe\nback\\\\slash:cdma\n"
                              "home-wifi:802-11-wireless"),
            (std::vector<std::string>{"Mobile: Vodafone", "", "back\\slash"}));
  EXPECT_TRUE(PointToPointLinks("").empty());
}

}  // namespace
}  // namespace zr::platform::linux_impl
