#include "platform/sim/sim_recording.h"

#include <cerrno>
#include <vector>

namespace zr::platform::sim {

namespace {

double RateOf(std::int64_t microseconds_per_frame) {
  return microseconds_per_frame > 0 ? 1e6 / static_cast<double>(microseconds_per_frame) : 15.0;
}

// Silence of the right kind: 0x80 for unsigned 8-bit samples, 0 for signed 16-bit.
std::vector<std::uint8_t> Silence(const AudioFormat& format, std::int64_t samples) {
  const auto bytes = static_cast<std::size_t>(samples * format.channels * format.bits_per_sample / 8);
  return std::vector<std::uint8_t>(bytes, format.bits_per_sample == 8 ? 0x80 : 0x00);
}

}  // namespace

SimRecording::SimRecording(SimEventLoop& loop, MovieFiles& movies, Settings settings, std::function<Picture()> picture,
                           std::function<void()> on_end)
    : loop_(loop),
      movies_(movies),
      settings_(std::move(settings)),
      picture_(std::move(picture)),
      on_end_(std::move(on_end)) {}

bool SimRecording::OpenForSingleFrames(double frames_per_second) {
  MovieFormat format{settings_.width, settings_.height, frames_per_second, VideoCodec::Mjpeg, 90, std::nullopt};
  auto writer = movies_.OpenWriter(settings_.path, format);
  if (!writer) return false;
  writer_ = std::move(writer.value());
  return true;
}

Result<void> SimRecording::Start() {
  MovieFormat format{settings_.width, settings_.height, RateOf(settings_.microseconds_per_frame), VideoCodec::Mjpeg, 90,
                     settings_.audio};
  auto writer = movies_.OpenWriter(settings_.path, format);
  if (!writer) return writer.error();
  writer_ = std::move(writer.value());
  running_ = true;
  start_ms_ = loop_.NowMs();
  if (settings_.limit_seconds) {
    end_ms_ = start_ms_ + std::int64_t{*settings_.limit_seconds} * 1000;
    std::weak_ptr<SimRecording> weak = weak_from_this();
    loop_.Schedule(end_ms_, SimEventLoop::WorkKind::BackEnd, [weak] {
      if (auto self = weak.lock()) self->End();
    });
  }
  ScheduleFrame(0);
  return {};
}

std::int64_t SimRecording::FrameDueMs(std::int64_t index) const {
  return start_ms_ + index * settings_.microseconds_per_frame / 1000;
}

void SimRecording::ScheduleFrame(std::int64_t index) {
  const std::int64_t due = FrameDueMs(index);
  if (settings_.limit_seconds && due >= end_ms_) return;
  std::weak_ptr<SimRecording> weak = weak_from_this();
  loop_.Schedule(due, SimEventLoop::WorkKind::BackEnd, [weak, index] {
    if (auto self = weak.lock()) self->DeliverFrame(index);
  });
}

void SimRecording::DeliverFrame(std::int64_t index) {
  if (!running_) return;
  if (auto written = WriteFrameAndSound(index); !written) {
    failure_ = WriteFailure(written.error());
    failure_message_ = written.error().message;
    End();
    return;
  }
  if (settings_.most_frames && frames_ >= *settings_.most_frames) return End();
  ScheduleFrame(index + 1);
}

Result<void> SimRecording::WriteFrameAndSound(std::int64_t index) {
  if (settings_.disk_full_at_frame && frames_ >= *settings_.disk_full_at_frame)
    return Error{"cannot write to the movie '" + settings_.path + "': No space left on device", "SimRecording", ENOSPC};
  const Picture picture = picture_();
  if (auto written = writer_->WriteVideoFrame(picture.View()); !written) return written;
  ++frames_;
  if (settings_.audio) {
    const auto& audio = *settings_.audio;
    const auto samples_before = index * settings_.microseconds_per_frame * audio.samples_per_second / 1000000;
    const auto samples_after = (index + 1) * settings_.microseconds_per_frame * audio.samples_per_second / 1000000;
    const auto pcm = Silence(audio, samples_after - samples_before);
    return writer_->WriteAudio(pcm);
  }
  return {};
}

bool SimRecording::AppendFrame() {
  if (!writer_) return false;
  return WriteFrameAndSound(frames_).ok();
}

std::int64_t SimRecording::ElapsedMs() const { return (running_ ? loop_.NowMs() : end_ms_) - start_ms_; }

void SimRecording::End() {
  if (writer_) {
    (void)writer_->Close();
    writer_.reset();
  }
  if (!running_) return;
  running_ = false;
  end_ms_ = loop_.NowMs();
  if (on_end_) on_end_();
}

}  // namespace zr::platform::sim
