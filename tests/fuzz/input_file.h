#pragma once
// For the fuzzers of readers that take a path: the input written to a file of this process
// (in memory where the system has a place for it), rewritten for every input.

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace zr::fuzz {

inline std::string WriteInputFile(const std::uint8_t* data, std::size_t size, const std::string& extension) {
  static const std::filesystem::path folder =
      std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : std::filesystem::temp_directory_path();
  const std::string path = (folder / ("zr-fuzz-" + std::to_string(::getpid()) + extension)).string();
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  return path;
}

// Stops the fuzzer with a report when a property of the reader does not hold.
inline void Require(bool holds) {
  if (!holds) __builtin_trap();
}

}  // namespace zr::fuzz
