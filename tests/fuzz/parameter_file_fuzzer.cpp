// The parameter file's lookup on any text: keys the program asks for and one the text itself
// names, and each value through the number rules the loader reads it with.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/formatting.h"
#include "main_window/parameter_lookup.h"
#include "tests/fuzz/input_file.h"

namespace {

constexpr const char* kKeys[] = {"Filename",  "Capture",       "Preview Rate",  "Frame Rate",    "Duration(Seconds)",
                                 "Interval",  "Audio Rate",    "Port",          "Comments",      "Multiple Image Type",
                                 "View Mode", "Video Buffers", "InsertIIFFile", "Max Index Size"};

void ReadAsTheLoaderDoes(std::string_view contents, std::string_view key) {
  const std::string value = zr::ParameterIn(contents, key, "7");
  // A key found has its value from the text, a key not found the default.
  zr::fuzz::Require(value == "7" || contents.find(value) != std::string_view::npos);
  try {
    const double number = zr::NumericPrefix(value);
    (void)zr::TruncatedOrZero<int>(number);
    (void)zr::RoundHalfEven16(number);
    (void)zr::RoundHalfEven(number);
  } catch (const zr::ProgramError&) {
    // Overflow is the loader's to pass over, statement by statement.
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view contents(reinterpret_cast<const char*>(data), size);
  for (const char* key : kKeys) ReadAsTheLoaderDoes(contents, key);
  ReadAsTheLoaderDoes(contents, contents.substr(0, contents.find('=')));
  return 0;
}
