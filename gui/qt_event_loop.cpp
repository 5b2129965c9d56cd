#include "gui/qt_event_loop.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <algorithm>
#include <chrono>
#include <thread>

namespace zr::gui {

namespace {
// How often a modal wait looks at its condition even when no event arrives, and how long a
// blocking wait sleeps between looks.
constexpr int kModalLookMs = 20;
constexpr auto kBlockLook = std::chrono::milliseconds(5);
}  // namespace

QtEventLoop::QtEventLoop() {
  clock_.start();
  pump_.setSingleShot(true);
  pump_.setTimerType(Qt::PreciseTimer);
  connect(&pump_, &QTimer::timeout, this, [this] { RunDueTimers(); });
}

std::int64_t QtEventLoop::NowMs() const { return clock_.elapsed(); }

// The wake-up is a plain event whose contents nobody reads: the hand-over between threads is the
// queue's, which the thread checker sees, and Qt's event queue only carries the knock.
void QtEventLoop::Post(std::function<void()> event) {
  posted_.Push(std::move(event));
  QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

void QtEventLoop::customEvent(QEvent*) { RunPostedEvents(); }

void QtEventLoop::Yield() {
  QCoreApplication::processEvents(QEventLoop::AllEvents);
  RunDueTimers();
  RunPostedEvents();
}

void QtEventLoop::RunModal(const std::function<bool()>& finished) {
  QTimer look;
  look.start(kModalLookMs);
  while (!finished()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void QtEventLoop::Block(const std::function<bool()>& finished) {
  while (!finished()) std::this_thread::sleep_for(kBlockLook);
}

void QtEventLoop::StartTimer(platform::TimerClient& timer, int interval_ms) {
  timers_.Start(timer, interval_ms, NowMs());
  ArmPump();
}

void QtEventLoop::StopTimer(platform::TimerClient& timer) {
  timers_.Stop(timer);
  ArmPump();
}

void QtEventLoop::NotifierRelease::operator()(QSocketNotifier* notifier) const {
  notifier->setEnabled(false);
  notifier->deleteLater();
}

QtEventLoop::Notifier QtEventLoop::MakeNotifier(int descriptor, QSocketNotifier::Type type,
                                                const std::shared_ptr<Ready>& ready) {
  Notifier notifier(new QSocketNotifier(descriptor, type));
  const bool read = type == QSocketNotifier::Read;
  connect(notifier.get(), &QSocketNotifier::activated, this,
          [this, ready, read] { Guarded([&] { (*ready)(read, !read); }); });
  return notifier;
}

void QtEventLoop::Watch(int descriptor, platform::DescriptorInterest interest, Ready ready) {
  watched_.erase(descriptor);
  const auto shared = std::make_shared<Ready>(std::move(ready));
  Watched watched;
  if (interest.read) watched.read = MakeNotifier(descriptor, QSocketNotifier::Read, shared);
  if (interest.write) watched.write = MakeNotifier(descriptor, QSocketNotifier::Write, shared);
  watched_.emplace(descriptor, std::move(watched));
}

void QtEventLoop::Unwatch(int descriptor) { watched_.erase(descriptor); }

void QtEventLoop::Guarded(const std::function<void()>& action) {
  struct UnderWay {
    int& count;
    explicit UnderWay(int& counted) : count(++counted) {}
    ~UnderWay() { --count; }
  } under_way(handlers_under_way_);
  try {
    action();
  } catch (const std::exception& failure) {
    if (on_error_) on_error_(failure);
  }
}

void QtEventLoop::RunDueTimers() {
  Guarded([this] {
    while (timers_.FireOneDue(NowMs())) {
    }
  });
  ArmPump();
}

void QtEventLoop::RunPostedEvents() {
  posted_.RunAll([this](const std::function<void()>& event) { Guarded(event); });
}

void QtEventLoop::ArmPump() {
  const std::int64_t due = timers_.NextDueMsOfIdleTimers();
  if (due == platform::TimerTable::kNever) {
    pump_.stop();
    return;
  }
  pump_.start(static_cast<int>(std::clamp<std::int64_t>(due - NowMs(), 0, 24 * 3600 * 1000)));
}

}  // namespace zr::gui
