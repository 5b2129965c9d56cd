#include "platform/linux/live_source.h"

namespace zr::platform::linux_impl {

LiveSource::LiveSource(std::unique_ptr<FrameSource> source, std::string name,
                       std::function<void(const std::string&)> on_ended)
    : source_(std::move(source)), name_(std::move(name)), on_ended_(std::move(on_ended)) {}

LiveSource::~LiveSource() { Stop(); }

Result<void> LiveSource::Start() {
  {
    std::lock_guard lock(mutex_);
    end_message_.clear();
  }
  return source_->Start(*this);
}

void LiveSource::Stop() { source_->Stop(); }

std::shared_ptr<const Picture> LiveSource::Latest() const {
  std::lock_guard lock(mutex_);
  return latest_;
}

std::string LiveSource::EndMessage() const {
  std::lock_guard lock(mutex_);
  return end_message_;
}

void LiveSource::Attach(std::shared_ptr<Recorder> recorder) {
  std::lock_guard lock(mutex_);
  recorder_ = std::move(recorder);
}

void LiveSource::Detach() {
  std::lock_guard lock(mutex_);
  recorder_.reset();
}

void LiveSource::OnFrame(const CapturedFrame& frame) {
  std::shared_ptr<Recorder> recorder;
  {
    std::lock_guard lock(mutex_);
    latest_ = frame.picture;
    recorder = recorder_;
  }
  if (recorder) recorder->OnFrame(frame);
}

void LiveSource::OnSourceEnded(const std::string& message) {
  std::shared_ptr<Recorder> recorder;
  {
    std::lock_guard lock(mutex_);
    end_message_ = message;
    recorder = recorder_;
  }
  if (recorder) recorder->OnSourceEnded(message);
  if (on_ended_) on_ended_(message);
}

}  // namespace zr::platform::linux_impl
