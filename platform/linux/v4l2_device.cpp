#include "platform/linux/v4l2_device.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstring>
#include <functional>
#include <iterator>
#include <map>
#include <numeric>
#include <optional>
#include <span>
#include <stop_token>
#include <system_error>
#include <thread>
#include <utility>

#include "image/jpeg_codec.h"
#include "image/picture_limits.h"
#include "platform/linux/ffmpeg_handles.h"
#include "platform/linux/v4l2_device_file.h"

extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

namespace zr::platform::linux_impl {
namespace {

constexpr unsigned kBufferCount = 4;
// How long the pump waits for a frame before it looks whether it is asked to stop; this is how
// long Stop may wait at most.
constexpr int kPollSliceMs = 100;
// A device that streams but sends nothing for this long has hung.
constexpr int kSilenceLimitMs = 5000;
// Ends the enumerations of a driver that never says "no more".
constexpr std::uint32_t kMaxEnumerated = 256;
// Without a chosen format or a current size in the menu, the largest size up to this width:
// what every camera handles at full rate.
constexpr int kDefaultMaxWidth = 640;
constexpr double kFastestRate = 1000.0;
constexpr std::uint32_t kRateTermsPerFrame = 1000;  // keeps 29.97 and 12.5 frames per second exact

// The drivers' names are fixed arrays, terminated only when shorter than the array.
template <std::size_t N>
std::string TextOf(const std::uint8_t (&field)[N]) {
  const auto* text = reinterpret_cast<const char*>(field);
  return std::string(text, strnlen(text, N));
}

// ---- The pixel formats the program can show -------------------------------------------------

enum class Layout { kPacked, kThreePlanes420, kTwoPlanes420, kJpeg };

struct PixelFormat {
  std::uint32_t fourcc;
  int menu_bits_per_pixel;
  Layout layout;
  AVPixelFormat scaler_input;  // AV_PIX_FMT_NONE for JPEG pictures, which are decoded instead
  int first_plane_bytes_per_pixel;
  bool has_video_levels;  // luma (and chroma) levels, which may be 16-235 rather than 0-255
};

// In the order of preference for a size the device offers in several formats: uncompressed
// pictures first (no decoding, no compression artefacts), JPEG only where nothing else fits.
constexpr std::array<PixelFormat, 9> kPixelFormats{{
    {V4L2_PIX_FMT_YUYV, 16, Layout::kPacked, AV_PIX_FMT_YUYV422, 2, true},
    {V4L2_PIX_FMT_UYVY, 16, Layout::kPacked, AV_PIX_FMT_UYVY422, 2, true},
    {V4L2_PIX_FMT_NV12, 12, Layout::kTwoPlanes420, AV_PIX_FMT_NV12, 1, true},
    {V4L2_PIX_FMT_YUV420, 12, Layout::kThreePlanes420, AV_PIX_FMT_YUV420P, 1, true},
    {V4L2_PIX_FMT_BGR24, 24, Layout::kPacked, AV_PIX_FMT_BGR24, 3, false},
    {V4L2_PIX_FMT_RGB24, 24, Layout::kPacked, AV_PIX_FMT_RGB24, 3, false},
    {V4L2_PIX_FMT_GREY, 8, Layout::kPacked, AV_PIX_FMT_GRAY8, 1, true},
    {V4L2_PIX_FMT_MJPEG, 24, Layout::kJpeg, AV_PIX_FMT_NONE, 0, false},
    {V4L2_PIX_FMT_JPEG, 24, Layout::kJpeg, AV_PIX_FMT_NONE, 0, false},
}};

const PixelFormat* FindPixelFormat(std::uint32_t fourcc) {
  const auto* found = std::find_if(kPixelFormats.begin(), kPixelFormats.end(),
                                   [fourcc](const PixelFormat& format) { return format.fourcc == fourcc; });
  return found == kPixelFormats.end() ? nullptr : found;
}

// Lower is better.
std::ptrdiff_t PreferenceOf(std::uint32_t fourcc) { return FindPixelFormat(fourcc) - kPixelFormats.data(); }

// ---- What the device is ---------------------------------------------------------------------

std::optional<v4l2_capability> QueryCapability(const DeviceFile& file) {
  v4l2_capability capability{};
  if (file.Ioctl(VIDIOC_QUERYCAP, &capability) != 0) return std::nullopt;
  return capability;
}

// The capabilities of this node; those of the whole device may belong to its sibling nodes (a
// camera's metadata node shares the camera's capture capability).
std::uint32_t NodeCapabilities(const v4l2_capability& capability) {
  return (capability.capabilities & V4L2_CAP_DEVICE_CAPS) ? capability.device_caps : capability.capabilities;
}

bool CanStreamVideo(const v4l2_capability& capability) {
  const std::uint32_t node = NodeCapabilities(capability);
  return (node & V4L2_CAP_VIDEO_CAPTURE) && (node & V4L2_CAP_STREAMING);
}

bool HasTuner(const v4l2_capability& capability) { return NodeCapabilities(capability) & V4L2_CAP_TUNER; }

// ---- The format menu --------------------------------------------------------------------------

struct FrameSize {
  int width = 0;
  int height = 0;
  auto operator<=>(const FrameSize&) const = default;
};

// Offered from the devices that take a range of sizes rather than a list.
constexpr std::array<FrameSize, 14> kCommonSizes{{{160, 120},
                                                  {176, 144},
                                                  {320, 240},
                                                  {352, 288},
                                                  {640, 480},
                                                  {720, 480},
                                                  {720, 576},
                                                  {800, 600},
                                                  {1024, 768},
                                                  {1280, 720},
                                                  {1280, 960},
                                                  {1280, 1024},
                                                  {1600, 1200},
                                                  {1920, 1080}}};

struct MenuRow {
  SourceFormat shown;
  std::uint32_t fourcc = 0;
};

std::vector<std::uint32_t> ShowablePixelFormats(const DeviceFile& file) {
  std::vector<std::uint32_t> found;
  for (std::uint32_t index = 0; index < kMaxEnumerated; ++index) {
    v4l2_fmtdesc description{};
    description.index = index;
    description.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (file.Ioctl(VIDIOC_ENUM_FMT, &description) != 0) break;
    if (FindPixelFormat(description.pixelformat)) found.push_back(description.pixelformat);
  }
  return found;
}

bool FitsRange(FrameSize size, const v4l2_frmsize_stepwise& range) {
  const auto fits = [](int value, std::uint32_t least, std::uint32_t most, std::uint32_t step) {
    const auto wanted = static_cast<std::uint32_t>(value);
    return wanted >= least && wanted <= most && (step == 0 || (wanted - least) % step == 0);
  };
  return fits(size.width, range.min_width, range.max_width, range.step_width) &&
         fits(size.height, range.min_height, range.max_height, range.step_height);
}

// The common sizes a device that cannot list its sizes (TV cards) keeps as asked.
std::vector<FrameSize> TriedSizes(const DeviceFile& file, std::uint32_t fourcc) {
  std::vector<FrameSize> sizes;
  for (const FrameSize size : kCommonSizes) {
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    format.fmt.pix.width = static_cast<std::uint32_t>(size.width);
    format.fmt.pix.height = static_cast<std::uint32_t>(size.height);
    format.fmt.pix.pixelformat = fourcc;
    format.fmt.pix.field = V4L2_FIELD_ANY;
    if (file.Ioctl(VIDIOC_TRY_FMT, &format) != 0) continue;
    const FrameSize kept{static_cast<int>(format.fmt.pix.width), static_cast<int>(format.fmt.pix.height)};
    if (format.fmt.pix.pixelformat == fourcc && kept == size) sizes.push_back(size);
  }
  return sizes;
}

std::vector<FrameSize> FrameSizes(const DeviceFile& file, std::uint32_t fourcc) {
  std::vector<FrameSize> sizes;
  for (std::uint32_t index = 0; index < kMaxEnumerated; ++index) {
    v4l2_frmsizeenum size{};
    size.index = index;
    size.pixel_format = fourcc;
    if (file.Ioctl(VIDIOC_ENUM_FRAMESIZES, &size) != 0) {
      if (index == 0) return TriedSizes(file, fourcc);
      break;
    }
    if (size.type != V4L2_FRMSIZE_TYPE_DISCRETE) {  // a range is the only entry
      std::copy_if(kCommonSizes.begin(), kCommonSizes.end(), std::back_inserter(sizes),
                   [&size](FrameSize common) { return FitsRange(common, size.stepwise); });
      break;
    }
    if (size.discrete.width > 0 && size.discrete.height > 0)
      sizes.push_back({static_cast<int>(size.discrete.width), static_cast<int>(size.discrete.height)});
  }
  return sizes;
}

std::vector<MenuRow> BuildMenu(const DeviceFile& file) {
  std::map<FrameSize, std::uint32_t> best_per_size;  // ordered by width, then height
  for (const std::uint32_t fourcc : ShowablePixelFormats(file)) {
    for (const FrameSize size : FrameSizes(file, fourcc)) {
      auto [row, added] = best_per_size.try_emplace(size, fourcc);
      if (!added && PreferenceOf(fourcc) < PreferenceOf(row->second)) row->second = fourcc;
    }
  }
  std::vector<MenuRow> menu;
  for (const auto& [size, fourcc] : best_per_size)
    menu.push_back({{size.width, size.height, FindPixelFormat(fourcc)->menu_bits_per_pixel}, fourcc});
  return menu;
}

std::optional<MenuRow> DefaultRow(const DeviceFile& file, const std::vector<MenuRow>& menu) {
  if (menu.empty()) return std::nullopt;
  v4l2_format current{};
  current.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  if (file.Ioctl(VIDIOC_G_FMT, &current) == 0) {
    const auto same_size = [&current](const MenuRow& row) {
      return row.shown.width == static_cast<int>(current.fmt.pix.width) &&
             row.shown.height == static_cast<int>(current.fmt.pix.height);
    };
    if (const auto found = std::find_if(menu.begin(), menu.end(), same_size); found != menu.end()) return *found;
  }
  MenuRow choice = menu.front();
  for (const MenuRow& row : menu) {  // sorted: the last that fits is the largest
    if (row.shown.width <= kDefaultMaxWidth) choice = row;
  }
  return choice;
}

// ---- The format in use ------------------------------------------------------------------------

struct ActiveFormat {
  const PixelFormat* pixel = nullptr;
  int width = 0;
  int height = 0;
  int bytes_per_line = 0;
  bool full_range = false;
};

// Video levels (16-235) unless the driver says otherwise; grey pictures come from industrial and
// infrared cameras, which use the full range, as do pictures in the JPEG colour space.
bool UsesFullRange(const v4l2_pix_format& format) {
  if (format.quantization == V4L2_QUANTIZATION_FULL_RANGE) return true;
  if (format.quantization == V4L2_QUANTIZATION_LIM_RANGE) return false;
  return format.pixelformat == V4L2_PIX_FMT_GREY || format.colorspace == V4L2_COLORSPACE_JPEG;
}

Result<ActiveFormat> ApplyFormat(const DeviceFile& file, const MenuRow& row, const std::string& path) {
  v4l2_format format{};
  format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  format.fmt.pix.width = static_cast<std::uint32_t>(row.shown.width);
  format.fmt.pix.height = static_cast<std::uint32_t>(row.shown.height);
  format.fmt.pix.pixelformat = row.fourcc;
  format.fmt.pix.field = V4L2_FIELD_ANY;
  if (const int error = file.Ioctl(VIDIOC_S_FMT, &format)) return DeviceError(path, error, "VIDIOC_S_FMT");
  const v4l2_pix_format& taken = format.fmt.pix;
  const PixelFormat* pixel = FindPixelFormat(taken.pixelformat);
  // A size beyond any picture the program handles, or a row too long for it, is a driver's
  // mistake: nothing is allocated for it.
  const bool plausible = taken.width > 0 && taken.height > 0 && taken.width <= kMaxPictureSide &&
                         taken.height <= kMaxPictureSide && taken.bytesperline <= kMaxPictureSide * 8u;
  if (!pixel || !plausible) return Error{DeviceText(path) + " cannot deliver the chosen format", "VIDIOC_S_FMT"};
  ActiveFormat active{pixel, static_cast<int>(taken.width), static_cast<int>(taken.height),
                      static_cast<int>(taken.bytesperline), UsesFullRange(taken)};
  // Drivers may leave the row length out; the rows are then packed.
  active.bytes_per_line = std::max(active.bytes_per_line, active.width * pixel->first_plane_bytes_per_pixel);
  return active;
}

// ---- Rate --------------------------------------------------------------------------------------

std::optional<v4l2_streamparm> ReadStreamParameters(const DeviceFile& file) {
  v4l2_streamparm parameters{};
  parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  if (file.Ioctl(VIDIOC_G_PARM, &parameters) != 0) return std::nullopt;
  return parameters;
}

double RateOf(const v4l2_fract& period) {
  return period.numerator == 0 ? 0.0 : static_cast<double>(period.denominator) / period.numerator;
}

// TV cards give the rate of their norm without letting it be chosen; it is the rate all the same.
double ReadFramesPerSecond(const DeviceFile& file) {
  const std::optional<v4l2_streamparm> parameters = ReadStreamParameters(file);
  return parameters ? RateOf(parameters->parm.capture.timeperframe) : 0.0;
}

v4l2_fract PeriodOf(double frames_per_second) {
  const auto frames = static_cast<std::uint32_t>(std::lround(frames_per_second * kRateTermsPerFrame));
  const std::uint32_t common = std::gcd(frames, kRateTermsPerFrame);
  return {kRateTermsPerFrame / common, frames / common};
}

Result<double> ApplyRate(const DeviceFile& file, double frames_per_second, const std::string& path) {
  std::optional<v4l2_streamparm> parameters = ReadStreamParameters(file);
  if (!parameters || !(parameters->parm.capture.capability & V4L2_CAP_TIMEPERFRAME))
    return Error{DeviceText(path) + " has no rate to choose", "VIDIOC_S_PARM"};
  parameters->parm.capture.timeperframe = PeriodOf(frames_per_second);
  if (const int error = file.Ioctl(VIDIOC_S_PARM, &*parameters)) return DeviceError(path, error, "VIDIOC_S_PARM");
  return RateOf(parameters->parm.capture.timeperframe);  // the rate the device took
}

// ---- Inputs and controls ----------------------------------------------------------------------

std::vector<std::string> InputNames(const DeviceFile& file) {
  std::vector<std::string> names;
  for (std::uint32_t index = 0; index < kMaxEnumerated; ++index) {
    v4l2_input input{};
    input.index = index;
    if (file.Ioctl(VIDIOC_ENUMINPUT, &input) != 0) break;
    names.push_back(TextOf(input.name));
  }
  return names;
}

// Ranges and switches the operator can change; menus, buttons and read-only values are left out.
bool IsAdjustable(const v4l2_queryctrl& query) {
  if (query.flags & (V4L2_CTRL_FLAG_DISABLED | V4L2_CTRL_FLAG_READ_ONLY)) return false;
  return query.type == V4L2_CTRL_TYPE_INTEGER || query.type == V4L2_CTRL_TYPE_BOOLEAN;
}

SourceControl ControlOf(const DeviceFile& file, const v4l2_queryctrl& query) {
  SourceControl control{query.id,
                        TextOf(query.name),
                        query.minimum,
                        query.maximum,
                        std::max(query.step, 1),
                        query.default_value,
                        query.default_value,
                        query.type == V4L2_CTRL_TYPE_BOOLEAN};
  v4l2_control current{query.id, 0};
  if (file.Ioctl(VIDIOC_G_CTRL, &current) == 0) control.value = current.value;
  return control;
}

std::vector<SourceControl> ReadControls(const DeviceFile& file) {
  std::vector<SourceControl> controls;
  v4l2_queryctrl query{};
  query.id = V4L2_CTRL_FLAG_NEXT_CTRL;
  for (std::uint32_t count = 0; count < kMaxEnumerated && file.Ioctl(VIDIOC_QUERYCTRL, &query) == 0; ++count) {
    if (IsAdjustable(query)) controls.push_back(ControlOf(file, query));
    const std::uint32_t next = query.id | V4L2_CTRL_FLAG_NEXT_CTRL;
    query = v4l2_queryctrl{};
    query.id = next;
  }
  return controls;
}

// ---- Streaming ----------------------------------------------------------------------------------

class Mapping {
 public:
  Mapping(V4l2System& system, void* address, std::size_t length)
      : system_(&system), address_(address), length_(length) {}
  Mapping(Mapping&& other) noexcept
      : system_(other.system_), address_(std::exchange(other.address_, nullptr)), length_(other.length_) {}
  Mapping& operator=(Mapping&&) = delete;
  ~Mapping() {
    if (address_) system_->Munmap(address_, length_);
  }

  std::span<const std::uint8_t> Bytes(std::size_t used) const {
    return {static_cast<const std::uint8_t*>(address_), std::min(used, length_)};
  }

 private:
  V4l2System* system_;
  void* address_;
  std::size_t length_;
};

v4l2_buffer MappedBuffer(std::uint32_t index) {
  v4l2_buffer buffer{};
  buffer.index = index;
  buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  buffer.memory = V4L2_MEMORY_MMAP;
  return buffer;
}

// A device file with its buffers mapped and streaming. Its end stops the device, unmaps and
// gives back the buffers (the device takes a new format only then), and closes the file.
class Stream {
 public:
  static Result<std::unique_ptr<Stream>> Begin(DeviceFile file, const std::string& path) {
    std::unique_ptr<Stream> stream(new Stream(std::move(file)));
    if (Result<void> requested = stream->RequestBuffers(path); !requested) return requested.error();
    if (Result<void> mapped = stream->MapBuffers(path); !mapped) return mapped.error();
    if (Result<void> streaming = stream->QueueAllAndStream(path); !streaming) return streaming.error();
    return stream;
  }

  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  ~Stream() {
    if (streaming_) {
      int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
      file_.Ioctl(VIDIOC_STREAMOFF, &type);
    }
    buffers_.clear();
    if (buffer_count_ > 0) {
      v4l2_requestbuffers none{};
      none.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
      none.memory = V4L2_MEMORY_MMAP;
      file_.Ioctl(VIDIOC_REQBUFS, &none);
    }
  }

  const DeviceFile& file() const { return file_; }

  std::span<const std::uint8_t> Bytes(const v4l2_buffer& buffer) const {
    if (buffer.index >= buffers_.size()) return {};
    return buffers_[buffer.index].Bytes(buffer.bytesused);
  }

 private:
  explicit Stream(DeviceFile file) : file_(std::move(file)) {}

  Result<void> RequestBuffers(const std::string& path) {
    v4l2_requestbuffers request{};
    request.count = kBufferCount;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    if (const int error = file_.Ioctl(VIDIOC_REQBUFS, &request)) return DeviceError(path, error, "VIDIOC_REQBUFS");
    buffer_count_ = request.count;
    if (buffer_count_ == 0) return Error{DeviceText(path) + " has no memory for pictures", "VIDIOC_REQBUFS"};
    return {};
  }

  Result<void> MapBuffers(const std::string& path) {
    for (std::uint32_t index = 0; index < buffer_count_; ++index) {
      v4l2_buffer buffer = MappedBuffer(index);
      if (const int error = file_.Ioctl(VIDIOC_QUERYBUF, &buffer)) return DeviceError(path, error, "VIDIOC_QUERYBUF");
      void* address = file_.system().Mmap(buffer.length, file_.fd(), buffer.m.offset);
      if (address == MAP_FAILED) return DeviceError(path, errno, "mmap");
      buffers_.emplace_back(file_.system(), address, buffer.length);
    }
    return {};
  }

  Result<void> QueueAllAndStream(const std::string& path) {
    for (std::uint32_t index = 0; index < buffer_count_; ++index) {
      v4l2_buffer buffer = MappedBuffer(index);
      if (const int error = file_.Ioctl(VIDIOC_QBUF, &buffer)) return DeviceError(path, error, "VIDIOC_QBUF");
    }
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (const int error = file_.Ioctl(VIDIOC_STREAMON, &type)) return DeviceError(path, error, "VIDIOC_STREAMON");
    streaming_ = true;
    return {};
  }

  DeviceFile file_;  // declared first: closed last
  std::uint32_t buffer_count_ = 0;
  std::vector<Mapping> buffers_;
  bool streaming_ = false;
};

// ---- Frames to pictures ----------------------------------------------------------------------

// Where the planes of a frame start and how far apart their rows are.
struct SourcePlanes {
  std::array<const std::uint8_t*, 4> data{};
  std::array<int, 4> strides{};
};

// The bytes of a plane of `rows` rows `stride` bytes apart, both of them positive; the product
// is taken in 64 bits, where it cannot overflow.
std::size_t PlaneBytes(int stride, int rows) { return static_cast<std::size_t>(std::int64_t{stride} * rows); }

std::size_t FrameBytes(const ActiveFormat& format) {
  const std::size_t luma = PlaneBytes(format.bytes_per_line, format.height);
  const int chroma_rows = (format.height + 1) / 2;
  switch (format.pixel->layout) {
    case Layout::kThreePlanes420:
      return luma + 2 * PlaneBytes(format.bytes_per_line / 2, chroma_rows);
    case Layout::kTwoPlanes420:
      return luma + PlaneBytes(format.bytes_per_line, chroma_rows);
    case Layout::kPacked:
    case Layout::kJpeg:
      break;
  }
  return luma;
}

// The planes of a frame at `base` (holding at least FrameBytes(format)), read from the last row
// up: the device sends the top row first, the program keeps the bottom row first, and a converter
// reading upwards turns the one into the other in the same pass.
SourcePlanes UpwardPlanesOf(const ActiveFormat& format, const std::uint8_t* base) {
  SourcePlanes planes;
  const auto add_plane = [&planes](std::size_t plane, const std::uint8_t* start, int stride, int rows) {
    planes.data[plane] = start + std::ptrdiff_t{stride} * (rows - 1);
    planes.strides[plane] = -stride;
  };
  const int luma_rows = format.height, chroma_rows = (format.height + 1) / 2;
  const std::uint8_t* chroma = base + std::ptrdiff_t{format.bytes_per_line} * luma_rows;
  add_plane(0, base, format.bytes_per_line, luma_rows);
  if (format.pixel->layout == Layout::kTwoPlanes420) {
    add_plane(1, chroma, format.bytes_per_line, chroma_rows);
  } else if (format.pixel->layout == Layout::kThreePlanes420) {
    const int chroma_stride = format.bytes_per_line / 2;
    add_plane(1, chroma, chroma_stride, chroma_rows);
    add_plane(2, chroma + std::ptrdiff_t{chroma_stride} * chroma_rows, chroma_stride, chroma_rows);
  }
  return planes;
}

// Accurate rounding also keeps swscale off its fast 4:2:0 path, which leaves the last pixels of
// rows whose width is not a multiple of 8 unwritten.
constexpr int kScalerFlags = SWS_BILINEAR | SWS_ACCURATE_RND;

Result<ScalerPtr> ScalerFor(const ActiveFormat& format) {
  ScalerPtr scaler(sws_getContext(format.width, format.height, format.pixel->scaler_input, format.width, format.height,
                                  AV_PIX_FMT_BGR24, kScalerFlags, nullptr, nullptr, nullptr));
  if (!scaler) return Error{"the device's pictures cannot be converted", "sws_getContext"};
  if (format.pixel->has_video_levels) {
    const int* coefficients = sws_getCoefficients(SWS_CS_ITU601);
    constexpr int kFullRange = 1;
    constexpr int kUnitFixedPoint = 1 << 16;
    if (sws_setColorspaceDetails(scaler.get(), coefficients, format.full_range ? 1 : 0, coefficients, kFullRange, 0,
                                 kUnitFixedPoint, kUnitFixedPoint) < 0)
      return Error{"the device's picture levels cannot be converted", "sws_setColorspaceDetails"};
  }
  return scaler;
}

class FrameConverter {
 public:
  static Result<FrameConverter> For(const ActiveFormat& format) {
    if (format.pixel->layout == Layout::kJpeg) return FrameConverter(format, nullptr, std::make_unique<JpegDecoder>());
    Result<ScalerPtr> scaler = ScalerFor(format);
    if (!scaler) return scaler.error();
    return FrameConverter(format, std::move(*scaler), nullptr);
  }

  // The program's picture of a frame; nothing for a frame too short or too damaged to show.
  std::shared_ptr<const Picture> Convert(std::span<const std::uint8_t> frame) {
    return jpeg_ ? Decode(frame) : Scale(frame);
  }

 private:
  FrameConverter(const ActiveFormat& format, ScalerPtr scaler, std::unique_ptr<JpegDecoder> jpeg)
      : format_(format), scaler_(std::move(scaler)), jpeg_(std::move(jpeg)) {}

  std::shared_ptr<const Picture> Decode(std::span<const std::uint8_t> frame) {
    auto picture = std::make_shared<Picture>();
    if (!jpeg_->DecodeInto(frame, *picture)) return nullptr;
    return picture;
  }

  std::shared_ptr<const Picture> Scale(std::span<const std::uint8_t> frame) {
    if (frame.size() < FrameBytes(format_)) return nullptr;
    const SourcePlanes planes = UpwardPlanesOf(format_, frame.data());
    auto picture = std::make_shared<Picture>(Picture::Blank(format_.width, format_.height));
    std::uint8_t* const target[4] = {picture->bottom_up_bgr.data()};
    const int target_strides[4] = {picture->Stride()};
    if (sws_scale(scaler_.get(), planes.data.data(), planes.strides.data(), 0, format_.height, target,
                  target_strides) <= 0)
      return nullptr;
    return picture;
  }

  ActiveFormat format_;
  ScalerPtr scaler_;                   // for the uncompressed formats
  std::unique_ptr<JpegDecoder> jpeg_;  // for the JPEG ones
};

// ---- The pump ---------------------------------------------------------------------------------

// Numbers and times the frames of one run; carried across the restarts a new format makes.
struct FrameClock {
  std::optional<std::int64_t> first_us;
  std::int64_t next_sequence = 0;

  CapturedFrame Stamp(std::shared_ptr<const Picture> picture, const timeval& taken) {
    std::int64_t taken_us = static_cast<std::int64_t>(taken.tv_sec) * 1'000'000 + taken.tv_usec;
    // A driver that stamps nothing: the time it arrived, on the same monotonic clock the
    // drivers use.
    if (taken_us == 0) {
      taken_us =
          std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now().time_since_epoch())
              .count();
    }
    if (!first_us) first_us = taken_us;
    return CapturedFrame{std::move(picture), std::max<std::int64_t>(0, taken_us - *first_us), next_sequence++};
  }
};

// Takes the frames out of a stream and hands them to the sink, on the source's thread.
class Pump {
 public:
  Pump(std::unique_ptr<Stream> stream, FrameConverter converter, FrameSink& sink, FrameClock& clock,
       const std::string& path)
      : stream_(std::move(stream)), converter_(std::move(converter)), sink_(sink), clock_(clock), path_(path) {}

  // Until asked to stop (nothing), or until the device ends the run (why it ended).
  std::optional<std::string> Run(const std::stop_token& stop) {
    int quiet_ms = 0;
    while (!stop.stop_requested()) {
      pollfd entry{stream_->file().fd(), POLLIN, 0};
      const int ready = stream_->file().system().Poll(entry, kPollSliceMs);
      if (ready < 0) {
        if (errno == EINTR) continue;
        return EndMessage(errno);
      }
      const int taken = ready > 0 ? TakeFrame() : EAGAIN;
      if (taken == 0) {
        quiet_ms = 0;
        continue;
      }
      if (taken != EAGAIN) return EndMessage(taken);
      // A ready file without a frame counts as a quiet slice too, so a device stuck in an error
      // state ends the run rather than spinning.
      quiet_ms += kPollSliceMs;
      if (quiet_ms >= kSilenceLimitMs) return DeviceText(path_) + " sends no picture";
    }
    return std::nullopt;
  }

 private:
  // 0 when a buffer came and went back to the device, EAGAIN when none was ready, else the
  // device's error.
  int TakeFrame() {
    v4l2_buffer buffer = MappedBuffer(0);
    if (const int error = stream_->file().Ioctl(VIDIOC_DQBUF, &buffer)) return error == EINTR ? EAGAIN : error;
    Deliver(buffer);
    return stream_->file().Ioctl(VIDIOC_QBUF, &buffer);
  }

  void Deliver(const v4l2_buffer& buffer) {
    if (buffer.flags & V4L2_BUF_FLAG_ERROR) return;  // damaged in transfer; the next one is whole again
    std::shared_ptr<const Picture> picture = converter_.Convert(stream_->Bytes(buffer));
    if (!picture) return;
    sink_.OnFrame(clock_.Stamp(std::move(picture), buffer.timestamp));
  }

  std::string EndMessage(int error) const {
    if (IsUnplugged(error)) return DeviceText(path_) + " was unplugged";
    return DeviceText(path_) + " stopped: " + ErrnoText(error);
  }

  std::unique_ptr<Stream> stream_;
  FrameConverter converter_;
  FrameSink& sink_;
  FrameClock& clock_;
  std::string path_;
};

// ---- The source -------------------------------------------------------------------------------

class V4l2Source final : public FrameSource {
 public:
  V4l2Source(V4l2System& system, std::string path, SharedChannelPlan plan) : system_(system), path_(std::move(path)) {
    if (plan) {
      tuner_ = MakeV4l2Tuner(system_, path_, std::move(plan),
                             [this](const auto& change) { return ChangeWhileNotStreaming(change); });
    }
  }
  ~V4l2Source() override { Stop(); }

  Result<void> Start(FrameSink& sink) override {
    Stop();
    sink_ = &sink;
    clock_ = FrameClock{};
    return StartStream();
  }

  void Stop() override {
    if (!pump_.joinable()) return;
    pump_.request_stop();
    pump_.join();
  }

  int Width() const override { return width_; }
  int Height() const override { return height_; }

  double FramesPerSecond() const override {
    if (!frames_per_second_) {
      const DeviceFile file(system_, path_);
      if (!file.is_open()) return 0.0;
      frames_per_second_ = ReadFramesPerSecond(file);
    }
    return *frames_per_second_;
  }

  Result<void> SetFramesPerSecond(double frames_per_second) override {
    if (!(frames_per_second > 0.0 && frames_per_second <= kFastestRate))
      return Error{"not a frame rate", "SetFramesPerSecond"};
    return ChangeWhileNotStreaming([&](const DeviceFile& file) -> Result<void> {
      Result<double> taken = ApplyRate(file, frames_per_second, path_);
      if (!taken) return taken.error();
      requested_rate_ = frames_per_second;
      frames_per_second_ = *taken;
      return {};
    });
  }

  std::vector<SourceFormat> Formats() const override {
    std::vector<SourceFormat> rows;
    for (const MenuRow& row : Menu()) rows.push_back(row.shown);
    return rows;
  }

  Result<void> SelectFormat(int row) override {
    const std::vector<MenuRow>& menu = Menu();
    if (row < 0 || static_cast<std::size_t>(row) >= menu.size())
      return Error{"there is no such format", "SelectFormat"};
    chosen_ = menu[static_cast<std::size_t>(row)];
    frames_per_second_.reset();  // the device may change its rate with the size
    if (!IsStreaming()) {
      width_ = chosen_->shown.width;
      height_ = chosen_->shown.height;
      return {};
    }
    Stop();
    return StartStream();
  }

  std::vector<std::string> Inputs() const override {
    const DeviceFile file(system_, path_);
    return file.is_open() ? InputNames(file) : std::vector<std::string>{};
  }

  int CurrentInput() const override {
    const DeviceFile file(system_, path_);
    int index = 0;
    if (!file.is_open() || file.Ioctl(VIDIOC_G_INPUT, &index) != 0) return 0;
    return index;
  }

  Result<void> SelectInput(int index) override {
    return ChangeWhileNotStreaming([&](const DeviceFile& file) -> Result<void> {
      int chosen = index;
      const int error = file.Ioctl(VIDIOC_S_INPUT, &chosen);
      if (error == EINVAL) return Error{"there is no such input", "VIDIOC_S_INPUT"};
      if (error != 0) return DeviceError(path_, error, "VIDIOC_S_INPUT");
      return {};
    });
  }

  std::vector<SourceControl> Controls() const override {
    const DeviceFile file(system_, path_);
    return file.is_open() ? ReadControls(file) : std::vector<SourceControl>{};
  }

  Result<void> SetControl(std::uint32_t id, int value) override {
    const DeviceFile file(system_, path_);
    if (!file.is_open()) return OpenError(path_, file.open_error());
    v4l2_control control{id, value};
    const int error = file.Ioctl(VIDIOC_S_CTRL, &control);
    if (error == EINVAL) return Error{"the device has no such setting", "VIDIOC_S_CTRL"};
    if (error == ERANGE) return Error{"the setting does not take this value", "VIDIOC_S_CTRL"};
    if (error != 0) return DeviceError(path_, error, "VIDIOC_S_CTRL");
    return {};
  }

  SourceTuner* Tuner() override { return tuner_.get(); }

 private:
  const std::vector<MenuRow>& Menu() const {
    if (menu_.empty()) {
      const DeviceFile file(system_, path_);
      if (file.is_open()) return MenuFrom(file);
    }
    return menu_;
  }

  // The menu is read from the device once: its rows must stay what the operator chose from.
  const std::vector<MenuRow>& MenuFrom(const DeviceFile& file) const {
    if (menu_.empty()) menu_ = BuildMenu(file);
    return menu_;
  }

  bool IsStreaming() const { return pump_.joinable() && !ended_; }

  Result<void> StartStream() {
    DeviceFile file(system_, path_);
    if (!file.is_open()) return OpenError(path_, file.open_error());
    const std::optional<v4l2_capability> capability = QueryCapability(file);
    if (!capability || !CanStreamVideo(*capability))
      return Error{DeviceText(path_) + " cannot capture video", "VIDIOC_QUERYCAP"};
    const std::optional<MenuRow> row = chosen_ ? chosen_ : DefaultRow(file, MenuFrom(file));
    if (!row) return Error{DeviceText(path_) + " offers no picture format that can be shown", "VIDIOC_ENUM_FMT"};
    Result<ActiveFormat> format = ApplyFormat(file, *row, path_);
    if (!format) return format.error();
    // Devices go back to their default rate with a new format; the operator's rate stays.
    if (requested_rate_) (void)ApplyRate(file, *requested_rate_, path_);
    frames_per_second_ = ReadFramesPerSecond(file);
    Result<FrameConverter> converter = FrameConverter::For(*format);
    if (!converter) return converter.error();
    Result<std::unique_ptr<Stream>> stream = Stream::Begin(std::move(file), path_);
    if (!stream) return stream.error();

    width_ = format->width;
    height_ = format->height;
    ended_ = false;
    auto pump = std::make_unique<Pump>(std::move(*stream), std::move(*converter), *sink_, clock_, path_);
    pump_ =
        std::jthread([this, pump = std::move(pump)](std::stop_token stop) mutable { RunPump(stop, std::move(pump)); });
    return {};
  }

  void RunPump(const std::stop_token& stop, std::unique_ptr<Pump> pump) {
    const std::optional<std::string> ended = pump->Run(stop);
    pump.reset();  // stops and releases the device before anyone hears of the end
    if (!ended) return;
    ended_ = true;
    sink_->OnSourceEnded(*ended);
  }

  // For what the devices take only while not streaming: stops the stream, changes, and starts
  // it again (with the old settings when the change failed).
  Result<void> ChangeWhileNotStreaming(const std::function<Result<void>(const DeviceFile&)>& change) {
    const bool was_streaming = IsStreaming();
    Stop();
    Result<void> changed = [&]() -> Result<void> {
      const DeviceFile file(system_, path_);
      if (!file.is_open()) return OpenError(path_, file.open_error());
      return change(file);
    }();
    if (was_streaming) {
      if (Result<void> restarted = StartStream(); !restarted) return restarted;
    }
    return changed;
  }

  V4l2System& system_;
  const std::string path_;
  mutable std::vector<MenuRow> menu_;
  std::optional<MenuRow> chosen_;
  std::optional<double> requested_rate_;
  mutable std::optional<double> frames_per_second_;
  int width_ = 0;
  int height_ = 0;
  FrameSink* sink_ = nullptr;
  FrameClock clock_;                    // the pump's while it runs
  std::unique_ptr<SourceTuner> tuner_;  // a TV card's
  std::atomic<bool> ended_{false};      // the pump ended the run by itself
  std::jthread pump_;                   // last: stops first
};

// The number of /dev/videoN, so that video10 follows video9.
int NodeNumber(const std::string& path) {
  const std::size_t digits = path.find_last_not_of("0123456789") + 1;
  int number = -1;
  std::from_chars(path.data() + digits, path.data() + path.size(), number);
  return number;
}

}  // namespace

std::vector<V4l2DeviceInfo> ListV4l2Devices(V4l2System& system) {
  std::vector<std::string> nodes = system.ListVideoNodes();
  std::sort(nodes.begin(), nodes.end(), [](const std::string& left, const std::string& right) {
    return std::pair(NodeNumber(left), left) < std::pair(NodeNumber(right), right);
  });
  std::vector<V4l2DeviceInfo> devices;
  for (const std::string& node : nodes) {
    const DeviceFile file(system, node);
    if (!file.is_open()) {
      if (file.open_error() == EBUSY || file.open_error() == EACCES) devices.push_back({node, node, false});
      continue;
    }
    const std::optional<v4l2_capability> capability = QueryCapability(file);
    if (capability && CanStreamVideo(*capability))
      devices.push_back({node, TextOf(capability->card), HasTuner(*capability)});
  }
  return devices;
}

std::unique_ptr<FrameSource> MakeV4l2Source(V4l2System& system, std::string path, SharedChannelPlan channel_plan) {
  return std::make_unique<V4l2Source>(system, std::move(path), std::move(channel_plan));
}

}  // namespace zr::platform::linux_impl
