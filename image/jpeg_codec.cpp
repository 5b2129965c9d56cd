#include "image/jpeg_codec.h"

#include <turbojpeg.h>

#include <string>

namespace zr {

namespace {

// The most picture memory one byte of JPEG data may stand for. Real pictures, even a single
// colour at the largest size, code far denser; a header beyond this is a lie.
constexpr std::size_t kDecodedBytesPerJpegByte = 4096;

struct TurboHandle {
  explicit TurboHandle(tjhandle made) : handle(made) {}
  ~TurboHandle() {
    if (handle) tjDestroy(handle);
  }
  TurboHandle(const TurboHandle&) = delete;
  TurboHandle& operator=(const TurboHandle&) = delete;
  tjhandle handle;
};

}  // namespace

struct JpegEncoder::Handle : TurboHandle {
  Handle() : TurboHandle(tjInitCompress()) {}
};

JpegEncoder::JpegEncoder() : handle_(std::make_unique<Handle>()) {}
JpegEncoder::~JpegEncoder() = default;

Result<std::span<const std::uint8_t>> JpegEncoder::Encode(const platform::FrameView& frame, int quality) {
  if (!handle_->handle)
    return Error{std::string("the JPEG coder cannot start: ") + tjGetErrorStr2(nullptr), kJpegInitStage};
  const unsigned long largest = tjBufSize(frame.width, frame.height, TJSAMP_420);
  if (buffer_bytes_ < largest) {
    buffer_ = std::make_unique_for_overwrite<std::uint8_t[]>(largest);
    buffer_bytes_ = largest;
  }
  unsigned char* coded = buffer_.get();
  unsigned long coded_bytes = largest;
  if (tjCompress2(handle_->handle, frame.bottom_up_bgr, frame.width, frame.stride_bytes, frame.height, TJPF_BGR, &coded,
                  &coded_bytes, TJSAMP_420, quality, TJFLAG_BOTTOMUP | TJFLAG_NOREALLOC) != 0)
    return Error{std::string("cannot code the picture as JPEG: ") + tjGetErrorStr2(handle_->handle), "tjCompress2"};
  return std::span<const std::uint8_t>(buffer_.get(), coded_bytes);
}

struct JpegDecoder::Handle : TurboHandle {
  Handle() : TurboHandle(tjInitDecompress()) {}
};

JpegDecoder::JpegDecoder() : handle_(std::make_unique<Handle>()) {}
JpegDecoder::~JpegDecoder() = default;

Result<platform::Picture> JpegDecoder::Decode(std::span<const std::uint8_t> jpeg) {
  platform::Picture picture;
  if (auto decoded = DecodeInto(jpeg, picture); !decoded) return decoded.error();
  return picture;
}

Result<void> JpegDecoder::DecodeInto(std::span<const std::uint8_t> jpeg, platform::Picture& picture) {
  if (!handle_->handle) return Error{"the JPEG decoder cannot start", "tjInitDecompress"};
  if (jpeg.empty()) return Error{"the JPEG picture is empty", "tjDecompressHeader3"};
  int width = 0, height = 0, subsampling = 0, colourspace = 0;
  if (tjDecompressHeader3(handle_->handle, jpeg.data(), static_cast<unsigned long>(jpeg.size()), &width, &height,
                          &subsampling, &colourspace) != 0)
    return Error{std::string("not a JPEG picture: ") + tjGetErrorStr2(handle_->handle), "tjDecompressHeader3"};
  if (!PlausiblePictureSize(width, height, jpeg.size(), kDecodedBytesPerJpegByte))
    return Error{
        "the JPEG picture claims an impossible size of " + std::to_string(width) + "x" + std::to_string(height),
        "tjDecompressHeader3"};
  if (picture.width != width || picture.height != height) picture = platform::Picture::Blank(width, height);
  // A progressive picture of endless scans would take the decoder's time for ever: past 500 it
  // is refused.
  const int status =
      tjDecompress2(handle_->handle, jpeg.data(), static_cast<unsigned long>(jpeg.size()), picture.bottom_up_bgr.data(),
                    width, picture.Stride(), height, TJPF_BGR, TJFLAG_BOTTOMUP | TJFLAG_LIMITSCANS);
  if (status != 0 && tjGetErrorCode(handle_->handle) == TJERR_FATAL)
    return Error{std::string("the JPEG picture cannot be decoded: ") + tjGetErrorStr2(handle_->handle),
                 "tjDecompress2"};
  return {};
}

}  // namespace zr
