#pragma once
// The parts of a multipart body, as a Motion JPEG camera streams its pictures
// ("multipart/x-mixed-replace"): each part begins with the delimiter line ("--" and the
// boundary), its headers and an empty line; its body is as long as its Content-Length says or,
// without one, runs up to the line break before the next delimiter. Cameras differ in whether
// the boundary they announce already starts with "--"; the delimiter is found either way.
//
// The bytes come from a source that reads what has arrived; nothing is kept beyond the part
// being read, and a part longer than the reader's limit (or a stream without boundaries) is an
// Error, never a growing buffer.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace zr::platform::linux_impl {

class MultipartReader {
 public:
  // Fills the front of the buffer with what has arrived, at least one byte; 0 once the stream
  // is over; an Error when it cannot be read.
  using Source = std::function<Result<std::size_t>(std::span<std::uint8_t>)>;

  MultipartReader(Source source, std::string_view boundary, std::size_t largest_part);

  // The next part's bytes; none when the stream is over (closed, or its closing delimiter).
  using Part = std::optional<std::vector<std::uint8_t>>;
  Result<Part> NextPart();

 private:
  using Found = Result<std::optional<std::size_t>>;

  Found Find(std::string_view needle, std::size_t from);
  Found FindBlankLine(std::size_t from);
  Result<bool> Fill();
  std::string_view Text(std::size_t from, std::size_t to) const {
    return {reinterpret_cast<const char*>(buffer_.data()) + from, to - from};
  }
  Part Take(std::size_t from, std::size_t to) const;
  void DropConsumed();

  Source source_;
  std::string delimiter_;
  std::size_t largest_part_;
  std::vector<std::uint8_t> buffer_;
  std::size_t start_ = 0;  // the first byte not yet taken
  std::size_t end_ = 0;    // the end of the bytes received
};

}  // namespace zr::platform::linux_impl
