#include "platform/linux/dv_stream_file.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "base/program_error.h"
#include "platform/linux/ffmpeg_handles.h"
#include "platform/linux/movie_decoder.h"
#include "platform/linux/sound_track_file.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/imgutils.h>
}

namespace zr::platform::linux_impl {

namespace {

constexpr DvStandard kPal{720, 576, 25, 1};
constexpr DvStandard kNtsc{720, 480, 30000, 1001};
// The sound a DV stream carries.
constexpr SoundTrackReader::Format kDvSound{48000, 2};

Error Failed(const std::string& what, int code) { return Error{what + ": " + AvErrorText(code), "WriteDvStream"}; }

struct AvioCloser {
  void operator()(AVFormatContext* context) const {
    if (context && context->pb) avio_closep(&context->pb);
  }
};

// The encoder and the muxer of one DV file, open from construction to Finish.
class DvWriter {
 public:
  Result<void> Open(const std::string& target, const DvStandard& standard, bool with_sound) {
    standard_ = standard;
    AVFormatContext* raw = nullptr;
    if (int code = avformat_alloc_output_context2(&raw, nullptr, "dv", target.c_str()); code < 0)
      return Failed("the DV muxer cannot be made", code);
    output_.reset(raw);
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_DVVIDEO);
    if (!codec) return Error{"this FFmpeg has no DV encoder", "WriteDvStream"};
    encoder_.reset(avcodec_alloc_context3(codec));
    if (!encoder_) return Error{"out of memory", "WriteDvStream"};
    encoder_->width = standard.width;
    encoder_->height = standard.height;
    // The DV standards' own sampling: 4:2:0 for PAL, 4:1:1 for NTSC.
    encoder_->pix_fmt = standard.height == kPal.height ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_YUV411P;
    encoder_->time_base = AVRational{standard.rate_denominator, standard.rate_numerator};
    encoder_->framerate = AVRational{standard.rate_numerator, standard.rate_denominator};
    if (int code = avcodec_open2(encoder_.get(), codec, nullptr); code < 0)
      return Failed("the DV encoder cannot be opened", code);
    stream_ = avformat_new_stream(output_.get(), nullptr);
    if (!stream_) return Error{"out of memory", "WriteDvStream"};
    stream_->time_base = encoder_->time_base;
    if (int code = avcodec_parameters_from_context(stream_->codecpar, encoder_.get()); code < 0)
      return Failed("the DV stream cannot be described", code);
    if (with_sound) {
      sound_ = avformat_new_stream(output_.get(), nullptr);
      if (!sound_) return Error{"out of memory", "WriteDvStream"};
      AVCodecParameters& sound = *sound_->codecpar;
      sound.codec_type = AVMEDIA_TYPE_AUDIO;
      sound.codec_id = AV_CODEC_ID_PCM_S16LE;
      sound.format = AV_SAMPLE_FMT_S16;
      sound.sample_rate = kDvSound.rate;
      av_channel_layout_default(&sound.ch_layout, kDvSound.channels);
      sound.bits_per_coded_sample = 16;
      sound.block_align = kDvSound.channels * 2;
      sound_->time_base = AVRational{1, kDvSound.rate};
    }
    if (int code = avio_open(&output_->pb, target.c_str(), AVIO_FLAG_WRITE); code < 0)
      return Failed("the DV file cannot be made", code);
    file_.reset(output_.get());
    if (int code = avformat_write_header(output_.get(), nullptr); code < 0)
      return Failed("the DV file cannot be started", code);
    frame_.reset(av_frame_alloc());
    packet_.reset(av_packet_alloc());
    if (!frame_ || !packet_) return Error{"out of memory", "WriteDvStream"};
    frame_->format = encoder_->pix_fmt;
    frame_->width = standard.width;
    frame_->height = standard.height;
    if (int code = av_frame_get_buffer(frame_.get(), 0); code < 0) return Failed("out of memory", code);
    return {};
  }

  // The picture stretched to the DV frame, as output frame `index`.
  Result<void> Write(const Picture& picture, std::int64_t index) {
    scaler_.reset(sws_getCachedContext(scaler_.release(), picture.width, picture.height, AV_PIX_FMT_BGR24,
                                       standard_.width, standard_.height, encoder_->pix_fmt, SWS_BICUBIC, nullptr,
                                       nullptr, nullptr));
    if (!scaler_) return Error{"the picture cannot be scaled to the DV frame", "WriteDvStream"};
    if (int code = av_frame_make_writable(frame_.get()); code < 0) return Failed("out of memory", code);
    // The picture's rows run bottom up: start at the last and step back.
    const std::uint8_t* top_row = picture.bottom_up_bgr.data() + Picture::BytesFor(picture.width, picture.height - 1);
    const int stride = -picture.Stride();
    sws_scale(scaler_.get(), &top_row, &stride, 0, picture.height, frame_->data, frame_->linesize);
    frame_->pts = index;
    return Encode(frame_.get());
  }

  // Interleaved samples of the sound, the first of them sample `first` of the stream.
  Result<void> WriteSound(const std::vector<std::int16_t>& samples, std::int64_t first) {
    if (samples.empty()) return {};
    const auto bytes = static_cast<int>(samples.size() * sizeof(std::int16_t));
    if (int code = av_new_packet(packet_.get(), bytes); code < 0) return Failed("out of memory", code);
    std::memcpy(packet_->data, samples.data(), static_cast<std::size_t>(bytes));
    packet_->pts = packet_->dts = first;
    packet_->duration = static_cast<std::int64_t>(samples.size()) / kDvSound.channels;
    packet_->stream_index = sound_->index;
    if (int written = av_interleaved_write_frame(output_.get(), packet_.get()); written < 0)
      return Failed("the DV file cannot be written", written);
    return {};
  }

  Result<void> Finish() {
    if (auto flushed = Encode(nullptr); !flushed) return flushed;
    if (int code = av_write_trailer(output_.get()); code < 0) return Failed("the DV file cannot be ended", code);
    return {};
  }

 private:
  Result<void> Encode(const AVFrame* frame) {
    if (int code = avcodec_send_frame(encoder_.get(), frame); code < 0) return Failed("DV encoding failed", code);
    for (;;) {
      const int code = avcodec_receive_packet(encoder_.get(), packet_.get());
      if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) return {};
      if (code < 0) return Failed("DV encoding failed", code);
      av_packet_rescale_ts(packet_.get(), encoder_->time_base, stream_->time_base);
      packet_->stream_index = stream_->index;
      if (int written = av_interleaved_write_frame(output_.get(), packet_.get()); written < 0)
        return Failed("the DV file cannot be written", written);
    }
  }

  DvStandard standard_{};
  OutputContextPtr output_;
  std::unique_ptr<AVFormatContext, AvioCloser> file_;  // closes the file before the context goes
  CodecContextPtr encoder_;
  AVStream* stream_ = nullptr;
  AVStream* sound_ = nullptr;
  FramePtr frame_;
  PacketPtr packet_;
  ScalerPtr scaler_;
};

// The movie's sound in the stretches the DV frames cover.
class DvSound {
 public:
  explicit DvSound(std::unique_ptr<SoundTrackReader> track) : track_(std::move(track)) {}

  // The samples from the last asked for up to sample `end`, silence where the track has ended.
  std::vector<std::int16_t> Until(std::int64_t end) {
    const auto wanted = static_cast<std::size_t>(std::max<std::int64_t>(end - given_, 0) * kDvSound.channels);
    std::vector<std::int16_t> block;
    while (pending_.size() < wanted && !ended_) {
      ended_ = !track_->Read(block);
      pending_.insert(pending_.end(), block.begin(), block.end());
    }
    std::vector<std::int16_t> taken(wanted, 0);
    const std::size_t from_track = std::min(wanted, pending_.size());
    std::copy_n(pending_.begin(), from_track, taken.begin());
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(from_track));
    given_ = std::max(given_, end);
    return taken;
  }
  std::int64_t Given() const { return given_; }

 private:
  std::unique_ptr<SoundTrackReader> track_;
  std::vector<std::int16_t> pending_;
  std::int64_t given_ = 0;
  bool ended_ = false;
};

// How many samples of sound the first `frames` frames of the standard cover, rounded up: the
// stream takes a frame's sound only once the whole of it is there.
std::int64_t SoundSamplesOf(std::int64_t frames, const DvStandard& standard) {
  const std::int64_t covered = frames * kDvSound.rate * standard.rate_denominator;
  return (covered + standard.rate_numerator - 1) / standard.rate_numerator;
}

}  // namespace

DvStandard DvStandardFor(double frames_per_second) {
  const double ntsc = static_cast<double>(kNtsc.rate_numerator) / kNtsc.rate_denominator;
  return std::abs(frames_per_second - ntsc) < std::abs(frames_per_second - kPal.rate_numerator) ? kNtsc : kPal;
}

std::string DvFileBeside(const std::string& movie) {
  const std::filesystem::path path(movie);
  const std::filesystem::path stem = path.parent_path() / path.stem();
  std::string candidate = stem.string() + ".dv";
  std::error_code error;
  for (int number = 2; std::filesystem::exists(candidate, error); ++number)
    candidate = stem.string() + " " + std::to_string(number) + ".dv";
  return candidate;
}

Result<void> WriteDvStream(const std::string& movie, const std::string& target,
                           const std::function<bool(std::int64_t position_ms)>& go_on) {
  auto info = ReadDecodableInfo(movie);
  if (!info) return info.error();
  auto decoder = MovieDecoder::Open(movie);
  if (!decoder) return decoder.error();
  auto track = SoundTrackReader::Open(movie, kDvSound);
  if (!track) return track.error();
  std::optional<DvSound> sound;
  if (*track) sound.emplace(std::move(*track));
  const DvStandard standard = DvStandardFor(info->frames_per_second);
  DvWriter writer;
  if (auto opened = writer.Open(target, standard, sound.has_value()); !opened) return opened;
  const double output_rate = static_cast<double>(standard.rate_numerator) / standard.rate_denominator;
  const double seconds = static_cast<double>(info->frame_count) / info->frames_per_second;
  const auto output_frames = static_cast<std::int64_t>(std::ceil(seconds * output_rate - 1e-9));
  for (std::int64_t index = 0; index < output_frames; ++index) {
    const double moment = static_cast<double>(index) / output_rate;
    const auto source = std::min(info->frame_count - 1, static_cast<std::int64_t>(moment * info->frames_per_second));
    auto picture = (*decoder)->PictureOf(source);
    if (!picture) return picture.error();
    if (auto written = writer.Write(**picture, index); !written) return written;
    if (sound) {
      const std::int64_t first = sound->Given();
      if (auto written = writer.WriteSound(sound->Until(SoundSamplesOf(index + 1, standard)), first); !written)
        return written;
    }
    if (!go_on(std::llround((static_cast<double>(index) + 1) * 1000.0 / output_rate))) break;
  }
  return writer.Finish();
}

ThreadedDvExport::ThreadedDvExport(EventLoop& loop, const std::string& movie) : loop_(loop), movie_(movie) {
  auto info = ReadDecodableInfo(movie);
  if (!info) throw DeviceError(info.error().message);
  length_ms_ = std::llround(static_cast<double>(info->frame_count) * 1000.0 / info->frames_per_second);
  target_ = DvFileBeside(movie);
}

void ThreadedDvExport::Start(std::function<void()> finished) {
  if (worker_.joinable()) return;
  std::weak_ptr<Shared> shared = shared_;
  worker_ = std::thread([this, shared, finished = std::move(finished)] {
    auto& loop = loop_;
    const auto go_on = [&loop, shared, this](std::int64_t position_ms) {
      loop.Post([shared, position_ms] {
        if (auto alive = shared.lock()) alive->position_ms = position_ms;
      });
      return !shared_->stop.load();
    };
    const bool whole = WriteDvStream(movie_, target_, go_on) && !shared_->stop.load();
    if (whole)
      loop.Post([shared, finished] {
        if (shared.lock()) finished();
      });
  });
}

void ThreadedDvExport::Stop() {
  shared_->stop = true;
  if (worker_.joinable()) worker_.join();
}

}  // namespace zr::platform::linux_impl
