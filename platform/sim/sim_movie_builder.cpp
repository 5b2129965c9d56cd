#include "platform/sim/sim_movie_builder.h"

#include <utility>

#include "image/dib.h"

namespace zr::platform::sim {

namespace {

struct BuildState {
  MovieBuildRequest request;
  MovieBuildReports reports;
  std::unique_ptr<MovieWriter> writer;
  Picture converted;
  MovieBuildEnd end;
  std::size_t next = 0;
  bool cancelled = false;
};

class SimBuild final : public MovieBuild {
 public:
  SimBuild(EventLoop& loop, MovieFiles& movies, MovieBuildRequest request, MovieBuildReports reports)
      : loop_(loop), state_(std::make_shared<BuildState>()) {
    state_->request = std::move(request);
    state_->reports = std::move(reports);
    auto opened = movies.OpenWriter(state_->request.path, state_->request.format);
    if (opened)
      state_->writer = std::move(*opened);
    else
      state_->end.error = opened.error();
    PostStep();
  }
  // What is still posted finds the build gone; the writer closes the movie as it goes.
  ~SimBuild() override = default;

  void Cancel() override { state_->cancelled = true; }

 private:
  void PostStep() {
    loop_.Post([this, weak = std::weak_ptr(state_)] {
      if (weak.lock()) Step();
    });
  }

  // Writes the next frame, or ends the build.
  void Step() {
    BuildState& s = *state_;
    if (s.writer && !s.cancelled && !s.end.error && s.next < s.request.frames.size()) {
      cDib dib;
      const bool loaded = dib.CreateFromFile(s.request.frames[s.next]);
      const auto written = WriteBitmapFrame(*s.writer, loaded ? &dib : nullptr, s.request.format.width,
                                            s.request.format.height, s.converted);
      if (!written) {
        s.end.error = written.error();
      } else {
        ++s.end.frames;
        if (*written)
          s.reports.progress(MovieBuildProgress{static_cast<int>(s.next),
                                                std::make_shared<const Picture>(Picture::CopyOf(**written))});
      }
      ++s.next;
      PostStep();
      return;
    }
    s.end.cancelled = s.cancelled;
    if (s.writer) {
      if (auto closed = s.writer->Close(); !closed && !s.end.error) s.end.error = closed.error();
    }
    // Told in an event of its own: the logic may end the build as it hears of its end.
    loop_.Post([weak = std::weak_ptr(state_), end = s.end] {
      if (auto alive = weak.lock()) alive->reports.ended(end);
    });
  }

  EventLoop& loop_;
  std::shared_ptr<BuildState> state_;
};

}  // namespace

std::unique_ptr<MovieBuild> SimMovieBuilder::Start(MovieBuildRequest request, MovieBuildReports reports) {
  return std::make_unique<SimBuild>(loop_, movies_, std::move(request), std::move(reports));
}

}  // namespace zr::platform::sim
