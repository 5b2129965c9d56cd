#pragma once
// The event loop the program sits in. There is no loop of the program's own: everything runs
// as a handler of a click, a timer or a posted event. The real loop sits on the toolkit's (GUI)
// or on a poll loop (headless); the simulated one runs on a virtual clock.
//
// Threads: Post may be called from any thread; everything else only on the logic thread.

#include <cstdint>
#include <functional>

namespace zr::platform {

// What a timer looks like to the loop: the loop counts down, the timer raises its event.
class TimerClient {
 public:
  virtual void Fire() = 0;

 protected:
  ~TimerClient() = default;
};

class EventLoop {
 public:
  virtual ~EventLoop() = default;

  // Milliseconds since the loop began; the only time the logic reads.
  virtual std::int64_t NowMs() const = 0;

  // Runs `event` on the logic thread at a later pass of the loop.
  virtual void Post(std::function<void()> event) = 0;

  // One pass of the loop: due timers, posted events and pending input run, then it returns.
  virtual void Yield() = 0;

  // A nested loop that runs until `finished` answers true (a modal window).
  virtual void RunModal(const std::function<bool()>& finished) = 0;

  // A blocking call of the program (an exclusive capture): the back ends go on working, but no
  // timer and no posted event runs on the logic thread until `finished` answers true.
  virtual void Block(const std::function<bool()>& finished) = 0;

  // (Re)starts the countdown of a timer: it fires every `interval_ms` from now on.
  virtual void StartTimer(TimerClient& timer, int interval_ms) = 0;
  virtual void StopTimer(TimerClient& timer) = 0;
};

}  // namespace zr::platform
