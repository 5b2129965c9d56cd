#pragma once
// A played set of V4L2 device nodes behind the system-call seam: capabilities, formats and frame
// sizes, inputs, controls, a rate, mapped buffers that the test fills with frames, and the
// failures of real devices (busy on open, unplugged mid-stream, a stream that goes silent).
// It holds the program to the rules the drivers enforce (no new format while buffers are
// allocated, no rate or input change while streaming, buffers only through the file that
// requested them) and keeps count of open files and mappings, so a test can check that every
// one was given back.
//
// Threads: every call may come from any thread.

#include <linux/videodev2.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/linux/v4l2_system.h"

namespace zr::testing {

struct FakeV4l2Device {
  struct Format {
    std::uint32_t fourcc = 0;
    std::vector<std::pair<int, int>> sizes;  // discrete sizes; empty when `range` is used
    v4l2_frmsize_stepwise range{};
  };
  struct Control {
    std::uint32_t id = 0;
    std::string name;
    std::uint32_t type = V4L2_CTRL_TYPE_INTEGER;
    int minimum = 0;
    int maximum = 255;
    int step = 1;
    int default_value = 128;
    std::uint32_t flags = 0;
    int value = 128;
  };

  std::string card = "Fake Camera";
  // The capabilities of this node, and of the whole device (0: the same as the node's).
  std::uint32_t node_caps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
  std::uint32_t device_wide_caps = 0;
  bool reports_node_caps = true;  // false: an old driver that knows no V4L2_CAP_DEVICE_CAPS
  int open_error = 0;             // the errno every open answers with (EBUSY, EACCES), 0: opens

  std::vector<Format> formats;
  bool lists_frame_sizes = true;  // false: sizes only through VIDIOC_TRY_FMT, as on TV cards
  std::uint32_t quantization = V4L2_QUANTIZATION_DEFAULT;

  std::vector<std::string> inputs = {"Camera 1"};
  std::vector<Control> controls;

  bool has_rate_choice = true;
  std::vector<int> rates = {
      30, 15, 5};  // frames per second the device can run at; the first is its default
};

class FakeV4l2System final : public platform::linux_impl::V4l2System {
 public:
  // A node at `path` (/dev/videoN) that plays `device`.
  void AddDevice(const std::string& path, FakeV4l2Device device);

  // A frame the device delivers as soon as it streams and has a buffer queued; `damaged` marks it
  // as broken in transfer (V4L2_BUF_FLAG_ERROR).
  void SendFrame(const std::string& path, std::vector<std::uint8_t> bytes,
                 std::int64_t timestamp_us, bool damaged = false);
  // The device goes away: its node disappears, every call on its files fails with ENODEV.
  void Unplug(const std::string& path);
  // The device streams but sends nothing, and each poll's time passes at once, so the time
  // without a picture runs out quickly.
  void Stall(const std::string& path);

  // What the device is set to now.
  v4l2_pix_format CurrentFormat(const std::string& path) const;
  int CurrentInput(const std::string& path) const;
  int ControlValue(const std::string& path, std::uint32_t id) const;
  int FramesPerSecond(const std::string& path) const;
  bool IsStreaming(const std::string& path) const;
  std::size_t AllocatedBuffers(const std::string& path) const;
  int StreamStarts(const std::string& path) const;  // STREAMON calls so far

  int OpenFiles() const;
  int Mappings() const;
  // Calls the drivers would refuse or that touch what is not there (closing an unknown file,
  // unmapping an unknown address); empty when the program kept to the rules.
  std::vector<std::string> Misuses() const;

  std::vector<std::string> ListVideoNodes() override;
  int Open(const std::string& path, int flags) override;
  int Close(int fd) override;
  int Ioctl(int fd, unsigned long request, void* argument) override;
  void* Mmap(std::size_t length, int fd, off_t offset) override;
  int Munmap(void* address, std::size_t length) override;
  int Poll(pollfd& entry, int timeout_ms) override;

 private:
  struct Frame {
    std::vector<std::uint8_t> bytes;
    std::int64_t timestamp_us = 0;
    bool damaged = false;
  };
  struct Buffer {
    std::shared_ptr<std::vector<std::uint8_t>>
        memory;  // shared with its mappings, as the kernel's pages are
    v4l2_buffer state{};
  };
  struct Node {
    FakeV4l2Device device;
    v4l2_pix_format format{};
    int input = 0;
    int rate = 0;
    bool unplugged = false;
    bool stalled = false;
    std::vector<Buffer> buffers;
    int buffer_owner = -1;  // the file that requested the buffers
    std::deque<std::uint32_t> queued;
    bool streaming = false;
    int stream_starts = 0;
    std::uint32_t sequence = 0;
    std::deque<Frame> frames;
  };
  struct MappingRecord {
    std::size_t length = 0;
    std::string path;
    std::shared_ptr<std::vector<std::uint8_t>> memory;
  };

  Node* NodeOf(int fd);
  const Node& NodeAt(const std::string& path) const;
  int Fail(int error);
  void Misuse(const std::string& what);
  bool HasMappings(const std::string& path) const;
  bool FrameReady(const Node& node) const;
  void ReleaseBuffers(Node& node);

  int Capability(const Node& node, v4l2_capability& capability) const;
  int EnumerateFormat(const Node& node, v4l2_fmtdesc& description) const;
  int EnumerateFrameSizes(const Node& node, v4l2_frmsizeenum& size) const;
  v4l2_pix_format Fit(const Node& node, const v4l2_pix_format& wanted) const;
  int SetFormat(Node& node, v4l2_format& format);
  int StreamParameters(Node& node, v4l2_streamparm& parameters, bool set);
  int EnumerateInput(const Node& node, v4l2_input& input) const;
  int QueryControl(const Node& node, v4l2_queryctrl& query) const;
  int Control(Node& node, v4l2_control& control, bool set);
  int RequestBuffers(int fd, Node& node, v4l2_requestbuffers& request);
  int QueryBuffer(const Node& node, v4l2_buffer& buffer) const;
  int QueueBuffer(int fd, Node& node, v4l2_buffer& buffer);
  int DequeueBuffer(int fd, Node& node, v4l2_buffer& buffer);
  int StreamOn(int fd, Node& node);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::map<std::string, Node> nodes_;
  std::map<int, std::string> files_;
  std::map<void*, MappingRecord> mappings_;
  std::vector<std::string> misuses_;
  int next_fd_ = 100;
};

}  // namespace zr::testing
