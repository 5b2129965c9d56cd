#include "platform/sim/sim_event_loop.h"

#include <algorithm>

namespace zr::platform::sim {

namespace {
constexpr std::int64_t kNever = TimerTable::kNever;
}

void SimEventLoop::Post(std::function<void()> event) { posted_.push_back(std::move(event)); }

void SimEventLoop::StartTimer(TimerClient& timer, int interval_ms) { timers_.Start(timer, interval_ms, now_ms_); }

void SimEventLoop::StopTimer(TimerClient& timer) { timers_.Stop(timer); }

void SimEventLoop::Schedule(std::int64_t at_ms, WorkKind kind, std::function<void()> work) {
  work_.emplace(std::max(at_ms, now_ms_), Work{kind, std::move(work)});
}

void SimEventLoop::RunDueWork(std::int64_t up_to_ms) {
  while (!work_.empty() && work_.begin()->first <= up_to_ms) {
    auto work = std::move(work_.begin()->second);
    work_.erase(work_.begin());
    work.run();
  }
}

void SimEventLoop::RunPostedEvents() {
  while (!posted_.empty()) {
    auto event = std::move(posted_.front());
    posted_.pop_front();
    event();
  }
}

void SimEventLoop::RunDueNow() {
  RunDueWork(now_ms_);
  while (timers_.FireOneDue(now_ms_)) RunDueWork(now_ms_);
  RunPostedEvents();
}

void SimEventLoop::Yield() { RunDueNow(); }

std::int64_t SimEventLoop::NextDueMs(bool with_timers) const {
  std::int64_t next = work_.empty() ? kNever : work_.begin()->first;
  if (with_timers) next = std::min(next, timers_.NextDueMsOfIdleTimers());
  return next;
}

void SimEventLoop::AdvanceBy(std::int64_t duration_ms) {
  const std::int64_t end_ms = now_ms_ + duration_ms;
  RunDueNow();
  for (;;) {
    const std::int64_t next = NextDueMs(/*with_timers=*/true);
    if (next > end_ms) break;
    now_ms_ = std::max(now_ms_, next);
    RunDueNow();
  }
  now_ms_ = end_ms;
  RunDueNow();
}

void SimEventLoop::RunModal(const std::function<bool()>& finished) {
  RunDueNow();
  while (!finished()) {
    if (!input_ || !input_->RunNextCommand())
      throw InputExhausted("the program waits in a modal window and no command is left");
    if (!finished()) RunDueNow();
  }
}

void SimEventLoop::Block(const std::function<bool()>& finished) {
  ++blocking_;
  struct Unblock {
    int& depth;
    ~Unblock() { --depth; }
  } unblock{blocking_};
  RunDueWork(now_ms_);
  while (!finished()) {
    const std::int64_t next = NextDueMs(/*with_timers=*/false);
    if (next == kNever) throw StuckError("the program is blocked in a call that nothing scheduled will end");
    now_ms_ = std::max(now_ms_, next);
    RunDueWork(now_ms_);
  }
}

}  // namespace zr::platform::sim
