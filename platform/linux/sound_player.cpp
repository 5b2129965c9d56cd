#include "platform/linux/sound_player.h"

#include <cstring>
#include <span>

#include "platform/linux/alsa_handles.h"
#include "platform/regular_file.h"

namespace zr::platform::linux_impl {
namespace {

// Sounds longer than this are not shutter sounds; the cap keeps a wrong file from filling memory.
constexpr std::size_t kLargestWaveFile = 64u << 20;

std::uint32_t Little32(const std::uint8_t* bytes) {
  return std::uint32_t{bytes[0]} | (std::uint32_t{bytes[1]} << 8) | (std::uint32_t{bytes[2]} << 16) |
         (std::uint32_t{bytes[3]} << 24);
}
std::uint16_t Little16(const std::uint8_t* bytes) { return static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8)); }

Error NoWave(const std::string& path, const std::string& why) {
  return Error{"The sound file " + path + " " + why, "ReadWaveFile"};
}

}  // namespace

Result<WaveSound> ReadWaveFile(const std::string& path) {
  const SmallFile file = ReadSmallFile(path, kLargestWaveFile);
  if (file.outcome == FileOutcome::TooLarge) return NoWave(path, "is too long for a sound effect");
  if (file.outcome == FileOutcome::Missing) return NoWave(path, "cannot be opened");
  if (!file.IsRead()) return NoWave(path, file.reason);
  const std::span bytes(reinterpret_cast<const std::uint8_t*>(file.text.data()), file.text.size());
  if (bytes.size() < 12 || std::memcmp(bytes.data(), "RIFF", 4) != 0 || std::memcmp(bytes.data() + 8, "WAVE", 4) != 0)
    return NoWave(path, "is no WAVE file");

  WaveSound sound;
  bool have_format = false;
  bool have_data = false;
  for (std::size_t at = 12; at + 8 <= bytes.size();) {
    const std::uint8_t* chunk = bytes.data() + at;
    const std::size_t size = std::min<std::size_t>(Little32(chunk + 4), bytes.size() - at - 8);
    const std::uint8_t* body = chunk + 8;
    if (std::memcmp(chunk, "fmt ", 4) == 0 && size >= 16) {
      if (Little16(body) != 1) return NoWave(path, "is not plain PCM");
      sound.channels = Little16(body + 2);
      sound.samples_per_second = static_cast<int>(Little32(body + 4));
      sound.bits_per_sample = Little16(body + 14);
      have_format = true;
    } else if (std::memcmp(chunk, "data", 4) == 0) {
      sound.data.assign(body, body + size);
      have_data = true;
    }
    at += 8 + size + (size & 1);
  }
  if (!have_format || !have_data) return NoWave(path, "lacks its format or its samples");
  if ((sound.bits_per_sample != 8 && sound.bits_per_sample != 16) || sound.channels < 1 || sound.samples_per_second < 1)
    return NoWave(path, "has a sample format that is not played");
  return sound;
}

Result<void> PlayWaveFile(const std::string& path, const std::string& pcm_name) {
  auto sound = ReadWaveFile(path);
  if (!sound) return sound.error();
  QuietAlsaErrors quiet;
  snd_pcm_t* raw = nullptr;
  // Opened without waiting, so a device held by another program fails at once; the writes
  // then wait for room as usual.
  int code = snd_pcm_open(&raw, pcm_name.c_str(), SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK);
  if (code < 0) return Error{std::string("No sound output: ") + snd_strerror(code), "snd_pcm_open"};
  PcmHandle pcm(raw);
  snd_pcm_nonblock(pcm.get(), 0);
  const snd_pcm_format_t format = sound->bits_per_sample == 8 ? SND_PCM_FORMAT_U8 : SND_PCM_FORMAT_S16_LE;
  constexpr unsigned kLatencyMicroseconds = 100000;
  code = snd_pcm_set_params(pcm.get(), format, SND_PCM_ACCESS_RW_INTERLEAVED, static_cast<unsigned>(sound->channels),
                            static_cast<unsigned>(sound->samples_per_second), 1, kLatencyMicroseconds);
  if (code < 0)
    return Error{std::string("The sound output refused the format: ") + snd_strerror(code), "snd_pcm_set_params"};

  // The wave file has been read only with at least one channel of 8 or 16 bits.
  const auto frame_bytes = static_cast<std::size_t>(sound->channels * sound->bits_per_sample / 8);
  const std::uint8_t* next = sound->data.data();
  snd_pcm_uframes_t frames_left = sound->data.size() / frame_bytes;
  while (frames_left > 0) {
    snd_pcm_sframes_t written = snd_pcm_writei(pcm.get(), next, frames_left);
    if (written < 0) written = snd_pcm_recover(pcm.get(), static_cast<int>(written), 1);
    if (written < 0)
      return Error{std::string("The sound output failed: ") + snd_strerror(static_cast<int>(written)),
                   "snd_pcm_writei"};
    next += static_cast<std::size_t>(written) * frame_bytes;
    frames_left -= static_cast<snd_pcm_uframes_t>(written);
  }
  snd_pcm_drain(pcm.get());
  return {};
}

}  // namespace zr::platform::linux_impl
