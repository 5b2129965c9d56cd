#pragma once
// The timers of an event loop: when each is due next, which one fires first, and the rules that
// every loop keeps alike. A timer fires every interval from its start; ticks missed while the
// loop could not run are coalesced into one; a timer does not fire again while its own handler
// is still running (inside a yield of it); of two timers due at once, the one started first
// fires first.

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <vector>

#include "platform/event_loop.h"

namespace zr::platform {

class TimerTable {
 public:
  static constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

  void Start(TimerClient& timer, int interval_ms, std::int64_t now_ms) {
    timers_[&timer] = Entry{now_ms + interval_ms, interval_ms, next_sequence_++};
  }
  void Stop(TimerClient& timer) { timers_.erase(&timer); }
  bool Running(const TimerClient& timer) const { return timers_.count(&timer) > 0; }

  // The next due time of a timer that can fire now: one whose handler is running (a modal
  // window inside it) waits until that handler ends.
  std::int64_t NextDueMsOfIdleTimers() const {
    std::int64_t next = kNever;
    for (const auto& [timer, entry] : timers_)
      if (std::find(firing_.begin(), firing_.end(), timer) == firing_.end()) next = std::min(next, entry.due_ms);
    return next;
  }

  // Fires the first timer due at `now_ms`; false when none is.
  bool FireOneDue(std::int64_t now_ms) {
    const TimerClient* due = nullptr;
    Entry due_entry{kNever, 0, 0};
    for (const auto& [timer, entry] : timers_) {
      if (entry.due_ms > now_ms) continue;
      if (std::find(firing_.begin(), firing_.end(), timer) != firing_.end()) continue;
      if (entry.due_ms < due_entry.due_ms || (entry.due_ms == due_entry.due_ms && entry.started < due_entry.started)) {
        due = timer;
        due_entry = entry;
      }
    }
    if (!due) return false;
    auto& entry = timers_[due];
    entry.due_ms = std::max(entry.due_ms + entry.interval_ms, now_ms + 1);
    firing_.push_back(due);
    struct Fired {
      std::vector<const TimerClient*>& firing;
      const TimerClient* timer;
      ~Fired() { std::erase(firing, timer); }
    } fired{firing_, due};
    const_cast<TimerClient*>(due)->Fire();
    return true;
  }

 private:
  struct Entry {
    std::int64_t due_ms;
    int interval_ms;
    std::uint64_t started;  // order of starting: ties fire in that order
  };

  std::map<const TimerClient*, Entry> timers_;
  std::vector<const TimerClient*> firing_;
  std::uint64_t next_sequence_ = 0;
};

}  // namespace zr::platform
