#include "tests/support/fake_v4l2_system.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <tuple>

namespace zr::testing {
namespace {

constexpr std::uint32_t kMostBuffers = 8;
constexpr std::uint32_t kBufferOffsetStep = 1u << 16;
// Room for the tables of a JPEG picture, which may outweigh the picture when it is small.
constexpr std::uint32_t kJpegHeadersBytes = 4096;

// Unterminated when the text fills the field, as the drivers do.
template <std::size_t N>
void CopyText(std::uint8_t (&field)[N], const std::string& text) {
  std::memset(field, 0, N);
  std::memcpy(field, text.data(), std::min(text.size(), N));
}

std::uint32_t Snap(std::uint32_t wanted, std::uint32_t least, std::uint32_t most, std::uint32_t step) {
  const std::uint32_t clamped = std::clamp(wanted, least, most);
  return step == 0 ? clamped : least + (clamped - least) / step * step;
}

int Fail(int error) {
  errno = error;
  return -1;
}

template <class T>
T& As(void* argument) {
  return *static_cast<T*>(argument);
}

}  // namespace

// ---- The test's side -----------------------------------------------------------------------

void FakeV4l2System::AddDevice(const std::string& path, FakeV4l2Device device) {
  std::lock_guard lock(mutex_);
  Node& node = nodes_[path];
  node.device = std::move(device);
  node.state.format = Fit(node, v4l2_pix_format{});
  node.state.standard = node.device.standard;
}

void FakeV4l2System::SendFrame(const std::string& path, std::vector<std::uint8_t> bytes, std::int64_t timestamp_us,
                               bool damaged) {
  std::lock_guard lock(mutex_);
  nodes_.at(path).frames.push_back({std::move(bytes), timestamp_us, damaged});
  changed_.notify_all();
}

void FakeV4l2System::Unplug(const std::string& path) {
  std::lock_guard lock(mutex_);
  nodes_.at(path).unplugged = true;
  changed_.notify_all();
}

FakeV4l2State FakeV4l2System::State(const std::string& path) const {
  std::lock_guard lock(mutex_);
  return nodes_.at(path).state;
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
  if (!(flags & O_NONBLOCK)) misuses_.push_back("opened " + path + " blocking");
  files_[next_fd_] = path;
  return next_fd_++;
}

int FakeV4l2System::Close(int fd) {
  std::lock_guard lock(mutex_);
  Node* node = NodeOf(fd);
  if (!node) {
    misuses_.push_back("closed file " + std::to_string(fd) + ", which is not open");
    return Fail(EBADF);
  }
  if (node->buffer_owner == fd) node->ReleaseBuffers();  // as the drivers do when the owner closes
  files_.erase(fd);
  return 0;
}

int FakeV4l2System::Ioctl(int fd, unsigned long request, void* argument) {
  std::lock_guard lock(mutex_);
  Node* node = NodeOf(fd);
  if (!node) return Fail(EBADF);
  const int error = node->unplugged ? ENODEV : HandleIoctl(fd, *node, request, argument);
  changed_.notify_all();
  return error == 0 ? 0 : Fail(error);
}

void* FakeV4l2System::Mmap(std::size_t length, int fd, off_t offset) {
  std::lock_guard lock(mutex_);
  Node* node = NodeOf(fd);
  if (!node) {
    errno = EBADF;
    return MAP_FAILED;
  }
  for (const Buffer& buffer : node->buffers) {
    if (static_cast<off_t>(buffer.state.m.offset) == offset && length <= buffer.memory->size()) {
      mappings_[buffer.memory->data()] = {length, node, buffer.memory};
      return buffer.memory->data();
    }
  }
  misuses_.push_back("mapped " + std::to_string(length) + " bytes at " + std::to_string(offset));
  errno = EINVAL;
  return MAP_FAILED;
}

int FakeV4l2System::Munmap(void* address, std::size_t length) {
  std::lock_guard lock(mutex_);
  const auto found = mappings_.find(address);
  if (found == mappings_.end() || found->second.length != length) {
    misuses_.push_back("unmapped " + std::to_string(length) + " bytes that were not mapped so");
    return Fail(EINVAL);
  }
  mappings_.erase(found);
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
  changed_.wait_for(lock, std::chrono::milliseconds(timeout_ms), [&] { return node->unplugged || node->FrameReady(); });
  entry.revents = node->unplugged ? POLLERR : node->FrameReady() ? POLLIN : 0;
  return entry.revents != 0 ? 1 : 0;
}

// ---- The devices' answers ---------------------------------------------------------------------

FakeV4l2System::Node* FakeV4l2System::NodeOf(int fd) {
  const auto file = files_.find(fd);
  return file == files_.end() ? nullptr : &nodes_.at(file->second);
}

int FakeV4l2System::HandleIoctl(int fd, Node& node, unsigned long request, void* argument) {
  const FakeV4l2Device& device = node.device;
  FakeV4l2State& state = node.state;
  switch (request) {
    case VIDIOC_QUERYCAP: {
      auto& capability = As<v4l2_capability>(argument);
      capability = v4l2_capability{};
      CopyText(capability.card, device.card);
      capability.capabilities = device.device_wide_caps ? device.device_wide_caps : device.node_caps;
      if (!device.old_driver) {
        capability.capabilities |= V4L2_CAP_DEVICE_CAPS;
        capability.device_caps = device.node_caps;
      }
      return 0;
    }
    case VIDIOC_ENUM_FMT: {
      auto& description = As<v4l2_fmtdesc>(argument);
      if (description.index >= device.formats.size()) return EINVAL;
      description.pixelformat = device.formats[description.index].fourcc;
      return 0;
    }
    case VIDIOC_ENUM_FRAMESIZES:
      return EnumerateFrameSizes(node, As<v4l2_frmsizeenum>(argument));
    case VIDIOC_G_FMT:
      As<v4l2_format>(argument).fmt.pix = state.format;
      return 0;
    case VIDIOC_TRY_FMT:
      As<v4l2_format>(argument).fmt.pix = Fit(node, As<v4l2_format>(argument).fmt.pix);
      return 0;
    case VIDIOC_S_FMT:
      if (!node.buffers.empty()) return EBUSY;
      state.format = As<v4l2_format>(argument).fmt.pix = Fit(node, As<v4l2_format>(argument).fmt.pix);
      return 0;
    case VIDIOC_ENUMINPUT: {
      auto& input = As<v4l2_input>(argument);
      if (input.index >= device.inputs.size()) return EINVAL;
      CopyText(input.name, device.inputs[input.index]);
      if (device.tuner && input.index == device.tuner_input) input.type = V4L2_INPUT_TYPE_TUNER;
      return 0;
    }
    case VIDIOC_G_TUNER:
    case VIDIOC_S_FREQUENCY:
    case VIDIOC_G_STD:
    case VIDIOC_S_STD:
      return TunerCall(node, request, argument);
    case VIDIOC_G_INPUT:
      As<int>(argument) = state.input;
      return 0;
    case VIDIOC_S_INPUT: {
      const int index = As<int>(argument);
      if (state.streaming) return EBUSY;
      if (index < 0 || static_cast<std::size_t>(index) >= device.inputs.size()) return EINVAL;
      state.input = index;
      return 0;
    }
    case VIDIOC_QUERYCTRL:
      return NextControl(node, As<v4l2_queryctrl>(argument));
    case VIDIOC_G_CTRL:
    case VIDIOC_S_CTRL:
      return Control(node, As<v4l2_control>(argument), request == VIDIOC_S_CTRL);
    case VIDIOC_REQBUFS:
      return RequestBuffers(fd, node, As<v4l2_requestbuffers>(argument));
    case VIDIOC_QUERYBUF: {
      auto& buffer = As<v4l2_buffer>(argument);
      if (buffer.index >= node.buffers.size()) return EINVAL;
      buffer = node.buffers[buffer.index].state;
      return 0;
    }
    case VIDIOC_QBUF: {
      auto& buffer = As<v4l2_buffer>(argument);
      if (node.buffer_owner != fd || buffer.index >= node.buffers.size()) return EINVAL;
      v4l2_buffer& queued = node.buffers[buffer.index].state;
      if (queued.flags & V4L2_BUF_FLAG_QUEUED) return EINVAL;
      queued.flags = V4L2_BUF_FLAG_QUEUED;
      node.queued.push_back(buffer.index);
      buffer = queued;
      return 0;
    }
    case VIDIOC_DQBUF:
      if (node.buffer_owner != fd || !state.streaming) return EINVAL;
      return node.FrameReady() ? DequeueBuffer(node, As<v4l2_buffer>(argument)) : EAGAIN;
    case VIDIOC_STREAMON:
      if (node.buffer_owner != fd || node.buffers.empty()) return EINVAL;
      state.streaming = true;
      ++state.stream_starts;
      return 0;
    case VIDIOC_STREAMOFF:
      if (node.buffer_owner != fd) return EINVAL;
      state.streaming = false;
      node.queued.clear();
      return 0;
    default:
      return ENOTTY;
  }
}

// A card takes a new standard only while it does not stream, and a frequency only in its range.
int FakeV4l2System::TunerCall(Node& node, unsigned long request, void* argument) {
  const auto& tuner = node.device.tuner;
  FakeV4l2State& state = node.state;
  if (!tuner) return ENOTTY;
  switch (request) {
    case VIDIOC_G_TUNER: {
      auto& asked = As<v4l2_tuner>(argument);
      if (asked.index != 0) return EINVAL;
      asked.type = V4L2_TUNER_ANALOG_TV;
      asked.capability = tuner->capability;
      asked.rangelow = tuner->range_low;
      asked.rangehigh = tuner->range_high;
      const auto station = tuner->signals.find(state.frequency);
      asked.signal = station == tuner->signals.end() ? 0 : station->second;
      return 0;
    }
    case VIDIOC_S_FREQUENCY: {
      const auto& asked = As<v4l2_frequency>(argument);
      if (asked.tuner != 0 || asked.type != V4L2_TUNER_ANALOG_TV) return EINVAL;
      if (asked.frequency < tuner->range_low || asked.frequency > tuner->range_high) return EINVAL;
      state.frequency = asked.frequency;
      return 0;
    }
    case VIDIOC_G_STD:
      As<v4l2_std_id>(argument) = state.standard;
      return 0;
    default:  // VIDIOC_S_STD
      if (state.streaming) return EBUSY;
      state.standard = As<v4l2_std_id>(argument);
      return 0;
  }
}

const FakeV4l2Device::Format* FakeV4l2System::FormatOf(const Node& node, std::uint32_t fourcc) {
  const auto& formats = node.device.formats;
  const auto found =
      std::find_if(formats.begin(), formats.end(), [fourcc](const auto& format) { return format.fourcc == fourcc; });
  return found == formats.end() ? nullptr : &*found;
}

// What the device makes of a wished format: its own first format when it has the wished one not,
// the wished size when it has it, else its first. Like some drivers, it leaves out the row length.
v4l2_pix_format FakeV4l2System::Fit(const Node& node, const v4l2_pix_format& wanted) {
  const FakeV4l2Device::Format* format = FormatOf(node, wanted.pixelformat);
  if (!format && node.device.formats.empty()) return {};
  if (!format) format = &node.device.formats.front();
  const v4l2_frmsize_stepwise& range = format->range;
  v4l2_pix_format fitted{};
  fitted.width = Snap(wanted.width, range.min_width, range.max_width, range.step_width);
  fitted.height = Snap(wanted.height, range.min_height, range.max_height, range.step_height);
  if (!format->sizes.empty()) {
    const std::pair<int, int> asked(wanted.width, wanted.height);
    const bool has = std::find(format->sizes.begin(), format->sizes.end(), asked) != format->sizes.end();
    std::tie(fitted.width, fitted.height) = has ? asked : format->sizes.front();
  }
  fitted.pixelformat = format->fourcc;
  fitted.field = V4L2_FIELD_NONE;
  fitted.sizeimage = fitted.width * fitted.height * 3 + kJpegHeadersBytes;  // fits every format
  fitted.quantization = node.device.quantization;
  return fitted;
}

int FakeV4l2System::EnumerateFrameSizes(const Node& node, v4l2_frmsizeenum& size) {
  const FakeV4l2Device::Format* format = FormatOf(node, size.pixel_format);
  if (!node.device.lists_frame_sizes) return ENOTTY;
  if (!format) return EINVAL;
  if (format->sizes.empty()) {  // a range is the only entry
    size.type = V4L2_FRMSIZE_TYPE_STEPWISE;
    size.stepwise = format->range;
    return size.index == 0 ? 0 : EINVAL;
  }
  if (size.index >= format->sizes.size()) return EINVAL;
  size.type = V4L2_FRMSIZE_TYPE_DISCRETE;
  size.discrete.width = static_cast<std::uint32_t>(format->sizes[size.index].first);
  size.discrete.height = static_cast<std::uint32_t>(format->sizes[size.index].second);
  return 0;
}

// Only the walk through all the controls, the way the program asks.
int FakeV4l2System::NextControl(const Node& node, v4l2_queryctrl& query) {
  const std::uint32_t after = query.id & ~V4L2_CTRL_FLAG_NEXT_CTRL;
  const FakeV4l2Device::Control* found = nullptr;
  for (const auto& control : node.device.controls) {
    if (control.id > after && (!found || control.id < found->id)) found = &control;
  }
  if (!(query.id & V4L2_CTRL_FLAG_NEXT_CTRL) || !found) return EINVAL;
  query = v4l2_queryctrl{
      found->id, found->type, {}, found->minimum, found->maximum, found->step, found->default_value, found->flags, {}};
  CopyText(query.name, found->name);
  return 0;
}

int FakeV4l2System::Control(Node& node, v4l2_control& control, bool set) {
  for (auto& candidate : node.device.controls) {
    if (candidate.id != control.id) continue;
    if (!set) {
      control.value = candidate.value;
    } else if (control.value < candidate.minimum || control.value > candidate.maximum) {
      return ERANGE;
    } else {
      candidate.value = control.value;
    }
    return 0;
  }
  return EINVAL;
}

int FakeV4l2System::RequestBuffers(int fd, Node& node, v4l2_requestbuffers& request) {
  if (request.memory != V4L2_MEMORY_MMAP) return EINVAL;
  if (node.buffer_owner != -1 && node.buffer_owner != fd) return EBUSY;
  // Buffers still mapped or streaming cannot be given back.
  if (node.state.streaming || std::any_of(mappings_.begin(), mappings_.end(),
                                          [&node](const auto& mapping) { return mapping.second.node == &node; }))
    return EBUSY;
  node.ReleaseBuffers();
  request.count = std::min(request.count, kMostBuffers);
  for (std::uint32_t index = 0; index < request.count; ++index) {
    Buffer& buffer = node.buffers.emplace_back();
    buffer.memory = std::make_shared<std::vector<std::uint8_t>>(node.state.format.sizeimage);
    buffer.state.index = index;
    buffer.state.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.state.memory = V4L2_MEMORY_MMAP;
    buffer.state.length = node.state.format.sizeimage;
    buffer.state.m.offset = index * kBufferOffsetStep;
  }
  if (request.count > 0) node.buffer_owner = fd;
  return 0;
}

int FakeV4l2System::DequeueBuffer(Node& node, v4l2_buffer& buffer) {
  Buffer& filled = node.buffers[node.queued.front()];
  node.queued.pop_front();
  const Frame frame = std::move(node.frames.front());
  node.frames.pop_front();
  const std::size_t used = std::min(frame.bytes.size(), filled.memory->size());
  std::copy_n(frame.bytes.begin(), used, filled.memory->begin());
  filled.state.bytesused = static_cast<std::uint32_t>(used);
  filled.state.flags = V4L2_BUF_FLAG_DONE | (frame.damaged ? V4L2_BUF_FLAG_ERROR : 0);
  filled.state.timestamp = {frame.timestamp_us / 1'000'000, frame.timestamp_us % 1'000'000};
  buffer = filled.state;
  return 0;
}

}  // namespace zr::testing
