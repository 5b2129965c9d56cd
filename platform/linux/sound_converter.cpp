#include "platform/linux/sound_converter.h"

#include <limits>
#include <string>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include "platform/linux/ffmpeg_handles.h"

namespace zr::platform::linux_impl {
namespace {

bool Convertible(const AudioFormat& format) {
  return (format.bits_per_sample == 8 || format.bits_per_sample == 16) && format.channels >= 1 &&
         format.channels <= 8 && format.samples_per_second >= 1;
}

AVSampleFormat SampleFormatOf(const AudioFormat& format) {
  return format.bits_per_sample == 8 ? AV_SAMPLE_FMT_U8 : AV_SAMPLE_FMT_S16;
}

int FrameBytes(const AudioFormat& format) { return format.channels * format.bits_per_sample / 8; }

}  // namespace

void SoundConverter::ContextFreer::operator()(SwrContext* context) const { swr_free(&context); }

Result<SoundConverter> SoundConverter::Make(const AudioFormat& from, const AudioFormat& to) {
  if (!Convertible(from) || !Convertible(to))
    return Error{"sound is converted between 8 or 16 bits, 1 to 8 channels, a rate above zero", "SoundConverter"};
  AVChannelLayout from_layout, to_layout;
  av_channel_layout_default(&from_layout, from.channels);
  av_channel_layout_default(&to_layout, to.channels);
  SwrContext* raw = nullptr;
  int code = swr_alloc_set_opts2(&raw, &to_layout, SampleFormatOf(to), to.samples_per_second, &from_layout,
                                 SampleFormatOf(from), from.samples_per_second, 0, nullptr);
  std::unique_ptr<SwrContext, ContextFreer> context(raw);
  if (code >= 0) code = swr_init(context.get());
  if (code < 0) return Error{"the sound cannot be converted: " + AvErrorText(code), "swr_init"};
  return SoundConverter(std::move(context), from, to);
}

SoundConverter::SoundConverter(std::unique_ptr<SwrContext, ContextFreer> context, const AudioFormat& from,
                               const AudioFormat& to)
    : context_(std::move(context)), from_(from), to_(to) {}

std::span<const std::uint8_t> SoundConverter::Convert(std::span<const std::uint8_t> pcm) {
  const std::size_t in_frames = pcm.size() / static_cast<std::size_t>(FrameBytes(from_));
  if (in_frames > static_cast<std::size_t>(std::numeric_limits<int>::max() / 2)) return {};
  const int in_count = static_cast<int>(in_frames);
  const int room = swr_get_out_samples(context_.get(), in_count);
  if (room <= 0) return {};
  out_.resize(static_cast<std::size_t>(room) * static_cast<std::size_t>(FrameBytes(to_)));
  std::uint8_t* out_planes[] = {out_.data()};
  const std::uint8_t* in_planes[] = {pcm.data()};
  const int made = swr_convert(context_.get(), out_planes, room, in_count > 0 ? in_planes : nullptr, in_count);
  if (made <= 0) return {};
  return {out_.data(), static_cast<std::size_t>(made) * static_cast<std::size_t>(FrameBytes(to_))};
}

}  // namespace zr::platform::linux_impl
