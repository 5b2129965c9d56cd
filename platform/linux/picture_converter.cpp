#include "platform/linux/picture_converter.h"

#include <cstring>

extern "C" {
#include <libavutil/macros.h>
#include <libavutil/mem.h>
#include <libavutil/pixdesc.h>
}

namespace zr::platform::linux_impl {
namespace {

// The older "J" formats are the same layouts with full-range levels; naming them makes swscale
// warn, so they are converted as their plain twins with the range set.
AVPixelFormat WithoutJpegAlias(AVPixelFormat format) {
  switch (format) {
    case AV_PIX_FMT_YUVJ420P:
      return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
      return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
      return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P:
      return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ411P:
      return AV_PIX_FMT_YUV411P;
    default:
      return format;
  }
}

bool IsFullRange(const AVFrame& frame) {
  const auto format = static_cast<AVPixelFormat>(frame.format);
  return frame.color_range == AVCOL_RANGE_JPEG || WithoutJpegAlias(format) != format;
}

// Accurate rounding keeps swscale off its fast YUV-to-RGB path, which leaves the last pixels of
// rows unwritten when the width is not a multiple of its vector size (322, for one), and which
// stretches studio-range levels coarsely. Full-range pictures (every Motion JPEG frame) in rows
// of a whole number of the widest vectors take the fast path, at half the time.
constexpr int kWidestVectorPixels = 32;
int ScalerFlags(int width, bool full_range) {
  const bool fast = full_range && width % kWidestVectorPixels == 0;
  return fast ? SWS_BILINEAR : SWS_BILINEAR | SWS_ACCURATE_RND;
}

// swscale writes whole vectors at the end of a row and expects its rows aligned; it converts
// into a buffer with rows of this alignment and room to spare at its end.
constexpr int kScratchAlignment = 64;

}  // namespace

Result<void> PictureConverter::Prepare(const AVFrame& frame) {
  const auto source = static_cast<AVPixelFormat>(frame.format);
  const Levels wanted{WithoutJpegAlias(source), frame.width, frame.height, IsFullRange(frame), frame.colorspace};
  if (scaler_ && wanted == prepared_) return {};
  scaler_.reset(sws_getCachedContext(scaler_.release(), frame.width, frame.height, wanted.format, frame.width,
                                     frame.height, AV_PIX_FMT_BGR24, ScalerFlags(frame.width, wanted.full_range),
                                     nullptr, nullptr, nullptr));
  if (!scaler_) {
    const char* name = av_get_pix_fmt_name(source);
    return Error{std::string("cannot convert ") + (name ? name : "these") + " pictures", "sws_getCachedContext"};
  }
  const AVPixFmtDescriptor* layout = av_pix_fmt_desc_get(wanted.format);
  if (layout != nullptr && (layout->flags & AV_PIX_FMT_FLAG_RGB) == 0) {
    // The coefficient tables follow the stream's colour space numbering.
    constexpr int kUnitFixedPoint = 1 << 16;
    const int* coefficients = sws_getCoefficients(frame.colorspace);
    sws_setColorspaceDetails(scaler_.get(), coefficients, wanted.full_range ? 1 : 0,
                             sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, kUnitFixedPoint, kUnitFixedPoint);
  }
  if (wanted.width != prepared_.width || wanted.height != prepared_.height || !scratch_) {
    // The scaler has taken the size, so both sides are positive.
    scratch_stride_ = FFALIGN(frame.width * 3, kScratchAlignment);
    const std::size_t size =
        static_cast<std::size_t>(scratch_stride_) * static_cast<std::size_t>(frame.height) + kScratchAlignment;
    scratch_.reset(static_cast<std::uint8_t*>(av_malloc(size)));
    if (!scratch_) return Error{"out of memory", "av_malloc"};
  }
  prepared_ = wanted;
  return {};
}

Result<Picture> PictureConverter::Convert(const AVFrame& frame) {
  if (auto prepared = Prepare(frame); !prepared) return prepared.error();
  std::uint8_t* const rows[] = {scratch_.get(), nullptr, nullptr, nullptr};
  const int strides[] = {scratch_stride_, 0, 0, 0};
  const int converted = sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, rows, strides);
  if (converted != frame.height) return Error{"cannot convert a picture", "sws_scale"};
  // The picture holds its rows bottom first.
  Picture picture = Picture::Blank(frame.width, frame.height);
  const std::size_t row_bytes = static_cast<std::size_t>(frame.width) * 3;
  for (int y = 0; y < frame.height; ++y) {
    std::memcpy(picture.PixelFromTop(0, y), scratch_.get() + static_cast<std::ptrdiff_t>(y) * scratch_stride_,
                row_bytes);
  }
  return picture;
}

}  // namespace zr::platform::linux_impl
