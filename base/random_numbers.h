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
    state_ = state_ * 1664525u + 1013904223u;
    return static_cast<float>(state_ >> 8) / 16777216.0f;
  }
  std::uint8_t NextByte() { return static_cast<std::uint8_t>(Next() * 255.0f); }

 private:
  std::uint32_t state_;
};

}  // namespace zr
