#pragma once
// One movie run on a connected device, as both kinds of back end start it: a recorder fed by the
// live source, and the sound source when the run takes sound. The run's end is reported once,
// on the recorder's writer thread; Finish, on the logic thread, then releases the sound device
// and the recorder.
//
// Threads: everything but the end handler on the logic thread.

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/capture_backends.h"
#include "platform/linux/audio_source.h"
#include "platform/linux/live_source.h"
#include "platform/linux/recorder.h"

namespace zr::platform::linux_impl {

// How the last movie run of a device ended: told on the writer thread when the run ends, or on
// the logic thread when it cannot start; read on the logic thread.
class RunEnd {
 public:
  // A new run: it has not failed, and its end is told as `text` unless it fails.
  void Begin(std::string text);
  void Ended(RecordingEnd end, const Error& why);
  void FailedToStart(const Error& why);

  RunFailure Failure() const { return failure_.load(std::memory_order_acquire); }
  // What the end is told as: the back end's words of the failure, or the text given to Begin.
  // The pointer stays valid until the next Begin.
  const char* Text() const;
  // The back end's words of the failure; empty while the run has not failed.
  std::string Message() const;

 private:
  void Fail(RunFailure failure, const std::string& message);

  mutable std::mutex mutex_;
  std::string text_;
  std::atomic<RunFailure> failure_{RunFailure::None};
};

// The movie runs under way on all the devices, so that a request to end the process can ask
// every one to end from any thread (a run the logic thread waits for in a blocking call too).
class RunningRecorders {
 public:
  void Add(const std::shared_ptr<Recorder>& recorder);
  void RequestStopAll();

 private:
  std::mutex mutex_;
  std::vector<std::weak_ptr<Recorder>> recorders_;  // those that ended are dropped on the way
};

class MovieRun {
 public:
  struct Request {
    std::string path;
    MovieFormat format;  // rate, codec and its setting, sound; the size comes from the source
    RecordingPace pace = RecordingPace::Timed;
    std::optional<int> limit_seconds;
    std::optional<std::int64_t> most_frames;  // the run ends at this many frames, whatever its limit
    int queue_frames = 8;                     // frames that may wait for the writer
  };

  MovieRun(MovieFiles& movies, RunningRecorders& running, LiveSource& live, std::unique_ptr<AudioSource> sound,
           Request request, Recorder::EndHandler on_end);
  ~MovieRun();  // asks for the end and finishes
  MovieRun(const MovieRun&) = delete;
  MovieRun& operator=(const MovieRun&) = delete;

  // Opens the file and starts feeding it; an Error says why the run cannot start.
  Result<void> Start();
  void RequestStop();
  // One more frame of a frame-by-frame run: the latest picture of the source.
  Result<void> AddLatestFrame();
  // Waits for the file to be closed, stops the sound and detaches from the source.
  void Finish();

  const Recorder* recorder() const { return recorder_.get(); }
  bool Running() const { return recorder_ && recorder_->Running(); }

 private:
  MovieFiles& movies_;
  RunningRecorders& running_;
  LiveSource& live_;
  std::unique_ptr<AudioSource> sound_;
  Request request_;
  Recorder::EndHandler on_end_;
  std::shared_ptr<Recorder> recorder_;
  bool sound_started_ = false;
};

}  // namespace zr::platform::linux_impl
