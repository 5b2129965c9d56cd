#pragma once
// Movies built from bitmap files on two threads of their own: one reads the files ahead of the
// writer (a few frames, so memory stays flat however long the list), the other codes and writes
// them through the movie writer. Reports are posted to the logic thread's loop.

#include <memory>

#include "platform/event_loop.h"
#include "platform/movie_build.h"
#include "platform/movie_file.h"

namespace zr::platform::linux_impl {

class ThreadedMovieBuilder final : public MovieBuilder {
 public:
  ThreadedMovieBuilder(EventLoop& loop, MovieFiles& movies) : loop_(loop), movies_(movies) {}
  std::unique_ptr<MovieBuild> Start(MovieBuildRequest request, MovieBuildReports reports) override;

 private:
  EventLoop& loop_;
  MovieFiles& movies_;
};

}  // namespace zr::platform::linux_impl
