// A camera's Motion JPEG stream of any bytes, cut into parts: the first line is the boundary the
// camera announced, the first byte the size of the pieces the bytes arrive in.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "platform/linux/http_client.h"
#include "platform/linux/multipart_reader.h"
#include "tests/fuzz/input_file.h"

namespace {

// Small enough that the limit on a part is within reach of the fuzzer's inputs.
constexpr std::size_t kLargestPart = 4096;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t piece = data[0] % 64 + 1;
  std::string_view rest(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::string_view boundary = rest.substr(0, rest.find('\n'));
  rest.remove_prefix(std::min(rest.size(), boundary.size() + 1));
  (void)zr::platform::linux_impl::ParseHttpAddress(boundary);
  (void)zr::platform::linux_impl::ParseHeaderLines(rest).ContentLength();

  std::size_t delivered = 0;
  const auto source = [&](std::span<std::uint8_t> into) -> zr::Result<std::size_t> {
    const std::size_t count = std::min({piece, into.size(), rest.size() - delivered});
    std::copy_n(rest.data() + delivered, count, into.data());
    delivered += count;
    return count;
  };
  zr::platform::linux_impl::MultipartReader reader(source, boundary, kLargestPart);
  for (;;) {
    const auto part = reader.NextPart();
    if (!part.ok() || !part->has_value()) break;
    zr::fuzz::Require((*part)->size() <= kLargestPart);
  }
  return 0;
}
