#pragma once
// The event loop of the desktop program, on the toolkit's own loop: timers keep the rules of
// every loop of the program (the shared timer table), driven by one toolkit timer set to the
// next due time; posted events are queued to the GUI thread; watched descriptors have a socket
// notifier each. A handler that fails does not
// take the process down: the failure goes to the error handler (the face shows it).
//
// Threads: Post from any thread; everything else on the GUI thread.

#include <QElapsedTimer>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <exception>
#include <functional>
#include <map>
#include <memory>

#include "platform/descriptor_watcher.h"
#include "platform/event_loop.h"
#include "platform/posted_event_queue.h"
#include "platform/timer_table.h"

namespace zr::gui {

class QtEventLoop final : public QObject, public platform::EventLoop, public platform::DescriptorWatcher {
 public:
  QtEventLoop();

  std::int64_t NowMs() const override;
  void Post(std::function<void()> event) override;
  void Yield() override;
  void RunModal(const std::function<bool()>& finished) override;
  // The window does not answer while a blocking capture runs, as the operator asked for an
  // exclusive run; the back ends go on on their own threads.
  void Block(const std::function<bool()>& finished) override;
  void StartTimer(platform::TimerClient& timer, int interval_ms) override;
  void StopTimer(platform::TimerClient& timer) override;
  void Watch(int descriptor, platform::DescriptorInterest interest, Ready ready) override;
  void Unwatch(int descriptor) override;

  // Runs `action` on behalf of the operator or the loop; a failure goes to the error handler.
  void Guarded(const std::function<void()>& action);
  // Whether a handler of the program is under way: every one runs through Guarded, so a modal
  // window or message box shows only inside one.
  bool InHandler() const { return handlers_under_way_ > 0; }
  void SetErrorHandler(std::function<void(const std::exception&)> handler) { on_error_ = std::move(handler); }

 protected:
  // A wake-up posted by Post: runs the events posted so far.
  void customEvent(QEvent* event) override;

 private:
  void RunDueTimers();
  void RunPostedEvents();
  void ArmPump();

  // A notifier is let go with deleteLater: its own signal may be what stops the watch.
  struct NotifierRelease {
    void operator()(QSocketNotifier* notifier) const;
  };
  using Notifier = std::unique_ptr<QSocketNotifier, NotifierRelease>;
  struct Watched {
    Notifier read;
    Notifier write;
  };
  Notifier MakeNotifier(int descriptor, QSocketNotifier::Type type, const std::shared_ptr<Ready>& ready);

  std::map<int, Watched> watched_;
  QElapsedTimer clock_;
  platform::TimerTable timers_;
  QTimer pump_;
  platform::PostedEventQueue posted_;
  std::function<void(const std::exception&)> on_error_;
  int handlers_under_way_ = 0;
};

}  // namespace zr::gui
