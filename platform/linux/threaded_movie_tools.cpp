#include "platform/linux/threaded_movie_tools.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "image/picture_writer.h"
#include "platform/movie_tool_steps.h"

namespace zr::platform::linux_impl {

namespace {

// Frames reported to a window and not yet taken by the logic: enough to keep the decoder busy
// while the logic shows one, few enough to keep memory flat.
constexpr int kFramesAhead = 4;
constexpr std::size_t kMostParts = 8;
// A count of frames saved reaches the logic at most this often.
constexpr auto kProgressInterval = std::chrono::milliseconds(100);

// What the posted reports reach, alive as long as the job: a report posted after the job was
// destroyed finds it gone and does nothing.
template <class Reports>
struct ReportTarget {
  Reports reports;
};

// A job's thread, its cancel and its posting of reports.
template <class Reports>
class ThreadedJob : public MovieJob {
 public:
  ThreadedJob(EventLoop& loop, Reports reports)
      : loop_(loop), target_(std::make_shared<ReportTarget<Reports>>(ReportTarget<Reports>{std::move(reports)})) {}
  ~ThreadedJob() override { Stop(); }

  void Cancel() override {
    std::lock_guard lock(mutex_);
    cancelled_ = true;
    changed_.notify_all();
  }

 protected:
  // Cancels the work and waits for its thread; every derived job calls it before its own
  // members go.
  void Stop() {
    Cancel();
    if (thread_.joinable()) thread_.join();
  }
  bool Cancelled() {
    std::lock_guard lock(mutex_);
    return cancelled_;
  }
  // Posts `report` with the job's reports, if the job is still there when it runs.
  template <class Call>
  void Post(Call report) {
    loop_.Post([target = std::weak_ptr(target_), report = std::move(report)] {
      if (auto alive = target.lock()) report(alive->reports);
    });
  }

  EventLoop& loop_;
  std::shared_ptr<ReportTarget<Reports>> target_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool cancelled_ = false;
  std::thread thread_;
};

class ThreadedExtraction final : public ThreadedJob<FrameExtractionReports> {
 public:
  ThreadedExtraction(EventLoop& loop, MovieFiles& movies, FrameExtractionRequest request,
                     FrameExtractionReports reports)
      : ThreadedJob(loop, std::move(reports)), movies_(movies), request_(std::move(request)) {
    thread_ = std::thread([this] { Run(); });
  }
  ~ThreadedExtraction() override { Stop(); }

 private:
  static Result<void> Save(const Picture& picture, const std::string& path, int quality) {
    return WritePictureFileWhole(picture, path, quality);
  }

  void Run() {
    FrameExtractionEnd end;
    auto saver = FrameSaver::Open(movies_, request_, Save);
    if (!saver) {
      end.unreadable = saver.error();
    } else {
      end.frames = saver->FrameCount();
      if (request_.report_each_frame)
        ReportEachFrame(*saver, end);
      else
        SaveInParts(end);
    }
    end.cancelled = Cancelled();
    Post([end](FrameExtractionReports& reports) { reports.ended(end); });
  }

  // In the movie's order, each decoded frame posted with its picture.
  void ReportEachFrame(FrameSaver& saver, FrameExtractionEnd& end) {
    const std::int64_t last = end.frames - 1;
    for (std::int64_t number = 0; number <= last; ++number) {
      {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return cancelled_ || untaken_ < kFramesAhead; });
        if (cancelled_) return;
      }
      auto picture = saver.Take(number, end);
      if (!picture) continue;
      {
        std::lock_guard lock(mutex_);
        ++untaken_;
      }
      Post([this, frame = ExtractedFrame{number, last, std::move(picture)}](FrameExtractionReports& reports) {
        // The job is alive while its reports are: the count is its own.
        {
          std::lock_guard lock(mutex_);
          --untaken_;
          changed_.notify_all();
        }
        reports.frame(frame);
      });
    }
  }

  // The movie in as many consecutive parts as there are cores, each read by its own decoder
  // from its first frame on; a count of the frames done is posted now and then.
  void SaveInParts(FrameExtractionEnd& end) {
    const std::size_t parts = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, kMostParts);
    std::vector<FrameExtractionEnd> tallies(parts);
    std::atomic<std::int64_t> done{0};
    std::mutex progress_mutex;
    auto last_progress = std::chrono::steady_clock::now();
    const auto save_part = [&](std::size_t part) {
      auto saver = FrameSaver::Open(movies_, request_, Save);
      if (!saver) {
        tallies[part].save_error = saver.error();
        return;
      }
      const std::int64_t from = end.frames * static_cast<std::int64_t>(part) / static_cast<std::int64_t>(parts);
      const std::int64_t to = end.frames * static_cast<std::int64_t>(part + 1) / static_cast<std::int64_t>(parts);
      for (std::int64_t number = from; number < to && !Cancelled(); ++number) {
        saver->Take(number, tallies[part]);
        const std::int64_t now_done = ++done;
        std::lock_guard lock(progress_mutex);
        if (const auto now = std::chrono::steady_clock::now(); now - last_progress >= kProgressInterval) {
          last_progress = now;
          Post([progress = ExtractionProgress{now_done, end.frames}](FrameExtractionReports& reports) {
            reports.progress(progress);
          });
        }
      }
    };
    std::vector<std::thread> threads;
    for (std::size_t part = 1; part < parts; ++part) threads.emplace_back(save_part, part);
    save_part(0);
    for (auto& thread : threads) thread.join();
    for (const auto& tally : tallies) {
      end.saved += tally.saved;
      end.undecodable += tally.undecodable;
      if (!end.save_error) end.save_error = tally.save_error;
    }
  }

  MovieFiles& movies_;
  const FrameExtractionRequest request_;
  int untaken_ = 0;  // under mutex_
};

class ThreadedRecompression final : public ThreadedJob<RecompressionReports> {
 public:
  ThreadedRecompression(EventLoop& loop, MovieFiles& movies, RecompressionRequest request, RecompressionReports reports)
      : ThreadedJob(loop, std::move(reports)), movies_(movies), request_(std::move(request)) {
    thread_ = std::thread([this] { Run(); });
  }
  ~ThreadedRecompression() override { Stop(); }

 private:
  // The movie is opened here too: reading its header may take a while.
  void Run() {
    RecompressionSteps steps(movies_, request_);
    int said = 0;
    while (!Cancelled() && steps.WriteNext()) {
      if (const int percent = steps.Percent(); percent != said) {
        said = percent;
        Post([percent](RecompressionReports& reports) { reports.progress(percent); });
      }
    }
    const RecompressionEnd end = steps.Finish([this] { return Cancelled(); });
    Post([end](RecompressionReports& reports) { reports.ended(end); });
  }

  MovieFiles& movies_;
  const RecompressionRequest request_;
};

}  // namespace

std::unique_ptr<MovieJob> ThreadedMovieTools::StartExtraction(FrameExtractionRequest request,
                                                              FrameExtractionReports reports) {
  return std::make_unique<ThreadedExtraction>(loop_, movies_, std::move(request), std::move(reports));
}

std::unique_ptr<MovieJob> ThreadedMovieTools::StartRecompression(RecompressionRequest request,
                                                                 RecompressionReports reports) {
  return std::make_unique<ThreadedRecompression>(loop_, movies_, std::move(request), std::move(reports));
}

}  // namespace zr::platform::linux_impl
