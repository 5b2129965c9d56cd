#pragma once
// Work taken away from the logic thread: a long computation over data it owns, then its end on
// the logic thread. The picture window's effects run through it, so that the window keeps
// answering while a large picture is worked on.
//
// Threads: Start and the job's destructor on the logic thread; `work` on a thread of the back
// end (the simulation runs it at once); `done` on the logic thread, after `work` has returned.

#include <functional>
#include <memory>

namespace zr::platform {

// Work under way. Destroying it waits for `work` to return; `done` is not called after that.
class BackgroundJob {
 public:
  virtual ~BackgroundJob() = default;
};

class BackgroundWork {
 public:
  virtual ~BackgroundWork() = default;
  virtual std::unique_ptr<BackgroundJob> Start(std::function<void()> work, std::function<void()> done) = 0;
};

}  // namespace zr::platform
