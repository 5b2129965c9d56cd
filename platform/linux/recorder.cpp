#include "platform/linux/recorder.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "platform/linux/ffmpeg_handles.h"

extern "C" {
#include <libswscale/swscale.h>
}

namespace zr::platform::linux_impl {
namespace {

using Clock = std::chrono::steady_clock;

// A frame that stops coming this long after its time no longer holds a limited run open.
constexpr auto kLateFrameGrace = std::chrono::milliseconds(500);
// How much sound waits for its frames at most; older sound gives way to newer.
constexpr int kBufferedSoundSeconds = 3;
// Sound missing at a frame beyond this share of a second is given up for silence.
constexpr int kMissingSoundFraction = 2;

// A slot of the movie: a new picture, or none to repeat the one before; then `repeats` more
// copies of it, for slots no frame reached.
struct QueuedFrame {
  std::shared_ptr<const Picture> picture;
  std::int64_t repeats = 0;
};

// Brings pictures of another size (a stream that changed its size) to the movie's size.
class FrameScaler {
 public:
  Result<const Picture*> Scale(const Picture& source, int width, int height) {
    SwsContext* reused = scaler_.release();  // freed by the call when it no longer fits
    scaler_.reset(sws_getCachedContext(reused, source.width, source.height, AV_PIX_FMT_BGR24, width, height,
                                       AV_PIX_FMT_BGR24, SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!scaler_) return Error{"cannot scale the frames to the movie's size", "sws_getCachedContext"};
    if (scaled_.width != width || scaled_.height != height) scaled_ = Picture::Blank(width, height);
    // Both pictures are bottom-up, so scaling them as they lie keeps them upright.
    const std::uint8_t* const source_planes[] = {source.bottom_up_bgr.data()};
    const int source_strides[] = {source.Stride()};
    std::uint8_t* const target_planes[] = {scaled_.bottom_up_bgr.data()};
    const int target_strides[] = {scaled_.Stride()};
    if (sws_scale(scaler_.get(), source_planes, source_strides, 0, source.height, target_planes, target_strides) <= 0) {
      return Error{"cannot scale the frame", "sws_scale"};
    }
    return &scaled_;
  }

 private:
  ScalerPtr scaler_;
  Picture scaled_;
};

// A count of the movie's sound format as a size, at least one. The buffer is made before the
// writer checks the format, and a count below one, which the writer refuses, would otherwise
// wrap to a huge size or leave a sample frame of no bytes to divide by.
std::size_t AtLeastOne(int count) { return static_cast<std::size_t>(std::max(1, count)); }

// Sound waiting for the frames it goes with: whole sample frames, oldest first, a few seconds
// at most.
class SoundBuffer {
 public:
  explicit SoundBuffer(const std::optional<AudioFormat>& format)
      : sample_frame_bytes_(format ? AtLeastOne(format->channels * format->bits_per_sample / 8) : 1),
        capacity_bytes_(format ? sample_frame_bytes_ * AtLeastOne(format->samples_per_second) *
                                     std::size_t{kBufferedSoundSeconds}
                               : 0) {}

  void Append(std::span<const std::uint8_t> pcm) {
    const std::size_t whole = pcm.size() - pcm.size() % sample_frame_bytes_;
    const std::size_t kept = std::min(whole, capacity_bytes_);
    bytes_.insert(bytes_.end(), pcm.begin() + static_cast<std::ptrdiff_t>(whole - kept),
                  pcm.begin() + static_cast<std::ptrdiff_t>(whole));
    if (bytes_.size() > capacity_bytes_) Discard(bytes_.size() - capacity_bytes_);
  }

  // Up to `sample_frames` of the oldest sound.
  std::vector<std::uint8_t> Take(std::int64_t sample_frames) {
    const std::size_t wanted = static_cast<std::size_t>(sample_frames) * sample_frame_bytes_;
    const std::size_t size = std::min(wanted, bytes_.size());
    std::vector<std::uint8_t> taken(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(size));
    Discard(size);
    return taken;
  }

  std::size_t SampleFrameBytes() const { return sample_frame_bytes_; }

 private:
  void Discard(std::size_t bytes) { bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(bytes)); }

  std::size_t sample_frame_bytes_;
  std::size_t capacity_bytes_;
  std::vector<std::uint8_t> bytes_;
};

std::int64_t MillisecondsBetween(Clock::time_point from, Clock::time_point to) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(to - from).count();
}

}  // namespace

// Shared by the recorder and its writer thread, so that a recorder let go of by its own end
// handler leaves the thread what it still uses.
struct Recorder::State {
  State(MovieFiles& movie_files, RecordingSettings run_settings, EndHandler handler)
      : movies(movie_files),
        settings(std::move(run_settings)),
        on_end(std::move(handler)),
        queue_capacity(static_cast<std::size_t>(std::max(1, settings.queue_frames))),
        sound(settings.format.audio) {}

  // ---- any thread, under the lock

  // The first reason to end is the one reported; a write failure overrides any.
  void EndWith(RecordingEnd reason, const Error& why = {}) {
    if (!end || reason == RecordingEnd::WriteFailed) {
      end = reason;
      end_error = why;
    }
    accepting = false;
    work.notify_all();
    space.notify_all();
  }

  bool Limited() const { return settings.pace == RecordingPace::Timed && settings.limit_frames; }

  Clock::duration LimitDuration() const {
    const double seconds = static_cast<double>(*settings.limit_frames) / settings.format.frames_per_second;
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  }

  // Slots no frame reached: the frame before them once more for each.
  void AddRepeats(std::int64_t count) {
    if (queue.empty()) {
      queue.push_back({nullptr, count});
    } else {
      queue.back().repeats += count;
    }
    frames_dropped += count;
  }

  void TakeTimedFrame(const CapturedFrame& frame) {
    if (!first_timestamp_us) {
      first_timestamp_us = frame.timestamp_us;
      if (Limited()) deadline = Clock::now() + LimitDuration() + kLateFrameGrace;
    }
    const double since_first_s = static_cast<double>(frame.timestamp_us - *first_timestamp_us) / 1e6;
    const auto slot = static_cast<std::int64_t>(std::llround(since_first_s * settings.format.frames_per_second));
    if (slot < next_slot) return;  // filled already: the source is faster than the run
    std::int64_t gap = slot - next_slot;
    if (Limited()) gap = std::min(gap, *settings.limit_frames - next_slot);
    if (gap > 0) AddRepeats(gap);
    next_slot += gap;
    if (Limited() && next_slot >= *settings.limit_frames) {
      EndWith(RecordingEnd::LimitReached);
      return;
    }
    if (queue.size() >= queue_capacity) {
      AddRepeats(1);  // the writer has fallen behind
    } else {
      queue.push_back({frame.picture, 0});
    }
    ++next_slot;
    if (Limited() && next_slot >= *settings.limit_frames) EndWith(RecordingEnd::LimitReached);
    work.notify_one();
  }

  // ---- the writer thread

  void Run() {
    std::optional<Error> failure;
    while (auto entry = NextEntry()) {
      if (auto written = WriteEntry(*entry); !written) {
        failure = written.error();
        break;
      }
    }
    Finish(failure);
  }

  // The next slots to write; nothing once the run is over and all it queued is written.
  std::optional<QueuedFrame> NextEntry() {
    std::unique_lock lock(mutex);
    for (;;) {
      if (!queue.empty()) {
        QueuedFrame entry = std::move(queue.front());
        queue.pop_front();
        space.notify_all();
        return entry;
      }
      if (end) return std::nullopt;
      if (deadline && Clock::now() >= *deadline) return TimeIsUp();
      if (deadline) {
        work.wait_until(lock, *deadline);
      } else {
        work.wait(lock);
      }
    }
  }

  // Frames stopped coming before a limited run had all of them: the last one fills the rest.
  std::optional<QueuedFrame> TimeIsUp() {
    EndWith(RecordingEnd::LimitReached);
    const std::int64_t missing = *settings.limit_frames - next_slot;
    if (next_slot == 0 || missing <= 0) return std::nullopt;
    next_slot = *settings.limit_frames;
    frames_dropped += missing;
    return QueuedFrame{nullptr, missing};
  }

  Result<void> WriteEntry(const QueuedFrame& entry) {
    if (entry.picture) {
      if (auto written = WritePicture(*entry.picture); !written) return written;
      if (auto written = FrameDone(); !written) return written;
    }
    for (std::int64_t i = 0; i < entry.repeats; ++i) {
      if (auto written = writer->RepeatLastFrame(); !written) return written;
      if (auto written = FrameDone(); !written) return written;
    }
    return {};
  }

  Result<void> WritePicture(const Picture& picture) {
    if (picture.bottom_up_bgr.size() < Picture::BytesFor(picture.width, picture.height)) {
      return Error{"a frame holds fewer bytes than its size needs", "Recorder"};
    }
    const MovieFormat& format = settings.format;
    if (picture.width == format.width && picture.height == format.height) {
      return writer->WriteVideoFrame(picture.View());
    }
    auto scaled = scaler.Scale(picture, format.width, format.height);
    if (!scaled) return scaled.error();
    return writer->WriteVideoFrame((*scaled)->View());
  }

  Result<void> FrameDone() {
    ++frames_written;
    return WriteSoundDue();
  }

  // Sample frames that belong with the first `frames` frames of the movie.
  std::int64_t SoundDue(std::int64_t frames) const {
    const AudioFormat& audio = *settings.format.audio;
    return std::llround(static_cast<double>(frames) * audio.samples_per_second / settings.format.frames_per_second);
  }

  // The sound up to the end of the frame just written. A source that has fallen far behind is
  // given up for silence, so that what it sends later is not heard late.
  Result<void> WriteSoundDue() {
    if (!settings.format.audio) return {};
    const std::int64_t wanted = SoundDue(frames_written) - audio_sample_frames;
    if (wanted <= 0) return {};
    auto taken = WriteBufferedSound(wanted);
    if (!taken) return taken.error();
    const std::int64_t missing = wanted - *taken;
    if (missing > settings.format.audio->samples_per_second / kMissingSoundFraction) {
      return WriteSilence(missing);
    }
    return {};
  }

  // At the end the track is cut or padded to the length of the video.
  Result<void> WriteLastSound() {
    if (!settings.format.audio) return {};
    const std::int64_t wanted = SoundDue(frames_written) - audio_sample_frames;
    if (wanted <= 0) return {};
    auto taken = WriteBufferedSound(wanted);
    if (!taken) return taken.error();
    return WriteSilence(wanted - *taken);
  }

  Result<std::int64_t> WriteBufferedSound(std::int64_t sample_frames) {
    std::vector<std::uint8_t> pcm;
    {
      std::lock_guard lock(mutex);
      pcm = sound.Take(sample_frames);
    }
    if (pcm.empty()) return std::int64_t{0};
    if (auto written = writer->WriteAudio(pcm); !written) return written.error();
    const auto taken = static_cast<std::int64_t>(pcm.size() / sound.SampleFrameBytes());
    audio_sample_frames += taken;
    return taken;
  }

  // Silence of the track's kind (unsigned 8-bit samples rest at 0x80), a second at a time.
  Result<void> WriteSilence(std::int64_t sample_frames) {
    const AudioFormat& audio = *settings.format.audio;
    const std::uint8_t rest = audio.bits_per_sample == 8 ? 0x80 : 0x00;
    while (sample_frames > 0) {
      const std::int64_t piece = std::min<std::int64_t>(sample_frames, audio.samples_per_second);
      const std::vector<std::uint8_t> silence(static_cast<std::size_t>(piece) * sound.SampleFrameBytes(), rest);
      if (auto written = writer->WriteAudio(silence); !written) return written;
      audio_sample_frames += piece;
      sample_frames -= piece;
    }
    return {};
  }

  void Finish(std::optional<Error> failure) {
    if (!failure) {
      if (auto written = WriteLastSound(); !written) failure = written.error();
    }
    if (auto closed_file = writer->Close(); !closed_file && !failure) failure = closed_file.error();
    writer.reset();
    RecordingEnd reason;
    Error why;
    {
      std::lock_guard lock(mutex);
      if (failure) EndWith(RecordingEnd::WriteFailed, *failure);
      queue.clear();
      reason = end.value_or(RecordingEnd::Stopped);
      why = end_error;
    }
    frozen_elapsed_ms = MillisecondsBetween(start_time, Clock::now());
    running = false;
    if (on_end) on_end(reason, why);
    std::lock_guard lock(mutex);
    file_closed = true;
    closed.notify_all();
  }

  MovieFiles& movies;
  const RecordingSettings settings;
  const EndHandler on_end;
  const std::size_t queue_capacity;

  std::thread thread;
  Clock::time_point start_time;  // set by Start before the thread exists

  // The writer thread's own.
  std::unique_ptr<MovieWriter> writer;
  FrameScaler scaler;

  std::mutex mutex;
  std::condition_variable work;    // the writer waits for slots or the end
  std::condition_variable space;   // a frame-by-frame run waits for room in the queue
  std::condition_variable closed;  // Wait waits for the file to be closed
  // Under the lock.
  bool started = false;
  bool accepting = false;
  bool file_closed = false;
  std::deque<QueuedFrame> queue;
  std::optional<RecordingEnd> end;
  Error end_error;
  std::optional<std::int64_t> first_timestamp_us;
  std::int64_t next_slot = 0;  // slots taken so far, repeats included
  std::optional<Clock::time_point> deadline;
  SoundBuffer sound;

  std::atomic<bool> running{false};
  std::atomic<std::int64_t> frames_written{0};
  std::atomic<std::int64_t> frames_dropped{0};
  std::atomic<std::int64_t> audio_sample_frames{0};
  std::atomic<std::int64_t> frozen_elapsed_ms{-1};
};

Recorder::Recorder(MovieFiles& movies, RecordingSettings settings, EndHandler on_end)
    : state_(std::make_shared<State>(movies, std::move(settings), std::move(on_end))) {}

Recorder::~Recorder() {
  RequestStop();
  if (state_->thread.joinable() && state_->thread.get_id() == std::this_thread::get_id()) {
    state_->thread.detach();  // let go of by the end handler: the thread keeps the state
    return;
  }
  Wait();
}

Result<void> Recorder::Start() {
  State& state = *state_;
  {
    std::lock_guard lock(state.mutex);
    if (state.started) return Error{"the recorder has been started already", "Recorder::Start"};
  }
  auto writer = state.movies.OpenWriter(state.settings.path, state.settings.format);
  if (!writer) return writer.error();
  state.writer = std::move(*writer);
  state.start_time = Clock::now();
  {
    std::lock_guard lock(state.mutex);
    state.started = true;
    state.accepting = true;
    if (state.Limited()) {
      state.deadline = state.start_time + state.LimitDuration() + kLateFrameGrace;
      if (*state.settings.limit_frames <= 0) state.EndWith(RecordingEnd::LimitReached);
    }
  }
  state.running = true;
  state.thread = std::thread([shared = state_] { shared->Run(); });
  return {};
}

void Recorder::RequestStop() {
  std::lock_guard lock(state_->mutex);
  if (state_->started) state_->EndWith(RecordingEnd::Stopped);
}

void Recorder::Wait() {
  State& state = *state_;
  if (!state.thread.joinable() || state.thread.get_id() == std::this_thread::get_id()) return;
  {
    std::unique_lock lock(state.mutex);
    state.closed.wait(lock, [&] { return state.file_closed; });
  }
  state.thread.join();
}

void Recorder::AddFrame(std::shared_ptr<const Picture> picture) {
  State& state = *state_;
  if (state.settings.pace != RecordingPace::FrameByFrame || !picture) return;
  std::unique_lock lock(state.mutex);
  state.space.wait(lock, [&] { return !state.accepting || state.queue.size() < state.queue_capacity; });
  if (!state.accepting) return;
  state.queue.push_back({std::move(picture), 0});
  ++state.next_slot;
  state.work.notify_one();
}

void Recorder::OnFrame(const CapturedFrame& frame) {
  State& state = *state_;
  if (state.settings.pace != RecordingPace::Timed || !frame.picture) return;
  std::lock_guard lock(state.mutex);
  if (state.accepting) state.TakeTimedFrame(frame);
}

void Recorder::OnSourceEnded(const std::string& message) {
  std::lock_guard lock(state_->mutex);
  if (state_->started) state_->EndWith(RecordingEnd::SourceEnded, Error{message, "FrameSource"});
}

// Sound from before the first frame has no picture to go with and is left out; sound after
// the end was asked for may still belong to the frames queued before it.
void Recorder::OnAudio(std::span<const std::uint8_t> pcm, std::int64_t timestamp_us) {
  (void)timestamp_us;  // the sound is laid by its length against the frames, not by its clock
  State& state = *state_;
  if (!state.settings.format.audio) return;
  std::lock_guard lock(state.mutex);
  if (state.started && !state.file_closed && state.next_slot > 0) state.sound.Append(pcm);
}

// The video goes on; the rest of the track is silence.
void Recorder::OnAudioEnded(const std::string& message) { (void)message; }

bool Recorder::Running() const { return state_->running; }
std::int64_t Recorder::FramesWritten() const { return state_->frames_written; }
std::int64_t Recorder::FramesDropped() const { return state_->frames_dropped; }
std::int64_t Recorder::AudioSampleFrames() const { return state_->audio_sample_frames; }

std::int64_t Recorder::ElapsedMs() const {
  const std::int64_t frozen = state_->frozen_elapsed_ms;
  if (frozen >= 0) return frozen;
  if (!state_->running) return 0;
  return MillisecondsBetween(state_->start_time, Clock::now());
}

}  // namespace zr::platform::linux_impl
