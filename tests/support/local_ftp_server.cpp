#include "tests/support/local_ftp_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <vector>

namespace zr::testing {

namespace {

constexpr const char* kPython = "/usr/bin/python3";
constexpr int kStartTimeoutMs = 10000;

std::filesystem::path FreshFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "zandrell-ftp-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a folder for the FTP server");
  return pattern;
}

}  // namespace

int FreeLocalPort() {
  const int probe = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  const bool bound = ::bind(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                     ::getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length) == 0;
  ::close(probe);
  return bound ? ntohs(address.sin_port) : 0;
}

bool LocalFtpServer::Available() { return std::system("/usr/bin/python3 -c 'import pyftpdlib' >/dev/null 2>&1") == 0; }

LocalFtpServer::LocalFtpServer(Mode mode) : root_(FreshFolder()) {
  int pipe_ends[2];
  if (::pipe(pipe_ends) != 0) throw std::runtime_error("cannot make a pipe");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipe_ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, pipe_ends[0]);
  std::string script = std::string(ZR_TEST_DATA_DIR) + "/support/ftp_server.py";
  std::string folder = root_.string();
  std::string mode_name = mode == Mode::Serve ? "serve" : mode == Mode::Stall ? "stall" : "close";
  std::string python = kPython;
  std::vector<char*> argv = {python.data(), script.data(), folder.data(), mode_name.data(), nullptr};
  const int spawned = ::posix_spawn(&process_, kPython, &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(pipe_ends[1]);
  std::string line;
  pollfd watched{pipe_ends[0], POLLIN, 0};
  while (spawned == 0 && line.find('\n') == std::string::npos && ::poll(&watched, 1, kStartTimeoutMs) > 0) {
    char chunk[64];
    const ssize_t got = ::read(pipe_ends[0], chunk, sizeof chunk);
    if (got <= 0) break;
    line.append(chunk, static_cast<std::size_t>(got));
  }
  ::close(pipe_ends[0]);
  if (spawned != 0 || line.find('\n') == std::string::npos) {
    Stop();
    throw std::runtime_error("the FTP server did not start");
  }
  port_ = std::stoi(line);
}

LocalFtpServer::~LocalFtpServer() { Stop(); }

void LocalFtpServer::Stop() {
  if (process_ > 0) {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
    process_ = -1;
  }
  std::error_code error;
  std::filesystem::remove_all(root_, error);
}

}  // namespace zr::testing
