#include "tests/support/fake_v4l2_system.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>

namespace zr::testing {
namespace {

constexpr std::uint32_t kMostBuffers = 8;
constexpr std::uint32_t kBufferOffsetStep = 1u << 16;
// Room for the tables of a JPEG picture, which may outweigh the picture when it is small.
constexpr std::uint32_t kJpegHeadersBytes = 4096;

int BytesPerPixelOfFirstPlane(std::uint32_t fourcc) {
  switch (fourcc) {
    case V4L2_PIX_FMT_YUYV:
    case V4L2_PIX_FMT_UYVY:
      return 2;
    case V4L2_PIX_FMT_RGB24:
    case V4L2_PIX_FMT_BGR24:
      return 3;
    case V4L2_PIX_FMT_GREY:
    case V4L2_PIX_FMT_NV12:
    case V4L2_PIX_FMT_YUV420:
      return 1;
    default:
      return 0;  // compressed: no rows
  }
}

bool IsPlanar420(std::uint32_t fourcc) {
  return fourcc == V4L2_PIX_FMT_NV12 || fourcc == V4L2_PIX_FMT_YUV420;
}
bool IsCompressed(std::uint32_t fourcc) {
  return fourcc == V4L2_PIX_FMT_MJPEG || fourcc == V4L2_PIX_FMT_JPEG;
}

std::uint32_t Snap(std::uint32_t wanted, std::uint32_t least, std::uint32_t most,
                   std::uint32_t step) {
  const std::uint32_t clamped = std::clamp(wanted, least, most);
  return step == 0 ? clamped : least + (clamped - least) / step * step;
}

template <std::size_t N>
void CopyText(std::uint8_t (&field)[N], const std::string& text) {
  std::memset(field, 0, N);
  std::memcpy(field, text.data(),
              std::min(text.size(), N));  // unterminated when it fills the field, as drivers do
}

}  // namespace

// ---- The test's side -----------------------------------------------------------------------

void FakeV4l2System::AddDevice(const std::string& path, FakeV4l2Device device) {
  std::lock_guard lock(mutex_);
  Node node;
  node.device = std::move(device);
  node.rate = node.device.rates.empty() ? 0 : node.device.rates.front();
  node.format = Fit(node, v4l2_pix_format{});
  nodes_[path] = std::move(node);
}

void FakeV4l2System::SendFrame(const std::string& path, std::vector<std::uint8_t> bytes,
                               std::int64_t timestamp_us, bool damaged) {
  std::lock_guard lock(mutex_);
  nodes_.at(path).frames.push_back({std::move(bytes), timestamp_us, damaged});
  changed_.notify_all();
}

void FakeV4l2System::Unplug(const std::string& path) {
  std::lock_guard lock(mutex_);
  nodes_.at(path).unplugged = true;
  changed_.notify_all();
}

void FakeV4l2System::Stall(const std::string& path) {
  std::lock_guard lock(mutex_);
  nodes_.at(path).stalled = true;
  changed_.notify_all();
}

v4l2_pix_format FakeV4l2System::CurrentFormat(const std::string& path) const {
  std::lock_guard lock(mutex_);
  return NodeAt(path).format;
}

int FakeV4l2System::CurrentInput(const std::string& path) const {
  std::lock_guard lock(mutex_);
  return NodeAt(path).input;
}

int FakeV4l2System::ControlValue(const std::string& path, std::uint32_t id) const {
  std::lock_guard lock(mutex_);
  for (const auto& control : NodeAt(path).device.controls) {
    if (control.id == id) return control.value;
  }
  return -1;
}

int FakeV4l2System::FramesPerSecond(const std::string& path) const {
  std::lock_guard lock(mutex_);
  return NodeAt(path).rate;
}

bool FakeV4l2System::IsStreaming(const std::string& path) const {
  std::lock_guard lock(mutex_);
  return NodeAt(path).streaming;
}

std::size_t FakeV4l2System::AllocatedBuffers(const std::string& path) const {
  std::lock_guard lock(mutex_);
  return NodeAt(path).buffers.size();
}

int FakeV4l2System::StreamStarts(const std::string& path) const {
  std::lock_guard lock(mutex_);
  return NodeAt(path).stream_starts;
}

int FakeV4l2System::OpenFiles() const {
  std::lock_guard lock(mutex_);
  return static_cast<int>(files_.size());
}

int FakeV4l2System::Mappings() const {
  std::lock_guard lock(mutex_);
  return static_cast<int>(mappings_.size());
}

std::vector<std::string> FakeV4l2System::Misuses() const {
  std::lock_guard lock(mutex_);
  return misuses_;
}

// ---- The system calls -----------------------------------------------------------------------

std::vector<std::string> FakeV4l2System::ListVideoNodes() {
  std::lock_guard lock(mutex_);
  std::vector<std::string> paths;
  for (const auto& [path, node] : nodes_) {
    if (!node.unplugged) paths.push_back(path);
  }
  return paths;
}

int FakeV4l2System::Open(const std::string& path, int flags) {
  std::lock_guard lock(mutex_);
  const auto found = nodes_.find(path);
  if (found == nodes_.end()) return Fail(ENOENT);
  if (found->second.unplugged) return Fail(ENODEV);
  if (found->second.device.open_error != 0) return Fail(found->second.device.open_error);
  // The stream's thread must never block in a call: Stop relies on it.
  if (!(flags & O_NONBLOCK)) Misuse("opened " + path + " blocking");
  const int fd = next_fd_++;
  files_[fd] = path;
  return fd;
}

int FakeV4l2System::Close(int fd) {
  std::lock_guard lock(mutex_);
  Node* node = NodeOf(fd);
  if (!node) {
    Misuse("closed file " + std::to_string(fd) + ", which is not open");
    return Fail(EBADF);
  }
  if (node->buffer_owner == fd) ReleaseBuffers(*node);  // as the drivers do when the owner closes
  files_.erase(fd);
  changed_.notify_all();
  return 0;
}

int FakeV4l2System::Ioctl(int fd, unsigned long request, void* argument) {
  std::lock_guard lock(mutex_);
  Node* node = NodeOf(fd);
  if (!node) {
    Misuse("ioctl on file " + std::to_string(fd) + ", which is not open");
    return Fail(EBADF);
  }
  if (node->unplugged) return Fail(ENODEV);
  int error = ENOTTY;
  switch (request) {
    case VIDIOC_QUERYCAP:
      error = Capability(*node, *static_cast<v4l2_capability*>(argument));
      break;
    case VIDIOC_ENUM_FMT:
      error = EnumerateFormat(*node, *static_cast<v4l2_fmtdesc*>(argument));
      break;
    case VIDIOC_ENUM_FRAMESIZES:
      error = EnumerateFrameSizes(*node, *static_cast<v4l2_frmsizeenum*>(argument));
      break;
    case VIDIOC_G_FMT:
      static_cast<v4l2_format*>(argument)->fmt.pix = node->format;
      error = 0;
      break;
    case VIDIOC_TRY_FMT: {
      auto& format = *static_cast<v4l2_format*>(argument);
      format.fmt.pix = Fit(*node, format.fmt.pix);
      error = 0;
      break;
    }
    case VIDIOC_S_FMT:
      error = SetFormat(*node, *static_cast<v4l2_format*>(argument));
      break;
    case VIDIOC_G_PARM:
      error = StreamParameters(*node, *static_cast<v4l2_streamparm*>(argument), false);
      break;
    case VIDIOC_S_PARM:
      error = StreamParameters(*node, *static_cast<v4l2_streamparm*>(argument), true);
      break;
    case VIDIOC_ENUMINPUT:
      error = EnumerateInput(*node, *static_cast<v4l2_input*>(argument));
      break;
    case VIDIOC_G_INPUT:
      *static_cast<int*>(argument) = node->input;
      error = 0;
      break;
    case VIDIOC_S_INPUT: {
      const int index = *static_cast<int*>(argument);
      if (node->streaming) {
        error = EBUSY;
      } else if (index < 0 || static_cast<std::size_t>(index) >= node->device.inputs.size()) {
        error = EINVAL;
      } else {
        node->input = index;
        error = 0;
      }
      break;
    }
    case VIDIOC_QUERYCTRL:
      error = QueryControl(*node, *static_cast<v4l2_queryctrl*>(argument));
      break;
    case VIDIOC_G_CTRL:
      error = Control(*node, *static_cast<v4l2_control*>(argument), false);
      break;
    case VIDIOC_S_CTRL:
      error = Control(*node, *static_cast<v4l2_control*>(argument), true);
      break;
    case VIDIOC_REQBUFS:
      error = RequestBuffers(fd, *node, *static_cast<v4l2_requestbuffers*>(argument));
      break;
    case VIDIOC_QUERYBUF:
      error = QueryBuffer(*node, *static_cast<v4l2_buffer*>(argument));
      break;
    case VIDIOC_QBUF:
      error = QueueBuffer(fd, *node, *static_cast<v4l2_buffer*>(argument));
      break;
    case VIDIOC_DQBUF:
      error = DequeueBuffer(fd, *node, *static_cast<v4l2_buffer*>(argument));
      break;
    case VIDIOC_STREAMON:
      error = StreamOn(fd, *node);
      break;
    case VIDIOC_STREAMOFF:
      if (node->buffer_owner != fd) {
        error = EBUSY;
      } else {
        node->streaming = false;
        node->queued.clear();
        error = 0;
      }
      break;
    default:
      break;
  }
  changed_.notify_all();
  return error == 0 ? 0 : Fail(error);
}

void* FakeV4l2System::Mmap(std::size_t length, int fd, off_t offset) {
  std::lock_guard lock(mutex_);
  Node* node = NodeOf(fd);
  if (!node || node->unplugged) {
    errno = node ? ENODEV : EBADF;
    return MAP_FAILED;
  }
  for (const Buffer& buffer : node->buffers) {
    if (buffer.state.m.offset != static_cast<std::uint32_t>(offset)) continue;
    if (length > buffer.memory->size()) break;
    mappings_[buffer.memory->data()] = {length, files_.at(fd), buffer.memory};
    return buffer.memory->data();
  }
  Misuse("mapped " + std::to_string(length) + " bytes at offset " + std::to_string(offset) +
         ", not a buffer");
  errno = EINVAL;
  return MAP_FAILED;
}

int FakeV4l2System::Munmap(void* address, std::size_t length) {
  std::lock_guard lock(mutex_);
  const auto found = mappings_.find(address);
  if (found == mappings_.end() || found->second.length != length) {
    Misuse("unmapped " + std::to_string(length) + " bytes that were not mapped so");
    return Fail(EINVAL);
  }
  mappings_.erase(found);
  changed_.notify_all();
  return 0;
}

int FakeV4l2System::Poll(pollfd& entry, int timeout_ms) {
  std::unique_lock lock(mutex_);
  Node* node = NodeOf(entry.fd);
  if (!node) {
    entry.revents = POLLNVAL;
    return 1;
  }
  // Nodes are never removed, so `node` stays valid while the lock is let go in the wait.
  const auto something_happened = [&] {
    return node->unplugged || node->stalled || FrameReady(*node);
  };
  changed_.wait_for(lock, std::chrono::milliseconds(timeout_ms), something_happened);
  if (node->unplugged) {
    entry.revents = POLLERR;
    return 1;
  }
  if (FrameReady(*node)) {
    entry.revents = POLLIN;
    return 1;
  }
  entry.revents = 0;
  return 0;
}

// ---- The devices' answers ---------------------------------------------------------------------

FakeV4l2System::Node* FakeV4l2System::NodeOf(int fd) {
  const auto file = files_.find(fd);
  return file == files_.end() ? nullptr : &nodes_.at(file->second);
}

const FakeV4l2System::Node& FakeV4l2System::NodeAt(const std::string& path) const {
  return nodes_.at(path);
}

int FakeV4l2System::Fail(int error) {
  errno = error;
  return -1;
}

void FakeV4l2System::Misuse(const std::string& what) { misuses_.push_back(what); }

bool FakeV4l2System::HasMappings(const std::string& path) const {
  return std::any_of(mappings_.begin(), mappings_.end(),
                     [&path](const auto& mapping) { return mapping.second.path == path; });
}

bool FakeV4l2System::FrameReady(const Node& node) const {
  return node.streaming && !node.frames.empty() && !node.queued.empty();
}

void FakeV4l2System::ReleaseBuffers(Node& node) {
  node.streaming = false;
  node.queued.clear();
  node.buffers.clear();
  node.buffer_owner = -1;
}

int FakeV4l2System::Capability(const Node& node, v4l2_capability& capability) const {
  const FakeV4l2Device& device = node.device;
  capability = v4l2_capability{};
  CopyText(capability.driver, "fake");
  CopyText(capability.card, device.card);
  if (device.reports_node_caps) {
    capability.capabilities =
        (device.device_wide_caps ? device.device_wide_caps : device.node_caps) |
        V4L2_CAP_DEVICE_CAPS;
    capability.device_caps = device.node_caps;
  } else {
    capability.capabilities = device.node_caps;
  }
  return 0;
}

int FakeV4l2System::EnumerateFormat(const Node& node, v4l2_fmtdesc& description) const {
  if (description.type != V4L2_BUF_TYPE_VIDEO_CAPTURE ||
      description.index >= node.device.formats.size())
    return EINVAL;
  const std::uint32_t fourcc = node.device.formats[description.index].fourcc;
  description.pixelformat = fourcc;
  description.flags = IsCompressed(fourcc) ? V4L2_FMT_FLAG_COMPRESSED : 0;
  CopyText(description.description, "fake format");
  return 0;
}

int FakeV4l2System::EnumerateFrameSizes(const Node& node, v4l2_frmsizeenum& size) const {
  if (!node.device.lists_frame_sizes) return ENOTTY;
  const auto& formats = node.device.formats;
  const auto format = std::find_if(formats.begin(), formats.end(), [&size](const auto& candidate) {
    return candidate.fourcc == size.pixel_format;
  });
  if (format == formats.end()) return EINVAL;
  if (!format->sizes.empty()) {
    if (size.index >= format->sizes.size()) return EINVAL;
    size.type = V4L2_FRMSIZE_TYPE_DISCRETE;
    size.discrete.width = static_cast<std::uint32_t>(format->sizes[size.index].first);
    size.discrete.height = static_cast<std::uint32_t>(format->sizes[size.index].second);
    return 0;
  }
  if (size.index > 0) return EINVAL;
  const v4l2_frmsize_stepwise& range = format->range;
  size.type = range.step_width == 1 && range.step_height == 1 ? V4L2_FRMSIZE_TYPE_CONTINUOUS
                                                              : V4L2_FRMSIZE_TYPE_STEPWISE;
  size.stepwise = range;
  return 0;
}

// What the device makes of a wished format: its own pixel format when it has the wished one not,
// the nearest size it has.
v4l2_pix_format FakeV4l2System::Fit(const Node& node, const v4l2_pix_format& wanted) const {
  const auto& formats = node.device.formats;
  if (formats.empty()) return {};
  auto format = std::find_if(formats.begin(), formats.end(), [&wanted](const auto& candidate) {
    return candidate.fourcc == wanted.pixelformat;
  });
  if (format == formats.end()) format = formats.begin();
  std::uint32_t width = 0, height = 0;
  if (!format->sizes.empty()) {
    const auto distance = [&wanted](const std::pair<int, int>& size) {
      return std::abs(size.first - static_cast<int>(wanted.width)) +
             std::abs(size.second - static_cast<int>(wanted.height));
    };
    const auto nearest =
        std::min_element(format->sizes.begin(), format->sizes.end(),
                         [&](const auto& a, const auto& b) { return distance(a) < distance(b); });
    width = static_cast<std::uint32_t>(nearest->first);
    height = static_cast<std::uint32_t>(nearest->second);
  } else {
    const v4l2_frmsize_stepwise& range = format->range;
    width = Snap(wanted.width, range.min_width, range.max_width, range.step_width);
    height = Snap(wanted.height, range.min_height, range.max_height, range.step_height);
  }
  v4l2_pix_format fitted{};
  fitted.width = width;
  fitted.height = height;
  fitted.pixelformat = format->fourcc;
  fitted.field = V4L2_FIELD_NONE;
  fitted.bytesperline =
      width * static_cast<std::uint32_t>(BytesPerPixelOfFirstPlane(format->fourcc));
  fitted.sizeimage = IsCompressed(format->fourcc)  ? width * height * 3 + kJpegHeadersBytes
                     : IsPlanar420(format->fourcc) ? fitted.bytesperline * height * 3 / 2
                                                   : fitted.bytesperline * height;
  fitted.colorspace = IsCompressed(format->fourcc) ? V4L2_COLORSPACE_JPEG : V4L2_COLORSPACE_SRGB;
  fitted.quantization = node.device.quantization;
  return fitted;
}

int FakeV4l2System::SetFormat(Node& node, v4l2_format& format) {
  if (format.type != V4L2_BUF_TYPE_VIDEO_CAPTURE) return EINVAL;
  if (!node.buffers.empty()) return EBUSY;
  node.format = Fit(node, format.fmt.pix);
  format.fmt.pix = node.format;
  node.rate = node.device.rates.empty()
                  ? 0
                  : node.device.rates.front();  // a new format runs at its default rate
  return 0;
}

int FakeV4l2System::StreamParameters(Node& node, v4l2_streamparm& parameters, bool set) {
  if (parameters.type != V4L2_BUF_TYPE_VIDEO_CAPTURE || node.device.rates.empty()) return ENOTTY;
  if (set) {
    if (!node.device.has_rate_choice) return ENOTTY;
    if (node.streaming) return EBUSY;
    const v4l2_fract period = parameters.parm.capture.timeperframe;
    if (period.numerator == 0) return EINVAL;
    const double wished = static_cast<double>(period.denominator) / period.numerator;
    node.rate = *std::min_element(
        node.device.rates.begin(), node.device.rates.end(),
        [wished](int a, int b) { return std::abs(a - wished) < std::abs(b - wished); });
  }
  parameters.parm.capture = v4l2_captureparm{};
  parameters.parm.capture.capability = node.device.has_rate_choice ? V4L2_CAP_TIMEPERFRAME : 0;
  parameters.parm.capture.timeperframe = {1, static_cast<std::uint32_t>(node.rate)};
  return 0;
}

int FakeV4l2System::EnumerateInput(const Node& node, v4l2_input& input) const {
  if (input.index >= node.device.inputs.size()) return EINVAL;
  CopyText(input.name, node.device.inputs[input.index]);
  input.type =
      (node.device.node_caps & V4L2_CAP_TUNER) ? V4L2_INPUT_TYPE_TUNER : V4L2_INPUT_TYPE_CAMERA;
  return 0;
}

int FakeV4l2System::QueryControl(const Node& node, v4l2_queryctrl& query) const {
  const auto& controls = node.device.controls;
  const FakeV4l2Device::Control* found = nullptr;
  if (query.id & V4L2_CTRL_FLAG_NEXT_CTRL) {
    const std::uint32_t after =
        query.id & ~(V4L2_CTRL_FLAG_NEXT_CTRL | V4L2_CTRL_FLAG_NEXT_COMPOUND);
    for (const auto& control : controls) {
      if (control.id > after && (!found || control.id < found->id)) found = &control;
    }
  } else {
    for (const auto& control : controls) {
      if (control.id == query.id) found = &control;
    }
  }
  if (!found) return EINVAL;
  query = v4l2_queryctrl{};
  query.id = found->id;
  query.type = found->type;
  CopyText(query.name, found->name);
  query.minimum = found->minimum;
  query.maximum = found->maximum;
  query.step = found->step;
  query.default_value = found->default_value;
  query.flags = found->flags;
  return 0;
}

int FakeV4l2System::Control(Node& node, v4l2_control& control, bool set) {
  for (auto& candidate : node.device.controls) {
    if (candidate.id != control.id) continue;
    if (candidate.flags & V4L2_CTRL_FLAG_DISABLED) return EINVAL;
    if (!set) {
      control.value = candidate.value;
      return 0;
    }
    if (candidate.flags & V4L2_CTRL_FLAG_READ_ONLY) return EACCES;
    if (control.value < candidate.minimum || control.value > candidate.maximum) return ERANGE;
    candidate.value = control.value;
    return 0;
  }
  return EINVAL;
}

int FakeV4l2System::RequestBuffers(int fd, Node& node, v4l2_requestbuffers& request) {
  if (request.type != V4L2_BUF_TYPE_VIDEO_CAPTURE || request.memory != V4L2_MEMORY_MMAP)
    return EINVAL;
  if (node.buffer_owner != -1 && node.buffer_owner != fd) return EBUSY;
  if (HasMappings(files_.at(fd))) return EBUSY;  // buffers still mapped cannot be given back
  if (request.count == 0) {
    ReleaseBuffers(node);
    return 0;
  }
  if (node.streaming) return EBUSY;
  ReleaseBuffers(node);
  const std::uint32_t count = std::min(request.count, kMostBuffers);
  for (std::uint32_t index = 0; index < count; ++index) {
    Buffer buffer;
    buffer.memory = std::make_shared<std::vector<std::uint8_t>>(node.format.sizeimage);
    buffer.state.index = index;
    buffer.state.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.state.memory = V4L2_MEMORY_MMAP;
    buffer.state.length = node.format.sizeimage;
    buffer.state.m.offset = index * kBufferOffsetStep;
    node.buffers.push_back(std::move(buffer));
  }
  node.buffer_owner = fd;
  request.count = count;
  return 0;
}

int FakeV4l2System::QueryBuffer(const Node& node, v4l2_buffer& buffer) const {
  if (buffer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE || buffer.index >= node.buffers.size())
    return EINVAL;
  buffer = node.buffers[buffer.index].state;
  return 0;
}

int FakeV4l2System::QueueBuffer(int fd, Node& node, v4l2_buffer& buffer) {
  if (node.buffer_owner != fd) return EBUSY;
  if (buffer.memory != V4L2_MEMORY_MMAP || buffer.index >= node.buffers.size()) return EINVAL;
  v4l2_buffer& state = node.buffers[buffer.index].state;
  if (state.flags & V4L2_BUF_FLAG_QUEUED) return EINVAL;
  state.flags = V4L2_BUF_FLAG_QUEUED;
  node.queued.push_back(buffer.index);
  buffer = state;
  return 0;
}

int FakeV4l2System::DequeueBuffer(int fd, Node& node, v4l2_buffer& buffer) {
  if (node.buffer_owner != fd || buffer.memory != V4L2_MEMORY_MMAP) return EINVAL;
  if (!node.streaming) return EINVAL;
  if (!FrameReady(node)) return EAGAIN;
  Buffer& filled = node.buffers[node.queued.front()];
  node.queued.pop_front();
  const Frame frame = std::move(node.frames.front());
  node.frames.pop_front();
  const std::size_t used = std::min(frame.bytes.size(), filled.memory->size());
  std::copy_n(frame.bytes.begin(), used, filled.memory->begin());
  v4l2_buffer& state = filled.state;
  state.bytesused = static_cast<std::uint32_t>(used);
  state.flags = V4L2_BUF_FLAG_DONE | V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC |
                (frame.damaged ? V4L2_BUF_FLAG_ERROR : 0);
  state.timestamp.tv_sec = frame.timestamp_us / 1'000'000;
  state.timestamp.tv_usec = frame.timestamp_us % 1'000'000;
  state.sequence = node.sequence++;
  buffer = state;
  return 0;
}

int FakeV4l2System::StreamOn(int fd, Node& node) {
  if (node.buffer_owner != fd || node.buffers.empty()) return EINVAL;
  node.streaming = true;
  ++node.stream_starts;
  return 0;
}

}  // namespace zr::testing
