#include "tests/support/local_http_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <turbojpeg.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <stop_token>
#include <thread>

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

constexpr int kWidth = 160;
constexpr int kHeight = 120;
constexpr int kBandRows = kHeight / 8;  // the white band across the top
// Eight levels per channel, far enough apart that JPEG's losses never blur one into another.
constexpr int kLevels = 8;
constexpr int kLevelStep = 32;
constexpr int kLevelBase = 16;

std::uint8_t Level(int index) { return static_cast<std::uint8_t>(kLevelBase + index * kLevelStep); }

std::optional<int> LevelIndex(int value) {
  const auto index = static_cast<int>(std::lround(static_cast<double>(value - kLevelBase) / kLevelStep));
  if (index < 0 || index >= kLevels || std::abs(value - Level(index)) > kLevelStep / 3) return std::nullopt;
  return index;
}

// Picture `number` as a JPEG: its blue, green and red levels are the number's three octal digits.
std::string PictureJpeg(int number) {
  const std::uint8_t colour[3] = {Level(number % kLevels), Level(number / kLevels % kLevels),
                                  Level(number / (kLevels * kLevels) % kLevels)};
  std::vector<std::uint8_t> top_down_bgr(static_cast<std::size_t>(kWidth) * kHeight * 3);
  for (std::size_t at = 0; at < top_down_bgr.size(); ++at)
    top_down_bgr[at] = at < static_cast<std::size_t>(kWidth) * 3 * kBandRows ? 255 : colour[at % 3];
  std::unique_ptr<void, decltype(&tjDestroy)> compressor(tjInitCompress(), tjDestroy);
  unsigned char* output = nullptr;
  unsigned long size = 0;
  const int status = tjCompress2(compressor.get(), top_down_bgr.data(), kWidth, kWidth * 3, kHeight, TJPF_BGR, &output,
                                 &size, TJSAMP_420, 90, 0);
  std::unique_ptr<unsigned char, decltype(&tjFree)> owned(output, tjFree);
  if (status != 0) throw std::runtime_error(std::string("tjCompress2: ") + tjGetErrorStr2(compressor.get()));
  return std::string(reinterpret_cast<const char*>(owned.get()), size);
}

struct Request {
  std::string path;  // without its query
  std::string head;
};

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
  const auto path_end = head.find_first_of(" ?", path_start);
  if (path_start == 0 || path_end == std::string::npos) return std::nullopt;
  return Request{head.substr(path_start, path_end - path_start), head};
}

std::string AnswerText(std::string_view status, std::string_view type, std::string_view body,
                       std::string_view extra_headers = {}) {
  return "HTTP/1.1 " + std::string(status) + "\r\nContent-Type: " + std::string(type) +
         "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + std::string(extra_headers) +
         "Connection: close\r\n\r\n" + std::string(body);
}

}  // namespace

// Every connection has a thread of its own that watches the stop token in all its waits, so a
// stop ends them all within a wait slice.
struct LocalHttpServer::State {
  Mode mode;
  Options options;
  Socket listener;
  Socket queue_filler;  // Unreachable: the one connection the queue holds
  int port = 0;
  std::stop_source stop;
  std::thread acceptor;
  std::vector<std::thread> connections;  // touched by the acceptor only, until it is joined
  std::atomic<int> next_picture = 0;
  std::atomic<int> requests = 0;
  mutable std::mutex mutex;  // guards last_request
  std::string last_request;

  void Accept();
  void Serve(Socket socket);
  void Answer(int fd, std::string_view path);
  void SendStream(int fd);
  bool Send(int fd, std::string_view bytes) {
    return SendAll(fd, bytes, kRequestWait, stop.get_token()) == SendOutcome::Sent;
  }
  // Sends a head and a body (a picture) as the options say they trickle.
  bool SendHeadAndPicture(int fd, std::string_view head, std::string_view picture);
  bool Trickle(int fd, std::string_view bytes);
};

LocalHttpServer::LocalHttpServer(Mode mode, Options options) : state_(std::make_unique<State>()) {
  state_->mode = mode;
  state_->options = std::move(options);
  state_->listener = Socket(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  if (!state_->listener.is_open() || ::bind(state_->listener.fd(), generic, size) != 0 ||
      ::listen(state_->listener.fd(), mode == Mode::Unreachable ? 0 : 16) != 0 ||
      ::getsockname(state_->listener.fd(), generic, &size) != 0) {
    throw std::runtime_error("the local HTTP server cannot listen");
  }
  state_->port = ntohs(address.sin_port);
  if (mode == Mode::Snapshot || mode == Mode::Mjpeg || mode == Mode::Files) {
    state_->acceptor = std::thread(&State::Accept, state_.get());
  } else if (mode == Mode::Unreachable) {
    // A queue of length 0 holds one connection; with it taken, later handshakes get no answer.
    state_->queue_filler = Socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (::connect(state_->queue_filler.fd(), generic, size) != 0) {
      throw std::runtime_error("the local HTTP server cannot fill its queue");
    }
  }
  // Silent: nothing accepts the connections; they wait in the listener's queue, unanswered.
}

LocalHttpServer::~LocalHttpServer() { Stop(); }

std::string LocalHttpServer::Url(std::string_view path) const {
  return "http://127.0.0.1:" + std::to_string(state_->port) + std::string(path);
}

std::string LocalHttpServer::Url() const {
  if (state_->mode == Mode::Mjpeg) return Url("/video.mjpg");
  if (state_->mode == Mode::Files) return Url("/file/");
  return Url("/snapshot.jpg");
}

void LocalHttpServer::Stop() {
  // Refused from now on, before any open connection closes: a client that asks again at once
  // must not land in the queue of a listener about to go.
  if (state_->listener.is_open()) ::shutdown(state_->listener.fd(), SHUT_RDWR);
  state_->stop.request_stop();
  if (state_->acceptor.joinable()) state_->acceptor.join();
  for (auto& connection : state_->connections) connection.join();
  state_->connections.clear();
  state_->listener = Socket();
  state_->queue_filler = Socket();
}

int LocalHttpServer::Requests() const { return state_->requests; }

std::string LocalHttpServer::LastRequest() const {
  std::lock_guard lock(state_->mutex);
  return state_->last_request;
}

std::optional<int> LocalHttpServer::FrameNumberIn(const platform::Picture& picture) {
  if (picture.width < 8 || picture.height < 16) return std::nullopt;
  const std::uint8_t* band = picture.PixelFromTop(picture.width / 2, picture.height / 16);
  if (band[0] < 230 || band[1] < 230 || band[2] < 230) return std::nullopt;
  const std::uint8_t* body = picture.PixelFromTop(picture.width / 2, picture.height * 2 / 3);
  const auto blue = LevelIndex(body[0]);
  const auto green = LevelIndex(body[1]);
  const auto red = LevelIndex(body[2]);
  if (!blue || !green || !red) return std::nullopt;
  return *blue + *green * kLevels + *red * kLevels * kLevels;
}

void LocalHttpServer::State::Accept() {
  while (WaitForSocket(listener.fd(), POLLIN, kLongWait, stop.get_token()) == WaitOutcome::Ready) {
    Socket accepted(::accept4(listener.fd(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (accepted.is_open()) connections.emplace_back(&State::Serve, this, std::move(accepted));
  }
}

void LocalHttpServer::State::Serve(Socket socket) {
  const auto request = ReadRequest(socket.fd(), stop.get_token());
  if (!request) return;
  ++requests;
  {
    std::lock_guard lock(mutex);
    last_request = request->head;
  }
  Answer(socket.fd(), request->path);
}

void LocalHttpServer::State::Answer(int fd, std::string_view path) {
  std::optional<std::string> file;
  if (path.starts_with("/file/") && path.find("..") == std::string_view::npos) {
    std::ifstream stream(options.folder / path.substr(6), std::ios::binary);
    if (stream) file = std::string(std::istreambuf_iterator<char>(stream), {});
  }
  if (path == "/snapshot.jpg") {
    const std::string answer = AnswerText("200 OK", "image/jpeg", PictureJpeg(next_picture++));
    const auto head_end = answer.find("\r\n\r\n") + 4;
    SendHeadAndPicture(fd, std::string_view(answer).substr(0, head_end), std::string_view(answer).substr(head_end));
  } else if (path == "/video.mjpg") {
    SendStream(fd);
  } else if (file) {
    Send(fd, AnswerText("200 OK", "video/x-msvideo", *file));
  } else if (path == "/page.html") {
    Send(fd, AnswerText("200 OK", "text/html", "<html><body>not a camera</body></html>"));
  } else if (path == "/close-delimited") {
    Send(fd,
         "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n"
         "the body ends where the connection does");
  } else if (path == "/loop" || path.starts_with("/redirect/")) {
    const std::string_view target = path == "/loop" ? path : path.substr(9);
    Send(fd, AnswerText("302 Found", "text/plain", "moved", "Location: " + std::string(target) + "\r\n"));
  } else {
    Send(fd, AnswerText("404 Not Found", "text/plain", "no such thing"));
  }
}

void LocalHttpServer::State::SendStream(int fd) {
  const std::string& boundary = options.boundary;
  const std::string delimiter = boundary.starts_with("--") ? boundary : "--" + boundary;
  if (!SendHeadAndPicture(fd,
                          "HTTP/1.1 200 OK\r\nContent-Type: multipart/x-mixed-replace;boundary=" + boundary +
                              "\r\nConnection: close\r\n\r\n",
                          "")) {
    return;
  }
  const auto started = Clock::now();
  const std::chrono::duration<double> period(1.0 / options.frames_per_second);
  for (int sent = 0; options.frames_per_stream == 0 || sent < options.frames_per_stream; ++sent) {
    const std::string jpeg = PictureJpeg(next_picture++);
    std::string part = delimiter + "\r\nContent-Type: image/jpeg\r\n";
    if (options.part_lengths) part += "Content-Length: " + std::to_string(jpeg.size()) + "\r\n";
    const auto due = started + std::chrono::duration_cast<Clock::duration>(period * (sent + 1));
    if (!SendHeadAndPicture(fd, "", part + "\r\n" + jpeg + "\r\n") || !SleepUntil(due, stop.get_token())) return;
  }
}

bool LocalHttpServer::State::SendHeadAndPicture(int fd, std::string_view head, std::string_view picture) {
  using enum Options::Trickle;
  const bool head_sent = options.trickle == Answers ? Trickle(fd, head) : Send(fd, head);
  return head_sent && (options.trickle == Nothing ? Send(fd, picture) : Trickle(fd, picture));
}

bool LocalHttpServer::State::Trickle(int fd, std::string_view bytes) {
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    if (!Send(fd, bytes.substr(at, 1)) || !SleepUntil(Clock::now() + options.byte_pause, stop.get_token())) {
      return false;
    }
  }
  return true;
}

}  // namespace zr::testing
