#include "platform/linux/ffmpeg_movie_files.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <deque>
#include <limits>
#include <utility>
#include <vector>

#include "platform/linux/avi_input.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/error.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include "image/jpeg_codec.h"
#include "platform/linux/compressors.h"
#include "platform/linux/ffmpeg_handles.h"
#include "platform/linux/movie_decoder.h"
#include "platform/linux/movie_output_file.h"
#include "platform/linux/sound_track_file.h"
#include "platform/picture.h"

namespace zr::platform::linux_impl {
namespace {

// ---- Errors ---------------------------------------------------------------------------------

// FFmpeg gives the system's errors as their negative numbers, its own far below them.
Error FfmpegError(const std::string& what, const char* where, int code) {
  constexpr int kLargestSystemError = 4095;
  const int system_error = code < 0 && code >= -kLargestSystemError ? -code : 0;
  return Error{what + ": " + AvErrorText(code), where, system_error};
}

Error OutOfMemory(const char* where) { return Error{"out of memory", where}; }

std::string SizeText(int width, int height) { return std::to_string(width) + "x" + std::to_string(height); }

// ---- The movie's format ---------------------------------------------------------------------

constexpr int kBytesPerPixel = 3;
constexpr int kLargestRateTerm = 100000;  // numerator and denominator bound of a stored rate
constexpr int kBestQscale = 2;
constexpr int kWorstQscale = 31;
constexpr int kBestRateFactor = 12;
constexpr int kWorstRateFactor = 51;
constexpr int kLargestBitRateKbps = 1000000;
constexpr int kAudioPacketsPerSecond = 10;
constexpr int kEncoderThreads = 2;
constexpr int kSmallestSlicedSide = 16;  // FFV1's slices need pictures this wide and high

bool DrivenByBitRate(VideoCodec codec) { return codec == VideoCodec::Mpeg4 || codec == VideoCodec::H264; }

bool UsesQuality(const MovieFormat& format) {
  return format.codec == VideoCodec::Mjpeg || (DrivenByBitRate(format.codec) && format.bit_rate_kbps == 0);
}

Result<void> CheckCodecSettings(const MovieFormat& format) {
  if (UsesQuality(format) && (format.quality < 1 || format.quality > 100)) {
    return Error{"the quality must be 1 to 100, not " + std::to_string(format.quality), "OpenWriter"};
  }
  if (DrivenByBitRate(format.codec) && (format.bit_rate_kbps < 0 || format.bit_rate_kbps > kLargestBitRateKbps)) {
    return Error{"the bit rate must be 0 to 1000000 kbit/s, not " + std::to_string(format.bit_rate_kbps), "OpenWriter"};
  }
  // 4:2:0 H.264 has no way to store half a chroma sample at the edge.
  if (format.codec == VideoCodec::H264 && (format.width % 2 != 0 || format.height % 2 != 0)) {
    return Error{"H.264 movies need an even width and height, not " + SizeText(format.width, format.height),
                 "OpenWriter"};
  }
  return {};
}

Result<void> CheckVideoFormat(const MovieFormat& format) {
  if (format.width <= 0 || format.height <= 0) {
    return Error{"a movie of " + SizeText(format.width, format.height) + " has no pixels", "OpenWriter"};
  }
  const double fps = format.frames_per_second;
  if (!(fps >= 1.0 / kLargestRateTerm && fps <= kLargestRateTerm)) {
    return Error{"the frame rate must be between 0.00001 and 100000 frames per second, not " + std::to_string(fps),
                 "OpenWriter"};
  }
  return CheckCodecSettings(format);
}

Result<void> CheckAudioFormat(const AudioFormat& audio) {
  if (audio.bits_per_sample != 8 && audio.bits_per_sample != 16) {
    return Error{"audio samples must have 8 or 16 bits, not " + std::to_string(audio.bits_per_sample), "OpenWriter"};
  }
  // The wave header holds the channel count in 16 bits.
  if (audio.channels < 1 || audio.channels > 0xFFFF || audio.samples_per_second < 1) {
    return Error{"audio needs at least one channel and one sample per second", "OpenWriter"};
  }
  return {};
}

Result<void> CheckFormat(const MovieFormat& format) {
  if (auto video = CheckVideoFormat(format); !video) return video;
  if (format.audio) return CheckAudioFormat(*format.audio);
  return {};
}

// Rates written as 23.976, 23.98, 29.97 or 59.94 stand for the broadcast rates N*1000/1001 and
// are stored as such; any other rate is stored as the closest fraction with small terms.
AVRational StoredFrameRate(double fps) {
  const bool whole = fps == std::round(fps);
  const AVRational broadcast{static_cast<int>(std::lround(fps * 1.001)) * 1000, 1001};
  const bool near_broadcast = std::abs(av_q2d(broadcast) / fps - 1.0) < 2e-4;
  return !whole && near_broadcast ? broadcast : av_d2q(fps, kLargestRateTerm);
}

// Quality 100 is the finest quantiser, 1 the coarsest, linear in between.
int FixedQscale(int quality) {
  const double step = static_cast<double>(kWorstQscale - kBestQscale) / 99.0;
  return static_cast<int>(std::lround(kWorstQscale - (quality - 1) * step));
}

// Linear from the coarsest rate factor at quality 1 to the finest at 100.
int H264RateFactor(int quality) {
  const double step = static_cast<double>(kWorstRateFactor - kBestRateFactor) / 99.0;
  return static_cast<int>(std::lround(kWorstRateFactor - (quality - 1) * step));
}

struct EncoderChoice {
  const char* encoder;  // FFmpeg's name for it: the codec alone may pick a hardware encoder
  AVPixelFormat pixels;
  AVColorRange range;
  bool bottom_up;     // the movie stores rows bottom row first, as the program holds them
  std::uint32_t tag;  // the stored FourCC; 0 leaves the muxer's own
};

// Motion JPEG takes full-range 4:2:0 YUV, the layout of the older "yuvj420p" name without its
// deprecation warnings; the range is set on the encoder and the converter. MPEG-4 and H.264
// take the limited range their players expect; RGB spans all levels anyway.
EncoderChoice ChooseEncoder(VideoCodec codec) {
  switch (codec) {
    case VideoCodec::Uncompressed:
      return {"rawvideo", AV_PIX_FMT_BGR24, AVCOL_RANGE_JPEG, true, 0};
    case VideoCodec::Mjpeg:
      return {"mjpeg", AV_PIX_FMT_YUV420P, AVCOL_RANGE_JPEG, false, 0};
    case VideoCodec::Mpeg4:
      return {"mpeg4", AV_PIX_FMT_YUV420P, AVCOL_RANGE_MPEG, false, MKTAG('D', 'X', '5', '0')};
    case VideoCodec::H264:
      return {"libx264", AV_PIX_FMT_YUV420P, AVCOL_RANGE_MPEG, false, MKTAG('H', '2', '6', '4')};
    case VideoCodec::Ffv1:
      return {"ffv1", AV_PIX_FMT_BGR0, AVCOL_RANGE_JPEG, false, MKTAG('F', 'F', 'V', '1')};
    case VideoCodec::HuffYuv:
      return {"huffyuv", AV_PIX_FMT_RGB24, AVCOL_RANGE_JPEG, false, MKTAG('H', 'F', 'Y', 'U')};
  }
  return {"", AV_PIX_FMT_NONE, AVCOL_RANGE_UNSPECIFIED, false, 0};
}

// ---- Writer parts ---------------------------------------------------------------------------

// Motion JPEG frames are coded by libjpeg-turbo straight from the program's bottom-up BGR rows:
// its colour conversion and DCT run in one SIMD pass, several times cheaper than converting to
// YUV first and coding with FFmpeg's encoder. The quality goes through as it is (1 coarsest,
// 100 finest), in 4:2:0 like FFmpeg's Motion JPEG; the pictures are full-range JFIF.
class JpegFrameCoder {
 public:
  explicit JpegFrameCoder(int quality) : quality_(quality) {}

  // Codes `frame` into `packet` (its old content is dropped).
  Result<void> Code(const FrameView& frame, AVPacket& packet) {
    const auto coded = encoder_.Encode(frame, quality_);
    if (!coded) return coded.error();
    av_packet_unref(&packet);
    const int status = av_new_packet(&packet, static_cast<int>(coded->size()));
    if (status < 0) return FfmpegError("cannot hold the coded frame", "av_new_packet", status);
    std::memcpy(packet.data, coded->data(), coded->size());
    packet.flags |= AV_PKT_FLAG_KEY;
    return {};
  }

 private:
  JpegEncoder encoder_;
  int quality_;
};

void UseFixedQuality(AVCodecContext& encoder, int quality) {
  encoder.flags |= AV_CODEC_FLAG_QSCALE;
  encoder.global_quality = FF_QP2LAMBDA * FixedQscale(quality);
}

// An average over the movie, with no cap on a moment's rate: a cap would make busy pictures
// blocky only to keep a player's buffer that a file played from disk does not have.
void UseBitRate(AVCodecContext& encoder, int kbps) { encoder.bit_rate = std::int64_t{kbps} * 1000; }

// A key frame every second (at least every frame) lets players seek without decoding far.
void UseKeyFrameEverySecond(AVCodecContext& encoder) {
  encoder.gop_size = std::max(1, static_cast<int>(std::lround(av_q2d(encoder.framerate))));
  encoder.max_b_frames = 0;
}

Result<void> SetPrivateOption(AVCodecContext& encoder, const char* name, const std::string& value) {
  const int status = av_opt_set(encoder.priv_data, name, value.c_str(), 0);
  if (status < 0) return FfmpegError(std::string("cannot set the encoder's ") + name, "av_opt_set", status);
  return {};
}

// B-frames would leave the encoder out of order, which AVI cannot store; the low-latency tuning
// turns them and the look-ahead off. Its log goes down to warnings, so a run prints nothing.
Result<void> SetUpH264(AVCodecContext& encoder, const MovieFormat& format) {
  for (const auto& [name, value] :
       {std::pair<const char*, std::string>{"preset", "veryfast"}, {"tune", "zerolatency"}, {"x264-params", "log=1"}}) {
    if (auto set = SetPrivateOption(encoder, name, value); !set) return set;
  }
  if (format.bit_rate_kbps > 0) {
    UseBitRate(encoder, format.bit_rate_kbps);
    return {};
  }
  return SetPrivateOption(encoder, "crf", std::to_string(H264RateFactor(format.quality)));
}

Result<void> SetUpCodec(AVCodecContext& encoder, const MovieFormat& format) {
  switch (format.codec) {
    case VideoCodec::Uncompressed:
    case VideoCodec::HuffYuv:
      return {};
    case VideoCodec::Mjpeg:
      // Coded by JpegFrameCoder; the encoder only describes the track, and a fixed quantiser
      // keeps it from warning about rate control it never does.
      UseFixedQuality(encoder, format.quality);
      return {};
    case VideoCodec::Mpeg4:
      // Its threads code bands of 16 rows; a picture with fewer bands gets fewer threads.
      encoder.thread_count = std::clamp((format.height + 15) / 16, 1, kEncoderThreads);
      UseKeyFrameEverySecond(encoder);
      if (format.bit_rate_kbps > 0) {
        UseBitRate(encoder, format.bit_rate_kbps);
      } else {
        UseFixedQuality(encoder, format.quality);
      }
      return {};
    case VideoCodec::H264:
      UseKeyFrameEverySecond(encoder);
      return SetUpH264(encoder, format);
    case VideoCodec::Ffv1:
      // Version 3 codes slices in parallel; its slices lose pixels in pictures only a row or
      // two high or wide, which version 1 keeps whole.
      encoder.level = format.width >= kSmallestSlicedSide && format.height >= kSmallestSlicedSide ? 3 : 1;
      return {};
  }
  return {};
}

Result<CodecContextPtr> OpenVideoEncoder(const MovieFormat& format, const EncoderChoice& choice) {
  const AVCodec* codec = avcodec_find_encoder_by_name(choice.encoder);
  if (codec == nullptr) {
    return Error{std::string("FFmpeg has no ") + choice.encoder + " encoder", "avcodec_find_encoder_by_name"};
  }
  CodecContextPtr encoder(avcodec_alloc_context3(codec));
  if (!encoder) return OutOfMemory("avcodec_alloc_context3");
  const AVRational rate = StoredFrameRate(format.frames_per_second);
  encoder->width = format.width;
  encoder->height = format.height;
  encoder->framerate = rate;
  encoder->time_base = av_inv_q(rate);  // frame i has timestamp i
  encoder->pix_fmt = choice.pixels;
  encoder->color_range = choice.range;
  if (choice.range == AVCOL_RANGE_MPEG) encoder->colorspace = AVCOL_SPC_SMPTE170M;
  encoder->thread_count = kEncoderThreads;
  if (auto set = SetUpCodec(*encoder, format); !set) return set.error();
  const int status = avcodec_open2(encoder.get(), codec, nullptr);
  if (status < 0) return FfmpegError("cannot open the video encoder", "avcodec_open2", status);
  return encoder;
}

// Accurate rounding also keeps swscale off its fast BGR-to-4:2:0 path for even widths, which
// ignores the full range and would write limited-range levels into the JPEG pictures.
constexpr int kScalerFlags = SWS_BILINEAR | SWS_ACCURATE_RND;

Result<ScalerPtr> CreateScaler(const AVCodecContext& encoder) {
  ScalerPtr scaler(sws_getContext(encoder.width, encoder.height, AV_PIX_FMT_BGR24, encoder.width, encoder.height,
                                  encoder.pix_fmt, kScalerFlags, nullptr, nullptr, nullptr));
  if (!scaler) {
    return Error{std::string("cannot convert BGR frames to ") + av_get_pix_fmt_name(encoder.pix_fmt), "sws_getContext"};
  }
  const int* coefficients = sws_getCoefficients(SWS_CS_ITU601);
  constexpr int kFullRange = 1;
  constexpr int kUnitFixedPoint = 1 << 16;
  const int target_range = encoder.color_range == AVCOL_RANGE_JPEG ? 1 : 0;
  const int status = sws_setColorspaceDetails(scaler.get(), coefficients, kFullRange, coefficients, target_range, 0,
                                              kUnitFixedPoint, kUnitFixedPoint);
  if (status < 0) return Error{"cannot set the pixels' range", "sws_setColorspaceDetails"};
  return scaler;
}

Result<FramePtr> AllocatePicture(const AVCodecContext& encoder) {
  FramePtr picture(av_frame_alloc());
  if (!picture) return OutOfMemory("av_frame_alloc");
  picture->format = encoder.pix_fmt;
  picture->width = encoder.width;
  picture->height = encoder.height;
  picture->color_range = encoder.color_range;
  picture->quality = encoder.global_quality;  // the fixed quantiser is read from each frame
  const int status = av_frame_get_buffer(picture.get(), 0);
  if (status < 0) return FfmpegError("cannot allocate a picture", "av_frame_get_buffer", status);
  return picture;
}

void DescribePcm(AVCodecParameters& stored, const AudioFormat& audio) {
  const bool eight_bits = audio.bits_per_sample == 8;
  stored.codec_type = AVMEDIA_TYPE_AUDIO;
  stored.codec_id = eight_bits ? AV_CODEC_ID_PCM_U8 : AV_CODEC_ID_PCM_S16LE;
  stored.format = eight_bits ? AV_SAMPLE_FMT_U8 : AV_SAMPLE_FMT_S16;
  stored.sample_rate = audio.samples_per_second;
  av_channel_layout_default(&stored.ch_layout, audio.channels);
  stored.bits_per_coded_sample = audio.bits_per_sample;
  stored.block_align = audio.channels * audio.bits_per_sample / 8;
  stored.bit_rate = std::int64_t{stored.block_align} * 8 * audio.samples_per_second;
}

// The first row to hand over and the step to the next one, in the order the movie stores rows.
struct RowOrder {
  const std::uint8_t* first;
  int stride;
};

RowOrder StoredRowOrder(const FrameView& frame, bool bottom_up) {
  if (bottom_up) return {frame.bottom_up_bgr, frame.stride_bytes};
  const std::ptrdiff_t top_row = std::ptrdiff_t{frame.height - 1} * frame.stride_bytes;
  return {frame.bottom_up_bgr + top_row, -frame.stride_bytes};
}

Result<void> CheckFrame(const FrameView& frame, const AVCodecContext& encoder) {
  if (frame.width != encoder.width || frame.height != encoder.height) {
    return Error{"a frame of " + SizeText(frame.width, frame.height) + " does not fit a movie of " +
                     SizeText(encoder.width, encoder.height),
                 "WriteVideoFrame"};
  }
  if (frame.bottom_up_bgr == nullptr || frame.stride_bytes < frame.width * kBytesPerPixel) {
    return Error{"the frame has no pixels or rows shorter than its width", "WriteVideoFrame"};
  }
  return {};
}

// ---- The writer -----------------------------------------------------------------------------

class AviMovieWriter final : public MovieWriter {
 public:
  static Result<std::unique_ptr<MovieWriter>> Open(const std::string& path, const MovieFormat& format);
  ~AviMovieWriter() override { Close(); }  // a destructor has no one to report a failure to

  Result<void> WriteVideoFrame(const FrameView& frame) override;
  Result<void> RepeatLastFrame() override;
  Result<void> WriteAudio(std::span<const std::uint8_t> pcm) override;
  Result<void> Close() override;

 private:
  struct VideoTrack {
    CodecContextPtr encoder;
    ScalerPtr scaler;
    FramePtr picture;  // the last picture handed to the encoder
    AVStream* stream = nullptr;
    bool bottom_up = false;
    // Each frame is coded on its own, so a repeated frame is the stored packet once more.
    bool intra_only = false;
    std::int64_t next_timestamp = 0;  // of the movie's next frame, in frames
    // Intra-only codecs: the last packet out of the encoder, and the copies owed to each picture
    // still inside it (frame threads hold a picture back for a while), oldest first.
    PacketPtr last_packet;
    std::deque<std::int64_t> copies_owed;
    std::unique_ptr<JpegFrameCoder> jpeg;  // Motion JPEG: frames coded here, not by the encoder
  };
  struct AudioTrack {
    AVStream* stream = nullptr;
    AVRational sample_time_base{};
    std::size_t bytes_per_sample_frame = 0;
    std::size_t bytes_per_packet = 0;
    std::vector<std::uint8_t> pending;
    std::int64_t samples_written = 0;
  };

  AviMovieWriter(std::string path, OutputContextPtr output, PacketPtr packet)
      : path_(std::move(path)), output_(std::move(output)), packet_(std::move(packet)) {}

  Result<void> AddVideoTrack(const MovieFormat& format);
  Result<void> AddAudioTrack(const AudioFormat& audio);
  Result<void> StartFile();
  Result<void> ConvertIntoPicture(const FrameView& frame);
  Result<void> WriteJpegFrame(const FrameView& frame);
  Result<void> WriteRawFrame(const FrameView& frame);
  Result<void> Encode(const AVFrame* picture);
  Result<void> WriteVideoPacket();
  Result<void> WriteCopyOfLastPacket(std::int64_t timestamp);
  Result<void> WriteAudioPackets(std::size_t smallest_packet_bytes);
  Result<void> WriteAudioPacket(std::span<const std::uint8_t> bytes);
  Result<void> WritePacket(const AVStream& stream, AVRational packet_time_base);
  Result<void> CheckpointWhenDue();
  Result<void> Finish();
  Result<void> EndMovie();
  Error Closed(const char* where) const { return Error{"the movie is closed", where}; }

  std::string path_;
  std::unique_ptr<MovieOutputFile> file_;  // outlives the muxer, which writes through it
  OutputContextPtr output_;
  PacketPtr packet_;
  VideoTrack video_;
  std::optional<AudioTrack> audio_;
  std::int64_t frames_written_ = 0;         // video packets in the file
  std::int64_t frames_per_checkpoint_ = 1;  // half a second of the movie
  bool open_ = false;
};

Result<std::unique_ptr<MovieWriter>> AviMovieWriter::Open(const std::string& path, const MovieFormat& format) {
  if (auto checked = CheckFormat(format); !checked) return checked.error();
  AVFormatContext* context = nullptr;
  const int status = avformat_alloc_output_context2(&context, nullptr, "avi", path.c_str());
  if (status < 0) {
    return FfmpegError("cannot prepare an AVI file", "avformat_alloc_output_context2", status);
  }
  OutputContextPtr output(context);
  PacketPtr packet(av_packet_alloc());
  if (!packet) return OutOfMemory("av_packet_alloc");
  std::unique_ptr<AviMovieWriter> writer(new AviMovieWriter(path, std::move(output), std::move(packet)));
  if (auto added = writer->AddVideoTrack(format); !added) return added.error();
  if (format.audio) {
    if (auto added = writer->AddAudioTrack(*format.audio); !added) return added.error();
  }
  if (auto started = writer->StartFile(); !started) return started.error();
  return std::unique_ptr<MovieWriter>(std::move(writer));
}

Result<void> AviMovieWriter::AddVideoTrack(const MovieFormat& format) {
  const EncoderChoice choice = ChooseEncoder(format.codec);
  auto encoder = OpenVideoEncoder(format, choice);
  if (!encoder) return encoder.error();
  // Motion JPEG frames go to libjpeg-turbo as they are, uncompressed ones to the file: neither
  // is converted.
  const bool unconverted = format.codec == VideoCodec::Mjpeg || format.codec == VideoCodec::Uncompressed;
  auto scaler = unconverted ? Result<ScalerPtr>(ScalerPtr()) : CreateScaler(**encoder);
  if (!scaler) return scaler.error();
  auto picture = AllocatePicture(**encoder);
  if (!picture) return picture.error();
  AVStream* stream = avformat_new_stream(output_.get(), nullptr);
  if (stream == nullptr) return OutOfMemory("avformat_new_stream");
  int status = avcodec_parameters_from_context(stream->codecpar, encoder->get());
  if (status < 0) {
    return FfmpegError("cannot describe the video", "avcodec_parameters_from_context", status);
  }
  stream->time_base = (*encoder)->time_base;
  // Without this the muxer marks raw RGB as top-down; the program's frames are bottom-up DIBs.
  status = av_opt_set_int(output_->priv_data, "flipped_raw_rgb", choice.bottom_up ? 1 : 0, 0);
  if (status < 0) return FfmpegError("cannot store bottom-up frames", "av_opt_set_int", status);
  if (choice.tag != 0) stream->codecpar->codec_tag = choice.tag;
  PacketPtr last_packet(av_packet_alloc());
  if (!last_packet) return OutOfMemory("av_packet_alloc");
  const AVCodecDescriptor* descriptor = avcodec_descriptor_get((*encoder)->codec_id);
  const bool intra_only = descriptor != nullptr && (descriptor->props & AV_CODEC_PROP_INTRA_ONLY) != 0;
  video_ = VideoTrack{std::move(*encoder),
                      std::move(*scaler),
                      std::move(*picture),
                      stream,
                      choice.bottom_up,
                      intra_only,
                      0,
                      std::move(last_packet),
                      {},
                      nullptr};
  if (format.codec == VideoCodec::Mjpeg) video_.jpeg = std::make_unique<JpegFrameCoder>(format.quality);
  frames_per_checkpoint_ = format.checkpoints == MovieFormat::Checkpoints::None
                               ? std::numeric_limits<std::int64_t>::max()
                               : std::max<std::int64_t>(1, std::llround(format.frames_per_second / 2));
  return {};
}

Result<void> AviMovieWriter::AddAudioTrack(const AudioFormat& audio) {
  AVStream* stream = avformat_new_stream(output_.get(), nullptr);
  if (stream == nullptr) return OutOfMemory("avformat_new_stream");
  DescribePcm(*stream->codecpar, audio);
  stream->time_base = AVRational{1, audio.samples_per_second};
  const auto bytes_per_sample_frame = static_cast<std::size_t>(stream->codecpar->block_align);
  const auto sample_frames_per_packet =
      static_cast<std::size_t>(std::max(1, audio.samples_per_second / kAudioPacketsPerSecond));
  audio_ = AudioTrack{
      stream, stream->time_base, bytes_per_sample_frame, bytes_per_sample_frame * sample_frames_per_packet, {}, 0};
  return {};
}

// The file is made only now, once the format is known to be writable.
Result<void> AviMovieWriter::StartFile() {
  auto file = MovieOutputFile::Create(path_);
  if (!file) return file.error();
  file_ = std::move(*file);
  output_->pb = file_->Io();
  const int status = avformat_write_header(output_.get(), nullptr);
  if (status < 0) {
    return FfmpegError("cannot write the header of '" + path_ + "'", "avformat_write_header", status);
  }
  if (auto started = file_->StartCheckpoints(); !started) return started;
  if (frames_per_checkpoint_ == std::numeric_limits<std::int64_t>::max()) file_->LeaveSyncToTheSystem();
  open_ = true;
  return {};
}

Result<void> AviMovieWriter::WriteVideoFrame(const FrameView& frame) {
  if (!open_) return Closed("WriteVideoFrame");
  if (auto checked = CheckFrame(frame, *video_.encoder); !checked) return checked;
  if (video_.jpeg) return WriteJpegFrame(frame);
  if (video_.encoder->codec_id == AV_CODEC_ID_RAWVIDEO) return WriteRawFrame(frame);
  if (auto converted = ConvertIntoPicture(frame); !converted) return converted;
  video_.picture->pts = video_.next_timestamp++;
  if (video_.intra_only) video_.copies_owed.push_back(0);
  return Encode(video_.picture.get());
}

Result<void> AviMovieWriter::WriteJpegFrame(const FrameView& frame) {
  if (auto coded = video_.jpeg->Code(frame, *packet_); !coded) return coded;
  packet_->pts = packet_->dts = video_.next_timestamp++;
  packet_->duration = 1;
  video_.copies_owed.push_back(0);
  return WriteVideoPacket();
}

// Uncompressed frames are stored as the program holds them, bottom row first and each row padded
// to four bytes: the packet is the frame's bytes, with no conversion and no encoder between (the
// muxer leaves rows already padded as they are).
Result<void> AviMovieWriter::WriteRawFrame(const FrameView& frame) {
  const std::size_t row_bytes = static_cast<std::size_t>(Picture::StrideFor(frame.width));
  const std::size_t pixel_bytes = static_cast<std::size_t>(frame.width) * kBytesPerPixel;
  const std::size_t size = row_bytes * static_cast<std::size_t>(frame.height);
  if (size > static_cast<std::size_t>(std::numeric_limits<int>::max()))
    return Error{"the frame is too large for a packet", "WriteVideoFrame"};
  av_packet_unref(packet_.get());
  const int status = av_new_packet(packet_.get(), static_cast<int>(size));
  if (status < 0) return FfmpegError("cannot hold the frame", "av_new_packet", status);
  if (static_cast<std::size_t>(frame.stride_bytes) == row_bytes) {
    std::memcpy(packet_->data, frame.bottom_up_bgr, size);
  } else {
    for (int row = 0; row < frame.height; ++row) {
      std::uint8_t* stored = packet_->data + row_bytes * static_cast<std::size_t>(row);
      std::memcpy(stored, frame.bottom_up_bgr + std::ptrdiff_t{row} * frame.stride_bytes, pixel_bytes);
      std::memset(stored + pixel_bytes, 0, row_bytes - pixel_bytes);
    }
  }
  packet_->flags |= AV_PKT_FLAG_KEY;
  packet_->pts = packet_->dts = video_.next_timestamp++;
  packet_->duration = 1;
  video_.copies_owed.push_back(0);
  return WriteVideoPacket();
}

Result<void> AviMovieWriter::RepeatLastFrame() {
  if (!open_) return Closed("RepeatLastFrame");
  if (video_.next_timestamp == 0) return Error{"there is no frame to repeat", "RepeatLastFrame"};
  const std::int64_t timestamp = video_.next_timestamp++;
  if (!video_.intra_only) {
    video_.picture->pts = timestamp;
    return Encode(video_.picture.get());
  }
  if (!video_.copies_owed.empty()) {  // the last picture has not come out of the encoder yet
    ++video_.copies_owed.back();
    return {};
  }
  return WriteCopyOfLastPacket(timestamp);
}

Result<void> AviMovieWriter::ConvertIntoPicture(const FrameView& frame) {
  const int status = av_frame_make_writable(video_.picture.get());
  if (status < 0) return FfmpegError("cannot reuse the picture", "av_frame_make_writable", status);
  const RowOrder rows = StoredRowOrder(frame, video_.bottom_up);
  const std::uint8_t* const planes[] = {rows.first};
  const int strides[] = {rows.stride};
  const int converted_rows =
      sws_scale(video_.scaler.get(), planes, strides, 0, frame.height, video_.picture->data, video_.picture->linesize);
  if (converted_rows <= 0) return Error{"cannot convert the frame", "sws_scale"};
  return {};
}

// Sends a picture to the encoder (nullptr drains it) and writes every packet that comes out.
Result<void> AviMovieWriter::Encode(const AVFrame* picture) {
  AVCodecContext* encoder = video_.encoder.get();
  int status = avcodec_send_frame(encoder, picture);
  if (status < 0) return FfmpegError("cannot encode a frame", "avcodec_send_frame", status);
  while ((status = avcodec_receive_packet(encoder, packet_.get())) >= 0) {
    if (auto written = WriteVideoPacket(); !written) return written;
  }
  if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return {};
  return FfmpegError("cannot encode a frame", "avcodec_receive_packet", status);
}

// Writes the packet the encoder gave; an intra-only codec keeps it and adds the copies owed.
Result<void> AviMovieWriter::WriteVideoPacket() {
  const AVRational time_base = video_.encoder->time_base;
  if (!video_.intra_only) return WritePacket(*video_.stream, time_base);
  av_packet_unref(video_.last_packet.get());
  const int status = av_packet_ref(video_.last_packet.get(), packet_.get());
  if (status < 0) return FfmpegError("cannot keep the frame", "av_packet_ref", status);
  std::int64_t copies = 0;
  if (!video_.copies_owed.empty()) {
    copies = video_.copies_owed.front();
    video_.copies_owed.pop_front();
  }
  if (auto written = WritePacket(*video_.stream, time_base); !written) return written;
  for (std::int64_t copy = 1; copy <= copies; ++copy) {
    if (auto written = WriteCopyOfLastPacket(video_.last_packet->pts + copy); !written) {
      return written;
    }
  }
  return {};
}

// The stored packet's data is shared, not copied.
Result<void> AviMovieWriter::WriteCopyOfLastPacket(std::int64_t timestamp) {
  const int status = av_packet_ref(packet_.get(), video_.last_packet.get());
  if (status < 0) return FfmpegError("cannot repeat the frame", "av_packet_ref", status);
  packet_->pts = timestamp;
  packet_->dts = timestamp;
  packet_->duration = 1;
  return WritePacket(*video_.stream, video_.encoder->time_base);
}

Result<void> AviMovieWriter::WriteAudio(std::span<const std::uint8_t> pcm) {
  if (!open_) return Closed("WriteAudio");
  if (!audio_) return Error{"the movie has no audio track", "WriteAudio"};
  audio_->pending.insert(audio_->pending.end(), pcm.begin(), pcm.end());
  return WriteAudioPackets(audio_->bytes_per_packet);
}

// Writes the buffered whole sample frames in packets of up to a tenth of a second, for as long
// as at least smallest_packet_bytes of them remain; the rest waits for more.
Result<void> AviMovieWriter::WriteAudioPackets(std::size_t smallest_packet_bytes) {
  AudioTrack& audio = *audio_;
  const std::size_t whole_bytes = audio.pending.size() - audio.pending.size() % audio.bytes_per_sample_frame;
  std::size_t written = 0;
  while (whole_bytes - written >= smallest_packet_bytes) {
    const std::size_t size = std::min(audio.bytes_per_packet, whole_bytes - written);
    const std::span<const std::uint8_t> bytes(audio.pending.data() + written, size);
    if (auto packet = WriteAudioPacket(bytes); !packet) return packet;
    written += size;
  }
  const auto written_end = audio.pending.begin() + static_cast<std::ptrdiff_t>(written);
  audio.pending.erase(audio.pending.begin(), written_end);
  return {};
}

Result<void> AviMovieWriter::WriteAudioPacket(std::span<const std::uint8_t> bytes) {
  AudioTrack& audio = *audio_;
  const int status = av_new_packet(packet_.get(), static_cast<int>(bytes.size()));
  if (status < 0) return FfmpegError("cannot hold audio", "av_new_packet", status);
  std::memcpy(packet_->data, bytes.data(), bytes.size());
  const auto samples = static_cast<std::int64_t>(bytes.size() / audio.bytes_per_sample_frame);
  packet_->pts = audio.samples_written;
  packet_->dts = audio.samples_written;
  packet_->duration = samples;
  packet_->flags |= AV_PKT_FLAG_KEY;
  audio.samples_written += samples;
  return WritePacket(*audio.stream, audio.sample_time_base);
}

// Packets go to the file in the order they come: the callers interleave sound and pictures,
// and what the file holds is then known at every moment, as its checkpoints need.
Result<void> AviMovieWriter::WritePacket(const AVStream& stream, AVRational packet_time_base) {
  packet_->stream_index = stream.index;
  av_packet_rescale_ts(packet_.get(), packet_time_base, stream.time_base);
  const int status = av_write_frame(output_.get(), packet_.get());
  av_packet_unref(packet_.get());
  if (status < 0) {
    return FfmpegError("cannot write to the movie '" + path_ + "'", "av_write_frame", status);
  }
  if (stream.index != video_.stream->index) return {};
  ++frames_written_;
  return CheckpointWhenDue();
}

Result<void> AviMovieWriter::CheckpointWhenDue() {
  if (frames_written_ % frames_per_checkpoint_ != 0) return {};
  std::vector<std::int64_t> lengths(output_->nb_streams, 0);
  lengths[static_cast<std::size_t>(video_.stream->index)] = frames_written_;
  if (audio_) lengths[static_cast<std::size_t>(audio_->stream->index)] = audio_->samples_written;
  return file_->Checkpoint(frames_written_, lengths);
}

Result<void> AviMovieWriter::Close() {
  if (!open_) return {};
  open_ = false;
  return Finish();
}

// A movie that cannot be ended as it should is cut back to its last checkpoint, and named all
// the same: what was written so far plays.
Result<void> AviMovieWriter::Finish() {
  const Result<void> ended = EndMovie();
  const Result<void> closed = file_->Finish(ended.ok());
  output_->pb = nullptr;
  if (!ended) return ended;
  return closed;
}

Result<void> AviMovieWriter::EndMovie() {
  if (file_->WriteError() != 0)
    return FfmpegError("cannot write to the movie '" + path_ + "'", "write", AVERROR(file_->WriteError()));
  if (auto drained = Encode(nullptr); !drained) return drained;
  if (audio_) {
    if (auto flushed = WriteAudioPackets(audio_->bytes_per_sample_frame); !flushed) return flushed;
  }
  const int status = av_write_trailer(output_.get());
  if (status < 0) return FfmpegError("cannot finish the movie '" + path_ + "'", "av_write_trailer", status);
  return {};
}

// ---- Reading --------------------------------------------------------------------------------

// The AVI headers say all that is asked; nothing is decoded.

// Counts the stream's packets, for files whose headers lack the frame count; a damaged tail
// ends the count like the end of the file does.
std::int64_t CountPackets(AVFormatContext& movie, int stream_index) {
  PacketPtr packet(av_packet_alloc());
  std::int64_t count = 0;
  while (packet && av_read_frame(&movie, packet.get()) >= 0) {
    count += packet->stream_index == stream_index ? 1 : 0;
    av_packet_unref(packet.get());
  }
  return count;
}

// The demuxer derives the rate from the stream header's scale and rate.
double FramesPerSecond(const AVStream& video) {
  const AVRational rate = video.avg_frame_rate;
  return rate.num > 0 && rate.den > 0 ? av_q2d(rate) : 0.0;
}

// A header without a length gives no duration (or zero); the counted frames then tell it.
double DurationSeconds(const AVStream& video, const MovieInfo& info) {
  if (video.duration > 0) {
    return static_cast<double>(video.duration) * av_q2d(video.time_base);
  }
  if (info.frames_per_second <= 0) return 0.0;
  return static_cast<double>(info.frame_count) / info.frames_per_second;
}

// The four characters of a stored tag, first byte first. BI_RGB, the uncompressed DIB, is
// stored as a zero tag and has no characters of its own; it is called "DIB ".
std::string FourccText(std::uint32_t tag) {
  if (tag == 0) return "DIB ";
  std::string text(4, ' ');
  for (std::size_t i = 0; i < text.size(); ++i) {
    text[i] = static_cast<char>((tag >> (8 * i)) & 0xFFu);
  }
  return text;
}

std::optional<AudioFormat> DescribeAudio(AVFormatContext& movie) {
  const int index = av_find_best_stream(&movie, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  if (index < 0) return std::nullopt;
  const AVCodecParameters& audio = *movie.streams[index]->codecpar;
  return AudioFormat{audio.sample_rate, audio.ch_layout.nb_channels, av_get_bits_per_sample(audio.codec_id)};
}

}  // namespace

Result<InputContextPtr> OpenAviInput(const std::string& path) {
  const AVInputFormat* avi = av_find_input_format("avi");
  if (avi == nullptr) return Error{"FFmpeg cannot read AVI files", "av_find_input_format"};
  AVFormatContext* context = nullptr;
  // Through the file protocol alone: whatever the name, it is a local file.
  const std::string local = "file:" + path;
  const int status = avformat_open_input(&context, local.c_str(), avi, nullptr);
  if (status < 0) {
    return FfmpegError("cannot read '" + path + "' as an AVI movie", "avformat_open_input", status);
  }
  return InputContextPtr(context);
}

Result<std::unique_ptr<MovieWriter>> FfmpegMovieFiles::OpenWriter(const std::string& path, const MovieFormat& format) {
  return AviMovieWriter::Open(path, format);
}

bool FfmpegMovieFiles::CanEncode(VideoCodec codec) {
  return avcodec_find_encoder_by_name(ChooseEncoder(codec).encoder) != nullptr;
}

std::vector<VideoCompressor> FfmpegMovieFiles::VideoCompressors() { return AvailableVideoCompressors(); }

Result<MovieInfo> FfmpegMovieFiles::ReadInfo(const std::string& path) {
  auto input = OpenAviInput(path);
  if (!input) return input.error();
  AVFormatContext& movie = **input;
  const int video_index = av_find_best_stream(&movie, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (video_index < 0) return Error{"'" + path + "' has no video stream", "av_find_best_stream"};
  const AVStream& video = *movie.streams[video_index];
  MovieInfo info;
  info.frame_count = video.nb_frames > 0 ? video.nb_frames : CountPackets(movie, video_index);
  info.width = video.codecpar->width;
  info.height = video.codecpar->height;
  info.frames_per_second = FramesPerSecond(video);
  info.fourcc = FourccText(video.codecpar->codec_tag);
  info.duration_seconds = DurationSeconds(video, info);
  info.audio = DescribeAudio(movie);
  info.streams = static_cast<int>(movie.nb_streams);
  return info;
}

namespace {

class DecodedFrames final : public MovieFrameReader {
 public:
  DecodedFrames(std::int64_t frame_count, std::unique_ptr<MovieDecoder> decoder)
      : frame_count_(frame_count), decoder_(std::move(decoder)) {}
  std::int64_t FrameCount() const override { return frame_count_; }
  Result<std::shared_ptr<const Picture>> ReadFrame(std::int64_t number) override { return decoder_->PictureOf(number); }

 private:
  std::int64_t frame_count_;
  std::unique_ptr<MovieDecoder> decoder_;
};

}  // namespace

Result<std::unique_ptr<MovieFrameReader>> FfmpegMovieFiles::OpenFrameReader(const std::string& path) {
  auto info = ReadDecodableInfo(path);
  if (!info) return info.error();
  auto decoder = MovieDecoder::Open(path);
  if (!decoder) return decoder.error();
  return std::unique_ptr<MovieFrameReader>(std::make_unique<DecodedFrames>(info->frame_count, std::move(*decoder)));
}

Result<void> FfmpegMovieFiles::SaveSound(const std::string& path, const std::string& wave,
                                         const std::function<bool()>& cancelled) {
  return SaveSoundTrack(path, wave, cancelled);
}

}  // namespace zr::platform::linux_impl
