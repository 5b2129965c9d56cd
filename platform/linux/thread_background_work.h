#pragma once
// Background work on a thread of its own for each job; the end is posted to the logic loop.

#include "platform/background_work.h"
#include "platform/event_loop.h"

namespace zr::platform::linux_impl {

class ThreadBackgroundWork final : public BackgroundWork {
 public:
  explicit ThreadBackgroundWork(EventLoop& loop) : loop_(loop) {}
  std::unique_ptr<BackgroundJob> Start(std::function<void()> work, std::function<void()> done) override;

 private:
  EventLoop& loop_;
};

}  // namespace zr::platform::linux_impl
