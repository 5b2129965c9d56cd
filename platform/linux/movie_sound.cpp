#include "platform/linux/movie_sound.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "platform/linux/alsa_handles.h"
#include "platform/linux/avi_input.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

namespace zr::platform::linux_impl {

namespace {

struct ResamplerFreer {
  void operator()(SwrContext* context) const { swr_free(&context); }
};
using ResamplerPtr = std::unique_ptr<SwrContext, ResamplerFreer>;

constexpr unsigned kDeviceLatencyUs = 100'000;
constexpr int kBlocksPerSecond = 20;

}  // namespace

struct MovieSound::Track {
  InputContextPtr input;
  CodecContextPtr codec;
  ResamplerPtr resampler;
  PcmHandle pcm;
  PacketPtr packet{av_packet_alloc()};
  FramePtr frame{av_frame_alloc()};
  int stream = -1;
  int channels = 0;
  int rate = 0;

  std::mutex mutex;
  std::condition_variable changed;
  std::uint64_t start = 0;  // counts the starts and stops; a running play ends when it moves on
  bool playing = false;
  bool quit = false;
  std::int64_t from_ms = 0;
  std::thread thread;

  // Plays from `position_ms` for as long as start `run` stands.
  void PlayFrom(std::int64_t position_ms, std::uint64_t run) {
    AVStream& track = *input->streams[stream];
    const std::int64_t timestamp = av_rescale_q(position_ms, AVRational{1, 1000}, track.time_base);
    if (av_seek_frame(input.get(), stream, timestamp, AVSEEK_FLAG_BACKWARD) < 0) return;
    avcodec_flush_buffers(codec.get());
    snd_pcm_prepare(pcm.get());
    // Samples before the position are dropped, counted at the track's rate.
    std::int64_t to_skip = -1;
    std::vector<std::int16_t> block;
    while (Current(run)) {
      const int received = avcodec_receive_frame(codec.get(), frame.get());
      if (received == AVERROR(EAGAIN)) {
        if (av_read_frame(input.get(), packet.get()) < 0) break;
        if (packet->stream_index == stream) avcodec_send_packet(codec.get(), packet.get());
        av_packet_unref(packet.get());
        continue;
      }
      if (received < 0) break;
      if (to_skip < 0) {
        const std::int64_t pts = frame->best_effort_timestamp != AV_NOPTS_VALUE ? frame->best_effort_timestamp : 0;
        const std::int64_t frame_ms = av_rescale_q(pts, track.time_base, AVRational{1, 1000});
        to_skip = std::max<std::int64_t>(0, (position_ms - frame_ms) * rate / 1000);
      }
      block.resize(static_cast<std::size_t>(swr_get_out_samples(resampler.get(), frame->nb_samples) * channels));
      auto* out = reinterpret_cast<std::uint8_t*>(block.data());
      const int made = swr_convert(resampler.get(), &out, static_cast<int>(block.size()) / channels,
                                   const_cast<const std::uint8_t**>(frame->extended_data), frame->nb_samples);
      if (made <= 0) continue;
      const std::int64_t skipped = std::min<std::int64_t>(to_skip, made);
      to_skip -= skipped;
      Write(block.data() + skipped * channels, made - skipped, run);
    }
    // A play that ran to the track's end lets the device finish; one stopped or restarted
    // drops what the device still holds.
    if (Current(run))
      snd_pcm_drain(pcm.get());
    else
      snd_pcm_drop(pcm.get());
  }

  // Writes in blocks, checking between them that the play still stands.
  void Write(const std::int16_t* samples, std::int64_t count, std::uint64_t run) {
    const std::int64_t block = rate / kBlocksPerSecond;
    while (count > 0 && Current(run)) {
      const auto written = snd_pcm_writei(pcm.get(), samples, static_cast<snd_pcm_uframes_t>(std::min(block, count)));
      if (written < 0) {
        if (snd_pcm_recover(pcm.get(), static_cast<int>(written), 1) < 0) return;
        continue;
      }
      samples += written * channels;
      count -= written;
    }
  }

  bool Current(std::uint64_t run) {
    std::lock_guard lock(mutex);
    return !quit && playing && start == run;
  }

  void Run() {
    std::unique_lock lock(mutex);
    std::uint64_t done = 0;
    for (;;) {
      changed.wait(lock, [&] { return quit || (playing && start != done); });
      if (quit) return;
      done = start;
      const std::int64_t position = from_ms;
      lock.unlock();
      PlayFrom(position, done);
      lock.lock();
    }
  }
};

std::unique_ptr<MovieSound> MovieSound::Open(const std::string& path, const std::string& pcm_name) {
  auto input = OpenAviInput(path);
  if (!input) return nullptr;
  auto track = std::make_unique<Track>();
  track->input = std::move(*input);
  const AVCodec* decoder = nullptr;
  track->stream = av_find_best_stream(track->input.get(), AVMEDIA_TYPE_AUDIO, -1, -1, &decoder, 0);
  if (track->stream < 0 || decoder == nullptr || !track->packet || !track->frame) return nullptr;
  track->codec.reset(avcodec_alloc_context3(decoder));
  if (!track->codec ||
      avcodec_parameters_to_context(track->codec.get(), track->input->streams[track->stream]->codecpar) < 0 ||
      avcodec_open2(track->codec.get(), decoder, nullptr) < 0)
    return nullptr;
  AVCodecContext& codec = *track->codec;
  track->channels = codec.ch_layout.nb_channels;
  track->rate = codec.sample_rate;
  if (track->channels <= 0 || track->channels > 8 || track->rate <= 0) return nullptr;
  AVChannelLayout layout;
  av_channel_layout_default(&layout, track->channels);
  SwrContext* resampler = nullptr;
  if (swr_alloc_set_opts2(&resampler, &layout, AV_SAMPLE_FMT_S16, track->rate, &codec.ch_layout, codec.sample_fmt,
                          track->rate, 0, nullptr) < 0)
    return nullptr;
  track->resampler.reset(resampler);
  if (swr_init(resampler) < 0) return nullptr;

  QuietAlsaErrors quiet;
  snd_pcm_t* pcm = nullptr;
  if (snd_pcm_open(&pcm, pcm_name.c_str(), SND_PCM_STREAM_PLAYBACK, 0) < 0) return nullptr;
  track->pcm.reset(pcm);
  if (snd_pcm_set_params(pcm, SND_PCM_FORMAT_S16, SND_PCM_ACCESS_RW_INTERLEAVED, static_cast<unsigned>(track->channels),
                         static_cast<unsigned>(track->rate), 1, kDeviceLatencyUs) < 0)
    return nullptr;
  Track* running = track.get();
  track->thread = std::thread([running] { running->Run(); });
  return std::unique_ptr<MovieSound>(new MovieSound(std::move(track)));
}

MovieSound::MovieSound(std::unique_ptr<Track> track) : track_(std::move(track)) {}

MovieSound::~MovieSound() {
  {
    std::lock_guard lock(track_->mutex);
    track_->quit = true;
  }
  track_->changed.notify_all();
  track_->thread.join();
}

void MovieSound::Play(std::int64_t position_ms) {
  {
    std::lock_guard lock(track_->mutex);
    ++track_->start;
    track_->playing = true;
    track_->from_ms = position_ms;
  }
  track_->changed.notify_all();
}

void MovieSound::Stop() {
  {
    std::lock_guard lock(track_->mutex);
    ++track_->start;
    track_->playing = false;
  }
  track_->changed.notify_all();
}

}  // namespace zr::platform::linux_impl
