#pragma once
// A joystick or game pad as the program sees it: the state of its buttons, reported whenever it
// changes. The state is a bit mask, bit n set while button n is down, 0 when no button is down.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/event_loop.h"

namespace zr::platform {

class Joystick {
 public:
  using ButtonsListener = std::function<void(int buttons)>;

  virtual ~Joystick() = default;
  // The name of the joystick that is read; empty where the machine has none.
  virtual std::string Name() const = 0;
  // Where each change of the button state goes, or nowhere with an empty listener. Called on the
  // logic thread; the listener is called on the logic thread, from an event posted to its loop.
  virtual void SetListener(ButtonsListener listener) = 0;
  // The names of the joysticks the machine has now, the one read among them. A joystick that
  // knows of no other offers itself.
  virtual std::vector<std::string> Found() const {
    if (Name().empty()) return {};
    return {Name()};
  }
  // Reads the joystick of that name from now on, or the first found when none has it; the
  // listener stays. A joystick that knows of no other stays as it is.
  virtual void Use(const std::string&) {}
};

// The joystick of a machine that has none: it has no name and never reports.
class NoJoystick final : public Joystick {
 public:
  std::string Name() const override { return ""; }
  void SetListener(ButtonsListener) override {}
};

// What a joystick that reports shares: the listener, and the hand-off of a button state to it
// through the loop. A listener that comes after a state was heard is told the last one, so that
// a main window made after the joystick opened knows whether the buttons are up. A state posted
// before the joystick ends reaches nobody once it has ended.
class PostingJoystick : public Joystick {
 public:
  explicit PostingJoystick(EventLoop& loop) : loop_(loop) {}
  void SetListener(ButtonsListener listener) override {
    hearing_->listener = std::move(listener);
    if (hearing_->last && hearing_->listener) PostButtons(*hearing_->last);
  }

 protected:
  // Any thread.
  void PostButtons(int buttons) {
    loop_.Post([hearing = std::weak_ptr<Hearing>(hearing_), buttons] {
      const auto alive = hearing.lock();
      if (!alive) return;
      alive->last = buttons;
      if (alive->listener) alive->listener(buttons);
    });
  }

 private:
  struct Hearing {
    ButtonsListener listener;
    std::optional<int> last;  // the state last handed on; the logic thread's
  };

  EventLoop& loop_;
  const std::shared_ptr<Hearing> hearing_ = std::make_shared<Hearing>();
};

}  // namespace zr::platform
