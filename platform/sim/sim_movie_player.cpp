#include "platform/sim/sim_movie_player.h"

#include <cstring>

namespace zr::platform::sim {

namespace {

// The largest side a movie may have to be played; a header that claims more is not believed.
constexpr int kLargestSide = 16384;

}  // namespace

Result<void> SimMoviePlayer::OpenMovie(const std::string& path) {
  CloseMovie();
  auto info = movies_.ReadInfo(path);
  if (!info) return info.error();
  if (info->width <= 0 || info->height <= 0 || info->width > kLargestSide || info->height > kLargestSide)
    return Error{"the movie's picture size is not one that can be shown", "OpenMovie"};
  if (info->frame_count <= 0 || !(info->frames_per_second > 0))
    return Error{"the movie holds no frames to play", "OpenMovie"};
  width_ = info->width;
  height_ = info->height;
  clock_.Reset(info->frame_count, info->frames_per_second);
  return {};
}

void SimMoviePlayer::CloseMovie() {
  ++*end_schedule_;
  clock_.Reset(0, 0);
  width_ = 0;
  height_ = 0;
  picture_.reset();
}

void SimMoviePlayer::PlayMovie() {
  if (clock_.Play(loop_.NowMs())) ScheduleEnd();
}

void SimMoviePlayer::StopMovie() {
  ++*end_schedule_;
  clock_.Stop(loop_.NowMs());
}

void SimMoviePlayer::SeekFrame(double frame) {
  clock_.Seek(frame, loop_.NowMs());
  if (clock_.Playing()) ScheduleEnd();
}

void SimMoviePlayer::ScheduleEnd() {
  const std::uint64_t schedule = ++*end_schedule_;
  std::weak_ptr<std::uint64_t> current = end_schedule_;
  loop_.Schedule(clock_.EndMs(), SimEventLoop::WorkKind::BackEnd, [this, current, schedule] {
    const auto alive = current.lock();
    if (!alive || *alive != schedule) return;
    clock_.Finish();
    // The handler runs only if the player is still there when the event's turn comes.
    loop_.Post([this, current] {
      if (current.lock() && EndHandler()) EndHandler()();
    });
  });
}

std::shared_ptr<const Picture> SimMoviePlayer::CurrentPicture() const {
  const std::int64_t frame = CurrentFrame();
  if (frame == 0) return nullptr;
  const auto level = static_cast<std::uint8_t>(frame % 256);
  if (!picture_ || picture_->width != width_ || picture_->height != height_ || picture_->bottom_up_bgr[0] != level) {
    auto picture = std::make_shared<Picture>(Picture::Blank(width_, height_));
    std::memset(picture->bottom_up_bgr.data(), level, picture->bottom_up_bgr.size());
    picture_ = std::move(picture);
  }
  return picture_;
}

}  // namespace zr::platform::sim
