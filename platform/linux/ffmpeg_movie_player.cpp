#include "platform/linux/ffmpeg_movie_player.h"

#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/linux/movie_decoder.h"

namespace zr::platform::linux_impl {

namespace {

// How long a window waits for the frame it shows before it takes the last one decoded.
constexpr auto kPictureWait = std::chrono::milliseconds(500);

}  // namespace

// What the logic thread and the decoding thread share. Frames are counted from 1 here.
struct FfmpegMoviePlayer::HandOver {
  std::mutex mutex;
  std::condition_variable changed;
  std::int64_t wanted = 0;
  bool ahead = false;  // decode the frame after the wanted one once it is ready
  bool quit = false;
  std::int64_t settled = 0;  // the last wanted frame the thread has dealt with
  std::shared_ptr<const Picture> shown;
  std::thread thread;

  void Run(std::unique_ptr<MovieDecoder> decoder) {
    std::int64_t ahead_frame = 0;
    std::shared_ptr<const Picture> ahead_picture;
    std::unique_lock lock(mutex);
    for (;;) {
      changed.wait(lock, [&] { return quit || wanted != settled || (ahead && ahead_frame != settled + 1); });
      if (quit) return;
      if (wanted != settled) {
        const std::int64_t target = wanted;
        std::shared_ptr<const Picture> picture = ahead_frame == target ? ahead_picture : nullptr;
        lock.unlock();
        if (!picture) {
          auto decoded = decoder->PictureOf(target - 1);
          if (decoded) picture = std::move(*decoded);
        }
        lock.lock();
        settled = target;
        if (picture) shown = std::move(picture);
        changed.notify_all();
        continue;
      }
      const std::int64_t next = settled + 1;
      lock.unlock();
      auto decoded = decoder->PictureOf(next - 1);
      lock.lock();
      ahead_frame = next;
      ahead_picture = decoded ? std::move(*decoded) : nullptr;
    }
  }
};

FfmpegMoviePlayer::FfmpegMoviePlayer(EventLoop& loop, std::string pcm_name)
    : ClockedMoviePlayer(loop), loop_(loop), pcm_name_(std::move(pcm_name)) {}

FfmpegMoviePlayer::~FfmpegMoviePlayer() { CloseMovie(); }

Result<void> FfmpegMoviePlayer::OpenMovie(const std::string& path) {
  CloseMovie();
  auto info = ReadDecodableInfo(path);
  if (!info) return info.error();
  auto decoder = MovieDecoder::Open(path);
  if (!decoder) return decoder.error();
  width_ = info->width;
  height_ = info->height;
  clock_.Reset(info->frame_count, info->frames_per_second);
  hand_over_ = std::make_shared<HandOver>();
  hand_over_->thread = std::thread(
      [hand_over = hand_over_.get(), owned = std::move(*decoder)]() mutable { hand_over->Run(std::move(owned)); });
  sound_ = MovieSound::Open(path, pcm_name_);
  Want(1);
  return {};
}

void FfmpegMoviePlayer::CloseMovie() {
  loop_.StopTimer(*this);
  sound_.reset();
  if (hand_over_) {
    {
      std::lock_guard lock(hand_over_->mutex);
      hand_over_->quit = true;
    }
    hand_over_->changed.notify_all();
    hand_over_->thread.join();
    hand_over_.reset();
  }
  clock_.Reset(0, 0);
  width_ = 0;
  height_ = 0;
}

void FfmpegMoviePlayer::PlayMovie() {
  if (!clock_.Play(loop_.NowMs())) return;
  loop_.StartTimer(*this, std::max(1, static_cast<int>(std::lround(1000.0 / clock_.FramesPerSecond()))));
  Want(CurrentFrame());
  FollowWithSound();
}

void FfmpegMoviePlayer::StopMovie() {
  loop_.StopTimer(*this);
  clock_.Stop(loop_.NowMs());
  Want(CurrentFrame());
  FollowWithSound();
}

void FfmpegMoviePlayer::SeekFrame(double frame) {
  clock_.Seek(frame, loop_.NowMs());
  Want(CurrentFrame());
  if (clock_.Playing()) FollowWithSound();
}

void FfmpegMoviePlayer::Fire() {
  if (loop_.NowMs() < clock_.EndMs()) {
    Want(CurrentFrame());
    return;
  }
  loop_.StopTimer(*this);
  clock_.Finish();
  Want(CurrentFrame());
  FollowWithSound();
  std::weak_ptr<bool> alive = alive_;
  loop_.Post([this, alive] {
    if (alive.lock() && EndHandler()) EndHandler()();
  });
}

void FfmpegMoviePlayer::FollowWithSound() {
  if (!sound_) return;
  if (clock_.Playing())
    sound_->Play(PositionMs());
  else
    sound_->Stop();
}

void FfmpegMoviePlayer::Want(std::int64_t frame) const {
  if (!hand_over_ || frame <= 0) return;
  {
    std::lock_guard lock(hand_over_->mutex);
    hand_over_->wanted = frame;
    hand_over_->ahead = clock_.Playing();
  }
  hand_over_->changed.notify_all();
}

std::shared_ptr<const Picture> FfmpegMoviePlayer::CurrentPicture() const {
  const std::int64_t frame = CurrentFrame();
  if (!hand_over_ || frame <= 0) return nullptr;
  Want(frame);
  std::unique_lock lock(hand_over_->mutex);
  hand_over_->changed.wait_for(lock, kPictureWait, [&] { return hand_over_->settled == frame; });
  return hand_over_->shown;
}

}  // namespace zr::platform::linux_impl
