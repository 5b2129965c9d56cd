#include "platform/linux/poll_event_loop.h"

#include <algorithm>

namespace zr::platform::linux_impl {

namespace {
// How long a blocking wait sleeps at most before it looks at its condition again: a back end
// that forgets to wake the loop costs this much delay, never a hang.
constexpr std::int64_t kLongestSleepMs = 20;
}  // namespace

PollEventLoop::PollEventLoop() : start_(std::chrono::steady_clock::now()) {}

std::int64_t PollEventLoop::NowMs() const {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start_).count();
}

void PollEventLoop::Post(std::function<void()> event) {
  posted_.Push(std::move(event));
  Wake();
}

void PollEventLoop::Wake() {
  {
    std::lock_guard lock(mutex_);
    woken_ = true;
  }
  wake_.notify_all();
}

void PollEventLoop::StartTimer(TimerClient& timer, int interval_ms) { timers_.Start(timer, interval_ms, NowMs()); }

void PollEventLoop::StopTimer(TimerClient& timer) { timers_.Stop(timer); }

void PollEventLoop::RunDueTimers() {
  while (timers_.FireOneDue(NowMs())) {
  }
}

void PollEventLoop::RunPostedEvents() {
  posted_.RunAll([](const std::function<void()>& event) { event(); });
}

void PollEventLoop::Yield() {
  RunDueTimers();
  RunPostedEvents();
}

void PollEventLoop::WaitUntil(std::int64_t due_ms, PostedEvents posted) {
  if (posted == PostedEvents::EndTheWait && !posted_.Empty()) return;
  std::unique_lock lock(mutex_);
  const std::int64_t wait_ms = std::clamp<std::int64_t>(due_ms - NowMs(), 0, kLongestSleepMs);
  wake_.wait_for(lock, std::chrono::milliseconds(wait_ms), [this] { return woken_; });
  woken_ = false;
}

void PollEventLoop::RunModal(const std::function<bool()>& finished) {
  Yield();
  while (!finished()) {
    if (operator_) {
      operator_();
      if (finished()) return;
    }
    WaitUntil(timers_.NextDueMs(), PostedEvents::EndTheWait);
    Yield();
  }
}

void PollEventLoop::Block(const std::function<bool()>& finished) {
  while (!finished()) WaitUntil(TimerTable::kNever, PostedEvents::Wait);
}

}  // namespace zr::platform::linux_impl
