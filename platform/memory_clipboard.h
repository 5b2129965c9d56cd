#pragma once
// A clipboard kept in the program: the simulation's, and the real one where there is no desktop
// clipboard (the program without windows).
//
// Threads: all calls on the logic thread.

#include <optional>

#include "platform/services.h"

namespace zr::platform {

class MemoryClipboard final : public Clipboard {
 public:
  void SetPicture(const Picture& picture) override { picture_ = picture; }
  std::optional<Picture> GetPicture() const override { return picture_; }
  void Clear() override { picture_.reset(); }

 private:
  std::optional<Picture> picture_;
};

}  // namespace zr::platform
