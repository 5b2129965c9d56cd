#pragma once
// The requests from outside to end the process (SIGTERM, SIGINT, SIGHUP), turned into an event
// on the logic loop: no signal handler runs, and no program code runs but on the logic thread.
//
// BlockTerminationSignals comes first in main, before any thread starts, so that every thread
// inherits the block and the requests wait for the watch (a child process gets them unblocked
// again). TerminationWatch reads them from a signalfd on a thread of its own. At the first
// request it calls `at_once` on that thread, which must be safe on any thread (it asks the movie
// runs under way to end, so that a run the logic thread waits for in a blocking call ends too),
// then posts `on_logic` to the loop with the signal's number. A second request ends the process
// at once with the status 128 + the signal's number.

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "platform/event_loop.h"

namespace zr::platform::linux_impl {

void BlockTerminationSignals();

class TerminationWatch {
 public:
  TerminationWatch(EventLoop& loop, std::function<void()> at_once, std::function<void(int signal)> on_logic);
  ~TerminationWatch();
  TerminationWatch(const TerminationWatch&) = delete;
  TerminationWatch& operator=(const TerminationWatch&) = delete;

  // The signal that asked the process to end; 0 while none did.
  int Received() const { return received_.load(); }

 private:
  void Watch();

  EventLoop& loop_;
  std::function<void()> at_once_;
  std::function<void(int)> on_logic_;
  int signal_descriptor_ = -1;
  int stop_descriptor_ = -1;
  std::atomic<int> received_{0};
  std::thread thread_;
};

// "SIGTERM", "SIGINT" or "SIGHUP".
std::string TerminationSignalName(int signal);

}  // namespace zr::platform::linux_impl
