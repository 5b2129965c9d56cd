#pragma once
// The movie window's tools on threads of their own. Saving every frame for a window goes on one
// thread that decodes and saves in the movie's order and waits while the logic is a few frames
// behind; saving every frame for no window splits the movie into as many parts as the machine
// has cores (at most eight), each decoded and saved on its own thread. A recompression reads,
// codes and writes on one thread, then saves the sound. Reports are posted to the logic's loop.

#include <memory>

#include "platform/event_loop.h"
#include "platform/movie_file.h"
#include "platform/movie_tools.h"

namespace zr::platform::linux_impl {

class ThreadedMovieTools final : public MovieTools {
 public:
  ThreadedMovieTools(EventLoop& loop, MovieFiles& movies) : loop_(loop), movies_(movies) {}
  std::unique_ptr<MovieJob> StartExtraction(FrameExtractionRequest request, FrameExtractionReports reports) override;
  std::unique_ptr<MovieJob> StartRecompression(RecompressionRequest request, RecompressionReports reports) override;

 private:
  EventLoop& loop_;
  MovieFiles& movies_;
};

}  // namespace zr::platform::linux_impl
