#include "platform/linux/ip_camera.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstring>
#include <optional>
#include <span>
#include <stop_token>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "image/jpeg_codec.h"
#include "platform/linux/http_client.h"
#include "platform/linux/multipart_reader.h"

namespace zr::platform::linux_impl {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kLargestPicture = 32 * 1024 * 1024;

// ---- What the camera sends --------------------------------------------------------------------

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower;
}

std::string_view Trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// "multipart/x-mixed-replace; boundary=…" → "multipart/x-mixed-replace".
std::string MediaType(std::string_view content_type) {
  return LowerCase(Trimmed(content_type.substr(0, content_type.find(';'))));
}

// A parameter of a content type, its quotes taken off; nullopt when there is none.
std::optional<std::string> TypeParameter(std::string_view content_type, std::string_view name) {
  for (auto start = content_type.find(';'); start != std::string_view::npos;) {
    const auto end = content_type.find(';', start + 1);
    const std::string_view field = content_type.substr(start + 1, end - start - 1);
    start = end;
    const auto equals = field.find('=');
    if (equals == std::string_view::npos || LowerCase(Trimmed(field.substr(0, equals))) != name) {
      continue;
    }
    std::string_view value = Trimmed(field.substr(equals + 1));
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
      value = value.substr(1, value.size() - 2);
    }
    return std::string(value);
  }
  return std::nullopt;
}

struct CameraKind {
  bool streams = false;  // a Motion JPEG stream rather than one snapshot per request
  std::string boundary;  // what separates the stream's pictures
};

Result<CameraKind> KindOfAnswer(const HttpResponse& response, const std::string& camera) {
  const std::string content_type = response.headers.Get("Content-Type").value_or("");
  const std::string media_type = MediaType(content_type);
  if (media_type == "image/jpeg" || media_type == "image/jpg") return CameraKind{};
  if (media_type == "multipart/x-mixed-replace") {
    auto boundary = TypeParameter(content_type, "boundary");
    if (!boundary || boundary->empty()) {
      return Error{camera + " sends a stream without a boundary between its pictures", "IpCamera::Start"};
    }
    return CameraKind{true, std::move(*boundary)};
  }
  if (content_type.empty()) {
    return Error{camera + " sends no content type, not JPEG pictures", "IpCamera::Start"};
  }
  return Error{camera + " sends '" + content_type + "', not JPEG pictures", "IpCamera::Start"};
}

// ---- Frames -----------------------------------------------------------------------------------

// Decodes the camera's pictures and hands them to the sink, stamped and numbered.
class FrameDelivery {
 public:
  FrameDelivery(FrameSink& sink, Clock::time_point started, std::atomic<int>& width, std::atomic<int>& height)
      : sink_(sink), started_(started), width_(width), height_(height) {}

  // A picture that cannot be decoded is passed over: one damaged picture ends no recording.
  void Deliver(std::span<const std::uint8_t> jpeg) {
    const auto arrived = Clock::now();
    auto picture = decoder_.Decode(jpeg);
    if (!picture) return;
    width_ = picture->width;
    height_ = picture->height;
    CapturedFrame frame;
    frame.picture = std::make_shared<const Picture>(std::move(*picture));
    frame.timestamp_us = std::chrono::duration_cast<std::chrono::microseconds>(arrived - started_).count();
    frame.sequence = sequence_++;
    sink_.OnFrame(frame);
  }

 private:
  FrameSink& sink_;
  Clock::time_point started_;
  std::atomic<int>& width_;
  std::atomic<int>& height_;
  JpegDecoder decoder_;
  std::int64_t sequence_ = 0;
};

// ---- The camera -------------------------------------------------------------------------------

class IpCamera final : public FrameSource {
 public:
  IpCamera(std::string url, IpCameraTimeouts timeouts)
      : url_(std::move(url)), timeouts_(timeouts), camera_("The camera at " + AddressForMessages(url_)) {}
  ~IpCamera() override { Stop(); }

  Result<void> Start(FrameSink& sink) override;
  void Stop() override;

  int Width() const override { return width_; }
  int Height() const override { return height_; }
  double FramesPerSecond() const override { return 0; }

 private:
  HttpOptions RequestOptions(std::stop_token stop) const;
  Result<HttpConnection> AskAgain(std::stop_token stop) const;
  void Run(FrameSink& sink, std::stop_token stop);
  void RunSnapshots(FrameSink& sink, HttpConnection first, std::stop_token stop);
  void RunStream(FrameSink& sink, HttpConnection first, std::string boundary, std::stop_token stop);
  Result<std::string> ReopenStream(HttpConnection& connection, std::stop_token stop) const;
  void End(FrameSink& sink, const std::string& message, const std::stop_token& stop) const;
  std::string NoAnswer() const { return camera_ + " does not answer"; }

  const std::string url_;
  const IpCameraTimeouts timeouts_;
  const std::string camera_;  // "The camera at http://…", for messages
  std::atomic<int> width_ = 0;
  std::atomic<int> height_ = 0;
  Clock::time_point started_;
  std::stop_source stop_;
  std::thread worker_;
};

// The camera is asked on the source's own thread, so that a camera that is slow to answer, or
// never does, holds up nothing else; why it cannot be used comes to the sink as its end.
Result<void> IpCamera::Start(FrameSink& sink) {
  Stop();
  stop_ = std::stop_source();
  width_ = 0;
  height_ = 0;
  started_ = Clock::now();
  worker_ = std::thread(&IpCamera::Run, this, std::ref(sink), stop_.get_token());
  return {};
}

void IpCamera::Run(FrameSink& sink, std::stop_token stop) {
  auto answer = HttpConnection::Get(url_, RequestOptions(stop));
  if (!answer) return End(sink, answer.error().message, stop);
  if (auto succeeded = answer->CheckSucceeded(); !succeeded) return End(sink, succeeded.error().message, stop);
  auto kind = KindOfAnswer(answer->Response(), camera_);
  if (!kind) return End(sink, kind.error().message, stop);
  if (kind->streams) return RunStream(sink, std::move(*answer), std::move(kind->boundary), stop);
  RunSnapshots(sink, std::move(*answer), stop);
}

void IpCamera::Stop() {
  stop_.request_stop();
  if (worker_.joinable()) worker_.join();
}

HttpOptions IpCamera::RequestOptions(std::stop_token stop) const {
  HttpOptions options;
  options.connect_timeout = timeouts_.connect;
  options.read_timeout = timeouts_.read;
  options.answer_timeout = timeouts_.picture;
  options.far_end = "The camera";
  options.awaited = "picture";
  options.stop = std::move(stop);
  return options;
}

// Asks again while running. Whatever keeps the answer from coming is told the operator as the
// camera not answering; a refusal (401, 503, …) is told as it is.
Result<HttpConnection> IpCamera::AskAgain(std::stop_token stop) const {
  auto answer = HttpConnection::Get(url_, RequestOptions(std::move(stop)));
  if (!answer) return Error{NoAnswer(), answer.error().where};
  if (auto succeeded = answer->CheckSucceeded(); !succeeded) return succeeded.error();
  return answer;
}

void IpCamera::RunSnapshots(FrameSink& sink, HttpConnection first, std::stop_token stop) {
  FrameDelivery delivery(sink, started_, width_, height_);
  HttpConnection answer = std::move(first);
  for (auto asked = started_;;) {
    auto picture = answer.ReadBody(kLargestPicture);
    if (!picture) return End(sink, NoAnswer(), stop);
    delivery.Deliver(*picture);
    if (!SleepUntil(asked + timeouts_.snapshot_interval, stop)) return;
    asked = Clock::now();
    auto next = AskAgain(stop);
    if (!next) return End(sink, next.error().message, stop);
    answer = std::move(*next);
  }
}

void IpCamera::RunStream(FrameSink& sink, HttpConnection first, std::string boundary, std::stop_token stop) {
  FrameDelivery delivery(sink, started_, width_, height_);
  HttpConnection connection = std::move(first);
  const auto read = [&connection](std::span<std::uint8_t> into) { return connection.ReadSome(into); };
  MultipartReader stream(read, boundary, kLargestPicture);
  // A camera may close a stream now and then; it is opened again once, and again only after it
  // has sent a picture, so a camera that takes the request and closes at once ends the source.
  bool may_reopen = true;
  for (;;) {
    // Each picture has its own time, however steadily its bytes come.
    connection.SetDeadline(Clock::now() + timeouts_.picture);
    auto part = stream.NextPart();
    if (!part) return End(sink, NoAnswer(), stop);
    if (*part) {
      delivery.Deliver(**part);
      may_reopen = true;
      continue;
    }
    if (!may_reopen) return End(sink, NoAnswer(), stop);
    may_reopen = false;
    auto reopened = ReopenStream(connection, stop);
    if (!reopened) return End(sink, reopened.error().message, stop);
    stream = MultipartReader(read, *reopened, kLargestPicture);
  }
}

// Asks for the stream again into `connection`; the boundary of the new stream.
Result<std::string> IpCamera::ReopenStream(HttpConnection& connection, std::stop_token stop) const {
  auto answer = AskAgain(std::move(stop));
  if (!answer) return answer.error();
  auto kind = KindOfAnswer(answer->Response(), camera_);
  if (!kind || !kind->streams) return Error{NoAnswer(), "IpCamera::ReopenStream"};
  connection = std::move(*answer);
  return std::move(kind->boundary);
}

// Tells the sink why the camera ended, unless Stop ended it.
void IpCamera::End(FrameSink& sink, const std::string& message, const std::stop_token& stop) const {
  if (!stop.stop_requested()) sink.OnSourceEnded(message);
}

}  // namespace

std::unique_ptr<FrameSource> MakeIpCameraSource(std::string url, IpCameraTimeouts timeouts) {
  return std::make_unique<IpCamera>(std::move(url), timeouts);
}

}  // namespace zr::platform::linux_impl
