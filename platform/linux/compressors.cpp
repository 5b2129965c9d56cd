#include "platform/linux/compressors.h"

#include <algorithm>
#include <utility>

#include "platform/linux/ffmpeg_movie_files.h"

namespace zr::platform::linux_impl {

const std::vector<VideoCompressor>& KnownVideoCompressors() {
  using Kind = CompressorSettingKind;
  static const std::vector<VideoCompressor> known = {
      {"MJPEG Compressor", VideoCodec::Mjpeg, Kind::Quality, 1, 100, 90},
      {"Uncompressed", VideoCodec::Uncompressed, Kind::None, 0, 0, 0},
      {"MPEG-4 (DivX compatible)", VideoCodec::Mpeg4, Kind::BitRate, 64, 50000, 4000},
      {"H.264", VideoCodec::H264, Kind::Quality, 1, 100, 75},
      {"FFV1 (lossless)", VideoCodec::Ffv1, Kind::None, 0, 0, 0},
      {"HuffYUV (lossless)", VideoCodec::HuffYuv, Kind::None, 0, 0, 0},
  };
  return known;
}

std::vector<VideoCompressor> AvailableVideoCompressors() {
  std::vector<VideoCompressor> available;
  for (const VideoCompressor& compressor : KnownVideoCompressors()) {
    if (FfmpegMovieFiles::CanEncode(compressor.codec)) available.push_back(compressor);
  }
  return available;
}

std::vector<std::string> AudioCompressorNames() { return {"PCM"}; }

CompressorSettings::CompressorSettings() : CompressorSettings(AvailableVideoCompressors()) {}

CompressorSettings::CompressorSettings(std::vector<VideoCompressor> compressors)
    : compressors_(std::move(compressors)) {
  for (const VideoCompressor& compressor : compressors_) {
    values_.push_back(compressor.default_value);
  }
  const auto mjpeg = std::find_if(compressors_.begin(), compressors_.end(),
                                  [](const auto& c) { return c.codec == VideoCodec::Mjpeg; });
  const int first = mjpeg == compressors_.end() ? 0 : static_cast<int>(mjpeg - compressors_.begin());
  control_compressor_ = first;
  driver_compressor_ = first;
}

int CompressorSettings::Count() const { return static_cast<int>(compressors_.size()); }

const VideoCompressor& CompressorSettings::At(int index) const {
  return compressors_.at(static_cast<std::size_t>(index));
}

const std::string& CompressorSettings::Name(int index) const { return At(index).name; }

std::optional<CompressorSetting> CompressorSettings::Setting(int index) const {
  const VideoCompressor& compressor = At(index);
  switch (compressor.setting) {
    case CompressorSettingKind::None:
      return std::nullopt;
    case CompressorSettingKind::Quality:
      return CompressorSetting{"Quality", compressor.minimum, compressor.maximum, Value(index)};
    case CompressorSettingKind::BitRate:
      return CompressorSetting{"Bit rate (kbit/s)", compressor.minimum, compressor.maximum, Value(index)};
  }
  return std::nullopt;
}

int CompressorSettings::Value(int index) const { return values_.at(static_cast<std::size_t>(index)); }

Result<void> CompressorSettings::SetValue(int index, int value) {
  if (auto checked = CheckIndex(index, "SetValue"); !checked) return checked;
  const VideoCompressor& compressor = At(index);
  if (compressor.setting == CompressorSettingKind::None) {
    return Error{compressor.name + " has nothing to set", "SetValue"};
  }
  if (value < compressor.minimum || value > compressor.maximum) {
    return Error{compressor.name + " takes " + std::to_string(compressor.minimum) + " to " +
                     std::to_string(compressor.maximum) + ", not " + std::to_string(value),
                 "SetValue"};
  }
  values_[static_cast<std::size_t>(index)] = value;
  return {};
}

MovieFormat CompressorSettings::MovieFormatOf(int index) const { return CodecFieldsOf(At(index), Value(index)); }

Result<void> CompressorSettings::SetControlCompressor(int index) {
  if (auto checked = CheckIndex(index, "SetControlCompressor"); !checked) return checked;
  control_compressor_ = index;
  return {};
}

Result<void> CompressorSettings::SetDriverCompressor(int index) {
  if (auto checked = CheckIndex(index, "SetDriverCompressor"); !checked) return checked;
  driver_compressor_ = index;
  return {};
}

Result<void> CompressorSettings::CheckIndex(int index, const char* where) const {
  if (index >= 0 && index < Count()) return {};
  return Error{"there is no video compressor " + std::to_string(index), where};
}

}  // namespace zr::platform::linux_impl
