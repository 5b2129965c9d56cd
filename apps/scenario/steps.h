#pragma once
// What the runner does for each kind of command. The handlers come in families, each in a
// steps_*.cpp file of its own that adds them to the table; the runner builds the table from
// kStepFamilies below. A new family is its file, and its declaration and entry below.

#include <array>
#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <variant>

#include "apps/scenario/runner_state.h"
#include "apps/scenario/script.h"

namespace zr::scenario {

class StepTable {
 public:
  template <typename Body>
  using Handler = void (*)(Runner&, const Body&);

  // `handler` carries out every command of kind Body; each kind has exactly one handler.
  template <typename Body>
  void On(Handler<Body> handler) {
    auto& slot = handlers_[KindOf<Body>()];
    if (slot) throw std::logic_error("a second handler for one kind of command");
    slot = [handler](Runner& runner, const CommandBody& body) { handler(runner, std::get<Body>(body)); };
  }

  // Throws when some kind of command has no handler, so that a family that forgets one fails
  // every run instead of passing over the commands it left out.
  void RequireEveryKind() const {
    for (std::size_t kind = 0; kind < kKinds; ++kind) {
      if (!handlers_[kind]) throw std::logic_error("no handler for kind " + std::to_string(kind) + " of command");
    }
  }

  void Run(Runner& runner, const CommandBody& body) const { handlers_[body.index()](runner, body); }

 private:
  static constexpr std::size_t kKinds = std::variant_size_v<CommandBody>;

  // The place of Body among the alternatives of CommandBody.
  template <typename Body, typename... Kinds>
  static constexpr std::size_t KindIn(const std::variant<Kinds...>*) {
    constexpr std::array<bool, sizeof...(Kinds)> matches{std::is_same_v<Body, Kinds>...};
    std::size_t kind = 0;
    while (kind < matches.size() && !matches[kind]) ++kind;
    return kind;
  }

  template <typename Body>
  static constexpr std::size_t KindOf() {
    constexpr std::size_t kind = KindIn<Body>(static_cast<const CommandBody*>(nullptr));
    static_assert(kind < kKinds, "not a kind of command");
    return kind;
  }

  std::array<std::function<void(Runner&, const CommandBody&)>, kKinds> handlers_;
};

// The families of commands, each in a steps_*.cpp file of its own.
void AddWorldSteps(StepTable& steps);          // os, setting, file, copy, args, start
void AddTimeSteps(StepTable& steps);           // clock, wait, yield, after
void AddControlSteps(StepTable& steps);        // the operator's clicks, keys and windows; call
void AddDeviceSteps(StepTable& steps);         // simulated capture devices, cameras and streams; their log
void AddDialogSteps(StepTable& steps);         // answers to dialogs and the dialogs shown
void AddExpectationSteps(StepTable& steps);    // the program's controls, state, settings, files
void AddSoundSteps(StepTable& steps);          // sound inputs and their level
void AddSerialSteps(StepTable& steps);         // serial ports and their modem lines
void AddJoystickSteps(StepTable& steps);       // the joystick's buttons
void AddPictureServerSteps(StepTable& steps);  // the picture server
void AddFtpSteps(StepTable& steps);            // the simulated FTP server

inline constexpr std::array kStepFamilies{
    AddWorldSteps, AddTimeSteps,   AddControlSteps,  AddDeviceSteps,        AddDialogSteps, AddExpectationSteps,
    AddSoundSteps, AddSerialSteps, AddJoystickSteps, AddPictureServerSteps, AddFtpSteps,
};

}  // namespace zr::scenario
