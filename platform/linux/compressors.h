#pragma once
// The compressors the capture back ends offer for movies: the video list that the capture
// control and the capture window show, in a fixed order (Motion JPEG first, so that a set-up
// that names compressor 0 records compressed movies), holding only those this machine's
// FFmpeg can encode with; the one audio compressor, PCM; and the settings their configuration
// dialogs keep.
//
// What each configuration dialog sets:
//   Uncompressed, FFV1 (lossless), HuffYUV (lossless): nothing.
//   MJPEG Compressor: the quality, 1 to 100, 90 at first.
//   MPEG-4 (DivX compatible): the average bit rate, 64 to 50000 kbit/s, 4000 at first.
//   H.264: the quality, 1 to 100, 75 at first; the movie keeps a constant rate factor from it
//     (ffmpeg_movie_files.h), so the size follows the picture's detail rather than a fixed rate.
//
// Threads: all calls on the logic thread.

#include <optional>
#include <string>
#include <vector>

#include "base/result.h"
#include "platform/device_settings.h"
#include "platform/movie_file.h"

namespace zr::platform::linux_impl {

using platform::CompressorSettingKind;
using platform::VideoCompressor;

// Every video compressor the program knows, in the list's order.
const std::vector<VideoCompressor>& KnownVideoCompressors();
// Those of them this machine can encode with, in the same order.
std::vector<VideoCompressor> AvailableVideoCompressors();
// The audio compressors: "PCM" alone.
std::vector<std::string> AudioCompressorNames();

// The video compressor list with the setting of each one, and which one each kind of back end
// records with (MJPEG Compressor at first, where the machine has it).
class CompressorSettings {
 public:
  CompressorSettings();  // the available compressors
  explicit CompressorSettings(std::vector<VideoCompressor> compressors);

  int Count() const;
  // `index` counts in the list; these throw std::out_of_range outside it.
  const VideoCompressor& At(int index) const;
  const std::string& Name(int index) const;
  // What the compressor's configuration dialog shows (label, range, value); nothing for a
  // compressor without a setting.
  std::optional<CompressorSetting> Setting(int index) const;
  int Value(int index) const;  // 0 for a compressor without a setting
  // An Error for a compressor without a setting or a value outside its range.
  Result<void> SetValue(int index, int value);

  // The codec fields of a movie recorded with the compressor: codec, quality, bit rate. The size,
  // rate and sound are the run's.
  MovieFormat MovieFormatOf(int index) const;

  // The compressor each kind of back end records with; an Error outside the list.
  int ControlCompressor() const { return control_compressor_; }
  Result<void> SetControlCompressor(int index);
  int DriverCompressor() const { return driver_compressor_; }
  Result<void> SetDriverCompressor(int index);

 private:
  Result<void> CheckIndex(int index, const char* where) const;

  std::vector<VideoCompressor> compressors_;
  std::vector<int> values_;  // one per compressor
  int control_compressor_ = 0;
  int driver_compressor_ = 0;
};

}  // namespace zr::platform::linux_impl
