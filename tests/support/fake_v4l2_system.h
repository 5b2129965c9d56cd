#pragma once
// Played V4L2 device nodes behind the system-call seam: capabilities, formats and sizes, inputs,
// controls, and mapped buffers the test fills with frames. It refuses what the drivers refuse (a
// new format while buffers are allocated, an input change while streaming, buffers through another
// file), plays the failures of real devices (busy, unplugged) and counts open files and mappings,
// so a test can check that every one was given back.
// Threads: every call may come from any thread.

#include <linux/videodev2.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
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
    int minimum = 0, maximum = 255, step = 1, default_value = 128;
    std::uint32_t flags = 0;
    int value = 128;
  };

  std::string card = "Fake Camera";
  std::uint32_t node_caps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
  std::uint32_t device_wide_caps = 0;  // of all the device's nodes; 0: the same as this node's
  bool old_driver = false;             // knows no V4L2_CAP_DEVICE_CAPS: gives the whole device's only
  int open_error = 0;                  // the errno every open answers with (EBUSY, EACCES), 0: opens
  std::vector<Format> formats;
  bool lists_frame_sizes = true;  // false: sizes only through VIDIOC_TRY_FMT, as on TV cards
  std::uint32_t quantization = V4L2_QUANTIZATION_DEFAULT;
  std::vector<std::string> inputs = {"Camera 1"};
  std::vector<Control> controls;
  // A TV card's tuner, behind the input `tuner_input`: its range and units as VIDIOC_G_TUNER
  // gives them, and the signal strength at each frequency (in its units) that carries a station.
  struct Tuner {
    std::uint32_t capability = 0;
    std::uint32_t range_low = 0;
    std::uint32_t range_high = 0;
    std::map<std::uint32_t, std::uint16_t> signals;
  };
  std::optional<Tuner> tuner;
  std::size_t tuner_input = 0;
  v4l2_std_id standard = V4L2_STD_PAL_BG;  // what the card is set to
};

// What a device is set to now.
struct FakeV4l2State {
  v4l2_pix_format format{};
  int input = 0;
  bool streaming = false;
  int stream_starts = 0;  // STREAMON calls so far
  std::uint32_t frequency = 0;
  v4l2_std_id standard = 0;
};

class FakeV4l2System final : public platform::linux_impl::V4l2System {
 public:
  // A node at `path` (/dev/videoN) that plays `device`.
  void AddDevice(const std::string& path, FakeV4l2Device device);
  // A frame the device delivers as soon as it streams and has a buffer queued; `damaged` marks it
  // as broken in transfer (V4L2_BUF_FLAG_ERROR).
  void SendFrame(const std::string& path, std::vector<std::uint8_t> bytes, std::int64_t timestamp_us,
                 bool damaged = false);
  // The device goes away: its node disappears, every call on its files fails with ENODEV.
  void Unplug(const std::string& path);

  FakeV4l2State State(const std::string& path) const;
  int OpenFiles() const;
  int Mappings() const;
  // Calls that touch what is not there or block (a blocking open, closing a file not open,
  // mapping what is no buffer, unmapping what was not mapped so); empty when there were none.
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
    std::shared_ptr<std::vector<std::uint8_t>> memory;  // shared with its mapping
    v4l2_buffer state{};
  };
  struct Node {
    FakeV4l2Device device;
    FakeV4l2State state;
    bool unplugged = false;
    std::vector<Buffer> buffers;
    int buffer_owner = -1;  // the file that requested the buffers
    std::deque<std::uint32_t> queued;
    std::deque<Frame> frames;

    bool FrameReady() const { return state.streaming && !frames.empty() && !queued.empty(); }
    void ReleaseBuffers() {
      state.streaming = false;
      queued.clear();
      buffers.clear();
      buffer_owner = -1;
    }
  };
  struct Mapping {
    std::size_t length = 0;
    const Node* node = nullptr;
    std::shared_ptr<std::vector<std::uint8_t>> memory;  // outlives the buffer, as pages do
  };

  Node* NodeOf(int fd);
  int HandleIoctl(int fd, Node& node, unsigned long request, void* argument);
  static const FakeV4l2Device::Format* FormatOf(const Node& node, std::uint32_t fourcc);
  static v4l2_pix_format Fit(const Node& node, const v4l2_pix_format& wanted);
  static int EnumerateFrameSizes(const Node& node, v4l2_frmsizeenum& size);
  static int NextControl(const Node& node, v4l2_queryctrl& query);
  static int Control(Node& node, v4l2_control& control, bool set);
  static int TunerCall(Node& node, unsigned long request, void* argument);
  int RequestBuffers(int fd, Node& node, v4l2_requestbuffers& request);
  static int DequeueBuffer(Node& node, v4l2_buffer& buffer);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::map<std::string, Node> nodes_;
  std::map<int, std::string> files_;
  std::map<void*, Mapping> mappings_;
  std::vector<std::string> misuses_;
  int next_fd_ = 100;
};

}  // namespace zr::testing
