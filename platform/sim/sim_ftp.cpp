#include "platform/sim/sim_ftp.h"

#include <utility>

namespace zr::platform::sim {

namespace {

class SimFtpConnection final : public FtpConnection {
 public:
  SimFtpConnection(SimFtpServer& server, SimEventLoop& loop) : server_(server), loop_(loop) {}

  void Connect(const FtpLogin& login, FtpDone done) override {
    if (!server_.present || server_.refuse_connect) return Report(std::move(done), false, "Connection refused");
    Send("USER " + login.user);
    Send("PASS " + login.password);
    connected_ = true;
    Report(std::move(done), true, "230 Login successful.");
  }

  void ChangeDirectory(const std::string& folder, FtpDone done) override {
    if (!connected_) return NotConnected(std::move(done));
    Send("CWD " + folder);
    if (folder == server_.refused_folder)
      return Report(std::move(done), false, "550 " + folder + ": No such file or directory.");
    folder_ = Joined(folder);
    Report(std::move(done), true, "250 Directory changed to /" + folder_);
  }

  void OpenFile(const std::string& remote_name, FtpTransferType type, FtpDone done) override {
    if (!connected_) return NotConnected(std::move(done));
    Send(type == FtpTransferType::Binary ? "TYPE I" : "TYPE A");
    Send("PORT 127,0,0,1,200,10");
    Send("STOR " + remote_name);
    if (server_.refuse_file) return Report(std::move(done), false, "553 Could not create file.");
    file_ = folder_.empty() ? remote_name : folder_ + "/" + remote_name;
    data_.clear();
    Report(std::move(done), true, "150 File status okay. About to open data connection.");
  }

  void Write(std::vector<std::uint8_t> block, FtpDone done) override {
    if (!connected_ || !file_) return NotConnected(std::move(done));
    data_.insert(data_.end(), block.begin(), block.end());
    Report(std::move(done), true, "");
  }

  void CloseFile(FtpDone done) override {
    if (!connected_ || !file_) return NotConnected(std::move(done));
    server_.received[*file_] = std::move(data_);
    file_.reset();
    Report(std::move(done), true, "226 Transfer complete.");
  }

  void Close() override {
    if (connected_) Send("QUIT");
    connected_ = false;
    file_.reset();
  }

 private:
  void Send(std::string command) { server_.log.push_back(std::move(command)); }

  void Report(FtpDone done, bool succeeded, std::string text) {
    auto answer = [&loop = loop_, done = std::move(done), outcome = FtpOutcome{succeeded, std::move(text)}] {
      loop.Post([done, outcome] { done(outcome); });
    };
    if (server_.delay_ms == 0) return answer();
    loop_.Schedule(loop_.NowMs() + server_.delay_ms, SimEventLoop::WorkKind::BackEnd, std::move(answer));
  }
  void NotConnected(FtpDone done) { Report(std::move(done), false, "Not connected"); }

  // The folder a CWD leads to, relative to the login folder.
  std::string Joined(const std::string& folder) const {
    std::string path = folder.starts_with('/') ? folder.substr(1) : (folder_.empty() ? folder : folder_ + "/" + folder);
    while (path.ends_with('/')) path.pop_back();
    return path;
  }

  SimFtpServer& server_;
  SimEventLoop& loop_;
  bool connected_ = false;
  std::string folder_;
  std::optional<std::string> file_;
  std::vector<std::uint8_t> data_;
};

}  // namespace

std::unique_ptr<FtpConnection> SimFtpServer::NewConnection() {
  return std::make_unique<SimFtpConnection>(*this, loop_);
}

}  // namespace zr::platform::sim
