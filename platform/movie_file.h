#pragma once
// Movie files: the writer that every capture path records through, the reader that tells what a
// movie holds, and the reader of its frames. Both are real in every build (simulated devices write real files too);
// the implementation lives in platform/linux on FFmpeg's AVI muxer and demuxer.
//
// Threads: a writer is used by one thread at a time (the logic thread for simulated devices,
// a writer thread for real ones). The factory may be called from any thread.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/result.h"

namespace zr::platform {

enum class VideoCodec {
  // 24-bit bottom-up DIB frames stored as BI_RGB: the stored tag is four zero bytes (FFmpeg's
  // tools show "[0][0][0][0]"); MovieInfo reports it as "DIB ".
  Uncompressed,
  Mjpeg,    // Motion JPEG, FourCC "MJPG"; any size, odd ones included
  Mpeg4,    // MPEG-4 part 2 (DivX compatible), FourCC "DX50"; any size
  H264,     // H.264, FourCC "H264"; even widths and heights only
  Ffv1,     // lossless, FourCC "FFV1"; any size
  HuffYuv,  // lossless, FourCC "HFYU"; any size
};

struct AudioFormat {
  int samples_per_second = 0;
  int channels = 0;
  int bits_per_sample = 0;  // 8 (unsigned PCM) or 16 (signed little-endian PCM); a movie
                            // read back with compressed audio reports 0
};

struct MovieFormat {
  int width = 0;
  int height = 0;
  double frames_per_second = 0;  // may be fractional (29.97); stored as an exact rational
  VideoCodec codec = VideoCodec::Mjpeg;
  int quality = 90;  // 1 to 100, for codecs that have a quality
  std::optional<AudioFormat> audio;
  // For the codecs that can be driven by a bit rate (Mpeg4, H264): the average rate aimed at, in
  // kbit/s. 0 drives them by `quality` instead: a fixed quantiser for Mpeg4, a constant rate
  // factor for H264. The other codecs ignore it.
  int bit_rate_kbps = 0;
  // How what is written goes to the disk: synced with the header brought up to date every half
  // second of the movie and at Close, for a recording, which nothing could make again; or left
  // to the system as any tool's output is, for a movie made from files that stay (the AVI
  // builder's), which a cut-off build makes again and which would otherwise wait on the disk
  // dozens of times a second and for the whole movie at its end. A failed write then leaves
  // the movie as it stood when it was opened.
  enum class Checkpoints { EveryHalfSecond, None } checkpoints = Checkpoints::EveryHalfSecond;
};

// One picture as the program holds it: 24-bit BGR, bottom row first, each row padded to a
// multiple of four bytes (stride_bytes).
struct FrameView {
  int width = 0;
  int height = 0;
  int stride_bytes = 0;
  const std::uint8_t* bottom_up_bgr = nullptr;
};

class MovieWriter {
 public:
  virtual ~MovieWriter() = default;
  // Appends one frame; its size must be the movie's.
  virtual Result<void> WriteVideoFrame(const FrameView& frame) = 0;
  // Appends the previous frame once more, as the movie's next frame: the stored frame again for
  // codecs that code every frame on its own, the last picture encoded again for the others. An
  // Error when no frame was written yet.
  virtual Result<void> RepeatLastFrame() = 0;
  // Appends interleaved PCM samples in the movie's audio format.
  virtual Result<void> WriteAudio(std::span<const std::uint8_t> pcm) = 0;
  // Finishes the file (index, header sizes) and gives it its name: until then the movie grows
  // beside it and what stood at the name stays. A movie whose writing failed is closed as far
  // as it was written. Destroying an open writer closes it too.
  virtual Result<void> Close() = 0;
};

// The one setting a compressor's configuration offers.
enum class CompressorSettingKind { None, Quality, BitRate };

// A compressor movies can be written with: its name as lists show it, its codec, and its
// setting's range and first value (all 0 for a compressor without a setting).
struct VideoCompressor {
  std::string name;
  VideoCodec codec = VideoCodec::Uncompressed;
  CompressorSettingKind setting = CompressorSettingKind::None;
  int minimum = 0;
  int maximum = 0;
  int default_value = 0;
};

// The codec fields of a movie written with `compressor` at setting `value`: codec, quality or
// bit rate. The size, rate and sound are the movie's own.
inline MovieFormat CodecFieldsOf(const VideoCompressor& compressor, int value) {
  MovieFormat format;
  format.codec = compressor.codec;
  if (compressor.setting == CompressorSettingKind::Quality) format.quality = value;
  if (compressor.setting == CompressorSettingKind::BitRate) format.bit_rate_kbps = value;
  return format;
}

struct MovieInfo {
  std::int64_t frame_count = 0;
  int width = 0;
  int height = 0;
  double frames_per_second = 0;
  std::string fourcc;  // four characters, as stored in the stream header; "DIB " for BI_RGB
  double duration_seconds = 0;
  std::optional<AudioFormat> audio;
  int streams = 0;  // all the streams the file holds, whatever their kind
};

struct Picture;

// A movie's frames read one by one, as pictures: a tool that takes every frame of a file reads it
// through this, not through a player. Frames are numbered as the stream counts them, the first
// being 0.
class MovieFrameReader {
 public:
  virtual ~MovieFrameReader() = default;
  virtual std::int64_t FrameCount() const = 0;
  // The picture of frame `number`; an Error when that frame cannot be decoded (the frames after
  // it may still be).
  virtual Result<std::shared_ptr<const Picture>> ReadFrame(std::int64_t number) = 0;
};

class MovieFiles {
 public:
  virtual ~MovieFiles() = default;
  virtual Result<std::unique_ptr<MovieWriter>> OpenWriter(const std::string& path, const MovieFormat& format) = 0;
  virtual Result<MovieInfo> ReadInfo(const std::string& path) = 0;
  // The movie's frames for reading; an Error says why its video cannot be read.
  virtual Result<std::unique_ptr<MovieFrameReader>> OpenFrameReader(const std::string& path) = 0;
  // The compressors this machine can write movies with, in the order lists show them.
  virtual std::vector<VideoCompressor> VideoCompressors() = 0;
  // The movie's sound as a 16-bit PCM wave file at `wave` (written straight to that name, so a
  // failed save leaves what it wrote); an Error when the movie has no sound the decoder knows,
  // or the file cannot be written. `cancelled` is looked at between blocks: true ends the save
  // with an Error, the file as far as it was written.
  virtual Result<void> SaveSound(const std::string& path, const std::string& wave,
                                 const std::function<bool()>& cancelled) = 0;
};

}  // namespace zr::platform
