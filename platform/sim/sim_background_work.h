#pragma once
// Background work in the scenario world: the work and its end run at once, inside Start, so a
// scenario's next command finds the work done, as the product's operator found it.

#include <memory>
#include <utility>

#include "platform/background_work.h"

namespace zr::platform::sim {

class SimBackgroundWork final : public BackgroundWork {
 public:
  std::unique_ptr<BackgroundJob> Start(std::function<void()> work, std::function<void()> done) override {
    work();
    done();
    return std::make_unique<BackgroundJob>();
  }
};

}  // namespace zr::platform::sim
