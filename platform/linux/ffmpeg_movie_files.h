#pragma once
// Movie files on FFmpeg: AVI written through libavformat's muxer, read back through its demuxer.
//
// Writing: uncompressed movies hold the frames as classic bottom-up BI_RGB DIBs, each the frame's
// own bytes with rows padded to four, no encoder between; Motion JPEG movies hold full-range 4:2:0 JFIF pictures coded
// by libjpeg-turbo at the quality as given (1 coarsest, 100 finest). Both codecs take any width and height, odd ones
// included.
//
// The other codecs:
// - Mpeg4: FFmpeg's own MPEG-4 part 2 encoder in 4:2:0, stored as "DX50" so that DivX players
//   take it. With a bit rate it aims at that average rate; without one it uses a fixed
//   quantiser taken from the quality, 100 giving qscale 2 (best) and 1 giving qscale 31
//   (worst), linear in between. A key frame every second, no B-frames.
// - H264: libx264 in 4:2:0 at its "veryfast" preset, tuned for low latency (no B-frames, no
//   look-ahead), so packets leave the encoder in order, one per frame, as AVI needs. With a bit
//   rate it aims at that average rate; without one it keeps a constant rate factor taken from
//   the quality, 100 giving CRF 12 and 1 giving CRF 51, linear in between (75 gives 22). A key
//   frame every second. The width and height must be even.
// - Ffv1: lossless, 32-bit BGR; version 3, in slices coded in parallel, for pictures at least
//   16 pixels wide and high, version 1 for smaller ones.
// - HuffYuv: lossless, 24-bit RGB.
// The encoders that can share work between threads use two.
//
// RepeatLastFrame stores the last coded frame again for the codecs that code each frame on its
// own (uncompressed, Motion JPEG, FFV1, HuffYUV), which costs no encoding; MPEG-4 and H.264
// encode the last picture again, which costs little as nothing has changed.
//
// The frame rate is stored as an exact rational (29.97 becomes 30000/1001). Audio, when asked
// for, is interleaved PCM cut into packets of a tenth of a second; bytes that do not make a
// whole sample frame by Close are dropped.
//
// The file (movie_output_file.h): the movie grows under a temporary name beside its own and takes
// its name at Close; only a regular file is ever replaced, and the name is a local file whatever
// it looks like. Every half second of the movie (at least every frame) what is written is synced
// and the header's sizes and counts are rewritten to describe it, so that a movie cut off by a
// killed process or a power cut opens with headers at most half a second behind its frames (a
// second after a power cut); a movie whose format asks for no checkpoints (a built one) is left
// to the system to put on the disk, as other tools leave theirs. Packets are written in the order they come, the caller
// interleaving the sound with the pictures. A write the system refuses fails the movie with the
// system's error (Error::system_error); Close then cuts it back to its last checkpoint and
// names it all the same.
//
// Reading frames: decoded one by one through the player's decoder (movie_decoder.h).
//
// Reading: only AVI files are accepted, read through the file protocol alone; anything else,
// missing or not, is an Error.

#include "platform/movie_file.h"

namespace zr::platform::linux_impl {

class FfmpegMovieFiles final : public MovieFiles {
 public:
  Result<std::unique_ptr<MovieWriter>> OpenWriter(const std::string& path, const MovieFormat& format) override;
  Result<MovieInfo> ReadInfo(const std::string& path) override;
  Result<std::unique_ptr<MovieFrameReader>> OpenFrameReader(const std::string& path) override;
  std::vector<VideoCompressor> VideoCompressors() override;
  Result<void> SaveSound(const std::string& path, const std::string& wave,
                         const std::function<bool()>& cancelled) override;

  // Whether this machine's FFmpeg has the encoder the codec is written with.
  static bool CanEncode(VideoCodec codec);
};

}  // namespace zr::platform::linux_impl
