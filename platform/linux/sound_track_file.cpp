#include "platform/linux/sound_track_file.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <vector>

#include "image/dib.h"
#include "platform/linux/avi_input.h"
#include "platform/linux/ffmpeg_handles.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

namespace zr::platform::linux_impl {

namespace {

constexpr int kMostChannels = 8;
constexpr int kWaveHeaderBytes = 44;

struct ResamplerFreer {
  void operator()(SwrContext* context) const { swr_free(&context); }
};
struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// The canonical 44-byte header of 16-bit PCM holding `data_bytes` of samples.
std::array<std::uint8_t, kWaveHeaderBytes> WaveHeader(int channels, int rate, std::uint32_t data_bytes) {
  std::array<std::uint8_t, kWaveHeaderBytes> header{'R', 'I', 'F', 'F', 0,   0,  0, 0, 'W', 'A', 'V',
                                                    'E', 'f', 'm', 't', ' ', 16, 0, 0, 0,   1,   0};
  PutLittleEndian(&header[4], data_bytes + kWaveHeaderBytes - 8, 4);
  PutLittleEndian(&header[22], static_cast<std::uint32_t>(channels), 2);
  PutLittleEndian(&header[24], static_cast<std::uint32_t>(rate), 4);
  PutLittleEndian(&header[28], static_cast<std::uint32_t>(rate * channels * 2), 4);
  PutLittleEndian(&header[32], static_cast<std::uint32_t>(channels * 2), 2);
  PutLittleEndian(&header[34], 16, 2);
  header[36] = 'd';
  header[37] = 'a';
  header[38] = 't';
  header[39] = 'a';
  PutLittleEndian(&header[40], data_bytes, 4);
  return header;
}

}  // namespace

struct SoundTrackReader::Decoding {
  InputContextPtr input;
  CodecContextPtr codec;
  std::unique_ptr<SwrContext, ResamplerFreer> resampler;
  PacketPtr packet{av_packet_alloc()};
  FramePtr frame{av_frame_alloc()};
  int stream = -1;
  bool draining = false;
  bool ended = false;
  int channels = 0;

  // The samples of `count` frames at `in` (none: what the resampler still holds) into `block`.
  bool Convert(const std::uint8_t** in, int count, std::vector<std::int16_t>& block) {
    block.resize(static_cast<std::size_t>(swr_get_out_samples(resampler.get(), count)) *
                 static_cast<std::size_t>(channels));
    if (block.empty()) return false;
    auto* out = reinterpret_cast<std::uint8_t*>(block.data());
    const int made = swr_convert(resampler.get(), &out, static_cast<int>(block.size()) / channels, in, count);
    if (made <= 0) return false;
    block.resize(static_cast<std::size_t>(made) * static_cast<std::size_t>(channels));
    return true;
  }
};

SoundTrackReader::SoundTrackReader(std::unique_ptr<Decoding> decoding, Format format)
    : decoding_(std::move(decoding)), format_(format) {}

SoundTrackReader::~SoundTrackReader() = default;

Result<std::unique_ptr<SoundTrackReader>> SoundTrackReader::Open(const std::string& movie, Format wanted) {
  auto input = OpenAviInput(movie);
  if (!input) return input.error();
  auto sound = std::make_unique<Decoding>();
  sound->input = std::move(*input);
  const AVCodec* decoder = nullptr;
  sound->stream = av_find_best_stream(sound->input.get(), AVMEDIA_TYPE_AUDIO, -1, -1, &decoder, 0);
  if (sound->stream < 0) return std::unique_ptr<SoundTrackReader>();
  sound->codec.reset(decoder ? avcodec_alloc_context3(decoder) : nullptr);
  if (!sound->codec ||
      avcodec_parameters_to_context(sound->codec.get(), sound->input->streams[sound->stream]->codecpar) < 0 ||
      avcodec_open2(sound->codec.get(), decoder, nullptr) < 0)
    return Error{"the sound of '" + movie + "' cannot be decoded", "avcodec_open2"};
  if (!sound->packet || !sound->frame) return Error{"out of memory", "av_frame_alloc"};
  AVCodecContext& codec = *sound->codec;
  const int own_channels = codec.ch_layout.nb_channels;
  if (own_channels <= 0 || own_channels > kMostChannels || codec.sample_rate <= 0)
    return Error{"the sound of '" + movie + "' has no usable format", "SaveSound"};
  const Format format{wanted.rate ? wanted.rate : codec.sample_rate, wanted.channels ? wanted.channels : own_channels};
  sound->channels = format.channels;
  AVChannelLayout layout;
  av_channel_layout_default(&layout, format.channels);
  SwrContext* resampler = nullptr;
  if (swr_alloc_set_opts2(&resampler, &layout, AV_SAMPLE_FMT_S16, format.rate, &codec.ch_layout, codec.sample_fmt,
                          codec.sample_rate, 0, nullptr) < 0)
    return Error{"the sound of '" + movie + "' cannot be converted", "swr_alloc_set_opts2"};
  sound->resampler.reset(resampler);
  if (swr_init(resampler) < 0) return Error{"the sound of '" + movie + "' cannot be converted", "swr_init"};
  return std::unique_ptr<SoundTrackReader>(new SoundTrackReader(std::move(sound), format));
}

bool SoundTrackReader::Read(std::vector<std::int16_t>& block) {
  Decoding& sound = *decoding_;
  while (!sound.ended) {
    const int received = avcodec_receive_frame(sound.codec.get(), sound.frame.get());
    if (received == AVERROR(EAGAIN)) {
      if (av_read_frame(sound.input.get(), sound.packet.get()) < 0) {
        if (sound.draining) break;
        sound.draining = true;
        avcodec_send_packet(sound.codec.get(), nullptr);
        continue;
      }
      if (sound.packet->stream_index == sound.stream) avcodec_send_packet(sound.codec.get(), sound.packet.get());
      av_packet_unref(sound.packet.get());
      continue;
    }
    if (received < 0) break;
    if (sound.Convert(const_cast<const std::uint8_t**>(sound.frame->extended_data), sound.frame->nb_samples, block))
      return true;
  }
  // The track has ended: what the resampler still holds, once.
  if (sound.ended) return false;
  sound.ended = true;
  return sound.Convert(nullptr, 0, block);
}

Result<void> SaveSoundTrack(const std::string& movie, const std::string& wave, const std::function<bool()>& cancelled) {
  auto opened = SoundTrackReader::Open(movie);
  if (!opened) return opened.error();
  if (!*opened) return Error{"'" + movie + "' has no sound to save", "SaveSound"};
  SoundTrackReader& sound = **opened;
  // Only a regular file is replaced: a pipe or a device at the name would hold the save.
  std::error_code ignored;
  if (std::filesystem::exists(wave, ignored) && !std::filesystem::is_regular_file(wave, ignored))
    return Error{wave + " is not a regular file", "SaveSound"};
  std::unique_ptr<std::FILE, FileCloser> file(std::fopen(wave.c_str(), "wb"));
  if (!file) return Error{"cannot write " + wave, "fopen", errno};
  const auto unwritable = [&] { return Error{"cannot write " + wave, "fwrite", errno}; };
  if (std::fwrite(WaveHeader(sound.Channels(), sound.Rate(), 0).data(), 1, kWaveHeaderBytes, file.get()) !=
      kWaveHeaderBytes)
    return unwritable();
  std::vector<std::int16_t> block;
  std::uint64_t data_bytes = 0;
  while (sound.Read(block)) {
    if (cancelled()) return Error{"the save was cancelled", "SaveSound"};
    const std::size_t bytes = block.size() * sizeof(std::int16_t);
    if (data_bytes + bytes > UINT32_MAX - kWaveHeaderBytes) return Error{wave + " would pass 4 GB", "SaveSound"};
    if (std::fwrite(block.data(), 1, bytes, file.get()) != bytes) return unwritable();
    data_bytes += bytes;
  }
  const auto header = WaveHeader(sound.Channels(), sound.Rate(), static_cast<std::uint32_t>(data_bytes));
  if (std::fseek(file.get(), 0, SEEK_SET) != 0 ||
      std::fwrite(header.data(), 1, kWaveHeaderBytes, file.get()) != kWaveHeaderBytes)
    return unwritable();
  if (std::fclose(file.release()) != 0) return unwritable();
  return {};
}

}  // namespace zr::platform::linux_impl
