#pragma once
// One movie run of a real device: frames and sound from the sources' threads go through a
// bounded queue to a writer thread that encodes and writes them, so that the logic thread never
// touches a pixel on the way to disk.
//
// Timing: a timed run lays its frames on slots of the run's period, counted from the first
// frame's timestamp. A frame whose slot was already filled is skipped (the source is faster than
// the run); slots that no frame reached are filled with the previous frame and counted as
// dropped, as are frames that find the queue full (the writer has fallen behind): the file
// keeps the run's timing either way, and nothing is queued without bound. Sound is interleaved
// with the video and kept in step with it: at the end the track is cut or padded with silence
// to the length of the video.
//
// A frame-by-frame run has no clock: every AddFrame is one frame of the movie.
//
// Threads: Start, RequestStop, AddFrame, Wait and the counters on any one thread (a back end);
// OnFrame/OnSourceEnded and OnAudio/OnAudioEnded on the sources' threads; the end handler on the
// writer thread, once, after the file is closed.

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/linux/audio_source.h"
#include "platform/linux/frame_source.h"
#include "platform/movie_file.h"

namespace zr::platform::linux_impl {

enum class RecordingPace { Timed, FrameByFrame };

struct RecordingSettings {
  std::string path;
  MovieFormat format;  // the frames' size, the run's rate, the codec and its setting, the sound
  RecordingPace pace = RecordingPace::Timed;
  std::optional<std::int64_t> limit_frames;  // a timed run ends after this many frames
  int queue_frames = 8;                      // frames waiting for the writer, at most
};

enum class RecordingEnd { Stopped, LimitReached, SourceEnded, WriteFailed };

class Recorder final : public FrameSink, public AudioSink {
 public:
  // `why` is empty for Stopped and LimitReached; it says what happened otherwise, with the
  // system's error number when the system refused a write.
  using EndHandler = std::function<void(RecordingEnd end, const Error& why)>;

  Recorder(MovieFiles& movies, RecordingSettings settings, EndHandler on_end);
  ~Recorder();  // asks for the end and waits for the file to be closed
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  // Opens the file and starts the writer; an Error when the file cannot be written.
  Result<void> Start();
  // Asks for the end: what is queued is written, then the file is closed. Returns at once.
  void RequestStop();
  // Returns once the file is closed and the end handler has run.
  void Wait();
  // Frame by frame: one more frame of the movie. Waits while the queue is full (the writer is
  // busy with the frames before), so that no frame of such a run is lost.
  void AddFrame(std::shared_ptr<const Picture> picture);

  void OnFrame(const CapturedFrame& frame) override;
  void OnSourceEnded(const std::string& message) override;
  void OnAudio(std::span<const std::uint8_t> pcm, std::int64_t timestamp_us) override;
  void OnAudioEnded(const std::string& message) override;

  bool Running() const;                // from Start until the file is closed
  std::int64_t FramesWritten() const;  // frames in the file, repeated ones included
  std::int64_t FramesDropped() const;
  std::int64_t AudioSampleFrames() const;  // sample frames written
  std::int64_t ElapsedMs() const;          // since Start, on the steady clock; frozen at the end

 private:
  struct State;
  // Shared with the writer thread, which may outlive a recorder let go of by its end handler.
  std::shared_ptr<State> state_;
};

}  // namespace zr::platform::linux_impl
