#pragma once
// A small HTTP/1.1 client on plain sockets, for IP cameras: GET of an http:// address with
// Basic authorization from the address's user:password@, redirects (up to five), and a body read
// either whole (a snapshot) or bit by bit (a Motion JPEG stream that never ends).
//
// Nothing waits without a bound: looking the name up and connecting are bounded by the connect
// timeout together; every wait for the far end by the read timeout, and the whole answer, however
// steadily its bytes trickle in, by a deadline: the answer timeout from the request on, or one
// the reader sets for what it reads next. Waits run in short slices that watch a stop token, so
// a reader thread asked to stop leaves within a slice or two; a name lookup that hangs is left
// to finish on a thread of its own.
//
// Bodies: Content-Length and close-delimited bodies (every request asks for Connection: close);
// chunked bodies are refused with an Error.
//
// Threads: a connection is used by one thread at a time; the stop token may be asked from any.

#include <poll.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/result.h"
#include "platform/linux/sockets.h"

namespace zr::platform::linux_impl {

// ---- Addresses --------------------------------------------------------------------------------

struct HttpAddress {
  std::string host;  // a name or an address; an IPv6 address without its brackets
  int port = 80;
  std::string target;     // the path with its query, "/" at least
  std::string user_info;  // "user:password" with escapes undone; empty for none
};

// Splits an http:// address; an Error for any other scheme or a malformed one.
Result<HttpAddress> ParseHttpAddress(std::string_view url);

// The address as messages may show it: a password in it is left out ("rtsp://user@host/…").
std::string AddressForMessages(std::string_view url);

// ---- Requests ---------------------------------------------------------------------------------

struct HttpOptions {
  std::chrono::milliseconds connect_timeout{5000};
  std::chrono::milliseconds read_timeout{5000};  // the longest wait for any byte of the answer
  // The longest from the request to the end of the answer's head, and of the body unless the
  // reader sets a deadline of its own.
  std::chrono::milliseconds answer_timeout{30000};
  // How messages name the far end and what it failed to send:
  // "The camera at http://… does not answer", "… sent no picture".
  std::string far_end = "The server";
  std::string awaited = "answer";
  std::stop_token stop;  // a stop request ends every wait with an Error
};

struct HttpHeaders {
  std::vector<std::pair<std::string, std::string>> lines;  // name and value, in the order sent

  // The first header of that name, whatever its case.
  std::optional<std::string> Get(std::string_view name) const;
  std::optional<std::uint64_t> ContentLength() const;
};

// "Name: value" lines up to the first empty one, as the head of an answer or of a part of a
// multipart body holds them; lines without a colon are passed over.
HttpHeaders ParseHeaderLines(std::string_view lines);

struct HttpResponse {
  int status = 0;  // 200, 404, …
  std::string reason;
  HttpHeaders headers;

  bool Succeeded() const { return status >= 200 && status < 300; }
};

// One GET and its answer: the status line and headers are read, the body waits for the reader.
class HttpConnection {
 public:
  // Connects, sends the request and reads the head of the answer, following redirects. An Error
  // when the far end does not answer, sends no answer in time, or sends something not HTTP;
  // any status comes back as a connection (see CheckSucceeded).
  static Result<HttpConnection> Get(std::string url, HttpOptions options);

  HttpConnection(HttpConnection&&) = default;
  HttpConnection& operator=(HttpConnection&&) = default;

  const HttpResponse& Response() const { return response_; }
  // An Error naming the status unless it is 2xx: "The camera at … answered 404 Not Found".
  Result<void> CheckSucceeded() const;

  // Every later wait ends by `deadline`: a reader of an endless body sets one for each piece.
  void SetDeadline(std::chrono::steady_clock::time_point deadline) { deadline_ = deadline; }

  // Reads what has arrived of the body, waiting for at least one byte; 0 once the body is over
  // (its Content-Length reached, or the far end closed or reset the connection). An Error when
  // nothing arrives within the read timeout or by the deadline, or a stop was asked.
  Result<std::size_t> ReadSome(std::span<std::uint8_t> buffer);
  // The rest of the body; an Error when it is longer than `limit` or ends before its
  // Content-Length.
  Result<std::vector<std::uint8_t>> ReadBody(std::size_t limit);

 private:
  HttpConnection(std::string url, HttpOptions options) : url_(std::move(url)), options_(std::move(options)) {}

  Result<void> Exchange(const HttpAddress& address);
  Result<void> ReadHead();
  Result<std::size_t> Receive(std::span<std::uint8_t> buffer);
  std::chrono::milliseconds WaitLimit() const;
  Error NoAnswer() const;
  Error Silent() const;
  Error Stopped() const;
  Error NotHttp() const;

  std::string url_;  // as the caller gave it, for messages
  HttpOptions options_;
  Socket socket_;
  HttpResponse response_;
  std::vector<std::uint8_t> early_body_;  // body bytes that arrived with the head
  std::size_t early_body_used_ = 0;
  std::optional<std::uint64_t> body_left_;  // what Content-Length still promises
  std::chrono::steady_clock::time_point deadline_;
};

}  // namespace zr::platform::linux_impl
