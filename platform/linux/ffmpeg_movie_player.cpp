#include "platform/linux/ffmpeg_movie_player.h"

#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/linux/avi_input.h"
#include "platform/linux/ffmpeg_movie_files.h"
#include "platform/linux/picture_converter.h"

namespace zr::platform::linux_impl {

namespace {

// The largest side a movie may have to be played; a header that claims more is not believed.
constexpr int kLargestSide = 16384;
// Frames decoded on rather than sought to when no key frame lies between.
constexpr std::int64_t kMostFramesDecodedOn = 250;
// How long a window waits for the frame it shows before it takes the last one decoded.
constexpr auto kPictureWait = std::chrono::milliseconds(500);

}  // namespace

// The thread's side: the file and its decoder, which frame comes out next, and the picture of
// the last frame decoded. Frames are counted from 0 here.
class FfmpegMoviePlayer::Decoder {
 public:
  static Result<std::unique_ptr<Decoder>> Open(const std::string& path) {
    auto input = OpenAviInput(path);
    if (!input) return input.error();
    auto decoder = std::unique_ptr<Decoder>(new Decoder(std::move(*input)));
    if (auto opened = decoder->OpenCodec(); !opened) return opened.error();
    return decoder;
  }

  // The picture of frame `index`, decoding (and seeking) as needed.
  Result<std::shared_ptr<const Picture>> PictureOf(std::int64_t index) {
    if (picture_ && index == decoded_) return picture_;
    if (!positioned_ || index < next_ || KeyFrameBefore(index) > next_ || index - next_ > kMostFramesDecodedOn) {
      if (auto sought = SeekBefore(index); !sought) return sought.error();
    }
    if (auto reached = DecodeTo(index); !reached) {
      // An index that put the decoder past the frame: once more from the movie's start.
      if (decoded_ <= index) return reached.error();
      if (auto sought = SeekBefore(0); !sought) return sought.error();
      if (auto again = DecodeTo(index); !again) return again.error();
    }
    auto picture = converter_.Convert(*frame_);
    if (!picture) return picture.error();
    picture_ = std::make_shared<const Picture>(std::move(*picture));
    return picture_;
  }

 private:
  explicit Decoder(InputContextPtr input)
      : input_(std::move(input)), packet_(av_packet_alloc()), frame_(av_frame_alloc()) {}

  Result<void> OpenCodec() {
    if (!packet_ || !frame_) return Error{"out of memory", "av_frame_alloc"};
    const AVCodec* codec = nullptr;
    stream_ = av_find_best_stream(input_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    if (stream_ < 0 || codec == nullptr)
      return Error{"the movie has no video FFmpeg can decode", "av_find_best_stream"};
    codec_.reset(avcodec_alloc_context3(codec));
    if (!codec_) return Error{"out of memory", "avcodec_alloc_context3"};
    if (const int status = avcodec_parameters_to_context(codec_.get(), input_->streams[stream_]->codecpar); status < 0)
      return Error{AvErrorText(status), "avcodec_parameters_to_context"};
    if (const int status = avcodec_open2(codec_.get(), codec, nullptr); status < 0)
      return Error{AvErrorText(status), "avcodec_open2"};
    return {};
  }

  // The timestamp (the frame's place in the stream) of the key frame at or before `index`, from
  // the demuxer's index; 0 when the index does not tell.
  std::int64_t KeyFrameBefore(std::int64_t index) {
    AVStream* stream = input_->streams[stream_];
    const int entry = av_index_search_timestamp(stream, index, AVSEEK_FLAG_BACKWARD);
    const AVIndexEntry* found = entry >= 0 ? avformat_index_get_entry(stream, entry) : nullptr;
    return found != nullptr ? found->timestamp : 0;
  }

  Result<void> SeekBefore(std::int64_t index) {
    const int status = av_seek_frame(input_.get(), stream_, index, AVSEEK_FLAG_BACKWARD);
    if (status < 0) return Error{AvErrorText(status), "av_seek_frame"};
    avcodec_flush_buffers(codec_.get());
    positioned_ = true;
    place_known_ = false;
    draining_ = false;
    picture_.reset();
    decoded_ = -1;
    return {};
  }

  Result<void> DecodeTo(std::int64_t index) {
    while (decoded_ < index) {
      if (auto next = DecodeNext(); !next) return next;
    }
    if (decoded_ != index) return Error{"the decoder went past the frame", "avcodec_receive_frame"};
    return {};
  }

  // The next frame out of the decoder; its number is counted on from the first packet read
  // after a seek.
  Result<void> DecodeNext() {
    for (;;) {
      const int received = avcodec_receive_frame(codec_.get(), frame_.get());
      if (received == 0) {
        decoded_ = next_++;
        return {};
      }
      if (received == AVERROR_EOF) return Error{"the movie ends before the frame", "avcodec_receive_frame"};
      if (received != AVERROR(EAGAIN)) return Error{AvErrorText(received), "avcodec_receive_frame"};
      if (draining_) return Error{"the movie ends before the frame", "avcodec_receive_frame"};
      const int read = av_read_frame(input_.get(), packet_.get());
      if (read < 0) {
        draining_ = true;
        avcodec_send_packet(codec_.get(), nullptr);
        continue;
      }
      if (packet_->stream_index == stream_) {
        if (!place_known_) {
          next_ = packet_->dts != AV_NOPTS_VALUE ? packet_->dts : 0;
          place_known_ = true;
        }
        // A damaged packet is left out; the frames after it still count on.
        avcodec_send_packet(codec_.get(), packet_.get());
      }
      av_packet_unref(packet_.get());
    }
  }

  InputContextPtr input_;
  CodecContextPtr codec_;
  PacketPtr packet_;
  FramePtr frame_;
  PictureConverter converter_;
  int stream_ = -1;
  bool positioned_ = false;
  bool place_known_ = false;
  bool draining_ = false;
  std::int64_t next_ = 0;      // the frame that comes out of the decoder next
  std::int64_t decoded_ = -1;  // the frame in frame_
  std::shared_ptr<const Picture> picture_;
};

// What the logic thread and the decoding thread share. Frames are counted from 1 here.
struct FfmpegMoviePlayer::HandOver {
  std::mutex mutex;
  std::condition_variable changed;
  std::int64_t wanted = 0;
  bool ahead = false;  // decode the frame after the wanted one once it is ready
  bool quit = false;
  std::int64_t settled = 0;  // the last wanted frame the thread has dealt with
  std::shared_ptr<const Picture> shown;
  std::thread thread;

  void Run(std::unique_ptr<Decoder> decoder) {
    std::int64_t ahead_frame = 0;
    std::shared_ptr<const Picture> ahead_picture;
    std::unique_lock lock(mutex);
    for (;;) {
      changed.wait(lock, [&] { return quit || wanted != settled || (ahead && ahead_frame != settled + 1); });
      if (quit) return;
      if (wanted != settled) {
        const std::int64_t target = wanted;
        std::shared_ptr<const Picture> picture = ahead_frame == target ? ahead_picture : nullptr;
        lock.unlock();
        if (!picture) {
          auto decoded = decoder->PictureOf(target - 1);
          if (decoded) picture = std::move(*decoded);
        }
        lock.lock();
        settled = target;
        if (picture) shown = std::move(picture);
        changed.notify_all();
        continue;
      }
      const std::int64_t next = settled + 1;
      lock.unlock();
      auto decoded = decoder->PictureOf(next - 1);
      lock.lock();
      ahead_frame = next;
      ahead_picture = decoded ? std::move(*decoded) : nullptr;
    }
  }
};

FfmpegMoviePlayer::FfmpegMoviePlayer(EventLoop& loop) : loop_(loop) {}

FfmpegMoviePlayer::~FfmpegMoviePlayer() { CloseMovie(); }

Result<void> FfmpegMoviePlayer::OpenMovie(const std::string& path) {
  CloseMovie();
  auto info = FfmpegMovieFiles().ReadInfo(path);
  if (!info) return info.error();
  if (info->width <= 0 || info->height <= 0 || info->width > kLargestSide || info->height > kLargestSide)
    return Error{"the movie's picture size is not one that can be shown", "OpenMovie"};
  if (info->frame_count <= 0 || !(info->frames_per_second > 0))
    return Error{"the movie holds no frames to play", "OpenMovie"};
  auto decoder = Decoder::Open(path);
  if (!decoder) return decoder.error();
  width_ = info->width;
  height_ = info->height;
  clock_.Reset(info->frame_count, info->frames_per_second);
  hand_over_ = std::make_shared<HandOver>();
  hand_over_->thread = std::thread(
      [hand_over = hand_over_.get(), owned = std::move(*decoder)]() mutable { hand_over->Run(std::move(owned)); });
  Want(1);
  return {};
}

void FfmpegMoviePlayer::CloseMovie() {
  loop_.StopTimer(*this);
  if (hand_over_) {
    {
      std::lock_guard lock(hand_over_->mutex);
      hand_over_->quit = true;
    }
    hand_over_->changed.notify_all();
    hand_over_->thread.join();
    hand_over_.reset();
  }
  clock_.Reset(0, 0);
  width_ = 0;
  height_ = 0;
}

void FfmpegMoviePlayer::PlayMovie() {
  if (!clock_.Play(loop_.NowMs())) return;
  loop_.StartTimer(*this, std::max(1, static_cast<int>(std::lround(1000.0 / clock_.FramesPerSecond()))));
  Want(CurrentFrame());
}

void FfmpegMoviePlayer::StopMovie() {
  loop_.StopTimer(*this);
  clock_.Stop(loop_.NowMs());
  Want(CurrentFrame());
}

void FfmpegMoviePlayer::SeekFrame(double frame) {
  clock_.Seek(frame, loop_.NowMs());
  Want(CurrentFrame());
}

void FfmpegMoviePlayer::Fire() {
  if (loop_.NowMs() < clock_.EndMs()) {
    Want(CurrentFrame());
    return;
  }
  loop_.StopTimer(*this);
  clock_.Finish();
  Want(CurrentFrame());
  std::weak_ptr<bool> alive = alive_;
  loop_.Post([this, alive] {
    if (alive.lock() && EndHandler()) EndHandler()();
  });
}

void FfmpegMoviePlayer::Want(std::int64_t frame) const {
  if (!hand_over_ || frame <= 0) return;
  {
    std::lock_guard lock(hand_over_->mutex);
    hand_over_->wanted = frame;
    hand_over_->ahead = clock_.Playing();
  }
  hand_over_->changed.notify_all();
}

std::shared_ptr<const Picture> FfmpegMoviePlayer::CurrentPicture() const {
  const std::int64_t frame = CurrentFrame();
  if (!hand_over_ || frame <= 0) return nullptr;
  Want(frame);
  std::unique_lock lock(hand_over_->mutex);
  hand_over_->changed.wait_for(lock, kPictureWait, [&] { return hand_over_->settled == frame; });
  return hand_over_->shown;
}

}  // namespace zr::platform::linux_impl
