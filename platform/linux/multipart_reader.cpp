#include "platform/linux/multipart_reader.h"

#include <algorithm>
#include <utility>

#include "platform/linux/http_client.h"

namespace zr::platform::linux_impl {

namespace {

constexpr std::size_t kReadChunk = 64 * 1024;

// "--" and the boundary without dashes of its own: searching for it finds the delimiter whether
// the announced boundary starts with "--" or not.
std::string DelimiterOf(std::string_view boundary) {
  const auto own_start = boundary.find_first_not_of('-');
  return "--" + std::string(own_start == std::string_view::npos ? boundary : boundary.substr(own_start));
}

}  // namespace

MultipartReader::MultipartReader(Source source, std::string_view boundary, std::size_t largest_part)
    : source_(std::move(source)), delimiter_(DelimiterOf(boundary)), largest_part_(largest_part) {}

Result<MultipartReader::Part> MultipartReader::NextPart() {
  DropConsumed();
  auto delimiter = Find(delimiter_, start_);
  if (!delimiter) return delimiter.error();
  if (!*delimiter) return Part();
  const std::size_t after_delimiter = **delimiter + delimiter_.size();
  auto line_end = Find("\n", after_delimiter);
  if (!line_end) return line_end.error();
  if (!*line_end || Text(after_delimiter, **line_end).starts_with("--")) {
    return Part();  // "--" after the boundary closes the stream
  }
  auto head_end = FindBlankLine(after_delimiter);
  if (!head_end) return head_end.error();
  if (!*head_end) return Part();
  // The headers start on the line after the boundary's own.
  const HttpHeaders headers = ParseHeaderLines(Text(**line_end + 1, **head_end));
  const std::size_t body_start = **head_end;
  if (const auto length = headers.ContentLength()) {
    if (*length > largest_part_) return Error{"a picture is too large", "MultipartReader"};
    const std::size_t body_end = body_start + static_cast<std::size_t>(*length);
    while (end_ < body_end) {
      auto more = Fill();
      if (!more) return more.error();
      if (!*more) return Part();
    }
    start_ = body_end;
    return Take(body_start, body_end);
  }
  auto next = Find(delimiter_, body_start);
  if (!next) return next.error();
  if (!*next) return Part();
  std::size_t body_end = **next;
  if (body_end > body_start && buffer_[body_end - 1] == '\n') --body_end;
  if (body_end > body_start && buffer_[body_end - 1] == '\r') --body_end;
  if (body_end - body_start > largest_part_) return Error{"a picture is too large", "MultipartReader"};
  start_ = **next;  // the delimiter opens the next part
  return Take(body_start, body_end);
}

MultipartReader::Part MultipartReader::Take(std::size_t from, std::size_t to) const {
  return Part(std::in_place, buffer_.begin() + static_cast<std::ptrdiff_t>(from),
              buffer_.begin() + static_cast<std::ptrdiff_t>(to));
}

// Where `needle` begins, reading on until it has arrived; nullopt when the stream ends first.
MultipartReader::Found MultipartReader::Find(std::string_view needle, std::size_t from) {
  for (;;) {
    const std::string_view text = Text(0, end_);
    const auto at = text.find(needle, from);
    if (at != std::string_view::npos) return std::optional<std::size_t>(at);
    // The needle may have begun in the last bytes; look there again once more has come.
    from = std::max(from, end_ - std::min(end_, needle.size() - 1));
    auto more = Fill();
    if (!more) return more.error();
    if (!*more) return std::optional<std::size_t>();
  }
}

// Where the bytes after the first empty line begin (CRLF or bare LF line ends).
MultipartReader::Found MultipartReader::FindBlankLine(std::size_t from) {
  for (;;) {
    for (std::size_t i = from; i < end_; ++i) {
      if (buffer_[i] != '\n') continue;
      std::size_t next = i + 1;
      if (next < end_ && buffer_[next] == '\r') ++next;
      if (next < end_ && buffer_[next] == '\n') return std::optional<std::size_t>(next + 1);
    }
    from = std::max(from, end_ - std::min<std::size_t>(end_, 2));
    auto more = Fill();
    if (!more) return more.error();
    if (!*more) return std::optional<std::size_t>();
  }
}

// Reads what has arrived; false when the stream is over. The buffer only grows, so it is
// cleared once rather than for every read.
Result<bool> MultipartReader::Fill() {
  if (end_ - start_ > largest_part_) {
    return Error{"a picture is too large, or the stream has no boundaries", "MultipartReader"};
  }
  if (buffer_.size() - end_ < kReadChunk) buffer_.resize(end_ + kReadChunk);
  auto got = source_(std::span(buffer_).subspan(end_));
  if (!got) return got.error();
  end_ += *got;
  return *got > 0;
}

void MultipartReader::DropConsumed() {
  const auto first = buffer_.begin() + static_cast<std::ptrdiff_t>(start_);
  std::copy(first, buffer_.begin() + static_cast<std::ptrdiff_t>(end_), buffer_.begin());
  end_ -= start_;
  start_ = 0;
}

}  // namespace zr::platform::linux_impl
