#pragma once
// The event loop of the program without windows: timers on the steady clock, events posted
// from the back ends' threads and watched descriptors, run on the one thread that calls the
// loop. It sleeps in poll(2) on the watched descriptors and an eventfd that Wake writes. The
// desktop program sits on the toolkit's loop instead.
//
// Threads: Post and Wake from any thread; everything else on the logic thread.

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include "platform/descriptor_watcher.h"
#include "platform/event_loop.h"
#include "platform/posted_event_queue.h"
#include "platform/timer_table.h"

namespace zr::platform::linux_impl {

class PollEventLoop final : public EventLoop, public DescriptorWatcher {
 public:
  PollEventLoop();
  ~PollEventLoop();
  PollEventLoop(const PollEventLoop&) = delete;
  PollEventLoop& operator=(const PollEventLoop&) = delete;

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
  void Watch(int descriptor, DescriptorInterest interest, Ready ready) override;
  void Unwatch(int descriptor) override;

  // Makes a waiting RunModal or Block look at its condition again.
  void Wake();
  // Runs at every pass of a modal wait: the operator of a run without windows acts there, as
  // a person would at a window that waits for them.
  void SetOperator(std::function<void()> act) { operator_ = std::move(act); }

 private:
  void RunDueTimers();
  void RunPostedEvents();
  void RunReadyDescriptors();
  // Posted events end a wait of the running loop; a blocking wait leaves them for later.
  enum class PostedEvents { EndTheWait, Wait };
  void WaitUntil(std::int64_t due_ms, PostedEvents posted);

  struct Watched {
    DescriptorInterest interest;
    std::shared_ptr<Ready> ready;
  };

  const std::chrono::steady_clock::time_point start_;
  TimerTable timers_;
  PostedEventQueue posted_;
  const int wake_descriptor_;  // an eventfd: written by Wake, read by the wait
  std::map<int, Watched> watched_;
  std::function<void()> operator_;
};

}  // namespace zr::platform::linux_impl
