#pragma once
// Checks the platform tests share: a Result that must have succeeded (its error in the
// message when not), the time passed since a moment, a folder of a test's own, the bytes of a
// file and a child process to run a case in.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>

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

// The whole content of a file, byte for byte; empty when it cannot be read.
inline std::string FileText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Runs `body` in a child process and gives its exit status, or 1000 + the signal that ended it.
// A child that calls _exit itself ends without finishing anything, as a killed program does.
inline int InChild(const std::function<int()>& body) {
  const pid_t child = fork();
  if (child == 0) _exit(body());
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

// A new folder under the system's temporary folder, removed with all it holds at the end.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zr-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make a temporary folder");
    path_ = pattern;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string File(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace zr::testing
