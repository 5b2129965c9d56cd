#include "platform/linux/http_client.h"

#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>

namespace zr::platform::linux_impl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMostRedirects = 5;
constexpr std::size_t kLargestHead = 64 * 1024;
constexpr std::size_t kReceiveChunk = 16 * 1024;

// ---- Text -------------------------------------------------------------------------------------

char Lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

bool SameLetters(std::string_view a, std::string_view b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return Lower(x) == Lower(y); });
}

bool StartsWithLetters(std::string_view text, std::string_view start) {
  return text.size() >= start.size() && SameLetters(text.substr(0, start.size()), start);
}

std::string_view Trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(" \t\r\n");
  return text.substr(first, last - first + 1);
}

std::optional<int> HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return std::nullopt;
}

// Undoes %XX escapes; a '%' that starts no escape stays as it is.
std::string Unescaped(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto high = i + 2 < text.size() && text[i] == '%' ? HexDigit(text[i + 1]) : std::nullopt;
    const auto low = high ? HexDigit(text[i + 2]) : std::nullopt;
    if (high && low) {
      plain += static_cast<char>(*high * 16 + *low);
      i += 2;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

std::string Base64(std::string_view bytes) {
  static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      const auto byte = k < count ? static_cast<unsigned char>(bytes[i + k]) : 0u;
      group = (group << 8) | byte;
    }
    for (std::size_t k = 0; k < 4; ++k) {
      text += k <= count ? kDigits[(group >> (18 - 6 * k)) & 0x3F] : '=';
    }
  }
  return text;
}

std::optional<int> PortNumber(std::string_view digits) {
  int port = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
  if (error != std::errc() || end != digits.data() + digits.size() || port < 1 || port > 65535) {
    return std::nullopt;
  }
  return port;
}

// ---- Addresses --------------------------------------------------------------------------------

constexpr std::string_view kHttpScheme = "http://";

struct AddressParts {
  std::string_view scheme;     // "rtsp://", empty when the address has none
  std::string_view user_info;  // before the '@'
  std::string_view host_port;
  std::string_view target;  // from the first '/', '?' or '#' on
};

AddressParts SplitAddress(std::string_view url) {
  AddressParts parts;
  const auto scheme_end = url.find("://");
  if (scheme_end == std::string_view::npos) {
    parts.target = url;
    return parts;
  }
  parts.scheme = url.substr(0, scheme_end + 3);
  std::string_view rest = url.substr(scheme_end + 3);
  const auto authority_end = std::min(rest.find_first_of("/?#"), rest.size());
  std::string_view authority = rest.substr(0, authority_end);
  parts.target = rest.substr(authority_end);
  if (const auto at = authority.rfind('@'); at != std::string_view::npos) {
    parts.user_info = authority.substr(0, at);
    authority = authority.substr(at + 1);
  }
  parts.host_port = authority;
  return parts;
}

Result<std::pair<std::string, int>> SplitHostPort(std::string_view host_port, std::string_view url) {
  const Error malformed{"'" + AddressForMessages(url) + "' is not an address", "ParseHttpAddress"};
  std::string_view host = host_port;
  std::string_view port_text;
  if (host_port.starts_with('[')) {  // [IPv6]:port
    const auto close = host_port.find(']');
    if (close == std::string_view::npos) return malformed;
    host = host_port.substr(1, close - 1);
    const std::string_view after = host_port.substr(close + 1);
    if (!after.empty() && !after.starts_with(':')) return malformed;
    if (!after.empty()) port_text = after.substr(1);
  } else if (const auto colon = host_port.rfind(':'); colon != std::string_view::npos) {
    host = host_port.substr(0, colon);
    port_text = host_port.substr(colon + 1);
  }
  if (host.empty()) return malformed;
  if (port_text.empty()) return std::pair{std::string(host), 80};
  const auto port = PortNumber(port_text);
  if (!port) return malformed;
  return std::pair{std::string(host), *port};
}

// The target a request names: the fragment stays with the client.
std::string RequestTarget(std::string_view target) {
  target = target.substr(0, std::min(target.find('#'), target.size()));
  if (target.empty() || target.starts_with('?')) return "/" + std::string(target);
  return std::string(target);
}

std::string HostHeader(const HttpAddress& address) {
  const bool ipv6 = address.host.find(':') != std::string::npos;
  std::string host = ipv6 ? "[" + address.host + "]" : address.host;
  return address.port == 80 ? host : host + ":" + std::to_string(address.port);
}

// Where a redirect leads: Location may be a whole address, one without scheme ("//host/…"),
// an absolute path or a path relative to the current one.
std::string ResolveLocation(std::string_view current, std::string_view location) {
  if (location.find("://") != std::string_view::npos) return std::string(location);
  const AddressParts parts = SplitAddress(current);
  if (location.starts_with("//")) return std::string("http:") + std::string(location);
  const std::string origin = std::string(parts.scheme) +
                             (parts.user_info.empty() ? "" : std::string(parts.user_info) + "@") +
                             std::string(parts.host_port);
  if (location.starts_with('/')) return origin + std::string(location);
  const std::string path = RequestTarget(parts.target);
  const std::string folder = path.substr(0, path.find_first_of('?'));
  return origin + folder.substr(0, folder.rfind('/') + 1) + std::string(location);
}

std::string RequestText(const HttpAddress& address) {
  std::string request = "GET " + address.target + " HTTP/1.1\r\n";
  request += "Host: " + HostHeader(address) + "\r\n";
  request += "User-Agent: Video Zandrell\r\n";
  request += "Accept: */*\r\n";
  if (!address.user_info.empty()) {
    request += "Authorization: Basic " + Base64(address.user_info) + "\r\n";
  }
  request += "Connection: close\r\n\r\n";
  return request;
}

// ---- Answers ----------------------------------------------------------------------------------

std::optional<std::size_t> HeadEnd(std::string_view bytes) {
  const auto end = bytes.find("\r\n\r\n");
  if (end != std::string_view::npos) return end + 4;
  const auto bare = bytes.find("\n\n");  // servers that end lines with LF alone
  if (bare != std::string_view::npos) return bare + 2;
  return std::nullopt;
}

// "HTTP/1.1 404 Not Found": a version, three digits, a reason that may be empty.
bool ParseStatusLine(std::string_view line, HttpResponse& response) {
  const auto space = line.find(' ');
  if (!line.starts_with("HTTP/") || space == std::string_view::npos) return false;
  const std::string_view rest = line.substr(space + 1);
  if (rest.size() < 3) return false;
  const auto [end, error] = std::from_chars(rest.data(), rest.data() + 3, response.status);
  if (error != std::errc() || end != rest.data() + 3 || response.status < 100) return false;
  response.reason = std::string(Trimmed(rest.substr(3)));
  return true;
}

// The status line, then the headers.
bool ParseHead(std::string_view head, HttpResponse& response) {
  const auto line_end = std::min(head.find('\n'), head.size());
  if (!ParseStatusLine(Trimmed(head.substr(0, line_end)), response)) return false;
  response.headers = ParseHeaderLines(head.substr(std::min(line_end + 1, head.size())));
  return true;
}

bool IsRedirect(int status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

}  // namespace

// ---- Addresses --------------------------------------------------------------------------------

Result<HttpAddress> ParseHttpAddress(std::string_view url) {
  url = Trimmed(url);
  if (!StartsWithLetters(url, kHttpScheme)) {
    return Error{"'" + AddressForMessages(url) + "' is not an http:// address", "ParseHttpAddress"};
  }
  const AddressParts parts = SplitAddress(url);
  auto host_port = SplitHostPort(parts.host_port, url);
  if (!host_port) return host_port.error();
  HttpAddress address;
  address.host = std::move(host_port->first);
  address.port = host_port->second;
  address.target = RequestTarget(parts.target);
  address.user_info = Unescaped(parts.user_info);
  return address;
}

std::string AddressForMessages(std::string_view url) {
  const AddressParts parts = SplitAddress(url);
  if (parts.user_info.empty()) return std::string(url);
  const std::string_view user = parts.user_info.substr(0, parts.user_info.find(':'));
  return std::string(parts.scheme) + std::string(user) + "@" + std::string(parts.host_port) + std::string(parts.target);
}

// ---- Answers ----------------------------------------------------------------------------------

std::optional<std::string> HttpHeaders::Get(std::string_view name) const {
  for (const auto& [key, value] : lines) {
    if (SameLetters(key, name)) return value;
  }
  return std::nullopt;
}

std::optional<std::uint64_t> HttpHeaders::ContentLength() const {
  const auto text = Get("Content-Length");
  if (!text) return std::nullopt;
  std::uint64_t length = 0;
  const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), length);
  if (error != std::errc() || end != text->data() + text->size()) return std::nullopt;
  return length;
}

HttpHeaders ParseHeaderLines(std::string_view lines) {
  HttpHeaders headers;
  std::size_t line_start = 0;
  while (line_start < lines.size()) {
    const auto line_end = std::min(lines.find('\n', line_start), lines.size());
    const std::string_view line = Trimmed(lines.substr(line_start, line_end - line_start));
    line_start = line_end + 1;
    if (line.empty()) break;
    const auto colon = line.find(':');
    if (colon == std::string_view::npos) continue;
    headers.lines.emplace_back(std::string(Trimmed(line.substr(0, colon))),
                               std::string(Trimmed(line.substr(colon + 1))));
  }
  return headers;
}

// ---- Connections ------------------------------------------------------------------------------

Result<HttpConnection> HttpConnection::Get(std::string url, HttpOptions options) {
  HttpConnection connection(url, std::move(options));
  std::string current = std::move(url);
  for (int redirects = 0;; ++redirects) {
    auto address = ParseHttpAddress(current);
    if (!address) return address.error();
    if (auto exchanged = connection.Exchange(*address); !exchanged) return exchanged.error();
    const auto location = connection.response_.headers.Get("Location");
    if (!IsRedirect(connection.response_.status) || !location) return connection;
    if (redirects == kMostRedirects) {
      return Error{connection.options_.far_end + " at " + AddressForMessages(connection.url_) +
                       " redirects more than " + std::to_string(kMostRedirects) + " times",
                   "HttpConnection::Get"};
    }
    current = ResolveLocation(current, *location);
  }
}

Result<void> HttpConnection::Exchange(const HttpAddress& address) {
  socket_ = Socket();
  response_ = HttpResponse();
  early_body_.clear();
  early_body_used_ = 0;
  // The name is looked up and a connection made within the connect timeout; then the request
  // and the whole head of the answer within the answer timeout.
  const auto connect_deadline = Clock::now() + options_.connect_timeout;
  auto peers = Resolve(address.host, address.port, connect_deadline, options_.stop);
  if (!peers) {
    if (options_.stop.stop_requested()) return Stopped();
    return Error{
        options_.far_end + " at " + AddressForMessages(url_) + " cannot be found (" + peers.error().message + ")",
        "getaddrinfo"};
  }
  auto connected = Connect(**peers, connect_deadline, options_.stop);
  if (!connected) return options_.stop.stop_requested() ? Stopped() : NoAnswer();
  socket_ = std::move(*connected);
  deadline_ = Clock::now() + options_.answer_timeout;
  switch (SendAll(socket_.fd(), RequestText(address), WaitLimit(), options_.stop)) {
    case SendOutcome::Sent:
      break;
    case SendOutcome::Stopped:
      return Stopped();
    case SendOutcome::TimedOut:
      return Silent();
    case SendOutcome::Failed:
      return NoAnswer();
  }
  return ReadHead();
}

Result<void> HttpConnection::ReadHead() {
  std::vector<std::uint8_t> bytes;
  for (;;) {
    const std::size_t old_size = bytes.size();
    bytes.resize(old_size + kReceiveChunk);
    auto got = Receive(std::span(bytes).subspan(old_size));
    if (!got) return got.error();
    bytes.resize(old_size + *got);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (const auto end = HeadEnd(text)) {
      if (!ParseHead(text.substr(0, *end), response_)) return NotHttp();
      early_body_.assign(bytes.begin() + static_cast<std::ptrdiff_t>(*end), bytes.end());
      break;
    }
    if (*got == 0) return bytes.empty() ? NoAnswer() : NotHttp();  // closed before a whole head
    if (bytes.size() > kLargestHead) return NotHttp();
  }
  if (const auto coding = response_.headers.Get("Transfer-Encoding"); coding && !SameLetters(*coding, "identity")) {
    return Error{options_.far_end + " at " + AddressForMessages(url_) + " sends its answer as '" + *coding +
                     "', which cannot be read",
                 "HttpConnection::Get"};
  }
  body_left_ = response_.headers.ContentLength();
  return {};
}

std::chrono::milliseconds HttpConnection::WaitLimit() const {
  return std::min(options_.read_timeout, TimeLeft(deadline_));
}

// Bytes from the socket, waiting for the read timeout at most and never past the deadline; 0
// when the far end has closed.
Result<std::size_t> HttpConnection::Receive(std::span<std::uint8_t> buffer) {
  for (;;) {
    switch (WaitForSocket(socket_.fd(), POLLIN, WaitLimit(), options_.stop)) {
      case WaitOutcome::Stopped:
        return Stopped();
      case WaitOutcome::TimedOut:
        return Silent();
      case WaitOutcome::Ready:
        break;
    }
    const ssize_t got = ::recv(socket_.fd(), buffer.data(), buffer.size(), 0);
    if (got >= 0) return static_cast<std::size_t>(got);
    if (errno == ECONNRESET) return std::size_t{0};  // a reset ends the answer like a close
    if (errno != EAGAIN && errno != EINTR) {
      return Error{options_.far_end + " at " + AddressForMessages(url_) + " cannot be read: " + std::strerror(errno),
                   "recv"};
    }
  }
}

Result<std::size_t> HttpConnection::ReadSome(std::span<std::uint8_t> buffer) {
  if (body_left_) {
    buffer = buffer.first(static_cast<std::size_t>(std::min<std::uint64_t>(*body_left_, buffer.size())));
  }
  if (buffer.empty()) return std::size_t{0};
  std::size_t got = 0;
  if (early_body_used_ < early_body_.size()) {
    got = std::min(buffer.size(), early_body_.size() - early_body_used_);
    std::copy_n(early_body_.begin() + static_cast<std::ptrdiff_t>(early_body_used_), got, buffer.begin());
    early_body_used_ += got;
  } else {
    auto received = Receive(buffer);
    if (!received) return received;
    got = *received;
  }
  if (body_left_) *body_left_ -= got;
  return got;
}

Result<std::vector<std::uint8_t>> HttpConnection::ReadBody(std::size_t limit) {
  const auto expected = response_.headers.ContentLength();
  const std::string at = options_.far_end + " at " + AddressForMessages(url_);
  if (expected && *expected > limit) {
    return Error{
        at + " sent an answer of " + std::to_string(*expected) + " bytes, larger than " + std::to_string(limit),
        "ReadBody"};
  }
  // Room for the whole body when its length is known, so the last read finds it over.
  std::vector<std::uint8_t> body(expected ? static_cast<std::size_t>(*expected) + 1 : kReceiveChunk);
  std::size_t filled = 0;
  for (;;) {
    if (filled == body.size()) body.resize(body.size() * 2);
    auto got = ReadSome(std::span(body).subspan(filled));
    if (!got) return got.error();
    if (*got == 0) break;
    filled += *got;
    if (filled > limit) {
      return Error{at + " sent an answer larger than " + std::to_string(limit) + " bytes", "ReadBody"};
    }
  }
  body.resize(filled);
  if (expected && body.size() < *expected) {
    return Error{at + " broke off its answer after " + std::to_string(body.size()) + " of " +
                     std::to_string(*expected) + " bytes",
                 "ReadBody"};
  }
  return body;
}

Result<void> HttpConnection::CheckSucceeded() const {
  if (response_.Succeeded()) return {};
  return Error{options_.far_end + " at " + AddressForMessages(url_) + " answered " + std::to_string(response_.status) +
                   " " + response_.reason,
               "HttpConnection::Get"};
}

Error HttpConnection::NoAnswer() const {
  return Error{options_.far_end + " at " + AddressForMessages(url_) + " does not answer", "connect"};
}

Error HttpConnection::Silent() const {
  return Error{options_.far_end + " at " + AddressForMessages(url_) + " sent no " + options_.awaited, "recv"};
}

Error HttpConnection::Stopped() const {
  return Error{"the request to " + AddressForMessages(url_) + " was stopped", "HttpConnection"};
}

Error HttpConnection::NotHttp() const {
  return Error{options_.far_end + " at " + AddressForMessages(url_) + " answered with something other than HTTP",
               "recv"};
}

}  // namespace zr::platform::linux_impl
