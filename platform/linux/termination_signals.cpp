#include "platform/linux/termination_signals.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>

namespace zr::platform::linux_impl {

namespace {

sigset_t TerminationSet() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&set, signal);
  return set;
}

// A program the process starts is ended by these requests as any program is.
void UnblockInChild() {
  const sigset_t set = TerminationSet();
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

}  // namespace

void BlockTerminationSignals() {
  const sigset_t set = TerminationSet();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  static const bool registered = pthread_atfork(nullptr, nullptr, &UnblockInChild) == 0;
  (void)registered;
}

TerminationWatch::TerminationWatch(EventLoop& loop, std::function<void()> at_once,
                                   std::function<void(int signal)> on_logic)
    : loop_(loop), at_once_(std::move(at_once)), on_logic_(std::move(on_logic)) {
  const sigset_t set = TerminationSet();
  signal_descriptor_ = signalfd(-1, &set, SFD_CLOEXEC);
  stop_descriptor_ = eventfd(0, EFD_CLOEXEC);
  if (signal_descriptor_ < 0 || stop_descriptor_ < 0) {
    // Nothing can watch them: the requests end the process as they would without the program.
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    return;
  }
  thread_ = std::thread([this] { Watch(); });
}

TerminationWatch::~TerminationWatch() {
  if (thread_.joinable()) {
    const std::uint64_t one = 1;
    (void)!::write(stop_descriptor_, &one, sizeof one);
    thread_.join();
  }
  for (const int descriptor : {signal_descriptor_, stop_descriptor_})
    if (descriptor >= 0) ::close(descriptor);
}

void TerminationWatch::Watch() {
  pollfd watched[] = {{signal_descriptor_, POLLIN, 0}, {stop_descriptor_, POLLIN, 0}};
  for (;;) {
    if (::poll(watched, 2, -1) < 0) {
      if (errno == EINTR) continue;
      return;
    }
    if (watched[1].revents != 0) return;
    signalfd_siginfo request{};
    if (::read(signal_descriptor_, &request, sizeof request) != sizeof request) continue;
    const int signal = static_cast<int>(request.ssi_signo);
    int none = 0;
    if (!received_.compare_exchange_strong(none, signal)) std::_Exit(128 + signal);
    if (at_once_) at_once_();
    loop_.Post([handler = on_logic_, signal] {
      if (handler) handler(signal);
    });
  }
}

std::string TerminationSignalName(int signal) {
  switch (signal) {
    case SIGTERM:
      return "SIGTERM";
    case SIGINT:
      return "SIGINT";
    case SIGHUP:
      return "SIGHUP";
    default:
      return "signal " + std::to_string(signal);
  }
}

}  // namespace zr::platform::linux_impl
