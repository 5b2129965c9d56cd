#pragma once
// A thread of its own that paces its work by waiting until set times and ends at once when
// stopped: the built-in sources deliver their frames and sound on one.

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

namespace zr::platform::linux_impl {

class PacedWorker {
 public:
  PacedWorker() = default;
  PacedWorker(const PacedWorker&) = delete;
  PacedWorker& operator=(const PacedWorker&) = delete;
  ~PacedWorker() { Stop(); }

  // Runs `work` on the thread, after ending the work before; `work` returns once
  // WaitUntilOrStop answers true.
  void Start(std::function<void()> work) {
    Stop();
    thread_ = std::thread(std::move(work));
  }
  void Stop() {
    if (!thread_.joinable()) return;
    {
      std::lock_guard lock(mutex_);
      stop_requested_ = true;
    }
    wake_.notify_all();
    thread_.join();
    std::lock_guard lock(mutex_);
    stop_requested_ = false;
  }
  // Waits until `due`; true when Stop asked to end meanwhile.
  bool WaitUntilOrStop(std::chrono::steady_clock::time_point due) {
    std::unique_lock lock(mutex_);
    return wake_.wait_until(lock, due, [this] { return stop_requested_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable wake_;
  bool stop_requested_ = false;
  std::thread thread_;
};

}  // namespace zr::platform::linux_impl
