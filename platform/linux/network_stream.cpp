#include "platform/linux/network_stream.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>
#include <utility>

#include "platform/linux/ffmpeg_handles.h"
#include "platform/linux/http_client.h"
#include "platform/linux/picture_converter.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/error.h>
#include <libavutil/macros.h>
#include <libavutil/mem.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace zr::platform::linux_impl {
namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::microseconds;

constexpr AVRational kMicrosecondBase{1, 1'000'000};
constexpr double kMostPlausibleRate = 1000;

// ---- Bounded waits --------------------------------------------------------------------------

// FFmpeg asks this between the steps of every blocking call; a true answer aborts the call.
// Each wait for the far end is given the timeout anew; a stop request aborts any of them.
class WaitBound {
 public:
  void Watch(std::stop_token stop) { stop_ = std::move(stop); }
  void Arm(std::chrono::milliseconds timeout) {
    deadline_ = (Clock::now() + timeout).time_since_epoch().count();
    timed_out_ = false;
  }
  bool TimedOut() const { return timed_out_; }
  AVIOInterruptCB Callback() { return AVIOInterruptCB{&WaitBound::Interrupted, this}; }

 private:
  static int Interrupted(void* opaque) {
    auto& bound = *static_cast<WaitBound*>(opaque);
    if (bound.stop_.stop_requested()) return 1;
    if (Clock::now().time_since_epoch().count() <= bound.deadline_) return 0;
    bound.timed_out_ = true;
    return 1;
  }

  std::stop_token stop_;
  std::atomic<Clock::rep> deadline_ = 0;
  std::atomic<bool> timed_out_ = false;
};

// ---- Opening --------------------------------------------------------------------------------

struct OpenedStream {
  InputContextPtr input;
  CodecContextPtr decoder;
  int video_index = -1;
};

bool MeansNoAnswer(int status) {
  return status == AVERROR(ECONNREFUSED) || status == AVERROR(ETIMEDOUT) || status == AVERROR(EHOSTUNREACH) ||
         status == AVERROR(ENETUNREACH);
}

class StreamOpener {
 public:
  StreamOpener(const std::string& url, WaitBound& bound, std::chrono::milliseconds timeout)
      : url_(url), stream_("The stream at " + AddressForMessages(url)), bound_(bound), timeout_(timeout) {}

  Result<OpenedStream> Open();

 private:
  Result<InputContextPtr> OpenInput();
  Result<CodecContextPtr> OpenDecoder(const AVStream& video);
  Error Failed(const char* where, int status) const {
    if (bound_.TimedOut() || MeansNoAnswer(status)) return Error{stream_ + " does not answer", where};
    return Error{stream_ + " cannot be opened: " + AvErrorText(status), where};
  }

  const std::string& url_;
  const std::string stream_;  // "The stream at …", for messages
  WaitBound& bound_;
  std::chrono::milliseconds timeout_;
};

Result<OpenedStream> StreamOpener::Open() {
  auto input = OpenInput();
  if (!input) return input.error();
  bound_.Arm(timeout_);
  int status = avformat_find_stream_info(input->get(), nullptr);
  if (status < 0) return Failed("avformat_find_stream_info", status);
  status = av_find_best_stream(input->get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (status < 0) return Error{stream_ + " has no pictures", "av_find_best_stream"};
  const int video_index = status;
  auto decoder = OpenDecoder(*(*input)->streams[video_index]);
  if (!decoder) return decoder.error();
  return OpenedStream{std::move(*input), std::move(*decoder), video_index};
}

Result<InputContextPtr> StreamOpener::OpenInput() {
  AVFormatContext* context = avformat_alloc_context();
  if (context == nullptr) return Error{"out of memory", "avformat_alloc_context"};
  context->interrupt_callback = bound_.Callback();
  bound_.Arm(timeout_);
  // On failure the context is freed by the call itself.
  const int status = avformat_open_input(&context, url_.c_str(), nullptr, nullptr);
  if (status < 0) return Failed("avformat_open_input", status);
  return InputContextPtr(context);
}

Result<CodecContextPtr> StreamOpener::OpenDecoder(const AVStream& video) {
  const AVCodec* codec = avcodec_find_decoder(video.codecpar->codec_id);
  if (codec == nullptr) {
    return Error{
        stream_ + " holds " + avcodec_get_name(video.codecpar->codec_id) + " pictures, which cannot be decoded",
        "avcodec_find_decoder"};
  }
  CodecContextPtr decoder(avcodec_alloc_context3(codec));
  if (!decoder) return Error{"out of memory", "avcodec_alloc_context3"};
  int status = avcodec_parameters_to_context(decoder.get(), video.codecpar);
  if (status < 0) return Failed("avcodec_parameters_to_context", status);
  decoder->pkt_timebase = video.time_base;
  decoder->thread_count = 0;  // as many as the machine has
  status = avcodec_open2(decoder.get(), codec, nullptr);
  if (status < 0) return Failed("avcodec_open2", status);
  return decoder;
}

double PlausibleRate(const AVStream& video) {
  const AVRational rate = video.avg_frame_rate;
  if (rate.num <= 0 || rate.den <= 0) return 0;
  const double fps = av_q2d(rate);
  return fps <= kMostPlausibleRate ? fps : 0;
}

// ---- Pace -----------------------------------------------------------------------------------

// Places frames on the steady clock by their presentation times: timestamps count from the
// first frame, and each frame is due when as much time has passed since the first one.
class Pacer {
 public:
  explicit Pacer(std::int64_t frame_step_us) : step_us_(frame_step_us) {}

  struct Placed {
    std::int64_t timestamp_us;
    Clock::time_point due;
  };
  Placed Place(std::optional<std::int64_t> presented_us, Clock::time_point now);

 private:
  // A stream's clock that leaps further than this, or back, has been cut or restarted: the
  // frames play on one step after the last one.
  static constexpr std::int64_t kLongestLeapUs = 10'000'000;
  // Delivery this late (a stalled network) plays on from now rather than rushing to catch up.
  static constexpr Microseconds kLongestLag{1'000'000};

  std::optional<std::int64_t> origin_us_;  // the presentation time of timestamp 0
  Clock::time_point origin_due_;
  std::int64_t last_us_ = 0;
  std::int64_t step_us_;
};

Pacer::Placed Pacer::Place(std::optional<std::int64_t> presented_us, Clock::time_point now) {
  if (!origin_us_) {
    origin_us_ = presented_us.value_or(0);
    origin_due_ = now;
    return {0, now};
  }
  std::int64_t timestamp = presented_us ? *presented_us - *origin_us_ : last_us_ + step_us_;
  if (timestamp <= last_us_ || timestamp > last_us_ + kLongestLeapUs) {
    timestamp = last_us_ + step_us_;
    if (presented_us) origin_us_ = *presented_us - timestamp;
  } else {
    step_us_ = timestamp - last_us_;
  }
  last_us_ = timestamp;
  Clock::time_point due = origin_due_ + Microseconds(timestamp);
  if (now - due > kLongestLag) {
    origin_due_ = now - Microseconds(timestamp);
    due = now;
  }
  return {timestamp, due};
}

std::int64_t FrameStepUs(const AVStream& video) {
  constexpr std::int64_t kDefaultStepUs = 40'000;
  const double fps = PlausibleRate(video);
  return fps > 0 ? static_cast<std::int64_t>(1e6 / fps) : kDefaultStepUs;
}

// ---- The source -----------------------------------------------------------------------------

void InitialiseNetworkOnce() {
  static std::once_flag once;
  std::call_once(once, [] { avformat_network_init(); });
}

class NetworkStream final : public FrameSource {
 public:
  NetworkStream(std::string url, int timeout_ms)
      : url_(std::move(url)), timeout_(timeout_ms), stream_text_("The stream at " + AddressForMessages(url_)) {}
  ~NetworkStream() override { Stop(); }

  Result<void> Start(FrameSink& sink) override;
  void Stop() override;

  int Width() const override { return width_; }
  int Height() const override { return height_; }
  double FramesPerSecond() const override { return frames_per_second_; }

 private:
  // What the reader thread works with while it runs.
  struct Playback {
    FrameSink& sink;
    std::stop_token stop;
    PacketPtr packet;
    FramePtr frame;
    PictureConverter converter;
    Pacer pacer;
    std::int64_t sequence = 0;
  };
  enum class Step { Go, Stop };

  void OpenAndRun(FrameSink& sink, std::stop_token stop);
  Step ReadAndDecode(Playback& playback);
  Step Decode(Playback& playback, const AVPacket* packet);
  Step Present(Playback& playback);
  void End(const Playback& playback, const std::string& message) const;
  std::optional<std::int64_t> PresentedUs(const AVFrame& frame) const;

  const std::string url_;
  const std::chrono::milliseconds timeout_;
  const std::string stream_text_;  // "The stream at …", for messages
  std::atomic<int> width_ = 0;
  std::atomic<int> height_ = 0;
  std::atomic<double> frames_per_second_ = 0;
  std::stop_source stop_;
  WaitBound bound_;  // outlives the stream, whose context calls it
  std::optional<OpenedStream> stream_;
  std::thread worker_;
};

// The stream is opened on the source's own thread: a far end that is slow to answer holds
// that thread, never the caller's.
Result<void> NetworkStream::Start(FrameSink& sink) {
  Stop();
  InitialiseNetworkOnce();
  stop_ = std::stop_source();
  bound_.Watch(stop_.get_token());
  worker_ = std::thread(&NetworkStream::OpenAndRun, this, std::ref(sink), stop_.get_token());
  return {};
}

void NetworkStream::Stop() {
  stop_.request_stop();
  if (worker_.joinable()) worker_.join();
  stream_.reset();  // the stop request lets a network close finish at once
}

void NetworkStream::OpenAndRun(FrameSink& sink, std::stop_token stop) {
  auto opened = StreamOpener(url_, bound_, timeout_).Open();
  if (!opened) {
    if (!stop.stop_requested()) sink.OnSourceEnded(opened.error().message);
    return;
  }
  stream_ = std::move(*opened);
  const AVStream& video = *stream_->input->streams[stream_->video_index];
  width_ = video.codecpar->width;
  height_ = video.codecpar->height;
  frames_per_second_ = PlausibleRate(video);
  Playback playback{sink,
                    std::move(stop),
                    PacketPtr(av_packet_alloc()),
                    FramePtr(av_frame_alloc()),
                    PictureConverter(),
                    Pacer(FrameStepUs(video))};
  if (!playback.packet || !playback.frame) {
    return End(playback, stream_text_ + " cannot be played: out of memory");
  }
  while (ReadAndDecode(playback) == Step::Go) {
  }
}

NetworkStream::Step NetworkStream::ReadAndDecode(Playback& playback) {
  bound_.Arm(timeout_);
  const int status = av_read_frame(stream_->input.get(), playback.packet.get());
  if (playback.stop.stop_requested()) return Step::Stop;
  if (status == AVERROR(EAGAIN)) {
    constexpr std::chrono::milliseconds kRetryPause{10};
    return SleepUntil(Clock::now() + kRetryPause, playback.stop) ? Step::Go : Step::Stop;
  }
  if (status == AVERROR_EOF && !bound_.TimedOut()) {
    if (Decode(playback, nullptr) == Step::Go) End(playback, "The stream has ended");
    return Step::Stop;
  }
  if (status < 0) {
    End(playback, stream_text_ + " does not answer");
    return Step::Stop;
  }
  const bool ours = playback.packet->stream_index == stream_->video_index;
  const Step step = ours ? Decode(playback, playback.packet.get()) : Step::Go;
  av_packet_unref(playback.packet.get());
  return step;
}

// Sends a packet to the decoder (nullptr drains it) and presents every frame that comes out.
// A packet the decoder rejects is passed over: one damaged packet ends no stream.
NetworkStream::Step NetworkStream::Decode(Playback& playback, const AVPacket* packet) {
  AVCodecContext* decoder = stream_->decoder.get();
  if (avcodec_send_packet(decoder, packet) < 0) return Step::Go;
  while (avcodec_receive_frame(decoder, playback.frame.get()) >= 0) {
    const Step step = Present(playback);
    av_frame_unref(playback.frame.get());
    if (step == Step::Stop) return step;
  }
  return Step::Go;
}

NetworkStream::Step NetworkStream::Present(Playback& playback) {
  const AVFrame& frame = *playback.frame;
  auto picture = playback.converter.Convert(frame);
  if (!picture) return Step::Go;
  const Pacer::Placed placed = playback.pacer.Place(PresentedUs(frame), Clock::now());
  if (!SleepUntil(placed.due, playback.stop)) return Step::Stop;
  width_ = picture->width;
  height_ = picture->height;
  CapturedFrame captured;
  captured.picture = std::make_shared<const Picture>(std::move(*picture));
  captured.timestamp_us = placed.timestamp_us;
  captured.sequence = playback.sequence++;
  playback.sink.OnFrame(captured);
  return Step::Go;
}

std::optional<std::int64_t> NetworkStream::PresentedUs(const AVFrame& frame) const {
  if (frame.best_effort_timestamp == AV_NOPTS_VALUE) return std::nullopt;
  const AVRational time_base = stream_->input->streams[stream_->video_index]->time_base;
  return av_rescale_q(frame.best_effort_timestamp, time_base, kMicrosecondBase);
}

// Tells the sink why the stream ended, unless Stop ended it.
void NetworkStream::End(const Playback& playback, const std::string& message) const {
  if (!playback.stop.stop_requested()) playback.sink.OnSourceEnded(message);
}

}  // namespace

std::unique_ptr<FrameSource> MakeNetworkStreamSource(std::string url, int timeout_ms) {
  return std::make_unique<NetworkStream>(std::move(url), timeout_ms);
}

}  // namespace zr::platform::linux_impl
