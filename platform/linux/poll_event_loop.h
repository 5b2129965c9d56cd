#pragma once
// The event loop of the program without windows: timers on the steady clock and events posted
// from the back ends' threads, run on the one thread that calls the loop. The desktop program
// sits on the toolkit's loop instead.
//
// Threads: Post and Wake from any thread; everything else on the logic thread.

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>

#include "platform/event_loop.h"
#include "platform/posted_event_queue.h"
#include "platform/timer_table.h"

namespace zr::platform::linux_impl {

class PollEventLoop final : public EventLoop {
 public:
  PollEventLoop();

  std::int64_t NowMs() const override;
  void Post(std::function<void()> event) override;
  void Yield() override;
  // Runs timers and posted events, sleeping between them, until `finished` answers true. The
  // headless program runs its whole life in here.
  void RunModal(const std::function<bool()>& finished) override;
  // Waits, running nothing on this thread, until `finished` answers true. The back end that
  // will make it true calls Wake (a blocking wait also looks again every few milliseconds).
  void Block(const std::function<bool()>& finished) override;
  void StartTimer(TimerClient& timer, int interval_ms) override;
  void StopTimer(TimerClient& timer) override;

  // Makes a waiting RunModal or Block look at its condition again.
  void Wake();
  // Runs at every pass of a modal wait: the operator of a run without windows acts there, as
  // a person would at a window that waits for them.
  void SetOperator(std::function<void()> act) { operator_ = std::move(act); }

 private:
  void RunDueTimers();
  void RunPostedEvents();
  // Posted events end a wait of the running loop; a blocking wait leaves them for later.
  enum class PostedEvents { EndTheWait, Wait };
  void WaitUntil(std::int64_t due_ms, PostedEvents posted);

  const std::chrono::steady_clock::time_point start_;
  TimerTable timers_;
  std::mutex mutex_;  // guards woken_
  std::condition_variable wake_;
  PostedEventQueue posted_;
  bool woken_ = false;
  std::function<void()> operator_;
};

}  // namespace zr::platform::linux_impl
