#pragma once
// The FTP client the upload of a stored still goes through: one connection to a server, one
// operation on it at a time. Each operation starts at once and reports how it ended through its
// `FtpDone`, called on the logic thread from an event posted to the loop, so the logic's windows
// repaint and the abort button works while a server is slow. Every step has a deadline of the
// back end's own; none waits without a bound.
//
// Threads: every call on the logic thread; the reports arrive there too.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zr::platform {

// How an operation ended. `text` is what the server last answered (for instance
// "550 pics: No such file or directory.") or, where no answer came, the system's words for what
// went wrong ("Connection refused", "No answer from the server in 15 s").
struct FtpOutcome {
  bool done = false;
  std::string text;
};

using FtpDone = std::function<void(const FtpOutcome&)>;

struct FtpLogin {
  std::string host;
  int port = 21;
  std::string user;
  std::string password;
};

// How the file's bytes travel: as text (the server may change line ends) or unchanged.
enum class FtpTransferType { Ascii = 1, Binary = 2 };

class FtpConnection {
 public:
  virtual ~FtpConnection() = default;
  // Reaches the server and logs in.
  virtual void Connect(const FtpLogin& login, FtpDone done) = 0;
  virtual void ChangeDirectory(const std::string& folder, FtpDone done) = 0;
  // Asks the server to store a file of this name, sent in the transfer type (active mode: the
  // server connects back to the client).
  virtual void OpenFile(const std::string& remote_name, FtpTransferType type, FtpDone done) = 0;
  // Sends one block of the file opened; an empty block sends nothing and succeeds.
  virtual void Write(std::vector<std::uint8_t> block, FtpDone done) = 0;
  // Ends the file and waits for the server to say it has it.
  virtual void CloseFile(FtpDone done) = 0;
  // Ends the connection at once. An operation under way reports a failure; later ones fail.
  virtual void Close() = 0;
};

// The point-to-point links (dial-up, mobile) the machine has up, by their entry names.
class DialUpLinks {
 public:
  virtual ~DialUpLinks() = default;
  // The names of the active links; nothing when they cannot be listed.
  virtual std::optional<std::vector<std::string>> Active() = 0;
  virtual void HangUp(const std::string& name) = 0;
};

class Ftp {
 public:
  virtual ~Ftp() = default;
  virtual std::unique_ptr<FtpConnection> NewConnection() = 0;
  virtual DialUpLinks& Links() = 0;
};

}  // namespace zr::platform
