#include "platform/linux/jpeg_decoder.h"

#include <turbojpeg.h>

#include <string>

namespace zr::platform::linux_impl {

struct JpegDecoder::Handle {
  tjhandle handle = tjInitDecompress();
  ~Handle() {
    if (handle) tjDestroy(handle);
  }
};

JpegDecoder::JpegDecoder() : handle_(std::make_unique<Handle>()) {}
JpegDecoder::~JpegDecoder() = default;

Result<Picture> JpegDecoder::Decode(std::span<const std::uint8_t> jpeg) {
  Picture picture;
  if (auto decoded = DecodeInto(jpeg, picture); !decoded) return decoded.error();
  return picture;
}

Result<void> JpegDecoder::DecodeInto(std::span<const std::uint8_t> jpeg, Picture& picture) {
  if (!handle_->handle) return Error{"the JPEG decoder cannot start", "tjInitDecompress"};
  if (jpeg.empty()) return Error{"the JPEG picture is empty", "tjDecompressHeader3"};
  int width = 0, height = 0, subsampling = 0, colourspace = 0;
  if (tjDecompressHeader3(handle_->handle, jpeg.data(), static_cast<unsigned long>(jpeg.size()), &width,
                          &height, &subsampling, &colourspace) != 0) {
    return Error{std::string("not a JPEG picture: ") + tjGetErrorStr2(handle_->handle), "tjDecompressHeader3"};
  }
  if (picture.width != width || picture.height != height) picture = Picture::Blank(width, height);
  // Bottom-up BGR with the program's padded stride, straight into the picture's buffer.
  const int status = tjDecompress2(handle_->handle, jpeg.data(), static_cast<unsigned long>(jpeg.size()),
                                   picture.bottom_up_bgr.data(), width, picture.Stride(), height, TJPF_BGR,
                                   TJFLAG_BOTTOMUP);
  // A warning (a truncated or slightly damaged frame from a camera) still gives a picture.
  if (status != 0 && tjGetErrorCode(handle_->handle) == TJERR_FATAL)
    return Error{std::string("the JPEG picture cannot be decoded: ") + tjGetErrorStr2(handle_->handle),
                 "tjDecompress2"};
  return {};
}

}  // namespace zr::platform::linux_impl
