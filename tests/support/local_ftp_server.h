#pragma once
// A real FTP server (pyftpdlib under Debian's Python) on 127.0.0.1 at a free port below 32768, in a
// process of its own from construction to destruction, serving a fresh folder. The user is
// "anna" with the password "s3cret"; the folder holds "pics". See support/ftp_server.py for the
// modes.

#include <sys/types.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace zr::testing {

// A TCP port on 127.0.0.1 that nothing listens on now.
int FreeLocalPort();

class LocalFtpServer {
 public:
  enum class Mode { Serve, Stall, Close };
  static constexpr const char* kUser = "anna";
  static constexpr const char* kPassword = "s3cret";

  explicit LocalFtpServer(Mode mode = Mode::Serve);
  ~LocalFtpServer();
  LocalFtpServer(const LocalFtpServer&) = delete;
  LocalFtpServer& operator=(const LocalFtpServer&) = delete;

  // Whether Debian's Python with pyftpdlib is there to run the server.
  static bool Available();

  int Port() const { return port_; }
  const std::filesystem::path& Root() const { return root_; }

 private:
  void Stop();

  std::filesystem::path root_;
  FILE* output_ = nullptr;
  pid_t process_ = -1;
  int port_ = 0;
};

}  // namespace zr::testing
