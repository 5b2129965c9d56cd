// The FTP client against a real server on 127.0.0.1 (pyftpdlib): whole uploads in both transfer
// types, the server's refusals as its own words, and servers that stall or hang up, which end in
// a failure by the deadlines instead of a hang.

#include "platform/linux/ftp_client.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/dial_up_links.h"
#include "platform/linux/poll_event_loop.h"
#include "platform/sim/sim_ftp.h"
#include "tests/support/local_ftp_server.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

using testing::LocalFtpServer;
using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

std::vector<std::uint8_t> Bytes(const std::string& text) { return {text.begin(), text.end()}; }

using testing::FileText;

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

  // A new connection of `ftp` logged in to port `port`; how the login went.
  FtpOutcome Connect(SocketFtp& ftp, int port, const std::string& password = LocalFtpServer::kPassword) {
    connection_ = ftp.NewConnection();
    return Await([&](FtpDone done) {
      connection_->Connect(FtpLogin{"127.0.0.1", port, LocalFtpServer::kUser, password}, std::move(done));
    });
  }
  FtpOutcome ChangeDirectory(const std::string& folder) {
    return Await([&](FtpDone done) { connection_->ChangeDirectory(folder, std::move(done)); });
  }
  FtpOutcome Open(const std::string& name, FtpTransferType type = FtpTransferType::Binary) {
    return Await([&](FtpDone done) { connection_->OpenFile(name, type, std::move(done)); });
  }
  FtpOutcome Write(std::vector<std::uint8_t> block) {
    return Await([&](FtpDone done) { connection_->Write(std::move(block), std::move(done)); });
  }
  FtpOutcome CloseFile() {
    return Await([&](FtpDone done) { connection_->CloseFile(std::move(done)); });
  }

  PollEventLoop loop_;
  sim::SimDialUpLinks links_;
  std::unique_ptr<FtpConnection> connection_;
};

TEST_F(FtpClientTest, AFileArrivesWholeInTheFolderBinaryAsSentAndAsTextWithTheServersLineEnds) {
  LocalFtpServer server;
  SocketFtp ftp(loop_, links_);
  ASSERT_TRUE(Connect(ftp, server.Port()).done);
  EXPECT_TRUE(ChangeDirectory("pics").done);
  const std::string content = std::string(248, 'a') + "\r\n";
  for (const auto type : {FtpTransferType::Binary, FtpTransferType::Ascii}) {
    ASSERT_TRUE(Open(type == FtpTransferType::Binary ? "binary.bin" : "text.txt", type).done);
    for (std::size_t at = 0; at < content.size(); at += 100) ASSERT_TRUE(Write(Bytes(content.substr(at, 100))).done);
    ASSERT_TRUE(Write({}).done);
    const auto stored = CloseFile();
    EXPECT_TRUE(stored.done) << stored.text;
  }
  connection_->Close();
  EXPECT_EQ(FileText(server.Root() / "pics" / "binary.bin"), content);
  EXPECT_EQ(FileText(server.Root() / "pics" / "text.txt"), std::string(248, 'a') + "\n");
  // After the close every operation fails, without waiting for anything.
  EXPECT_FALSE(ChangeDirectory("pics").done);
}

TEST_F(FtpClientTest, RefusalsComeBackInTheServersWordsAndAFolderRefusedLeavesTheConnectionUsable) {
  LocalFtpServer server;
  SocketFtp ftp(loop_, links_);
  const auto nobody = Connect(ftp, testing::FreeLocalPort());
  EXPECT_FALSE(nobody.done);
  EXPECT_EQ(nobody.text, "Connection refused");
  const auto refused_login = Connect(ftp, server.Port(), "wrong-password");
  EXPECT_FALSE(refused_login.done);
  EXPECT_TRUE(refused_login.text.starts_with("530")) << refused_login.text;
  EXPECT_EQ(refused_login.text.find("wrong-password"), std::string::npos);

  ASSERT_TRUE(Connect(ftp, server.Port()).done);
  const auto folder = ChangeDirectory("nowhere");
  EXPECT_FALSE(folder.done);
  EXPECT_TRUE(folder.text.starts_with("550")) << folder.text;
  ASSERT_TRUE(Open("root.bin").done);
  ASSERT_TRUE(Write(Bytes("in the login folder")).done);
  ASSERT_TRUE(CloseFile().done);
  EXPECT_EQ(FileText(server.Root() / "root.bin"), "in the login folder");
  EXPECT_FALSE(Open("a\r\nDELE root.bin").done);
  EXPECT_TRUE(std::filesystem::exists(server.Root() / "root.bin"));
}

// A server that stops taking data fails the upload by the block deadline; one that hangs up
// fails it with the system's word.
TEST_F(FtpClientTest, AServerThatStallsOrHangsUpMidFileFailsTheUpload) {
  const struct {
    LocalFtpServer::Mode mode;
    std::vector<std::string> texts;
  } cases[] = {{LocalFtpServer::Mode::Stall, {"The FTP server took no data for 1 s"}},
               {LocalFtpServer::Mode::Close,
                {"The FTP server closed the connection", "Broken pipe", "Connection reset by peer"}}};
  for (const auto& [mode, texts] : cases) {
    LocalFtpServer server(mode);
    SocketFtp ftp(loop_, links_,
                  FtpTimeouts{seconds(10), seconds(2), seconds(mode == LocalFtpServer::Mode::Stall ? 1 : 2)});
    ASSERT_TRUE(Connect(ftp, server.Port()).done);
    ASSERT_TRUE(Open("big.bin").done);
    const auto started = Clock::now();
    std::optional<FtpOutcome> failure;
    for (int sent = 0; sent < 20000 && !failure; ++sent)
      if (auto outcome = Write(std::vector<std::uint8_t>(64 * 1024, 'x')); !outcome.done) failure = outcome;
    if (!failure)
      if (auto closed = CloseFile(); !closed.done) failure = closed;
    ASSERT_TRUE(failure.has_value());
    EXPECT_NE(std::find(texts.begin(), texts.end(), failure->text), texts.end()) << failure->text;
    EXPECT_LT(Clock::now() - started, seconds(20));
  }
}

TEST_F(FtpClientTest, ClosingEndsAnOperationThatWaitsOnAStalledServerAtOnce) {
  LocalFtpServer server(LocalFtpServer::Mode::Stall);
  SocketFtp ftp(loop_, links_);
  ASSERT_TRUE(Connect(ftp, server.Port()).done);
  ASSERT_TRUE(Open("big.bin").done);
  std::optional<FtpOutcome> outcome;
  connection_->Write(std::vector<std::uint8_t>(64 * 1024 * 1024, 'x'), [&](const FtpOutcome& o) { outcome = o; });
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  const auto closed_at = Clock::now();
  connection_->Close();
  loop_.RunModal([&] { return outcome.has_value(); });
  EXPECT_LT(Clock::now() - closed_at, seconds(2));
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
