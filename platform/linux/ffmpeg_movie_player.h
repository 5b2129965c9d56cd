#pragma once
// The movie player on FFmpeg: any AVI FFmpeg reads, decoded on a thread of the player's own.
//
// Seeking is frame-exact: the decoder goes to the key frame at or before the frame asked for
// and decodes forward to it; a frame a little ahead of the one decoded is reached by decoding
// on, without a seek. Frames are numbered by their place in the stream's index (the demuxer's
// timestamps), so a movie with B-frames shows its frames in presentation order.
//
// Playing follows the loop's clock through a timer at the movie's rate; while it plays, the
// thread decodes the next frame ahead of time. The picture of the frame shown is waited for
// (at most half a second, after which the last one decoded stands), so a window asking right
// after a seek gets the frame it sought. The movie's sound plays through ALSA (movie_sound.h)
// from where the picture starts, and not at all on a machine without a sound device.
//
// Threads: every call on the logic thread; the decoding thread touches only its own decoder
// and the hand-over it shares with the logic thread under a lock.

#include <memory>
#include <string>

#include "platform/event_loop.h"
#include "platform/linux/movie_sound.h"
#include "platform/movie_player.h"

namespace zr::platform::linux_impl {

class FfmpegMoviePlayer final : public ClockedMoviePlayer, private TimerClient {
 public:
  // The sound goes to the ALSA PCM `pcm_name`.
  explicit FfmpegMoviePlayer(EventLoop& loop, std::string pcm_name = "default");
  ~FfmpegMoviePlayer() override;

  Result<void> OpenMovie(const std::string& path) override;
  void CloseMovie() override;
  void PlayMovie() override;
  void StopMovie() override;
  void SeekFrame(double frame) override;

  std::shared_ptr<const Picture> CurrentPicture() const override;
  // Whether the movie's sound is heard when it plays.
  bool HasSound() const { return sound_ != nullptr; }

  struct HandOver;

 private:
  void Fire() override;
  // Tells the thread which frame to have ready, and whether to decode ahead of it.
  void Want(std::int64_t frame) const;

  // Starts or stops the sound to follow the picture.
  void FollowWithSound();

  EventLoop& loop_;
  std::string pcm_name_;
  std::shared_ptr<HandOver> hand_over_;
  std::unique_ptr<MovieSound> sound_;
  // Alive while the player is: an end posted to the loop reaches only a living player.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace zr::platform::linux_impl
