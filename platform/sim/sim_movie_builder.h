#pragma once
// Movies built from bitmap files on the logic thread, one frame in each posted event, so that a
// build runs in the order of the loop and a scenario's world writes the same movie every time.

#include <memory>

#include "platform/event_loop.h"
#include "platform/movie_build.h"
#include "platform/movie_file.h"

namespace zr::platform::sim {

class SimMovieBuilder final : public MovieBuilder {
 public:
  SimMovieBuilder(EventLoop& loop, MovieFiles& movies) : loop_(loop), movies_(movies) {}
  std::unique_ptr<MovieBuild> Start(MovieBuildRequest request, MovieBuildReports reports) override;

 private:
  EventLoop& loop_;
  MovieFiles& movies_;
};

}  // namespace zr::platform::sim
