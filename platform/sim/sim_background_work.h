#pragma once
// Background work in the scenario world: the work and its end run at once, inside Start, so a
// scenario's next command finds the work done, as the operator does. A test may
// hold the jobs instead and let them end when it says, to see what waits meanwhile.

#include <deque>
#include <functional>
#include <memory>
#include <utility>

#include "platform/background_work.h"

namespace zr::platform::sim {

class SimBackgroundWork final : public BackgroundWork {
 public:
  std::unique_ptr<BackgroundJob> Start(std::function<void()> work, std::function<void()> done) override {
    work();
    if (holding_)
      held_.push_back(std::move(done));
    else
      done();
    return std::make_unique<BackgroundJob>();
  }

  // From now on the ends of jobs wait until EndHeldJobs.
  void Hold() { holding_ = true; }
  // Ends the held jobs in the order they started, and those they start, and works at once again.
  void EndHeldJobs() {
    holding_ = false;
    while (!held_.empty()) {
      auto done = std::move(held_.front());
      held_.pop_front();
      done();
    }
  }

 private:
  bool holding_ = false;
  std::deque<std::function<void()>> held_;
};

}  // namespace zr::platform::sim
