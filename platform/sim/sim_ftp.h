#pragma once
// The simulated FTP server and the client's connections to it. The server records every command
// a connection sends, as our client sends it, and the files it receives by their paths relative to
// the login folder. Answers are posted to the loop at once, as a quick server on the same machine
// answers, or after the server's delay in virtual time; every operation reports, a connection
// closed meanwhile as a failure.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/ftp.h"
#include "platform/sim/sim_event_loop.h"

namespace zr::platform::sim {

class SimDialUpLinks final : public DialUpLinks {
 public:
  std::optional<std::vector<std::string>> Active() override {
    ++listings;
    return active;
  }
  void HangUp(const std::string& name) override { hung_up.push_back(name); }

  std::vector<std::string> active;
  std::vector<std::string> hung_up;
  int listings = 0;
};

class SimFtpServer final : public Ftp {
 public:
  explicit SimFtpServer(SimEventLoop& loop) : loop_(loop) {}

  std::unique_ptr<FtpConnection> NewConnection() override;
  DialUpLinks& Links() override { return links; }

  // Without a server nothing answers a connection.
  bool present = false;
  bool refuse_connect = false;
  std::string refused_folder;  // the folder a CWD may not enter
  bool refuse_file = false;    // every STOR is refused
  std::int64_t delay_ms = 0;   // how long each answer and each block take, in virtual time

  std::vector<std::string> log;  // one line per command received
  std::map<std::string, std::vector<std::uint8_t>> received;
  SimDialUpLinks links;

 private:
  SimEventLoop& loop_;
};

}  // namespace zr::platform::sim
