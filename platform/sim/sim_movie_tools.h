#pragma once
// The movie window's tools on the logic thread, one frame in each posted event, so that the work
// runs in the order of the loop and a scenario's world sees the same files every time.

#include <memory>

#include "platform/event_loop.h"
#include "platform/movie_file.h"
#include "platform/movie_tools.h"

namespace zr::platform::sim {

class SimMovieTools final : public MovieTools {
 public:
  SimMovieTools(EventLoop& loop, MovieFiles& movies) : loop_(loop), movies_(movies) {}
  std::unique_ptr<MovieJob> StartExtraction(FrameExtractionRequest request, FrameExtractionReports reports) override;
  std::unique_ptr<MovieJob> StartRecompression(RecompressionRequest request, RecompressionReports reports) override;

 private:
  EventLoop& loop_;
  MovieFiles& movies_;
};

}  // namespace zr::platform::sim
