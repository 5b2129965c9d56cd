#include "platform/linux/live_source.h"

#include <cmath>
#include <cstdio>

namespace zr::platform::linux_impl {

LiveSource::LiveSource(std::unique_ptr<FrameSource> source, std::string name)
    : source_(std::move(source)), name_(std::move(name)) {}

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

void LiveSource::SetTimeCode(std::optional<BurntInTimeCode> time_code) {
  std::lock_guard lock(mutex_);
  time_code_ = time_code;
}

std::string TimeCodeText(std::int64_t timestamp_us, double frames_per_second) {
  const std::int64_t seconds = timestamp_us / 1000000;
  const auto frame =
      static_cast<int>(std::floor(static_cast<double>(timestamp_us % 1000000) * frames_per_second / 1e6));
  char text[32];
  std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld:%02d", static_cast<long long>(seconds / 3600 % 100),
                static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60), frame);
  return text;
}

void LiveSource::Attach(std::shared_ptr<Recorder> recorder) {
  std::lock_guard lock(mutex_);
  recorder_ = std::move(recorder);
}

void LiveSource::Detach() {
  std::lock_guard lock(mutex_);
  recorder_.reset();
}

void LiveSource::OnFrame(const CapturedFrame& delivered) {
  std::optional<BurntInTimeCode> time_code;
  {
    std::lock_guard lock(mutex_);
    time_code = time_code_;
  }
  CapturedFrame frame = delivered;
  if (time_code) {
    // The device's picture is shared and never changed: the time code goes on a copy.
    auto marked = std::make_shared<Picture>(*delivered.picture);
    const double rate = source_->FramesPerSecond() > 0 ? source_->FramesPerSecond() : 30.0;
    DrawBitmapText(TimeCodeText(delivered.timestamp_us, rate), time_code->x, time_code->y, time_code->unit,
                   time_code->ink, *marked);
    frame.picture = std::move(marked);
  }
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
}

}  // namespace zr::platform::linux_impl
