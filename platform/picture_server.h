#pragma once
// The picture server's socket side, as the main window's `stream` control offers it to the
// logic: a port to listen on, the machine's address to show, the text of the request being
// served and the two ways of answering it. The simulation answers requests the scenario hands
// it; the real one is a small HTTP responder on the program's event loop.
//
// Threads: every call on the logic thread. The request listener is called on the logic thread,
// from an event posted to the loop once a whole request has arrived; a request that arrives
// while another is answered (the answer lets the loop run) is served inside it, and the first
// is the current one again when the second is done.

#include <cstdint>
#include <functional>
#include <string>

namespace zr::platform {

// Why the server does not listen.
enum class ListenFailure {
  None,           // it listens, or was closed on purpose
  PortInUse,      // another program listens on the port
  PortForbidden,  // the system keeps the port for programs with special rights (below 1024)
  PortInvalid,    // no port of that number exists
  Other,          // the system refused for another reason
};

class PictureServer {
 public:
  using RequestListener = std::function<void()>;

  virtual ~PictureServer() = default;

  // The port it listens on, or will listen on when it opens.
  virtual int LocalPort() const = 0;
  // A server that listens moves to the new port at once.
  virtual void SetLocalPort(int port) = 0;
  virtual bool Listening() const = 0;
  // Opens the listening socket on LocalPort; a server that listens already stays as it is.
  virtual void Listen() = 0;
  // Closes the listening socket; requests under way are still answered.
  virtual void Close() = 0;
  // Why the last opening failed; None while it listens.
  virtual ListenFailure Failure() const = 0;
  // The machine's address to give to viewers.
  virtual std::string LocalAddress() const = 0;
  // The whole head of the request being served, its header lines and the empty line included.
  virtual std::string RequestText() const = 0;
  // Sends the text as the response to the current request, as it stands: the text holds the
  // status line and every header. The connection is closed once the handler has returned and
  // everything sent has gone.
  virtual void SendText(const std::string& text) = 0;
  // Sends the file as the response to the current request, framed as a browser needs it
  // (FileResponse); a file that cannot be read is answered "404 Not Found".
  virtual void SendFile(const std::string& path) = 0;
  // Who is told of each whole request; an empty listener leaves requests unanswered.
  virtual void SetRequestListener(RequestListener listener) = 0;
};

// The largest file SendFile sends; a longer one is answered as one that cannot be read.
inline constexpr std::uint64_t kLargestServedFileBytes = 64ULL << 20;

// The whole response that carries the file at `path`: the status line, "Content-Type" by the
// file's extension (a JPEG for ".jpg"), "Content-Length", "Cache-Control: no-store" and
// "Connection: close", then the bytes of the file.
std::string FileResponse(const std::string& path);

}  // namespace zr::platform
