#include "platform/linux/v4l2_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/fake_v4l2_system.h"

namespace zr::platform::linux_impl {
namespace {

using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::zr::testing::FakeV4l2Device;
using ::zr::testing::FakeV4l2System;

constexpr auto kPatience = std::chrono::seconds(2);
const std::string kCamera = "/dev/video0";

// ---- Devices ----------------------------------------------------------------------------------

FakeV4l2Device::Format Sizes(std::uint32_t fourcc, std::vector<std::pair<int, int>> sizes) {
  return {fourcc, std::move(sizes), {}};
}

FakeV4l2Device::Format Range(std::uint32_t fourcc, v4l2_frmsize_stepwise range) {
  return {fourcc, {}, range};
}

FakeV4l2Device Camera(std::vector<FakeV4l2Device::Format> formats) {
  FakeV4l2Device device;
  device.formats = std::move(formats);
  return device;
}

// ---- Frames -----------------------------------------------------------------------------------

struct Rgb {
  int red = 0, green = 0, blue = 0;
};
constexpr Rgb kRed{255, 0, 0};
constexpr Rgb kBlue{0, 0, 255};
constexpr Rgb kWhite{255, 255, 255};
constexpr Rgb kBlack{0, 0, 0};

using Painter = std::function<Rgb(int x, int y)>;

Painter TopAndBottom(Rgb top, Rgb bottom, int height) {
  return [=](int, int y) { return y < height / 2 ? top : bottom; };
}

std::uint8_t Byte(double value) {
  return static_cast<std::uint8_t>(std::clamp(std::lround(value), 0L, 255L));
}

struct Yuv {
  std::uint8_t y, u, v;
};

// BT.601 at video levels, as cameras send it.
Yuv VideoLevelsOf(Rgb colour) {
  const double r = colour.red / 255.0, g = colour.green / 255.0, b = colour.blue / 255.0;
  return {Byte(16 + 65.481 * r + 128.553 * g + 24.966 * b),
          Byte(128 - 37.797 * r - 74.203 * g + 112.0 * b),
          Byte(128 + 112.0 * r - 93.786 * g - 18.214 * b)};
}

// A raw frame with packed rows; the chroma of a block of pixels is its top-left pixel's.
std::vector<std::uint8_t> RawFrame(std::uint32_t fourcc, int width, int height,
                                   const Painter& paint) {
  std::vector<std::uint8_t> bytes;
  const auto yuv = [&](int x, int y) { return VideoLevelsOf(paint(x, y)); };
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const Rgb rgb = paint(x, y);
      const Yuv pixel = yuv(x, y), pair = yuv(x & ~1, y);
      switch (fourcc) {
        case V4L2_PIX_FMT_YUYV:
          bytes.insert(bytes.end(), {pixel.y, (x % 2) ? pair.v : pair.u});
          break;
        case V4L2_PIX_FMT_UYVY:
          bytes.insert(bytes.end(), {(x % 2) ? pair.v : pair.u, pixel.y});
          break;
        case V4L2_PIX_FMT_RGB24:
          bytes.insert(bytes.end(), {Byte(rgb.red), Byte(rgb.green), Byte(rgb.blue)});
          break;
        case V4L2_PIX_FMT_BGR24:
          bytes.insert(bytes.end(), {Byte(rgb.blue), Byte(rgb.green), Byte(rgb.red)});
          break;
        case V4L2_PIX_FMT_GREY:
          bytes.push_back(Byte((rgb.red + rgb.green + rgb.blue) / 3.0));
          break;
        default:  // the luma plane of the 4:2:0 formats
          bytes.push_back(pixel.y);
      }
    }
  }
  if (fourcc == V4L2_PIX_FMT_YUV420) {
    for (const bool blue_difference : {true, false}) {
      for (int y = 0; y < height; y += 2) {
        for (int x = 0; x < width; x += 2)
          bytes.push_back(blue_difference ? yuv(x, y).u : yuv(x, y).v);
      }
    }
  } else if (fourcc == V4L2_PIX_FMT_NV12) {
    for (int y = 0; y < height; y += 2) {
      for (int x = 0; x < width; x += 2) bytes.insert(bytes.end(), {yuv(x, y).u, yuv(x, y).v});
    }
  }
  return bytes;
}

std::vector<std::uint8_t> JpegFrame(int width, int height, const Painter& paint) {
  std::vector<std::uint8_t> bgr;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const Rgb rgb = paint(x, y);
      bgr.insert(bgr.end(), {Byte(rgb.blue), Byte(rgb.green), Byte(rgb.red)});
    }
  }
  const std::unique_ptr<void, int (*)(tjhandle)> compressor(tjInitCompress(), tjDestroy);
  unsigned char* jpeg = nullptr;
  unsigned long size = 0;
  // Full-resolution colour, so the colours stay in their own 8x8 blocks.
  if (tjCompress2(compressor.get(), bgr.data(), width, width * 3, height, TJPF_BGR, &jpeg, &size,
                  TJSAMP_444, 95, 0) != 0) {
    ADD_FAILURE() << "cannot make the test JPEG: " << tjGetErrorStr2(compressor.get());
    return {};
  }
  std::vector<std::uint8_t> bytes(jpeg, jpeg + size);
  tjFree(jpeg);
  return bytes;
}

std::vector<std::uint8_t> FrameOf(std::uint32_t fourcc, int width, int height,
                                  const Painter& paint) {
  return fourcc == V4L2_PIX_FMT_MJPEG || fourcc == V4L2_PIX_FMT_JPEG
             ? JpegFrame(width, height, paint)
             : RawFrame(fourcc, width, height, paint);
}

::testing::AssertionResult HasColour(const Picture& picture, int x, int y_from_top, Rgb expected) {
  constexpr int kTolerance = 8;
  const std::uint8_t* bgr = picture.PixelFromTop(x, y_from_top);
  const Rgb seen{bgr[2], bgr[1], bgr[0]};
  if (std::abs(seen.red - expected.red) <= kTolerance &&
      std::abs(seen.green - expected.green) <= kTolerance &&
      std::abs(seen.blue - expected.blue) <= kTolerance)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << "pixel (" << x << ", " << y_from_top << ") is " << seen.red << "/" << seen.green << "/"
         << seen.blue << ", not " << expected.red << "/" << expected.green << "/" << expected.blue;
}

// ---- A sink that keeps what it gets ------------------------------------------------------------

class CollectingSink final : public FrameSink {
 public:
  void OnFrame(const CapturedFrame& frame) override {
    std::lock_guard lock(mutex_);
    frames_.push_back(frame);
    changed_.notify_all();
  }
  void OnSourceEnded(const std::string& message) override {
    std::lock_guard lock(mutex_);
    ended_ = message;
    changed_.notify_all();
  }

  // The frames so far once there are `count` of them, or after the patience ran out.
  std::vector<CapturedFrame> WaitForFrames(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, kPatience, [&] { return frames_.size() >= count; });
    return frames_;
  }
  std::optional<std::string> WaitForEnd(std::chrono::milliseconds patience = kPatience) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, patience, [&] { return ended_.has_value(); });
    return ended_;
  }
  std::size_t FrameCount() {
    std::lock_guard lock(mutex_);
    return frames_.size();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<CapturedFrame> frames_;
  std::optional<std::string> ended_;
};

class V4l2DeviceTest : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_THAT(system.Misuses(), IsEmpty()); }

  void ExpectEverythingGivenBack(const std::string& path = kCamera) {
    EXPECT_EQ(system.OpenFiles(), 0);
    EXPECT_EQ(system.Mappings(), 0);
    EXPECT_EQ(system.AllocatedBuffers(path), 0u);
    EXPECT_FALSE(system.IsStreaming(path));
  }

  std::unique_ptr<FrameSource> CameraSource(std::vector<FakeV4l2Device::Format> formats) {
    system.AddDevice(kCamera, Camera(std::move(formats)));
    return MakeV4l2Source(system, kCamera);
  }

  FakeV4l2System system;
  CollectingSink sink;
};

// ---- The device list --------------------------------------------------------------------------

TEST_F(V4l2DeviceTest, ListsTheCaptureNodesByNumberAndLeavesTheOthersOut) {
  FakeV4l2Device webcam;
  webcam.card = "USB Camera";
  system.AddDevice("/dev/video10", webcam);
  FakeV4l2Device tv;
  tv.card = "Television Card";
  tv.node_caps |= V4L2_CAP_TUNER;
  system.AddDevice("/dev/video2", tv);
  FakeV4l2Device metadata;  // the camera's second node: the device can capture, this node cannot
  metadata.node_caps = V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING;
  metadata.device_wide_caps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING;
  system.AddDevice("/dev/video11", metadata);
  FakeV4l2Device output;
  output.node_caps = V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_STREAMING;
  system.AddDevice("/dev/video3", output);
  FakeV4l2Device read_only;  // no streaming, only read()
  read_only.node_caps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_READWRITE;
  system.AddDevice("/dev/video4", read_only);

  const std::vector<V4l2DeviceInfo> devices = ListV4l2Devices(system);

  ASSERT_EQ(devices.size(), 2u);
  EXPECT_EQ(devices[0].path, "/dev/video2");
  EXPECT_EQ(devices[0].name, "Television Card");
  EXPECT_TRUE(devices[0].has_tuner);
  EXPECT_EQ(devices[1].path, "/dev/video10");
  EXPECT_EQ(devices[1].name, "USB Camera");
  EXPECT_FALSE(devices[1].has_tuner);
  EXPECT_EQ(system.OpenFiles(), 0);
}

TEST_F(V4l2DeviceTest, ListingTakesTheWholeDevicesCapabilitiesFromDriversWithoutNodeOnes) {
  FakeV4l2Device old_card;
  old_card.reports_node_caps = false;
  old_card.card = "An old card with a name that fills all 32 bytes";
  system.AddDevice("/dev/video0", old_card);
  FakeV4l2Device old_output = old_card;
  old_output.node_caps = V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_STREAMING;
  system.AddDevice("/dev/video1", old_output);

  EXPECT_THAT(
      ListV4l2Devices(system),
      ElementsAre(Field(&V4l2DeviceInfo::name, std::string("An old card with a name that fil"))));
}

TEST_F(V4l2DeviceTest, ListsDevicesThatAreBusyOrForbiddenButNotThoseGone) {
  FakeV4l2Device busy, forbidden, gone;
  busy.open_error = EBUSY;
  forbidden.open_error = EACCES;
  gone.open_error = ENODEV;
  system.AddDevice("/dev/video0", busy);
  system.AddDevice("/dev/video1", forbidden);
  system.AddDevice("/dev/video2", gone);

  const std::vector<V4l2DeviceInfo> devices = ListV4l2Devices(system);

  ASSERT_EQ(devices.size(), 2u);
  EXPECT_EQ(devices[0].path, "/dev/video0");
  EXPECT_EQ(devices[0].name, "/dev/video0");
  EXPECT_EQ(devices[1].path, "/dev/video1");
}

// ---- The format menu --------------------------------------------------------------------------

MATCHER_P3(Row, width, height, bits, "") {
  return arg.width == width && arg.height == height && arg.bits_per_pixel == bits;
}

TEST_F(V4l2DeviceTest, MenuHasOneRowPerSizeTakingUncompressedOverJpeg) {
  auto source =
      CameraSource({Sizes(V4L2_PIX_FMT_MJPEG, {{1280, 720}, {640, 480}, {1920, 1080}, {320, 240}}),
                    Sizes(V4L2_PIX_FMT_H264, {{3840, 2160}}),
                    Sizes(V4L2_PIX_FMT_YUYV, {{640, 480}, {320, 240}, {160, 120}}),
                    Sizes(V4L2_PIX_FMT_NV12, {{1280, 720}})});

  EXPECT_THAT(source->Formats(),
              ElementsAre(Row(160, 120, 16), Row(320, 240, 16), Row(640, 480, 16),
                          Row(1280, 720, 12), Row(1920, 1080, 24)));
  EXPECT_EQ(system.OpenFiles(), 0);
}

TEST_F(V4l2DeviceTest, MenuOffersTheCommonSizesWithinARange) {
  auto source = CameraSource({Range(V4L2_PIX_FMT_YUYV, {160, 800, 32, 120, 600, 8})});

  EXPECT_THAT(source->Formats(),
              ElementsAre(Row(160, 120, 16), Row(320, 240, 16), Row(352, 288, 16),
                          Row(640, 480, 16), Row(800, 600, 16)));
}

TEST_F(V4l2DeviceTest, MenuOfADeviceThatCannotListSizesHasTheSizesItKeeps) {
  FakeV4l2Device tv = Camera({Range(V4L2_PIX_FMT_GREY, {48, 768, 1, 32, 576, 1})});
  tv.lists_frame_sizes = false;
  system.AddDevice(kCamera, tv);

  EXPECT_THAT(MakeV4l2Source(system, kCamera)->Formats(),
              ElementsAre(Row(160, 120, 8), Row(176, 144, 8), Row(320, 240, 8), Row(352, 288, 8),
                          Row(640, 480, 8), Row(720, 480, 8), Row(720, 576, 8)));
}

TEST_F(V4l2DeviceTest, StartTakesTheChosenRowOrElseTheCurrentOrAModestSize) {
  // The device starts in a format the program cannot show, so its current size is no guide.
  auto source = CameraSource({Sizes(V4L2_PIX_FMT_H264, {{3840, 2160}}),
                              Sizes(V4L2_PIX_FMT_YUYV, {{320, 240}, {640, 480}, {1280, 720}}),
                              Sizes(V4L2_PIX_FMT_MJPEG, {{1920, 1080}})});
  EXPECT_EQ(source->Width(), 0);

  ASSERT_TRUE(source->Start(sink));
  EXPECT_EQ(source->Width(), 640);
  EXPECT_EQ(source->Height(), 480);
  EXPECT_EQ(system.CurrentFormat(kCamera).pixelformat, V4L2_PIX_FMT_YUYV);
  source->Stop();

  ASSERT_TRUE(source->SelectFormat(3));
  EXPECT_EQ(source->Width(), 1920);
  EXPECT_EQ(system.CurrentFormat(kCamera).width, 640u)
      << "a stopped source sets the format at Start";
  ASSERT_TRUE(source->Start(sink));
  EXPECT_EQ(system.CurrentFormat(kCamera).pixelformat, V4L2_PIX_FMT_MJPEG);
  EXPECT_EQ(system.CurrentFormat(kCamera).width, 1920u);
  source->Stop();

  EXPECT_FALSE(source->SelectFormat(4));
  EXPECT_FALSE(source->SelectFormat(-1));
  ExpectEverythingGivenBack();
}

TEST_F(V4l2DeviceTest, AnotherSourceKeepsTheDevicesCurrentSize) {
  auto source = CameraSource({Sizes(V4L2_PIX_FMT_YUYV, {{320, 240}, {640, 480}, {1280, 720}})});
  ASSERT_TRUE(source->SelectFormat(2));
  ASSERT_TRUE(source->Start(sink));
  source->Stop();

  auto second = MakeV4l2Source(system, kCamera);
  ASSERT_TRUE(second->Start(sink));
  EXPECT_EQ(second->Width(), 1280);
  second->Stop();
  ExpectEverythingGivenBack();
}

// ---- Rate, inputs and settings -----------------------------------------------------------------

TEST_F(V4l2DeviceTest, RateIsTheDevicesNearestAndOutlivesAFormatChange) {
  auto source = CameraSource({Sizes(V4L2_PIX_FMT_YUYV, {{320, 240}, {640, 480}})});
  EXPECT_DOUBLE_EQ(source->FramesPerSecond(), 30.0);

  ASSERT_TRUE(source->SetFramesPerSecond(14.0));
  EXPECT_EQ(system.FramesPerSecond(kCamera), 15);
  EXPECT_DOUBLE_EQ(source->FramesPerSecond(), 15.0);

  ASSERT_TRUE(source->Start(sink));  // the new format puts the device back to 30 first
  EXPECT_EQ(system.FramesPerSecond(kCamera), 15);
  ASSERT_TRUE(source->SetFramesPerSecond(5.0))
      << "the device takes no rate while streaming: restart";
  EXPECT_EQ(system.FramesPerSecond(kCamera), 5);
  EXPECT_DOUBLE_EQ(source->FramesPerSecond(), 5.0);
  EXPECT_TRUE(system.IsStreaming(kCamera));
  EXPECT_EQ(system.StreamStarts(kCamera), 2);

  EXPECT_FALSE(source->SetFramesPerSecond(0.0));
  EXPECT_FALSE(source->SetFramesPerSecond(-25.0));
  source->Stop();
  ExpectEverythingGivenBack();
}

TEST_F(V4l2DeviceTest, DeviceWithAFixedRateGivesItButTakesNone) {
  FakeV4l2Device pal = Camera({Sizes(V4L2_PIX_FMT_YUYV, {{720, 576}})});
  pal.has_rate_choice = false;
  pal.rates = {25};
  system.AddDevice(kCamera, pal);
  FakeV4l2Device rateless = Camera({Sizes(V4L2_PIX_FMT_YUYV, {{640, 480}})});
  rateless.rates.clear();
  system.AddDevice("/dev/video1", rateless);

  auto fixed = MakeV4l2Source(system, kCamera);
  EXPECT_DOUBLE_EQ(fixed->FramesPerSecond(), 25.0);
  EXPECT_FALSE(fixed->SetFramesPerSecond(30.0));
  EXPECT_DOUBLE_EQ(MakeV4l2Source(system, "/dev/video1")->FramesPerSecond(), 0.0);
  EXPECT_EQ(system.OpenFiles(), 0);
}

TEST_F(V4l2DeviceTest, InputsAreListedAndChosenEvenWhileStreaming) {
  FakeV4l2Device card = Camera({Sizes(V4L2_PIX_FMT_UYVY, {{720, 576}})});
  card.inputs = {"Television", "Composite", "S-Video"};
  system.AddDevice(kCamera, card);
  auto source = MakeV4l2Source(system, kCamera);

  EXPECT_THAT(source->Inputs(), ElementsAre("Television", "Composite", "S-Video"));
  ASSERT_TRUE(source->SelectInput(2));
  EXPECT_EQ(system.CurrentInput(kCamera), 2);
  EXPECT_EQ(source->CurrentInput(), 2);
  EXPECT_FALSE(source->SelectInput(3));

  ASSERT_TRUE(source->Start(sink));
  ASSERT_TRUE(source->SelectInput(1));
  EXPECT_EQ(system.CurrentInput(kCamera), 1);
  EXPECT_TRUE(system.IsStreaming(kCamera));
  source->Stop();
  ExpectEverythingGivenBack();
}

TEST_F(V4l2DeviceTest, SettingsAreTheRangesAndSwitchesTheOperatorCanChange) {
  FakeV4l2Device camera = Camera({Sizes(V4L2_PIX_FMT_YUYV, {{640, 480}})});
  camera.controls = {
      {V4L2_CID_AUTO_WHITE_BALANCE, "White Balance, Automatic", V4L2_CTRL_TYPE_BOOLEAN, 0, 1, 1, 1,
       0, 0},
      {V4L2_CID_BRIGHTNESS, "Brightness", V4L2_CTRL_TYPE_INTEGER, -64, 64, 2, 0, 0, 10},
      {V4L2_CID_CONTRAST, "Contrast", V4L2_CTRL_TYPE_INTEGER, 0, 100, 1, 50,
       V4L2_CTRL_FLAG_DISABLED, 50},
      {V4L2_CID_POWER_LINE_FREQUENCY, "Power Line Frequency", V4L2_CTRL_TYPE_MENU, 0, 2, 1, 1, 0,
       1},
      {V4L2_CID_EXPOSURE, "Exposure", V4L2_CTRL_TYPE_INTEGER, 1, 5000, 1, 156,
       V4L2_CTRL_FLAG_READ_ONLY, 156},
      {V4L2_CID_SHARPNESS, "Sharpness", V4L2_CTRL_TYPE_INTEGER, 0, 7, 0, 3, 0, 5},
  };
  system.AddDevice(kCamera, camera);
  auto source = MakeV4l2Source(system, kCamera);

  const std::vector<SourceControl> controls = source->Controls();

  ASSERT_EQ(controls.size(), 3u);
  EXPECT_EQ(controls[0].id, V4L2_CID_BRIGHTNESS);
  EXPECT_EQ(controls[0].name, "Brightness");
  EXPECT_EQ(controls[0].minimum, -64);
  EXPECT_EQ(controls[0].maximum, 64);
  EXPECT_EQ(controls[0].step, 2);
  EXPECT_EQ(controls[0].default_value, 0);
  EXPECT_EQ(controls[0].value, 10);
  EXPECT_FALSE(controls[0].is_switch);
  EXPECT_EQ(controls[1].id, V4L2_CID_AUTO_WHITE_BALANCE);
  EXPECT_TRUE(controls[1].is_switch);
  EXPECT_EQ(controls[1].value, 0);
  EXPECT_EQ(controls[2].id, V4L2_CID_SHARPNESS);
  EXPECT_EQ(controls[2].step, 1) << "a step of 0 is no step";
  EXPECT_EQ(system.OpenFiles(), 0);
}

TEST_F(V4l2DeviceTest, SettingAControlWritesTheDeviceAndRefusesWhatItRefuses) {
  FakeV4l2Device camera = Camera({Sizes(V4L2_PIX_FMT_YUYV, {{640, 480}})});
  camera.controls = {
      {V4L2_CID_BRIGHTNESS, "Brightness", V4L2_CTRL_TYPE_INTEGER, 0, 255, 1, 128, 0, 128}};
  system.AddDevice(kCamera, camera);
  auto source = MakeV4l2Source(system, kCamera);

  ASSERT_TRUE(source->SetControl(V4L2_CID_BRIGHTNESS, 200));
  EXPECT_EQ(system.ControlValue(kCamera, V4L2_CID_BRIGHTNESS), 200);
  EXPECT_EQ(source->Controls().at(0).value, 200);
  EXPECT_FALSE(source->SetControl(V4L2_CID_BRIGHTNESS, 256));
  EXPECT_FALSE(source->SetControl(V4L2_CID_HUE, 3));
  EXPECT_EQ(system.ControlValue(kCamera, V4L2_CID_BRIGHTNESS), 200);

  ASSERT_TRUE(source->Start(sink));
  ASSERT_TRUE(source->SetControl(V4L2_CID_BRIGHTNESS, 90)) << "settings change while streaming";
  EXPECT_EQ(system.ControlValue(kCamera, V4L2_CID_BRIGHTNESS), 90);
  EXPECT_EQ(system.StreamStarts(kCamera), 1);
  source->Stop();
  ExpectEverythingGivenBack();
}

// ---- Frames -----------------------------------------------------------------------------------

struct FormatCase {
  const char* name;
  std::uint32_t fourcc;
  Rgb top, bottom;
};

class V4l2FrameTest : public V4l2DeviceTest, public ::testing::WithParamInterface<FormatCase> {};

// Red over blue tells the rows' order, red from blue and the colour difference planes apart; an
// odd width of 18 pads the program's rows (54 bytes to 56).
TEST_P(V4l2FrameTest, FrameBecomesABottomUpBgrPictureOfItsColours) {
  constexpr int kWidth = 18, kHeight = 16;
  const FormatCase& format = GetParam();
  auto source = CameraSource({Sizes(format.fourcc, {{kWidth, kHeight}})});
  ASSERT_TRUE(source->Start(sink));
  system.SendFrame(
      kCamera,
      FrameOf(format.fourcc, kWidth, kHeight, TopAndBottom(format.top, format.bottom, kHeight)),
      1'000'000);

  const std::vector<CapturedFrame> frames = sink.WaitForFrames(1);
  ASSERT_EQ(frames.size(), 1u);
  const Picture& picture = *frames[0].picture;
  ASSERT_EQ(picture.width, kWidth);
  ASSERT_EQ(picture.height, kHeight);
  ASSERT_EQ(picture.bottom_up_bgr.size(), 56u * kHeight);
  // Rows next to the edge between the colours may blend them (4:2:0 chroma is shared by two
  // rows and interpolated); the others must not.
  for (const int x : {0, 1, kWidth / 2, kWidth - 1}) {
    EXPECT_TRUE(HasColour(picture, x, 0, format.top));
    EXPECT_TRUE(HasColour(picture, x, kHeight / 2 - 3, format.top));
    EXPECT_TRUE(HasColour(picture, x, kHeight / 2 + 2, format.bottom));
    EXPECT_TRUE(HasColour(picture, x, kHeight - 1, format.bottom));
  }
  // The first bytes in memory are the bottom row's.
  EXPECT_EQ(picture.bottom_up_bgr.data(), picture.PixelFromTop(0, kHeight - 1));
  source->Stop();
  ExpectEverythingGivenBack();
}

INSTANTIATE_TEST_SUITE_P(EveryFormat, V4l2FrameTest,
                         ::testing::Values(FormatCase{"YUYV", V4L2_PIX_FMT_YUYV, kRed, kBlue},
                                           FormatCase{"UYVY", V4L2_PIX_FMT_UYVY, kRed, kBlue},
                                           FormatCase{"NV12", V4L2_PIX_FMT_NV12, kRed, kBlue},
                                           FormatCase{"YUV420", V4L2_PIX_FMT_YUV420, kRed, kBlue},
                                           FormatCase{"RGB24", V4L2_PIX_FMT_RGB24, kRed, kBlue},
                                           FormatCase{"BGR24", V4L2_PIX_FMT_BGR24, kRed, kBlue},
                                           FormatCase{"GREY", V4L2_PIX_FMT_GREY, kWhite, kBlack},
                                           FormatCase{"MJPEG", V4L2_PIX_FMT_MJPEG, kRed, kBlue},
                                           FormatCase{"JPEG", V4L2_PIX_FMT_JPEG, kBlue, kRed}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(V4l2DeviceTest, FullRangeYuvIsReadAsSuch) {
  FakeV4l2Device camera = Camera({Sizes(V4L2_PIX_FMT_YUYV, {{8, 2}})});
  camera.quantization = V4L2_QUANTIZATION_FULL_RANGE;
  system.AddDevice(kCamera, camera);
  auto source = MakeV4l2Source(system, kCamera);
  ASSERT_TRUE(source->Start(sink));
  // Y 16 is black at video levels but a dark grey at full range.
  std::vector<std::uint8_t> dark(8 * 2 * 2, 128);
  for (std::size_t at = 0; at < dark.size(); at += 2) dark[at] = 16;
  system.SendFrame(kCamera, dark, 0);

  const std::vector<CapturedFrame> frames = sink.WaitForFrames(1);
  ASSERT_EQ(frames.size(), 1u);
  EXPECT_TRUE(HasColour(*frames[0].picture, 3, 1, {16, 16, 16}));
  source->Stop();
}

TEST_F(V4l2DeviceTest, FramesAreNumberedAndTimedFromTheFirstSkippingBrokenOnes) {
  auto source = CameraSource({Sizes(V4L2_PIX_FMT_GREY, {{4, 4}})});
  ASSERT_TRUE(source->Start(sink));
  const std::vector<std::uint8_t> grey(16, 100);
  system.SendFrame(kCamera, grey, 7'000'000);
  system.SendFrame(kCamera, grey, 7'040'000, /*damaged=*/true);
  system.SendFrame(kCamera, std::vector<std::uint8_t>(15, 100),
                   7'060'000);  // short: cut off in transfer
  system.SendFrame(kCamera, grey, 7'080'000);
  for (int frame = 0; frame < 6; ++frame)
    system.SendFrame(kCamera, grey, 7'120'000 + frame * 40'000);

  const std::vector<CapturedFrame> frames = sink.WaitForFrames(8);
  ASSERT_EQ(frames.size(), 8u) << "more frames than the device has buffers go round";
  EXPECT_EQ(frames[0].timestamp_us, 0);
  EXPECT_EQ(frames[0].sequence, 0);
  EXPECT_EQ(frames[1].timestamp_us, 80'000);
  EXPECT_EQ(frames[1].sequence, 1);
  EXPECT_EQ(frames[7].timestamp_us, 320'000);
  EXPECT_EQ(frames[7].sequence, 7);
  source->Stop();

  // A new start counts from nothing again.
  ASSERT_TRUE(source->Start(sink));
  system.SendFrame(kCamera, grey, 9'000'000);
  const std::vector<CapturedFrame> after_restart = sink.WaitForFrames(9);
  ASSERT_EQ(after_restart.size(), 9u);
  EXPECT_EQ(after_restart[8].sequence, 0);
  EXPECT_EQ(after_restart[8].timestamp_us, 0);
  source->Stop();
  ExpectEverythingGivenBack();
}

TEST_F(V4l2DeviceTest, NewFormatWhileRunningRestartsAtTheNewSizeAndCountsOn) {
  auto source = CameraSource({Sizes(V4L2_PIX_FMT_GREY, {{4, 4}, {8, 6}})});
  ASSERT_TRUE(source->Start(sink));
  system.SendFrame(kCamera, std::vector<std::uint8_t>(16, 50), 1'000'000);
  ASSERT_EQ(sink.WaitForFrames(1).size(), 1u);

  ASSERT_TRUE(source->SelectFormat(1));
  EXPECT_EQ(source->Width(), 8);
  EXPECT_EQ(source->Height(), 6);
  EXPECT_EQ(system.StreamStarts(kCamera), 2);
  system.SendFrame(kCamera, std::vector<std::uint8_t>(48, 50), 1'500'000);

  const std::vector<CapturedFrame> frames = sink.WaitForFrames(2);
  ASSERT_EQ(frames.size(), 2u);
  EXPECT_EQ(frames[1].picture->width, 8);
  EXPECT_EQ(frames[1].picture->height, 6);
  EXPECT_EQ(frames[1].sequence, 1);
  EXPECT_EQ(frames[1].timestamp_us, 500'000);
  source->Stop();
  ExpectEverythingGivenBack();
}

// ---- Failures and the end of a run -------------------------------------------------------------

TEST_F(V4l2DeviceTest, BusyDeviceDoesNotStart) {
  FakeV4l2Device busy = Camera({Sizes(V4L2_PIX_FMT_YUYV, {{640, 480}})});
  busy.open_error = EBUSY;
  system.AddDevice(kCamera, busy);
  auto source = MakeV4l2Source(system, kCamera);

  const Result<void> started = source->Start(sink);

  ASSERT_FALSE(started);
  EXPECT_EQ(started.error().message, "The device /dev/video0 is busy");
  source->Stop();
  EXPECT_EQ(system.OpenFiles(), 0);
}

TEST_F(V4l2DeviceTest, DeviceStreamingToAnotherSourceIsBusyAndKeepsStreaming) {
  auto first = CameraSource({Sizes(V4L2_PIX_FMT_GREY, {{4, 4}})});
  auto second = MakeV4l2Source(system, kCamera);
  ASSERT_TRUE(first->Start(sink));

  const Result<void> started = second->Start(sink);

  ASSERT_FALSE(started);
  EXPECT_EQ(started.error().message, "The device /dev/video0 is busy");
  system.SendFrame(kCamera, std::vector<std::uint8_t>(16, 0), 0);
  EXPECT_EQ(sink.WaitForFrames(1).size(), 1u);
  first->Stop();
  ExpectEverythingGivenBack();
}

TEST_F(V4l2DeviceTest, NodeThatCannotCaptureDoesNotStart) {
  FakeV4l2Device output = Camera({Sizes(V4L2_PIX_FMT_YUYV, {{640, 480}})});
  output.node_caps = V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_STREAMING;
  system.AddDevice(kCamera, output);

  EXPECT_FALSE(MakeV4l2Source(system, kCamera)->Start(sink));
  EXPECT_FALSE(MakeV4l2Source(system, "/dev/video7")->Start(sink));
  EXPECT_EQ(system.OpenFiles(), 0);
}

TEST_F(V4l2DeviceTest, UnpluggedDeviceEndsTheRunHavingGivenEverythingBack) {
  auto source = CameraSource({Sizes(V4L2_PIX_FMT_GREY, {{4, 4}})});
  ASSERT_TRUE(source->Start(sink));
  system.SendFrame(kCamera, std::vector<std::uint8_t>(16, 0), 0);
  ASSERT_EQ(sink.WaitForFrames(1).size(), 1u);

  system.Unplug(kCamera);

  EXPECT_EQ(sink.WaitForEnd(), "The device /dev/video0 was unplugged");
  EXPECT_EQ(system.OpenFiles(), 0);
  EXPECT_EQ(system.Mappings(), 0);
  source->Stop();
  EXPECT_EQ(sink.FrameCount(), 1u);
}

TEST_F(V4l2DeviceTest, DeviceThatSendsNothingEndsTheRun) {
  auto source = CameraSource({Sizes(V4L2_PIX_FMT_GREY, {{4, 4}})});
  ASSERT_TRUE(source->Start(sink));

  system.Stall(kCamera);

  EXPECT_EQ(sink.WaitForEnd(), "The device /dev/video0 sends no picture");
  ExpectEverythingGivenBack();
  ASSERT_TRUE(source->SelectFormat(0));
  EXPECT_EQ(system.StreamStarts(kCamera), 1)
      << "a run that ended is not started again by a new format";
  source->Stop();
}

TEST_F(V4l2DeviceTest, StopGivesEverythingBackAndEndsTheDeliveries) {
  auto source = CameraSource({Sizes(V4L2_PIX_FMT_GREY, {{4, 4}})});
  ASSERT_TRUE(source->Start(sink));
  EXPECT_EQ(system.Mappings(), 4);
  system.SendFrame(kCamera, std::vector<std::uint8_t>(16, 0), 0);
  ASSERT_EQ(sink.WaitForFrames(1).size(), 1u);

  source->Stop();

  ExpectEverythingGivenBack();
  system.SendFrame(kCamera, std::vector<std::uint8_t>(16, 0), 0);
  EXPECT_EQ(sink.FrameCount(), 1u);
  EXPECT_EQ(sink.WaitForEnd(std::chrono::milliseconds(0)), std::nullopt);
  source->Stop();  // harmless twice
}

TEST_F(V4l2DeviceTest, SourceDestroyedWhileRunningGivesEverythingBack) {
  auto source = CameraSource({Sizes(V4L2_PIX_FMT_GREY, {{4, 4}})});
  ASSERT_TRUE(source->Start(sink));
  source.reset();
  ExpectEverythingGivenBack();
}

}  // namespace
}  // namespace zr::platform::linux_impl
