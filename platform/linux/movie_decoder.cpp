#include "platform/linux/movie_decoder.h"

#include <utility>

#include "platform/linux/avi_input.h"
#include "platform/linux/ffmpeg_movie_files.h"

namespace zr::platform::linux_impl {

namespace {

// The largest side a movie may have to be decoded; a header that claims more is not believed.
constexpr int kLargestSide = 16384;
// Frames decoded on rather than sought to when no key frame lies between.
constexpr std::int64_t kMostFramesDecodedOn = 250;

}  // namespace

Result<MovieInfo> ReadDecodableInfo(const std::string& path) {
  auto info = FfmpegMovieFiles().ReadInfo(path);
  if (!info) return info.error();
  if (info->width <= 0 || info->height <= 0 || info->width > kLargestSide || info->height > kLargestSide)
    return Error{"the movie's picture size is not one that can be shown", "OpenMovie"};
  if (info->frame_count <= 0 || !(info->frames_per_second > 0))
    return Error{"the movie holds no frames to play", "OpenMovie"};
  return info;
}

Result<std::unique_ptr<MovieDecoder>> MovieDecoder::Open(const std::string& path) {
  auto input = OpenAviInput(path);
  if (!input) return input.error();
  auto decoder = std::unique_ptr<MovieDecoder>(new MovieDecoder(std::move(*input)));
  if (auto opened = decoder->OpenCodec(); !opened) return opened.error();
  return decoder;
}

Result<std::shared_ptr<const Picture>> MovieDecoder::PictureOf(std::int64_t index) {
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

MovieDecoder::MovieDecoder(InputContextPtr input)
    : input_(std::move(input)), packet_(av_packet_alloc()), frame_(av_frame_alloc()) {}

Result<void> MovieDecoder::OpenCodec() {
  if (!packet_ || !frame_) return Error{"out of memory", "av_frame_alloc"};
  const AVCodec* codec = nullptr;
  stream_ = av_find_best_stream(input_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
  if (stream_ < 0 || codec == nullptr) return Error{"the movie has no video FFmpeg can decode", "av_find_best_stream"};
  codec_.reset(avcodec_alloc_context3(codec));
  if (!codec_) return Error{"out of memory", "avcodec_alloc_context3"};
  if (const int status = avcodec_parameters_to_context(codec_.get(), input_->streams[stream_]->codecpar); status < 0)
    return Error{AvErrorText(status), "avcodec_parameters_to_context"};
  if (const int status = avcodec_open2(codec_.get(), codec, nullptr); status < 0)
    return Error{AvErrorText(status), "avcodec_open2"};
  return {};
}

std::int64_t MovieDecoder::KeyFrameBefore(std::int64_t index) {
  AVStream* stream = input_->streams[stream_];
  const int entry = av_index_search_timestamp(stream, index, AVSEEK_FLAG_BACKWARD);
  const AVIndexEntry* found = entry >= 0 ? avformat_index_get_entry(stream, entry) : nullptr;
  return found != nullptr ? found->timestamp : 0;
}

Result<void> MovieDecoder::SeekBefore(std::int64_t index) {
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

Result<void> MovieDecoder::DecodeTo(std::int64_t index) {
  while (decoded_ < index) {
    if (auto next = DecodeNext(); !next) return next;
  }
  if (decoded_ != index) return Error{"the decoder went past the frame", "avcodec_receive_frame"};
  return {};
}

Result<void> MovieDecoder::DecodeNext() {
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

}  // namespace zr::platform::linux_impl
