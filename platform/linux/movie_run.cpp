#include "platform/linux/movie_run.h"

#include <algorithm>
#include <cmath>

namespace zr::platform::linux_impl {

void RunningRecorders::Add(const std::shared_ptr<Recorder>& recorder) {
  std::lock_guard lock(mutex_);
  std::erase_if(recorders_, [](const std::weak_ptr<Recorder>& known) { return known.expired(); });
  recorders_.push_back(recorder);
}

void RunningRecorders::RequestStopAll() {
  std::lock_guard lock(mutex_);
  for (const auto& known : recorders_)
    if (auto recorder = known.lock()) recorder->RequestStop();
}

MovieRun::MovieRun(MovieFiles& movies, RunningRecorders& running, LiveSource& live, std::unique_ptr<AudioSource> sound,
                   Request request, Recorder::EndHandler on_end)
    : movies_(movies),
      running_(running),
      live_(live),
      sound_(std::move(sound)),
      request_(std::move(request)),
      on_end_(std::move(on_end)) {}

MovieRun::~MovieRun() {
  RequestStop();
  Finish();
}

Result<void> MovieRun::Start() {
  RecordingSettings settings;
  settings.path = request_.path;
  settings.format = request_.format;
  settings.pace = request_.pace;
  // The movie takes the size of the picture the device delivers now.
  int width = live_.Source().Width(), height = live_.Source().Height();
  if (const auto latest = live_.Latest(); latest && (width <= 0 || height <= 0)) {
    width = latest->width;
    height = latest->height;
  }
  if (width <= 0 || height <= 0) return Error{"the device has not delivered a picture yet", "MovieRun::Start"};
  // H.264 takes even sizes only: an odd picture is scaled to the even size just below it.
  const bool even_only = settings.format.codec == VideoCodec::H264;
  settings.format.width = even_only && width > 1 ? width & ~1 : width;
  settings.format.height = even_only && height > 1 ? height & ~1 : height;
  if (!sound_) settings.format.audio.reset();
  if (request_.limit_seconds)
    settings.limit_frames = std::llround(*request_.limit_seconds * settings.format.frames_per_second);
  if (request_.most_frames)
    settings.limit_frames = std::min(settings.limit_frames.value_or(*request_.most_frames), *request_.most_frames);
  settings.queue_frames = request_.queue_frames;
  recorder_ = std::make_shared<Recorder>(movies_, settings, on_end_);
  if (auto started = recorder_->Start(); !started) {
    recorder_.reset();
    return started;
  }
  running_.Add(recorder_);
  if (request_.pace == RecordingPace::Timed) live_.Attach(recorder_);
  if (sound_ && settings.format.audio) {
    if (auto sound = sound_->Start(*settings.format.audio, *recorder_); sound) sound_started_ = true;
    // A sound device that cannot open leaves a silent track of the right length: the picture
    // is what the operator cannot get back, so the run goes on.
  }
  return {};
}

void MovieRun::RequestStop() {
  if (recorder_) recorder_->RequestStop();
}

Result<void> MovieRun::AddLatestFrame() {
  if (!recorder_ || !recorder_->Running()) return Error{"no frame-by-frame movie is open", "AddLatestFrame"};
  auto latest = live_.Latest();
  if (!latest) return Error{"the device has not delivered a picture yet", "AddLatestFrame"};
  recorder_->AddFrame(std::move(latest));
  return {};
}

void RunEnd::Begin(std::string text) {
  std::lock_guard lock(mutex_);
  text_ = std::move(text);
  failure_.store(RunFailure::None, std::memory_order_release);
}

// A device that stops delivering ends the run as its end does; the source says why itself.
void RunEnd::Ended(RecordingEnd end, const Error& why) {
  if (end == RecordingEnd::WriteFailed) Fail(WriteFailure(why), why.message);
}

void RunEnd::FailedToStart(const Error& why) { Fail(StartFailure(why), why.message); }

// The words come first: whoever sees the failure finds them.
void RunEnd::Fail(RunFailure failure, const std::string& message) {
  {
    std::lock_guard lock(mutex_);
    text_ = message;
  }
  failure_.store(failure, std::memory_order_release);
}

const char* RunEnd::Text() const {
  std::lock_guard lock(mutex_);
  return text_.c_str();
}

std::string RunEnd::Message() const {
  if (Failure() == RunFailure::None) return "";
  std::lock_guard lock(mutex_);
  return text_;
}

void MovieRun::Finish() {
  if (!recorder_) return;
  live_.Detach();
  if (sound_started_) {
    sound_->Stop();
    sound_started_ = false;
  }
  recorder_->Wait();
}

}  // namespace zr::platform::linux_impl
