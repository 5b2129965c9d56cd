#include "platform/linux/poll_event_loop.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace zr::platform::linux_impl {

namespace {
// How long a blocking wait sleeps at most before it looks at its condition again: a back end
// that forgets to wake the loop costs this much delay, never a hang.
constexpr std::int64_t kLongestSleepMs = 20;

short EventsOf(DescriptorInterest interest) {
  return static_cast<short>((interest.read ? POLLIN : 0) | (interest.write ? POLLOUT : 0));
}
}  // namespace

PollEventLoop::PollEventLoop()
    : start_(std::chrono::steady_clock::now()), wake_descriptor_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
  if (wake_descriptor_ < 0)
    throw std::runtime_error(std::string("cannot make the loop's eventfd: ") + std::strerror(errno));
}

PollEventLoop::~PollEventLoop() { close(wake_descriptor_); }

std::int64_t PollEventLoop::NowMs() const {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start_).count();
}

void PollEventLoop::Post(std::function<void()> event) {
  posted_.Push(std::move(event));
  Wake();
}

void PollEventLoop::Wake() {
  const std::uint64_t one = 1;
  // A full counter still wakes the wait: nothing to do when the write is refused.
  [[maybe_unused]] const auto written = write(wake_descriptor_, &one, sizeof one);
}

void PollEventLoop::StartTimer(TimerClient& timer, int interval_ms) { timers_.Start(timer, interval_ms, NowMs()); }

void PollEventLoop::StopTimer(TimerClient& timer) { timers_.Stop(timer); }

void PollEventLoop::Watch(int descriptor, DescriptorInterest interest, Ready ready) {
  watched_[descriptor] = Watched{interest, std::make_shared<Ready>(std::move(ready))};
}

void PollEventLoop::Unwatch(int descriptor) { watched_.erase(descriptor); }

void PollEventLoop::RunDueTimers() {
  while (timers_.FireOneDue(NowMs())) {
  }
}

void PollEventLoop::RunPostedEvents() {
  posted_.RunAll([](const std::function<void()>& event) { event(); });
}

// Each descriptor ready now is called back once, unless an earlier callback of this pass
// stopped watching it or watches it anew for something else.
void PollEventLoop::RunReadyDescriptors() {
  if (watched_.empty()) return;
  std::vector<pollfd> polled;
  polled.reserve(watched_.size());
  for (const auto& [descriptor, watched] : watched_) polled.push_back({descriptor, EventsOf(watched.interest), 0});
  if (poll(polled.data(), polled.size(), 0) <= 0) return;
  for (const pollfd& each : polled) {
    if (each.revents == 0) continue;
    const auto found = watched_.find(each.fd);
    if (found == watched_.end() || EventsOf(found->second.interest) != each.events) continue;
    const bool readable = (each.revents & (POLLIN | POLLERR | POLLHUP | POLLNVAL)) != 0;
    const bool writable = (each.revents & POLLOUT) != 0;
    const std::shared_ptr<Ready> ready = found->second.ready;  // alive through an Unwatch inside
    (*ready)(readable, writable);
  }
}

void PollEventLoop::Yield() {
  RunDueTimers();
  RunReadyDescriptors();
  RunPostedEvents();
}

void PollEventLoop::WaitUntil(std::int64_t due_ms, PostedEvents posted) {
  if (posted == PostedEvents::EndTheWait && !posted_.Empty()) return;
  std::vector<pollfd> polled{{wake_descriptor_, POLLIN, 0}};
  if (posted == PostedEvents::EndTheWait)
    for (const auto& [descriptor, watched] : watched_) polled.push_back({descriptor, EventsOf(watched.interest), 0});
  const std::int64_t wait_ms = std::clamp<std::int64_t>(due_ms - NowMs(), 0, kLongestSleepMs);
  poll(polled.data(), polled.size(), static_cast<int>(wait_ms));
  std::uint64_t count = 0;
  [[maybe_unused]] const auto read_bytes = read(wake_descriptor_, &count, sizeof count);
}

void PollEventLoop::RunModal(const std::function<bool()>& finished) {
  Yield();
  while (!finished()) {
    if (operator_) {
      operator_();
      if (finished()) return;
    }
    WaitUntil(timers_.NextDueMsOfIdleTimers(), PostedEvents::EndTheWait);
    Yield();
  }
}

void PollEventLoop::Block(const std::function<bool()>& finished) {
  while (!finished()) WaitUntil(TimerTable::kNever, PostedEvents::Wait);
}

}  // namespace zr::platform::linux_impl
