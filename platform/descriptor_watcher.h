#pragma once
// Watching file descriptors from the program's own loop: the real loops (the poll loop without
// windows, the toolkit's loop with them) call back on the logic thread when a watched
// descriptor can be read or written, in their passes (idle, modal, Yield), never inside a
// blocking call. Sockets that serve the logic live on these callbacks instead of threads.
//
// Threads: every call, and every callback, on the logic thread.

#include <functional>

namespace zr::platform {

struct DescriptorInterest {
  bool read = false;
  bool write = false;
};

class DescriptorWatcher {
 public:
  // `readable` is also true at an error or a hang-up, so that the next read tells which.
  using Ready = std::function<void(bool readable, bool writable)>;

  // Watches `descriptor` for `interest`, in place of any earlier watch of it.
  virtual void Watch(int descriptor, DescriptorInterest interest, Ready ready) = 0;
  // Stops watching it; a callback already due for it does not come. Call before closing it.
  virtual void Unwatch(int descriptor) = 0;

 protected:
  ~DescriptorWatcher() = default;
};

}  // namespace zr::platform
