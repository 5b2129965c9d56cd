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

namespace zr::platform::linux_impl {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kLargestPicture = 32 * 1024 * 1024;
constexpr std::size_t kReadChunk = 64 * 1024;

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

// ---- Motion JPEG streams ----------------------------------------------------------------------

// Cuts a multipart body into its parts. Each part begins with the delimiter line ("--" and the
// boundary), its headers and an empty line; its body is as long as its Content-Length says or,
// without one, runs up to the line break before the next delimiter. Cameras differ in whether
// the boundary they announce already starts with "--"; searching for "--" and the boundary
// without its own dashes finds the delimiter either way.
class MultipartReader {
 public:
  static std::string DelimiterOf(std::string_view boundary) {
    const auto own_start = boundary.find_first_not_of('-');
    return "--" + std::string(own_start == std::string_view::npos ? boundary : boundary.substr(own_start));
  }

  MultipartReader(HttpConnection connection, std::string_view boundary)
      : connection_(std::move(connection)), delimiter_(DelimiterOf(boundary)) {}

  // The next part's bytes; none when the stream is over (closed, or its closing delimiter).
  using Part = std::optional<std::vector<std::uint8_t>>;
  Result<Part> NextPart();

 private:
  using Found = Result<std::optional<std::size_t>>;

  Found Find(std::string_view needle, std::size_t from);
  Found FindBlankLine(std::size_t from);
  Result<bool> Fill();
  std::string_view Text(std::size_t from, std::size_t to) const {
    return {reinterpret_cast<const char*>(buffer_.data()) + from, to - from};
  }
  void DropConsumed();

  HttpConnection connection_;
  std::string delimiter_;
  std::vector<std::uint8_t> buffer_;
  std::size_t start_ = 0;  // the first byte not yet taken
  std::size_t end_ = 0;    // the end of the bytes received
};

Result<MultipartReader::Part> MultipartReader::NextPart() {
  DropConsumed();
  auto delimiter = Find(delimiter_, start_);
  if (!delimiter) return delimiter.error();
  if (!*delimiter) return Part();
  const std::size_t after_delimiter = **delimiter + delimiter_.size();
  auto line_end = Find("\n", after_delimiter);
  if (!line_end) return line_end.error();
  if (!*line_end || Text(after_delimiter, **line_end).starts_with("--")) {
    return Part();  // "--" after the boundary closes the stream
  }
  auto head_end = FindBlankLine(after_delimiter);
  if (!head_end) return head_end.error();
  if (!*head_end) return Part();
  // The headers start on the line after the boundary's own.
  const HttpHeaders headers = ParseHeaderLines(Text(**line_end + 1, **head_end));
  const std::size_t body_start = **head_end;
  if (const auto length = headers.ContentLength()) {
    if (*length > kLargestPicture) return Error{"a picture is too large", "MultipartReader"};
    const std::size_t body_end = body_start + static_cast<std::size_t>(*length);
    while (end_ < body_end) {
      auto more = Fill();
      if (!more) return more.error();
      if (!*more) return Part();
    }
    start_ = body_end;
    return Part(std::in_place, buffer_.begin() + static_cast<std::ptrdiff_t>(body_start),
                buffer_.begin() + static_cast<std::ptrdiff_t>(body_end));
  }
  auto next = Find(delimiter_, body_start);
  if (!next) return next.error();
  if (!*next) return Part();
  std::size_t body_end = **next;
  if (body_end > body_start && buffer_[body_end - 1] == '\n') --body_end;
  if (body_end > body_start && buffer_[body_end - 1] == '\r') --body_end;
  start_ = **next;  // the delimiter opens the next part
  return Part(std::in_place, buffer_.begin() + static_cast<std::ptrdiff_t>(body_start),
              buffer_.begin() + static_cast<std::ptrdiff_t>(body_end));
}

// Where `needle` begins, reading on until it has arrived; nullopt when the stream ends first.
MultipartReader::Found MultipartReader::Find(std::string_view needle, std::size_t from) {
  for (;;) {
    const std::string_view text = Text(0, end_);
    const auto at = text.find(needle, from);
    if (at != std::string_view::npos) return std::optional<std::size_t>(at);
    // The needle may have begun in the last bytes; look there again once more has come.
    from = std::max(from, end_ - std::min(end_, needle.size() - 1));
    auto more = Fill();
    if (!more) return more.error();
    if (!*more) return std::optional<std::size_t>();
  }
}

// Where the bytes after the first empty line begin (CRLF or bare LF line ends).
MultipartReader::Found MultipartReader::FindBlankLine(std::size_t from) {
  for (;;) {
    for (std::size_t i = from; i < end_; ++i) {
      if (buffer_[i] != '\n') continue;
      std::size_t next = i + 1;
      if (next < end_ && buffer_[next] == '\r') ++next;
      if (next < end_ && buffer_[next] == '\n') return std::optional<std::size_t>(next + 1);
    }
    from = std::max(from, end_ - std::min<std::size_t>(end_, 2));
    auto more = Fill();
    if (!more) return more.error();
    if (!*more) return std::optional<std::size_t>();
  }
}

// Reads what has arrived; false when the stream is over. The buffer only grows, so it is
// cleared once rather than for every read.
Result<bool> MultipartReader::Fill() {
  if (end_ - start_ > kLargestPicture) {
    return Error{"a picture is too large, or the stream has no boundaries", "MultipartReader"};
  }
  if (buffer_.size() - end_ < kReadChunk) buffer_.resize(end_ + kReadChunk);
  auto got = connection_.ReadSome(std::span(buffer_).subspan(end_));
  if (!got) return got.error();
  end_ += *got;
  return *got > 0;
}

void MultipartReader::DropConsumed() {
  const auto first = buffer_.begin() + static_cast<std::ptrdiff_t>(start_);
  std::copy(first, buffer_.begin() + static_cast<std::ptrdiff_t>(end_), buffer_.begin());
  end_ -= start_;
  start_ = 0;
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
  void RunSnapshots(FrameSink& sink, HttpConnection first, std::stop_token stop);
  void RunStream(FrameSink& sink, HttpConnection first, std::string boundary, std::stop_token stop);
  Result<MultipartReader> ReopenStream(std::stop_token stop) const;
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

Result<void> IpCamera::Start(FrameSink& sink) {
  Stop();
  stop_ = std::stop_source();
  width_ = 0;
  height_ = 0;
  started_ = Clock::now();
  auto answer = HttpConnection::Get(url_, RequestOptions(stop_.get_token()));
  if (!answer) return answer.error();
  if (auto succeeded = answer->CheckSucceeded(); !succeeded) return succeeded;
  auto kind = KindOfAnswer(answer->Response(), camera_);
  if (!kind) return kind.error();
  if (kind->streams) {
    worker_ = std::thread(&IpCamera::RunStream, this, std::ref(sink), std::move(*answer), std::move(kind->boundary),
                          stop_.get_token());
  } else {
    worker_ = std::thread(&IpCamera::RunSnapshots, this, std::ref(sink), std::move(*answer), stop_.get_token());
  }
  return {};
}

void IpCamera::Stop() {
  stop_.request_stop();
  if (worker_.joinable()) worker_.join();
}

HttpOptions IpCamera::RequestOptions(std::stop_token stop) const {
  HttpOptions options;
  options.connect_timeout = timeouts_.connect;
  options.read_timeout = timeouts_.read;
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
  MultipartReader stream(std::move(first), boundary);
  // A camera may close a stream now and then; it is opened again once, and again only after it
  // has sent a picture, so a camera that takes the request and closes at once ends the source.
  bool may_reopen = true;
  for (;;) {
    auto part = stream.NextPart();
    if (!part) return End(sink, NoAnswer(), stop);
    if (*part) {
      delivery.Deliver(**part);
      may_reopen = true;
      continue;
    }
    if (!may_reopen) return End(sink, NoAnswer(), stop);
    may_reopen = false;
    auto reopened = ReopenStream(stop);
    if (!reopened) return End(sink, reopened.error().message, stop);
    stream = std::move(*reopened);
  }
}

Result<MultipartReader> IpCamera::ReopenStream(std::stop_token stop) const {
  auto answer = AskAgain(std::move(stop));
  if (!answer) return answer.error();
  auto kind = KindOfAnswer(answer->Response(), camera_);
  if (!kind || !kind->streams) return Error{NoAnswer(), "IpCamera::ReopenStream"};
  return MultipartReader(std::move(*answer), kind->boundary);
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
