#include "tests/support/local_ftp_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace zr::testing {

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

LocalFtpServer::LocalFtpServer(Mode mode) {
  std::string folder = (std::filesystem::temp_directory_path() / "zandrell-ftp-XXXXXX").string();
  if (!mkdtemp(folder.data())) throw std::runtime_error("cannot make a folder for the FTP server");
  root_ = folder;
  const char* modes[] = {"serve", "stall", "close"};
  const std::string command = std::string("exec /usr/bin/python3 '") + ZR_TEST_DATA_DIR + "/support/ftp_server.py' '" +
                              folder + "' " + modes[static_cast<int>(mode)];
  // The server's first line is its port and its process id.
  output_ = ::popen(command.c_str(), "r");
  if (!output_ || std::fscanf(output_, "%d %d", &port_, &process_) != 2) {
    Stop();
    throw std::runtime_error("the FTP server did not start");
  }
}

LocalFtpServer::~LocalFtpServer() { Stop(); }

void LocalFtpServer::Stop() {
  if (process_ > 0) ::kill(process_, SIGKILL);
  if (output_) ::pclose(output_);
  process_ = -1;
  output_ = nullptr;
  std::error_code error;
  std::filesystem::remove_all(root_, error);
}

}  // namespace zr::testing
