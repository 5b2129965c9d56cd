#pragma once
// One movie run on a connected device, as both kinds of back end start it: a recorder fed by the
// live source, and the sound source when the run takes sound. The run's end is reported once,
// on the recorder's writer thread; Finish, on the logic thread, then releases the sound device
// and the recorder.
//
// Threads: everything but the end handler on the logic thread.

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/linux/audio_source.h"
#include "platform/linux/live_source.h"
#include "platform/linux/recorder.h"

namespace zr::platform::linux_impl {

class MovieRun {
 public:
  struct Request {
    std::string path;
    MovieFormat format;  // rate, codec and its setting, sound; the size comes from the source
    RecordingPace pace = RecordingPace::Timed;
    std::optional<int> limit_seconds;
  };

  MovieRun(MovieFiles& movies, LiveSource& live, std::unique_ptr<AudioSource> sound, Request request,
           Recorder::EndHandler on_end);
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
  LiveSource& live_;
  std::unique_ptr<AudioSource> sound_;
  Request request_;
  Recorder::EndHandler on_end_;
  std::shared_ptr<Recorder> recorder_;
  bool sound_started_ = false;
};

}  // namespace zr::platform::linux_impl
