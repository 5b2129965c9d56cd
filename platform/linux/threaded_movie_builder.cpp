#include "platform/linux/threaded_movie_builder.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "image/dib.h"

namespace zr::platform::linux_impl {

namespace {

// Frames read and not yet written; enough to keep the writer fed while a file is read.
constexpr std::size_t kFramesReadAhead = 4;
// The logic hears of the frames at most this often: a report copies a picture and the logic
// shows it, which a fast build would otherwise do for every frame.
constexpr auto kProgressInterval = std::chrono::milliseconds(40);

// A bitmap read by the reader, and whether the file could be read.
struct ReadFrame {
  std::unique_ptr<cDib> dib;
  bool loaded = false;
};

// The frames between the two threads, at most kFramesReadAhead of them. Closing it wakes both.
class FrameQueue {
 public:
  // False once the queue is closed.
  bool Push(ReadFrame frame) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return frames_.size() < kFramesReadAhead || closed_; });
    if (closed_) return false;
    frames_.push_back(std::move(frame));
    changed_.notify_all();
    return true;
  }
  // Nothing once the queue is closed and empty.
  std::optional<ReadFrame> Pop() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !frames_.empty() || closed_; });
    if (frames_.empty()) return std::nullopt;
    ReadFrame frame = std::move(frames_.front());
    frames_.pop_front();
    changed_.notify_all();
    return frame;
  }
  // The reader closes it after the last frame; a cancel drops what waits.
  void Close(bool drop) {
    std::lock_guard lock(mutex_);
    closed_ = true;
    if (drop) frames_.clear();
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<ReadFrame> frames_;
  bool closed_ = false;
};

// What the posted reports reach, alive as long as the build: a report posted after the build
// was destroyed finds it gone and does nothing.
struct ReportTarget {
  MovieBuildReports reports;
};

class ThreadedBuild final : public MovieBuild {
 public:
  ThreadedBuild(EventLoop& loop, MovieFiles& movies, MovieBuildRequest request, MovieBuildReports reports)
      : loop_(loop),
        movies_(movies),
        request_(std::move(request)),
        target_(std::make_shared<ReportTarget>(ReportTarget{std::move(reports)})),
        progress_taken_(std::make_shared<std::atomic<bool>>(true)) {
    reader_ = std::thread([this] { Read(); });
    writer_ = std::thread([this] { Write(); });
  }

  ~ThreadedBuild() override {
    Cancel();
    reader_.join();
    writer_.join();
  }

  void Cancel() override {
    cancelled_ = true;
    queue_.Close(/*drop=*/true);
  }

 private:
  void Read() {
    for (const std::string& path : request_.frames) {
      if (cancelled_) break;
      ReadFrame frame{TakeSpare(), false};
      frame.loaded = frame.dib->CreateFromFile(path);
      if (!queue_.Push(std::move(frame))) break;
    }
    queue_.Close(/*drop=*/false);
  }

  // The bitmaps go round between the threads, so that their memory is allocated once.
  std::unique_ptr<cDib> TakeSpare() {
    std::lock_guard lock(spares_mutex_);
    if (spares_.empty()) return std::make_unique<cDib>();
    auto dib = std::move(spares_.back());
    spares_.pop_back();
    return dib;
  }
  void GiveBack(std::unique_ptr<cDib> dib) {
    std::lock_guard lock(spares_mutex_);
    spares_.push_back(std::move(dib));
  }

  void Write() {
    MovieBuildEnd end;
    auto opened = movies_.OpenWriter(request_.path, request_.format);
    if (!opened) {
      end.error = opened.error();
      queue_.Close(/*drop=*/true);
      PostEnd(end);
      return;
    }
    MovieWriter& writer = **opened;
    Picture converted;
    int index = 0;
    while (auto frame = queue_.Pop()) {
      if (cancelled_) break;
      const auto written = WriteBitmapFrame(writer, frame->loaded ? frame->dib.get() : nullptr, request_.format.width,
                                            request_.format.height, converted);
      if (!written) {
        end.error = written.error();
        break;
      }
      ++end.frames;
      if (*written) PostProgress(index, **written);
      GiveBack(std::move(frame->dib));
      ++index;
    }
    if (end.error) queue_.Close(/*drop=*/true);
    end.cancelled = cancelled_;
    if (auto closed = writer.Close(); !closed && !end.error) end.error = closed.error();
    PostEnd(end);
  }

  // One report waits at a time: the logic is told of the latest frame, not of every one.
  void PostProgress(int index, const FrameView& frame) {
    const auto now = std::chrono::steady_clock::now();
    if (now - last_progress_ < kProgressInterval || !progress_taken_->exchange(false)) return;
    last_progress_ = now;
    loop_.Post([target = std::weak_ptr(target_), taken = progress_taken_, index,
                picture = std::make_shared<const Picture>(Picture::CopyOf(frame))] {
      *taken = true;
      if (auto alive = target.lock()) alive->reports.progress(MovieBuildProgress{index, picture});
    });
  }

  void PostEnd(const MovieBuildEnd& end) {
    loop_.Post([target = std::weak_ptr(target_), end] {
      if (auto alive = target.lock()) alive->reports.ended(end);
    });
  }

  EventLoop& loop_;
  MovieFiles& movies_;
  const MovieBuildRequest request_;
  std::shared_ptr<ReportTarget> target_;
  std::shared_ptr<std::atomic<bool>> progress_taken_;
  std::atomic<bool> cancelled_{false};
  FrameQueue queue_;
  std::mutex spares_mutex_;
  std::vector<std::unique_ptr<cDib>> spares_;
  std::chrono::steady_clock::time_point last_progress_{};  // the writer's own
  std::thread reader_;
  std::thread writer_;
};

}  // namespace

std::unique_ptr<MovieBuild> ThreadedMovieBuilder::Start(MovieBuildRequest request, MovieBuildReports reports) {
  return std::make_unique<ThreadedBuild>(loop_, movies_, std::move(request), std::move(reports));
}

}  // namespace zr::platform::linux_impl
