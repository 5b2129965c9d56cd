#pragma once
// JPEG pictures to the program's picture (24-bit BGR, bottom row first, padded rows), on
// libjpeg-turbo. Used by the V4L2 devices that deliver Motion JPEG and by IP cameras.
//
// Threads: one decoder per thread; decoders are independent.

#include <cstdint>
#include <memory>
#include <span>

#include "platform/picture.h"
#include "platform/result.h"

namespace zr::platform::linux_impl {

class JpegDecoder {
 public:
  JpegDecoder();
  ~JpegDecoder();
  JpegDecoder(const JpegDecoder&) = delete;
  JpegDecoder& operator=(const JpegDecoder&) = delete;

  // Decodes one whole JPEG file held in memory; an Error for data that is not a JPEG picture.
  Result<Picture> Decode(std::span<const std::uint8_t> jpeg);
  // Decodes into `picture`, reusing its buffer when the size is the same.
  Result<void> DecodeInto(std::span<const std::uint8_t> jpeg, Picture& picture);

 private:
  struct Handle;
  std::unique_ptr<Handle> handle_;
};

}  // namespace zr::platform::linux_impl
