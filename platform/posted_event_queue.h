#pragma once
// The events posted to a loop from any thread, run in the order they came on the logic thread.
//
// Threads: Push and Empty from any thread; RunAll on the logic thread.

#include <deque>
#include <functional>
#include <mutex>

namespace zr::platform {

class PostedEventQueue {
 public:
  void Push(std::function<void()> event) {
    std::lock_guard lock(mutex_);
    events_.push_back(std::move(event));
  }
  bool Empty() const {
    std::lock_guard lock(mutex_);
    return events_.empty();
  }
  // Runs the events through `run` until none is left, those posted meanwhile included. The
  // lock is not held while an event runs, so an event may post again.
  template <class Runner>
  void RunAll(Runner&& run) {
    for (;;) {
      std::function<void()> event;
      {
        std::lock_guard lock(mutex_);
        if (events_.empty()) return;
        event = std::move(events_.front());
        events_.pop_front();
      }
      run(event);
    }
  }

 private:
  mutable std::mutex mutex_;
  std::deque<std::function<void()>> events_;
};

}  // namespace zr::platform
