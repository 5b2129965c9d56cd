#include "platform/linux/thread_background_work.h"

#include <thread>
#include <utility>

namespace zr::platform::linux_impl {

namespace {

// The end waits in the loop with the job's liveness: a job destroyed before the loop runs the
// end has dropped it. Only the logic thread reads and writes `alive`.
struct JobState {
  bool alive = true;
  std::function<void()> done;
};

class ThreadJob final : public BackgroundJob {
 public:
  ThreadJob(EventLoop& loop, std::function<void()> work, std::function<void()> done)
      : state_(std::make_shared<JobState>(JobState{true, std::move(done)})),
        thread_([&loop, work = std::move(work), state = state_] {
          work();
          loop.Post([state] {
            if (state->alive) state->done();
          });
        }) {}
  ~ThreadJob() override {
    state_->alive = false;
    thread_.join();
  }

 private:
  std::shared_ptr<JobState> state_;
  std::thread thread_;
};

}  // namespace

std::unique_ptr<BackgroundJob> ThreadBackgroundWork::Start(std::function<void()> work, std::function<void()> done) {
  return std::make_unique<ThreadJob>(loop_, std::move(work), std::move(done));
}

}  // namespace zr::platform::linux_impl
