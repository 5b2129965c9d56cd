#pragma once
// Playing a short sound file (the shutter sound) to its end through ALSA.

#include <cstdint>
#include <string>
#include <vector>

#include "base/result.h"

namespace zr::platform::linux_impl {

// A RIFF WAVE file of plain PCM: 8-bit unsigned or 16-bit signed little-endian samples.
struct WaveSound {
  int channels = 0;
  int samples_per_second = 0;
  int bits_per_sample = 0;
  std::vector<std::uint8_t> data;  // interleaved frames, as in the file
};

// Reads the file's format and samples; an Error for a file that is missing, is no RIFF WAVE,
// or holds anything but 8- or 16-bit PCM.
Result<WaveSound> ReadWaveFile(const std::string& path);

// Plays the file on the PCM `pcm_name` and returns when the sound has ended. An Error when
// the file cannot be read or the device cannot be opened or fails; nothing is left open.
Result<void> PlayWaveFile(const std::string& path, const std::string& pcm_name = "default");

}  // namespace zr::platform::linux_impl
