#pragma once
// The event loop on a virtual clock. Time moves only when the scenario (or a test) says so,
// or when the program blocks in a call that waits for a back end. Three kinds of work are due
// at a virtual time:
//  - back-end work (a simulated device delivering a frame): runs whenever its time comes,
//    in passes of the loop and inside blocking calls alike;
//  - scripted actions (a scenario's `after` commands): the same;
//  - timers and posted events: only in passes of the loop (idle, modal, Yield).
// Whenever the program waits for input (at top level or in a modal window) the input source
// runs its next command there.

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <stdexcept>
#include <vector>

#include "platform/event_loop.h"
#include "platform/timer_table.h"

namespace zr::platform::sim {

// The program waits for something that nothing scheduled will ever bring.
class StuckError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The program waits in a modal window and the input has nothing more to give: the end of a
// script, not a fault of the program.
class InputExhausted : public StuckError {
 public:
  using StuckError::StuckError;
};

class InputSource {
 public:
  // Runs the next command of the script; false when there is none left.
  virtual bool RunNextCommand() = 0;

 protected:
  ~InputSource() = default;
};

class SimEventLoop : public EventLoop {
 public:
  std::int64_t NowMs() const override { return now_ms_; }
  void Post(std::function<void()> event) override;
  void Yield() override;
  void RunModal(const std::function<bool()>& finished) override;
  void Block(const std::function<bool()>& finished) override;
  void StartTimer(TimerClient& timer, int interval_ms) override;
  void StopTimer(TimerClient& timer) override;

  enum class WorkKind { BackEnd, Scripted };
  // Runs `work` once virtual time reaches `at_ms`.
  void Schedule(std::int64_t at_ms, WorkKind kind, std::function<void()> work);
  // Lets `duration_ms` of virtual time pass, running everything that falls due in order.
  void AdvanceBy(std::int64_t duration_ms);
  // Runs what is due now: back-end and scripted work, timers, posted events.
  void RunDueNow();

  void SetInputSource(InputSource* input) { input_ = input; }
  bool TimerRunning(const TimerClient& timer) const { return timers_.Running(timer); }
  // True while the program is inside a blocking call.
  bool Blocking() const { return blocking_ > 0; }

 private:
  struct Work {
    WorkKind kind;
    std::function<void()> run;
  };

  void RunDueWork(std::int64_t up_to_ms);
  void RunPostedEvents();
  std::int64_t NextDueMs(bool with_timers) const;

  std::int64_t now_ms_ = 0;
  TimerTable timers_;
  std::multimap<std::int64_t, Work> work_;
  std::deque<std::function<void()>> posted_;
  InputSource* input_ = nullptr;
  int blocking_ = 0;
};

}  // namespace zr::platform::sim
