#pragma once
// Checks the platform tests share: a Result that must have succeeded (its error in the
// message when not), and the time passed since a moment.

#include <gtest/gtest.h>

#include <chrono>

#include "base/result.h"

namespace zr::testing {

template <class T>
::testing::AssertionResult Ok(const platform::Result<T>& result) {
  if (result) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << result.error().where << ": " << result.error().message;
}

inline std::chrono::milliseconds Since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
}

}  // namespace zr::testing
