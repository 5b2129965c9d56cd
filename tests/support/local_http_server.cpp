#include "tests/support/local_http_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <turbojpeg.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <list>
#include <mutex>
#include <stdexcept>
#include <stop_token>
#include <thread>
#include <vector>

#include "platform/linux/http_client.h"

namespace zr::testing {

using platform::linux_impl::SendAll;
using platform::linux_impl::SendOutcome;
using platform::linux_impl::SleepUntil;
using platform::linux_impl::Socket;
using platform::linux_impl::WaitForSocket;
using platform::linux_impl::WaitOutcome;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLongWait{3'600'000};  // until stopped, in practice
constexpr std::chrono::milliseconds kRequestWait{2000};
constexpr std::size_t kLargestRequest = 16 * 1024;

// ---- Pictures ---------------------------------------------------------------------------------

// Eight levels per channel, far enough apart that JPEG's losses never blur one into another.
constexpr int kLevels = 8;
constexpr int kLevelStep = 32;
constexpr int kLevelBase = 16;
constexpr int kNumbers = kLevels * kLevels * kLevels;
constexpr int kBandRows = 8;  // the band is the top 1/8 of the picture

std::uint8_t Level(int index) { return static_cast<std::uint8_t>(kLevelBase + index * kLevelStep); }

std::optional<int> LevelIndex(int value) {
  const int index =
      static_cast<int>(std::lround(static_cast<double>(value - kLevelBase) / kLevelStep));
  if (index < 0 || index >= kLevels || std::abs(value - Level(index)) > kLevelStep / 3) {
    return std::nullopt;
  }
  return index;
}

struct TjHandle {
  tjhandle handle = tjInitCompress();
  ~TjHandle() {
    if (handle != nullptr) tjDestroy(handle);
  }
};
struct TjBufferFree {
  void operator()(unsigned char* buffer) const { tjFree(buffer); }
};

std::string EncodeJpeg(const std::vector<std::uint8_t>& top_down_bgr, int width, int height) {
  TjHandle compressor;
  unsigned char* output = nullptr;
  unsigned long size = 0;
  const int status = tjCompress2(compressor.handle, top_down_bgr.data(), width, width * 3, height,
                                 TJPF_BGR, &output, &size, TJSAMP_420, 90, 0);
  std::unique_ptr<unsigned char, TjBufferFree> owned(output);
  if (status != 0)
    throw std::runtime_error(std::string("tjCompress2: ") + tjGetErrorStr2(compressor.handle));
  return std::string(reinterpret_cast<const char*>(owned.get()), size);
}

std::string PictureJpeg(int number, int width, int height) {
  const LocalHttpServer::Colour colour = LocalHttpServer::FrameColour(number);
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width) * height * 3);
  for (int y = 0; y < height; ++y) {
    const bool band = y < height / kBandRows;
    for (int x = 0; x < width; ++x) {
      std::uint8_t* pixel = &pixels[(static_cast<std::size_t>(y) * width + x) * 3];
      pixel[0] = band ? 255 : colour.blue;
      pixel[1] = band ? 255 : colour.green;
      pixel[2] = band ? 255 : colour.red;
    }
  }
  return EncodeJpeg(pixels, width, height);
}

// ---- Requests ---------------------------------------------------------------------------------

struct Request {
  std::string head;
  std::string path;
};

std::optional<std::string> HeaderOf(std::string_view head, std::string_view name) {
  const platform::linux_impl::HttpHeaders headers =
      platform::linux_impl::ParseHeaderLines(head.substr(head.find('\n') + 1));
  return headers.Get(name);
}

std::optional<Request> ReadRequest(int fd, const std::stop_token& stop) {
  std::string head;
  while (head.find("\r\n\r\n") == std::string::npos) {
    if (WaitForSocket(fd, POLLIN, kRequestWait, stop) != WaitOutcome::Ready) return std::nullopt;
    char chunk[4096];
    const ssize_t got = ::recv(fd, chunk, sizeof chunk, 0);
    if (got <= 0 || head.size() > kLargestRequest) return std::nullopt;
    head.append(chunk, static_cast<std::size_t>(got));
  }
  const auto path_start = head.find(' ') + 1;
  const auto path_end = head.find(' ', path_start);
  if (path_start == 0 || path_end == std::string::npos) return std::nullopt;
  return Request{head, head.substr(path_start, path_end - path_start)};
}

// Decodes Basic credentials independently of the client's encoder, so a fault there shows.
std::string FromBase64(std::string_view text) {
  static constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bytes;
  std::uint32_t bits = 0;
  int count = 0;
  for (const char c : text) {
    const auto value = kDigits.find(c);
    if (value == std::string_view::npos) break;  // '=' or the end
    bits = (bits << 6) | static_cast<std::uint32_t>(value);
    count += 6;
    if (count >= 8) {
      count -= 8;
      bytes += static_cast<char>((bits >> count) & 0xFF);
    }
  }
  return bytes;
}

bool Authorised(std::string_view head, const std::string& credentials) {
  if (credentials.empty()) return true;
  const auto authorization = HeaderOf(head, "Authorization");
  constexpr std::string_view kBasic = "Basic ";
  return authorization && authorization->starts_with(kBasic) &&
         FromBase64(std::string_view(*authorization).substr(kBasic.size())) == credentials;
}

std::string AnswerText(std::string_view status, std::string_view type, std::string_view body,
                       std::string_view extra_headers = {}) {
  std::string text = "HTTP/1.1 " + std::string(status) + "\r\n";
  text += "Content-Type: " + std::string(type) + "\r\n";
  text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
  text += std::string(extra_headers);
  text += "Connection: close\r\n\r\n";
  text += body;
  return text;
}

// "bytes=first-" or "bytes=first-last" within a file of `size` bytes.
std::optional<std::pair<std::size_t, std::size_t>> ByteRange(std::string_view head,
                                                             std::size_t size) {
  const auto range = HeaderOf(head, "Range");
  constexpr std::string_view kBytes = "bytes=";
  if (!range || !range->starts_with(kBytes)) return std::nullopt;
  const std::string_view spec = std::string_view(*range).substr(kBytes.size());
  std::size_t first = 0;
  std::size_t last = size == 0 ? 0 : size - 1;
  const auto dash = spec.find('-');
  if (dash == std::string_view::npos) return std::nullopt;
  std::from_chars(spec.data(), spec.data() + dash, first);
  if (dash + 1 < spec.size())
    std::from_chars(spec.data() + dash + 1, spec.data() + spec.size(), last);
  if (first >= size || last < first) return std::nullopt;
  return std::pair{first, std::min(last, size - 1)};
}

// /redirect/<n>/<path> leads to /redirect/<n-1>/<path>, and /redirect/0/<path> to /<path>.
std::optional<std::string> RedirectTarget(std::string_view path) {
  constexpr std::string_view kRedirect = "/redirect/";
  if (!path.starts_with(kRedirect)) return std::nullopt;
  const std::string_view rest = path.substr(kRedirect.size());
  const auto slash = rest.find('/');
  int hops = 0;
  const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), hops);
  if (slash == std::string_view::npos || error != std::errc() || end != rest.data() + slash) {
    return std::nullopt;
  }
  const std::string_view onward = rest.substr(slash);
  if (hops == 0) return std::string(onward);
  return std::string(kRedirect) + std::to_string(hops - 1) + std::string(onward);
}

std::optional<std::string> FileBytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace

// ---- The server -------------------------------------------------------------------------------

struct LocalHttpServer::State {
  struct Connection {
    int fd = -1;  // guarded by the server's mutex; -1 once closed
    std::atomic<bool> finished = false;
    std::thread thread;
  };

  Mode mode;
  Options options;
  Socket listener;
  Socket queue_filler;  // Unreachable: the one connection the queue holds
  int port = 0;
  std::stop_source stop;
  std::thread acceptor;
  std::atomic<bool> silenced = false;
  std::atomic<int> next_picture = 0;
  std::atomic<int> pictures_sent = 0;
  std::atomic<int> requests = 0;
  mutable std::mutex mutex;  // guards connections, their fds, last_request
  std::list<std::unique_ptr<Connection>> connections;
  std::string last_request;

  void Accept();
  void ReapFinished();
  void Serve(Connection& connection, Socket socket);
  void Answer(int fd, const Request& request);
  void Hold(int fd);
  void SendSnapshot(int fd);
  void SendStream(int fd);
  void SendFile(int fd, const Request& request, std::string_view name);
  bool Send(int fd, std::string_view bytes) {
    return SendAll(fd, bytes, kRequestWait, stop.get_token()) == SendOutcome::Sent;
  }
  std::string NextPicture() { return PictureJpeg(next_picture++, options.width, options.height); }
};

LocalHttpServer::LocalHttpServer(Mode mode, Options options) : state_(std::make_unique<State>()) {
  state_->mode = mode;
  state_->options = std::move(options);
  state_->listener = Socket(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = 0;
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  if (!state_->listener.is_open() || ::bind(state_->listener.fd(), generic, size) != 0 ||
      ::listen(state_->listener.fd(), mode == Mode::Unreachable ? 0 : 16) != 0 ||
      ::getsockname(state_->listener.fd(), generic, &size) != 0) {
    throw std::runtime_error("the local HTTP server cannot listen");
  }
  state_->port = ntohs(address.sin_port);
  if (mode == Mode::Unreachable) {
    // A queue of length 0 holds one connection; with it taken, later handshakes get no answer.
    state_->queue_filler = Socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (::connect(state_->queue_filler.fd(), generic, size) != 0) {
      throw std::runtime_error("the local HTTP server cannot fill its queue");
    }
    return;
  }
  state_->acceptor = std::thread(&State::Accept, state_.get());
}

LocalHttpServer::~LocalHttpServer() { Stop(); }

int LocalHttpServer::Port() const { return state_->port; }

std::string LocalHttpServer::Url(std::string_view path) const {
  return "http://127.0.0.1:" + std::to_string(state_->port) + std::string(path);
}

std::string LocalHttpServer::Url() const {
  switch (state_->mode) {
    case Mode::Mjpeg:
      return Url("/video.mjpg");
    case Mode::Files:
      return Url("/file/");
    case Mode::Snapshot:
    case Mode::Silent:
    case Mode::Unreachable:
      break;
  }
  return Url("/snapshot.jpg");
}

void LocalHttpServer::StopStreaming() {
  std::lock_guard lock(state_->mutex);
  for (const auto& connection : state_->connections) {
    if (connection->fd >= 0) ::shutdown(connection->fd, SHUT_RDWR);
  }
}

void LocalHttpServer::Silence() { state_->silenced = true; }

void LocalHttpServer::Stop() {
  state_->stop.request_stop();
  if (state_->acceptor.joinable()) state_->acceptor.join();
  state_->listener = Socket();
  state_->queue_filler = Socket();
  StopStreaming();
  std::list<std::unique_ptr<State::Connection>> connections;
  {
    std::lock_guard lock(state_->mutex);
    connections.swap(state_->connections);
  }
  for (auto& connection : connections) connection->thread.join();
}

int LocalHttpServer::PicturesSent() const { return state_->pictures_sent; }
int LocalHttpServer::Requests() const { return state_->requests; }

std::string LocalHttpServer::LastRequest() const {
  std::lock_guard lock(state_->mutex);
  return state_->last_request;
}

LocalHttpServer::Colour LocalHttpServer::FrameColour(int number) {
  const int n = number % kNumbers;
  return Colour{Level(n % kLevels), Level(n / kLevels % kLevels), Level(n / (kLevels * kLevels))};
}

std::optional<int> LocalHttpServer::FrameNumberIn(const platform::Picture& picture) {
  if (picture.width < 8 || picture.height < 2 * kBandRows) return std::nullopt;
  const std::uint8_t* band =
      picture.PixelFromTop(picture.width / 2, picture.height / (2 * kBandRows));
  if (band[0] < 230 || band[1] < 230 || band[2] < 230) return std::nullopt;
  const std::uint8_t* body = picture.PixelFromTop(picture.width / 2, picture.height * 2 / 3);
  const auto blue = LevelIndex(body[0]);
  const auto green = LevelIndex(body[1]);
  const auto red = LevelIndex(body[2]);
  if (!blue || !green || !red) return std::nullopt;
  return *blue + *green * kLevels + *red * kLevels * kLevels;
}

// ---- Threads ----------------------------------------------------------------------------------

void LocalHttpServer::State::Accept() {
  const std::stop_token token = stop.get_token();
  while (WaitForSocket(listener.fd(), POLLIN, kLongWait, token) == WaitOutcome::Ready) {
    Socket accepted(::accept4(listener.fd(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!accepted.is_open()) continue;
    ReapFinished();
    std::lock_guard lock(mutex);
    auto& connection = *connections.emplace_back(std::make_unique<Connection>());
    connection.fd = accepted.fd();
    connection.thread = std::thread(&State::Serve, this, std::ref(connection), std::move(accepted));
  }
}

void LocalHttpServer::State::ReapFinished() {
  std::list<std::unique_ptr<Connection>> finished;
  {
    std::lock_guard lock(mutex);
    for (auto it = connections.begin(); it != connections.end();) {
      const auto next = std::next(it);
      if ((*it)->finished) finished.splice(finished.end(), connections, it);
      it = next;
    }
  }
  for (auto& connection : finished) connection->thread.join();
}

void LocalHttpServer::State::Serve(Connection& connection, Socket socket) {
  if (mode == Mode::Silent || silenced) {
    Hold(socket.fd());
  } else if (auto request = ReadRequest(socket.fd(), stop.get_token())) {
    ++requests;
    {
      std::lock_guard lock(mutex);
      last_request = request->head;
    }
    Answer(socket.fd(), *request);
  }
  {
    std::lock_guard lock(mutex);
    connection.fd = -1;
  }
  socket = Socket();
  connection.finished = true;
}

void LocalHttpServer::State::Answer(int fd, const Request& request) {
  if (silenced) return Hold(fd);
  if (!Authorised(request.head, options.credentials)) {
    Send(fd, AnswerText("401 Unauthorized", "text/plain", "who are you?",
                        "WWW-Authenticate: Basic realm=\"camera\"\r\n"));
    return;
  }
  const std::string_view path = std::string_view(request.path).substr(0, request.path.find('?'));
  if (path == "/snapshot.jpg") return SendSnapshot(fd);
  if (path == "/video.mjpg") return SendStream(fd);
  if (path.starts_with("/file/")) return SendFile(fd, request, path.substr(6));
  if (path == "/page.html") {
    Send(fd, AnswerText("200 OK", "text/html", "<html><body>not a camera</body></html>"));
    return;
  }
  if (path == "/close-delimited") {
    Send(fd,
         "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n"
         "the body ends where the connection does");
    return;
  }
  if (const auto target = RedirectTarget(path)) {
    Send(fd, AnswerText("302 Found", "text/plain", "moved", "Location: " + *target + "\r\n"));
    return;
  }
  Send(fd, AnswerText("404 Not Found", "text/plain", "no such thing"));
}

// Keeps the connection and sends nothing until the far end closes it or the server stops.
void LocalHttpServer::State::Hold(int fd) {
  const std::stop_token token = stop.get_token();
  while (WaitForSocket(fd, POLLIN, kLongWait, token) == WaitOutcome::Ready) {
    char ignored[4096];
    const ssize_t got = ::recv(fd, ignored, sizeof ignored, 0);
    if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) return;
  }
}

void LocalHttpServer::State::SendSnapshot(int fd) {
  if (Send(fd, AnswerText("200 OK", "image/jpeg", NextPicture()))) ++pictures_sent;
}

void LocalHttpServer::State::SendStream(int fd) {
  const std::string& boundary = options.boundary;
  const std::string delimiter = boundary.starts_with("--") ? boundary : "--" + boundary;
  if (!Send(fd, "HTTP/1.1 200 OK\r\nContent-Type: multipart/x-mixed-replace;boundary=" + boundary +
                    "\r\nConnection: close\r\n\r\n")) {
    return;
  }
  const auto started = Clock::now();
  const std::chrono::duration<double> period(1.0 / options.frames_per_second);
  for (int sent = 0; options.frames_per_stream == 0 || sent < options.frames_per_stream; ++sent) {
    if (silenced) return Hold(fd);
    const std::string jpeg = NextPicture();
    std::string part = delimiter + "\r\nContent-Type: image/jpeg\r\n";
    if (options.part_lengths) part += "Content-Length: " + std::to_string(jpeg.size()) + "\r\n";
    part += "\r\n" + jpeg + "\r\n";
    if (!Send(fd, part)) return;
    ++pictures_sent;
    const auto due = started + std::chrono::duration_cast<Clock::duration>(period * (sent + 1));
    if (!SleepUntil(due, stop.get_token())) return;
  }
}

void LocalHttpServer::State::SendFile(int fd, const Request& request, std::string_view name) {
  const auto bytes = name.find("..") == std::string_view::npos
                         ? FileBytes(options.folder / std::string(name))
                         : std::nullopt;
  if (!bytes) {
    Send(fd, AnswerText("404 Not Found", "text/plain", "no such file"));
    return;
  }
  const std::string type = name.ends_with(".avi") ? "video/x-msvideo" : "application/octet-stream";
  if (const auto range = ByteRange(request.head, bytes->size())) {
    const auto [first, last] = *range;
    const std::string content_range = "Content-Range: bytes " + std::to_string(first) + "-" +
                                      std::to_string(last) + "/" + std::to_string(bytes->size()) +
                                      "\r\nAccept-Ranges: bytes\r\n";
    Send(fd, AnswerText("206 Partial Content", type,
                        std::string_view(*bytes).substr(first, last - first + 1), content_range));
    return;
  }
  Send(fd, AnswerText("200 OK", type, *bytes, "Accept-Ranges: bytes\r\n"));
}

// ---- The sink ---------------------------------------------------------------------------------

void CollectingSink::OnFrame(const platform::linux_impl::CapturedFrame& frame) {
  std::lock_guard lock(mutex_);
  if (end_) called_after_end_ = true;
  frames_.push_back(frame);
  changed_.notify_all();
}

void CollectingSink::OnSourceEnded(const std::string& message) {
  std::lock_guard lock(mutex_);
  if (end_) called_after_end_ = true;
  end_ = message;
  changed_.notify_all();
}

bool CollectingSink::WaitForFrames(std::size_t count, std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, timeout, [&] { return frames_.size() >= count; });
}

std::optional<std::string> CollectingSink::WaitForEnd(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, timeout, [&] { return end_.has_value(); });
  return end_;
}

std::vector<platform::linux_impl::CapturedFrame> CollectingSink::Frames() const {
  std::lock_guard lock(mutex_);
  return frames_;
}

std::size_t CollectingSink::FrameCount() const {
  std::lock_guard lock(mutex_);
  return frames_.size();
}

bool CollectingSink::CalledAfterEnd() const {
  std::lock_guard lock(mutex_);
  return called_after_end_;
}

}  // namespace zr::testing
