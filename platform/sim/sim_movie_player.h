#pragma once
// The movie player on the virtual clock: it reads a real AVI file's frame count, size and rate
// through the movie files (so a scenario plays the movies the program recorded) and moves on
// with the loop's time while playing. It decodes nothing: the picture of a frame is a plain
// grey whose level is the frame's number modulo 256, enough for a window to tell frames apart.

#include <cstdint>
#include <memory>
#include <string>

#include "platform/movie_file.h"
#include "platform/movie_player.h"
#include "platform/sim/sim_event_loop.h"

namespace zr::platform::sim {

class SimMoviePlayer final : public ClockedMoviePlayer {
 public:
  SimMoviePlayer(SimEventLoop& loop, MovieFiles& movies) : ClockedMoviePlayer(loop), loop_(loop), movies_(movies) {}

  Result<void> OpenMovie(const std::string& path) override;
  void CloseMovie() override;
  void PlayMovie() override;
  void StopMovie() override;
  void SeekFrame(double frame) override;

  std::shared_ptr<const Picture> CurrentPicture() const override;

 private:
  // Schedules the end of playing from now; an earlier schedule is forgotten.
  void ScheduleEnd();

  SimEventLoop& loop_;
  MovieFiles& movies_;
  // The scheduled end that still counts; a seek, stop or close makes the earlier ones stale,
  // and the player's end makes them all stale.
  std::shared_ptr<std::uint64_t> end_schedule_ = std::make_shared<std::uint64_t>(0);
  mutable std::shared_ptr<const Picture> picture_;
};

}  // namespace zr::platform::sim
