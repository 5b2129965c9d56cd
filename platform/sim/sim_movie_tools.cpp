#include "platform/sim/sim_movie_tools.h"

#include <optional>
#include <utility>

#include "image/picture_writer.h"
#include "platform/movie_tool_steps.h"

namespace zr::platform::sim {

namespace {

// A job of steps posted one after the other; what is still posted when the job goes finds it
// gone. `Step` answers false once the job has ended.
class SimJob : public MovieJob {
 public:
  explicit SimJob(EventLoop& loop) : loop_(loop), alive_(std::make_shared<bool>(true)) {}
  void Cancel() override { cancelled_ = true; }

 protected:
  virtual bool Step() = 0;
  void PostStep() {
    loop_.Post([this, alive = std::weak_ptr(alive_)] {
      if (alive.lock() && Step()) PostStep();
    });
  }
  // Told in an event of its own: the logic may end the job as it hears of its end.
  template <class Call>
  void PostEnd(Call call) {
    loop_.Post([alive = std::weak_ptr(alive_), call = std::move(call)] {
      if (alive.lock()) call();
    });
  }

  EventLoop& loop_;
  std::shared_ptr<bool> alive_;
  bool cancelled_ = false;
};

class SimExtraction final : public SimJob {
 public:
  SimExtraction(EventLoop& loop, MovieFiles& movies, FrameExtractionRequest request, FrameExtractionReports reports)
      : SimJob(loop), movies_(movies), request_(std::move(request)), reports_(std::move(reports)) {
    PostStep();
  }

 private:
  static Result<void> Save(const Picture& picture, const std::string& path, int quality) {
    return WritePictureFileWhole(picture, path, quality);
  }

  bool Step() override {
    if (!saver_ && !end_.unreadable) {
      auto saver = FrameSaver::Open(movies_, request_, Save);
      if (saver) {
        end_.frames = saver->FrameCount();
        saver_.emplace(std::move(*saver));
      } else {
        end_.unreadable = saver.error();
      }
    }
    if (saver_ && !cancelled_ && next_ < end_.frames) {
      const std::int64_t number = next_++;
      auto picture = saver_->Take(number, end_);
      if (request_.report_each_frame && picture)
        reports_.frame(ExtractedFrame{number, end_.frames - 1, std::move(picture)});
      else if (!request_.report_each_frame)
        reports_.progress(ExtractionProgress{next_, end_.frames});
      return true;
    }
    end_.cancelled = cancelled_;
    PostEnd([this] { reports_.ended(end_); });
    return false;
  }

  MovieFiles& movies_;
  const FrameExtractionRequest request_;
  FrameExtractionReports reports_;
  std::optional<FrameSaver> saver_;
  FrameExtractionEnd end_;
  std::int64_t next_ = 0;
};

class SimRecompression final : public SimJob {
 public:
  SimRecompression(EventLoop& loop, MovieFiles& movies, RecompressionRequest request, RecompressionReports reports)
      : SimJob(loop), movies_(movies), request_(std::move(request)), reports_(std::move(reports)) {
    PostStep();
  }

 private:
  bool Step() override {
    if (!steps_) steps_.emplace(movies_, request_);
    if (!cancelled_ && steps_->WriteNext()) {
      if (const int percent = steps_->Percent(); percent != said_) {
        said_ = percent;
        reports_.progress(percent);
      }
      return true;
    }
    PostEnd([this, end = steps_->Finish([this] { return cancelled_; })] { reports_.ended(end); });
    return false;
  }

  MovieFiles& movies_;
  const RecompressionRequest request_;
  RecompressionReports reports_;
  std::optional<RecompressionSteps> steps_;
  int said_ = 0;
};

}  // namespace

std::unique_ptr<MovieJob> SimMovieTools::StartExtraction(FrameExtractionRequest request,
                                                         FrameExtractionReports reports) {
  return std::make_unique<SimExtraction>(loop_, movies_, std::move(request), std::move(reports));
}

std::unique_ptr<MovieJob> SimMovieTools::StartRecompression(RecompressionRequest request,
                                                            RecompressionReports reports) {
  return std::make_unique<SimRecompression>(loop_, movies_, std::move(request), std::move(reports));
}

}  // namespace zr::platform::sim
