#pragma once
// The program's random generator: a small generator of its own, so that a seed always gives the
// same numbers on every system. Noise pictures and the diffusion effect draw from it; where the
// seed comes from the clock, a scenario's virtual clock makes the numbers repeat.

#include <cstdint>

namespace zr {

class RandomNumbers {
 public:
  explicit RandomNumbers(std::uint32_t seed) : state_(seed) {}
  // Uniform in [0, 1), in steps of 2^-24: exact in a float and in a double.
  float Next() {
    state_ = state_ * kMultiplier + kIncrement;
    return static_cast<float>(state_ >> 8) / 16777216.0f;
  }

  // A number of draws skipped at once: the generator's step taken that many times over is again
  // a multiplication and an addition. Lets a walk over a picture draw in another order than the
  // one its numbers were drawn in.
  struct Leap {
    std::uint32_t multiplier = 1;
    std::uint32_t increment = 0;
  };
  static Leap LeapOver(std::uint64_t draws) {
    Leap total;
    Leap step{kMultiplier, kIncrement};
    for (; draws != 0; draws >>= 1) {
      if (draws & 1) total = {total.multiplier * step.multiplier, total.increment * step.multiplier + step.increment};
      step = {step.multiplier * step.multiplier, step.increment * step.multiplier + step.increment};
    }
    return total;
  }
  void Skip(const Leap& leap) { state_ = state_ * leap.multiplier + leap.increment; }
  std::uint8_t NextByte() { return static_cast<std::uint8_t>(Next() * 255.0f); }

 private:
  static constexpr std::uint32_t kMultiplier = 1664525u;
  static constexpr std::uint32_t kIncrement = 1013904223u;
  std::uint32_t state_;
};

}  // namespace zr
