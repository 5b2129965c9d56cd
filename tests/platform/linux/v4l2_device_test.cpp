#include "platform/linux/v4l2_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/fake_v4l2_system.h"
#include "tests/support/local_http_server.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

using ::testing::ElementsAre;
using ::zr::testing::FakeV4l2Device;
using ::zr::testing::Ok;

constexpr auto kPatience = std::chrono::seconds(2);
const std::string kCamera = "/dev/video0";

FakeV4l2Device Camera(std::uint32_t fourcc, std::vector<std::pair<int, int>> sizes) {
  FakeV4l2Device device;
  device.formats = {{fourcc, std::move(sizes), {}}};
  return device;
}

// ---- Frames the devices send --------------------------------------------------------------------

struct Rgb {
  std::uint8_t red = 0, green = 0, blue = 0;
};
constexpr Rgb kRed{255, 0, 0}, kBlue{0, 0, 255};

std::uint8_t Byte(double value) { return static_cast<std::uint8_t>(std::clamp(std::lround(value), 0L, 255L)); }

struct Yuv {
  std::uint8_t y, u, v;
};

// BT.601, at video levels (16-235) as most cameras send it, or at full range.
Yuv YuvOf(Rgb colour, bool full_range) {
  const double luma = 0.299 * colour.red + 0.587 * colour.green + 0.114 * colour.blue;
  const double scale = full_range ? 1.0 : 219.0 / 255, chroma = full_range ? 1.0 : 224.0 / 255;
  return {Byte((full_range ? 0 : 16) + scale * luma), Byte(128 + chroma * (colour.blue - luma) / 1.772),
          Byte(128 + chroma * (colour.red - luma) / 1.402)};
}

std::vector<std::uint8_t> JpegOf(const std::vector<std::uint8_t>& rgb, int width, int height) {
  const std::unique_ptr<void, int (*)(tjhandle)> compressor(tjInitCompress(), tjDestroy);
  unsigned char* jpeg = nullptr;
  unsigned long size = 0;
  // Full-resolution colour, so the colours stay in their own 8x8 blocks.
  if (tjCompress2(compressor.get(), rgb.data(), width, width * 3, height, TJPF_RGB, &jpeg, &size, TJSAMP_444, 95, 0) !=
      0) {
    ADD_FAILURE() << "cannot make the test JPEG: " << tjGetErrorStr2(compressor.get());
    return {};
  }
  std::vector<std::uint8_t> bytes(jpeg, jpeg + size);
  tjFree(jpeg);
  return bytes;
}

// A frame of `top` over `bottom` as the device sends it: top row first, rows packed.
std::vector<std::uint8_t> FrameOf(std::uint32_t fourcc, int width, int height, Rgb top, Rgb bottom, bool full_range) {
  const auto colour = [&](int y) { return y < height / 2 ? top : bottom; };
  std::vector<std::uint8_t> bytes;
  for (int y = 0; y < height; ++y) {
    const Rgb rgb = colour(y);
    const Yuv yuv = YuvOf(rgb, full_range);
    for (int x = 0; x < width; ++x) {
      if (fourcc == V4L2_PIX_FMT_YUYV) bytes.insert(bytes.end(), {yuv.y, x % 2 ? yuv.v : yuv.u});
      if (fourcc == V4L2_PIX_FMT_UYVY) bytes.insert(bytes.end(), {x % 2 ? yuv.v : yuv.u, yuv.y});
      if (fourcc == V4L2_PIX_FMT_NV12 || fourcc == V4L2_PIX_FMT_YUV420) bytes.push_back(yuv.y);
      if (fourcc == V4L2_PIX_FMT_GREY) bytes.push_back(rgb.green);
      if (fourcc == V4L2_PIX_FMT_BGR24) bytes.insert(bytes.end(), {rgb.blue, rgb.green, rgb.red});
      if (fourcc == V4L2_PIX_FMT_RGB24 || fourcc == V4L2_PIX_FMT_MJPEG || fourcc == V4L2_PIX_FMT_JPEG)
        bytes.insert(bytes.end(), {rgb.red, rgb.green, rgb.blue});
    }
  }
  if (fourcc == V4L2_PIX_FMT_MJPEG || fourcc == V4L2_PIX_FMT_JPEG) return JpegOf(bytes, width, height);
  // The colour planes of 4:2:0: U then V, or U and V interleaved.
  const int planes = fourcc == V4L2_PIX_FMT_YUV420 ? 2 : fourcc == V4L2_PIX_FMT_NV12 ? 1 : 0;
  for (int plane = 0; plane < planes; ++plane) {
    for (int y = 0; y < height; y += 2) {
      const Yuv yuv = YuvOf(colour(y), full_range);
      for (int x = 0; x < width; x += 2) {
        if (planes == 1) bytes.insert(bytes.end(), {yuv.u, yuv.v});
        if (planes == 2) bytes.push_back(plane == 0 ? yuv.u : yuv.v);
      }
    }
  }
  return bytes;
}

::testing::AssertionResult HasColour(const Picture& picture, int x, int y_from_top, Rgb expected) {
  const std::uint8_t* bgr = picture.PixelFromTop(x, y_from_top);
  const auto near = [](int seen, int wanted) { return std::abs(seen - wanted) <= 8; };
  if (near(bgr[2], expected.red) && near(bgr[1], expected.green) && near(bgr[0], expected.blue))
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "pixel (" << x << ", " << y_from_top << ") is " << +bgr[2] << "/" << +bgr[1]
                                       << "/" << +bgr[0] << ", not " << +expected.red << "/" << +expected.green << "/"
                                       << +expected.blue;
}

// Every test ends with all files closed, all buffers unmapped and no misused device call.
class V4l2DeviceTest : public ::testing::Test {
 protected:
  void TearDown() override {
    ExpectEverythingGivenBack();
    EXPECT_THAT(system.Misuses(), ::testing::IsEmpty());
  }

  void ExpectEverythingGivenBack() {
    EXPECT_EQ(system.OpenFiles(), 0);
    EXPECT_EQ(system.Mappings(), 0);
  }

  std::unique_ptr<FrameSource> Source(FakeV4l2Device device) {
    system.AddDevice(kCamera, std::move(device));
    return MakeV4l2Source(system, kCamera);
  }

  // The sink's frames once there are `count`, or when the patience ran out.
  std::vector<CapturedFrame> FramesOnce(std::size_t count) {
    sink.WaitForFrames(count, kPatience);
    return sink.Frames();
  }

  // A 4x4 grey camera streaming to the sink.
  std::unique_ptr<FrameSource> Started() {
    auto source = Source(Camera(V4L2_PIX_FMT_GREY, {{4, 4}}));
    EXPECT_TRUE(Ok(source->Start(sink)));
    return source;
  }

  zr::testing::FakeV4l2System system;
  zr::testing::CollectingSink sink;
};

// ---- The device list --------------------------------------------------------------------------

MATCHER_P3(Device, path, name, has_tuner, "") {
  return arg.path == path && arg.name == name && arg.has_tuner == has_tuner;
}

TEST_F(V4l2DeviceTest, ListsTheCaptureNodesByNumberWithThoseHeldOrForbidden) {
  constexpr std::uint32_t kCapture = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
  FakeV4l2Device device;
  const auto add = [&](const std::string& path, const std::string& card, std::uint32_t caps, int open_error = 0) {
    device.card = card;
    device.node_caps = caps;
    device.open_error = open_error;
    system.AddDevice(path, device);
  };
  add("/dev/video10", "USB Camera", kCapture);
  add("/dev/video2", "Television Card", kCapture | V4L2_CAP_TUNER);
  add("/dev/video3", "Output", V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_STREAMING);
  add("/dev/video4", "Read only", V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_READWRITE);
  add("/dev/video6", "Busy", kCapture, EBUSY);
  add("/dev/video7", "Forbidden", kCapture, EACCES);
  add("/dev/video8", "Gone", kCapture, ENODEV);
  device.device_wide_caps = kCapture | V4L2_CAP_META_CAPTURE;  // the camera's metadata node
  add("/dev/video11", "Metadata", V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING);
  device.device_wide_caps = 0;
  device.old_driver = true;
  add("/dev/video5", "Old Card", kCapture);

  EXPECT_THAT(ListV4l2Devices(system),
              ElementsAre(Device("/dev/video2", "Television Card", true), Device("/dev/video5", "Old Card", false),
                          Device("/dev/video6", "/dev/video6", false), Device("/dev/video7", "/dev/video7", false),
                          Device("/dev/video10", "USB Camera", false)));
}

// ---- The format menu --------------------------------------------------------------------------

TEST_F(V4l2DeviceTest, MenuHasOneRowPerSizeInTheBestFormatShownSortedBySize) {
  using Row = std::tuple<int, int, int>;  // width, height, bits per pixel
  struct Case {
    const char* what;
    std::vector<FakeV4l2Device::Format> formats;
    bool lists_frame_sizes;
    std::vector<Row> rows;
  };
  const std::vector<Case> cases{
      {"uncompressed before JPEG, unshowable left out",
       {{V4L2_PIX_FMT_MJPEG, {{1280, 720}, {640, 480}, {1920, 1080}, {320, 240}}, {}},
        {V4L2_PIX_FMT_H264, {{3840, 2160}}, {}},
        {V4L2_PIX_FMT_YUYV, {{640, 480}, {320, 240}, {160, 120}}, {}},
        {V4L2_PIX_FMT_NV12, {{1280, 720}}, {}}},
       true,
       {{160, 120, 16}, {320, 240, 16}, {640, 480, 16}, {1280, 720, 12}, {1920, 1080, 24}}},
      {"the common sizes within a range",
       {{V4L2_PIX_FMT_YUYV, {}, {160, 800, 32, 120, 600, 8}}},
       true,
       {{160, 120, 16}, {320, 240, 16}, {352, 288, 16}, {640, 480, 16}, {800, 600, 16}}},
      {"a TV card's sizes, found by trying",
       {{V4L2_PIX_FMT_GREY, {}, {48, 400, 1, 32, 300, 1}}},
       false,
       {{160, 120, 8}, {176, 144, 8}, {320, 240, 8}, {352, 288, 8}}},
  };
  for (const Case& menu : cases) {
    SCOPED_TRACE(menu.what);
    FakeV4l2Device device;
    device.formats = menu.formats;
    device.lists_frame_sizes = menu.lists_frame_sizes;
    const std::string path = "/dev/video" + std::to_string(&menu - cases.data());
    system.AddDevice(path, device);
    std::vector<Row> rows;
    for (const SourceFormat& row : MakeV4l2Source(system, path)->Formats())
      rows.emplace_back(row.width, row.height, row.bits_per_pixel);
    EXPECT_EQ(rows, menu.rows);
  }
}

TEST_F(V4l2DeviceTest, StartTakesTheChosenRowElseTheCurrentSizeElseAModestOne) {
  // The device starts in a format the program cannot show, so its current size is no guide.
  FakeV4l2Device camera = Camera(V4L2_PIX_FMT_H264, {{3840, 2160}});
  camera.formats.push_back({V4L2_PIX_FMT_YUYV, {{320, 240}, {640, 480}, {1280, 720}}, {}});
  camera.formats.push_back({V4L2_PIX_FMT_MJPEG, {{1920, 1080}}, {}});
  auto source = Source(camera);
  ASSERT_TRUE(Ok(source->Start(sink)));
  EXPECT_EQ(source->Width(), 640);
  EXPECT_EQ(system.State(kCamera).format.pixelformat, V4L2_PIX_FMT_YUYV);
  source->Stop();

  ASSERT_TRUE(Ok(source->SelectFormat(3)));
  EXPECT_EQ(source->Width(), 1920);
  EXPECT_EQ(system.State(kCamera).format.width, 640u) << "a stopped source sets it at Start";
  ASSERT_TRUE(Ok(source->Start(sink)));
  EXPECT_EQ(system.State(kCamera).format.pixelformat, V4L2_PIX_FMT_MJPEG);
  EXPECT_EQ(system.State(kCamera).format.width, 1920u);
  source->Stop();
  EXPECT_FALSE(source->SelectFormat(4));
  EXPECT_FALSE(source->SelectFormat(-1));

  // A new source keeps the size the device was left at.
  auto second = MakeV4l2Source(system, kCamera);
  ASSERT_TRUE(Ok(second->Start(sink)));
  EXPECT_EQ(second->Height(), 1080);
}

// ---- Inputs and settings -----------------------------------------------------------------

TEST_F(V4l2DeviceTest, InputsAreListedAndChosenEvenWhileStreaming) {
  FakeV4l2Device card = Camera(V4L2_PIX_FMT_UYVY, {{720, 576}});
  card.inputs = {"Television", "Composite", "S-Video"};
  auto source = Source(card);
  EXPECT_THAT(source->Inputs(), ElementsAre("Television", "Composite", "S-Video"));
  ASSERT_TRUE(Ok(source->SelectInput(2)));
  EXPECT_EQ(source->CurrentInput(), 2);
  EXPECT_FALSE(source->SelectInput(3));

  ASSERT_TRUE(Ok(source->Start(sink)));
  ASSERT_TRUE(Ok(source->SelectInput(1)));
  EXPECT_EQ(system.State(kCamera).input, 1);
  EXPECT_TRUE(system.State(kCamera).streaming);
}

// `range`: minimum, maximum, step, default.
MATCHER_P4(Setting, name, range, value, is_switch, "") {
  return arg.name == name && arg.value == value && arg.is_switch == is_switch &&
         std::tuple(arg.minimum, arg.maximum, arg.step, arg.default_value) == range;
}

TEST_F(V4l2DeviceTest, SettingsAreTheRangesAndSwitchesTheOperatorCanChange) {
  FakeV4l2Device camera = Camera(V4L2_PIX_FMT_YUYV, {{640, 480}});
  camera.controls = {
      {V4L2_CID_AUTO_WHITE_BALANCE, "White Balance", V4L2_CTRL_TYPE_BOOLEAN, 0, 1, 1, 1, 0, 0},
      {V4L2_CID_BRIGHTNESS, "Brightness", V4L2_CTRL_TYPE_INTEGER, -64, 64, 2, 0, 0, 10},
      {V4L2_CID_CONTRAST, "Contrast", V4L2_CTRL_TYPE_INTEGER, 0, 9, 1, 5, V4L2_CTRL_FLAG_DISABLED},
      {V4L2_CID_POWER_LINE_FREQUENCY, "Power Line", V4L2_CTRL_TYPE_MENU, 0, 2, 1, 1, 0, 1},
      {V4L2_CID_EXPOSURE, "Exposure", V4L2_CTRL_TYPE_INTEGER, 1, 9, 1, 5, V4L2_CTRL_FLAG_READ_ONLY},
      {V4L2_CID_SHARPNESS, "Sharpness", V4L2_CTRL_TYPE_INTEGER, 0, 7, 0, 3, 0, 5},
  };
  auto source = Source(camera);
  const auto brightness = std::tuple(-64, 64, 2, 0);
  EXPECT_THAT(source->Controls(), ElementsAre(Setting("Brightness", brightness, 10, false),
                                              Setting("White Balance", std::tuple(0, 1, 1, 1), 0, true),
                                              Setting("Sharpness", std::tuple(0, 7, 1, 3), 5, false)));

  ASSERT_TRUE(Ok(source->SetControl(V4L2_CID_BRIGHTNESS, -20)));
  EXPECT_FALSE(source->SetControl(V4L2_CID_BRIGHTNESS, 65));
  EXPECT_FALSE(source->SetControl(V4L2_CID_HUE, 3));
  EXPECT_THAT(source->Controls().at(0), Setting("Brightness", brightness, -20, false));

  ASSERT_TRUE(Ok(source->Start(sink)));
  ASSERT_TRUE(Ok(source->SetControl(V4L2_CID_BRIGHTNESS, 30))) << "changed while streaming";
  EXPECT_THAT(source->Controls().at(0), Setting("Brightness", brightness, 30, false));
  EXPECT_EQ(system.State(kCamera).stream_starts, 1);
}

// ---- Frames -----------------------------------------------------------------------------------

struct FormatCase {
  const char* name;
  std::uint32_t fourcc;
  Rgb top, bottom;
  bool full_range = false;
};

class V4l2FrameTest : public V4l2DeviceTest, public ::testing::WithParamInterface<FormatCase> {};

// Red over blue tells the rows' order, red from blue and the colour planes apart; the greys and
// the full-range colour are such that reading them at the wrong levels shows. An odd width of 18
// pads the program's rows (54 bytes to 56).
TEST_P(V4l2FrameTest, FrameBecomesABottomUpBgrPictureOfItsColours) {
  constexpr int kWidth = 18, kHeight = 16;
  const FormatCase& format = GetParam();
  FakeV4l2Device camera = Camera(format.fourcc, {{kWidth, kHeight}});
  if (format.full_range) camera.quantization = V4L2_QUANTIZATION_FULL_RANGE;
  auto source = Source(camera);
  ASSERT_TRUE(Ok(source->Start(sink)));
  system.SendFrame(kCamera, FrameOf(format.fourcc, kWidth, kHeight, format.top, format.bottom, format.full_range),
                   1'000'000);

  const std::vector<CapturedFrame> frames = FramesOnce(1);
  ASSERT_EQ(frames.size(), 1u);
  const Picture& picture = *frames[0].picture;
  ASSERT_EQ(std::tuple(picture.width, picture.height, picture.bottom_up_bgr.size()),
            std::tuple(kWidth, kHeight, 56u * kHeight));
  // Rows next to the edge between the colours may blend them (4:2:0 chroma is shared by two
  // rows and interpolated); the others must not.
  for (const int x : {0, 1, kWidth / 2, kWidth - 1}) {
    for (const int y : {0, kHeight / 2 - 3}) EXPECT_TRUE(HasColour(picture, x, y, format.top));
    for (const int y : {kHeight / 2 + 2, kHeight - 1}) EXPECT_TRUE(HasColour(picture, x, y, format.bottom));
  }
}

INSTANTIATE_TEST_SUITE_P(EveryFormat, V4l2FrameTest,
                         ::testing::Values(FormatCase{"YUYV", V4L2_PIX_FMT_YUYV, kRed, kBlue},
                                           FormatCase{"YUYVFullRange", V4L2_PIX_FMT_YUYV, {240, 200, 40}, kBlue, true},
                                           FormatCase{"UYVY", V4L2_PIX_FMT_UYVY, kRed, kBlue},
                                           FormatCase{"NV12", V4L2_PIX_FMT_NV12, kRed, kBlue},
                                           FormatCase{"YUV420", V4L2_PIX_FMT_YUV420, kRed, kBlue},
                                           FormatCase{"RGB24", V4L2_PIX_FMT_RGB24, kRed, kBlue},
                                           FormatCase{"BGR24", V4L2_PIX_FMT_BGR24, kRed, kBlue},
                                           FormatCase{"GREY", V4L2_PIX_FMT_GREY, {200, 200, 200}, {40, 40, 40}},
                                           FormatCase{"MJPEG", V4L2_PIX_FMT_MJPEG, kRed, kBlue},
                                           FormatCase{"JPEG", V4L2_PIX_FMT_JPEG, kBlue, kRed}),
                         [](const auto& test) { return std::string(test.param.name); });

// Broken frames are skipped, more frames than buffers go round, and a new format restarts the
// stream at its size with the numbers and times running on; a new Start counts from nothing.
TEST_F(V4l2DeviceTest, FramesAreNumberedAndTimedFromTheFirstAcrossAFormatChange) {
  auto source = Source(Camera(V4L2_PIX_FMT_GREY, {{4, 4}, {8, 6}}));
  ASSERT_TRUE(Ok(source->Start(sink)));
  const std::vector<std::uint8_t> small(16, 100), large(48, 100);
  system.SendFrame(kCamera, small, 7'000'000);
  system.SendFrame(kCamera, small, 7'040'000, /*damaged=*/true);
  system.SendFrame(kCamera, std::vector<std::uint8_t>(15, 100), 7'060'000);  // cut off
  for (int frame = 1; frame < 6; ++frame) system.SendFrame(kCamera, small, 7'000'000 + frame * 80'000);
  ASSERT_TRUE(sink.WaitForFrames(6, kPatience));

  ASSERT_TRUE(Ok(source->SelectFormat(1)));
  EXPECT_EQ(source->Width(), 8);
  EXPECT_EQ(system.State(kCamera).stream_starts, 2);
  system.SendFrame(kCamera, large, 7'500'000);
  std::vector<CapturedFrame> frames = FramesOnce(7);
  ASSERT_EQ(frames.size(), 7u);
  for (int frame = 0; frame < 6; ++frame) {
    const CapturedFrame& captured = frames[static_cast<std::size_t>(frame)];
    EXPECT_EQ(captured.sequence, frame);
    EXPECT_EQ(captured.timestamp_us, frame * 80'000);
  }
  EXPECT_EQ(frames[6].picture->height, 6);
  EXPECT_EQ(frames[6].sequence, 6);
  EXPECT_EQ(frames[6].timestamp_us, 500'000);

  source->Stop();
  ASSERT_TRUE(Ok(source->Start(sink)));
  system.SendFrame(kCamera, large, 9'000'000);
  frames = FramesOnce(8);
  ASSERT_EQ(frames.size(), 8u);
  EXPECT_EQ(frames[7].sequence, 0);
  EXPECT_EQ(frames[7].timestamp_us, 0);
}

// ---- Failures and the end of a run -------------------------------------------------------------

// A busy, output-only or absent device, or one offering a picture larger than any the program
// handles, is refused before a buffer is made for it.
TEST_F(V4l2DeviceTest, StartFailsOnABusyGoneOrNonCaptureDeviceAndLeavesARunningOneBe) {
  FakeV4l2Device busy = Camera(V4L2_PIX_FMT_GREY, {{4, 4}}), output = busy;
  busy.open_error = EBUSY;
  output.node_caps = V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_STREAMING;
  system.AddDevice("/dev/video1", busy);
  system.AddDevice("/dev/video2", output);
  system.AddDevice("/dev/video3", Camera(V4L2_PIX_FMT_GREY, {{20000, 20000}}));
  const std::pair<const char*, std::string> refused[] = {
      {"/dev/video1", "The device /dev/video1 is busy"},
      {"/dev/video2", ""},
      {"/dev/video3", "The device /dev/video3 cannot deliver the chosen format"},
      {"/dev/video7", ""}};
  for (const auto& [path, message] : refused) {
    const Result<void> started = MakeV4l2Source(system, path)->Start(sink);
    ASSERT_FALSE(started) << path;
    EXPECT_TRUE(message.empty() || started.error().message == message) << started.error().message;
  }

  // Streaming to one source, the device is busy for another and goes on streaming.
  auto first = Started();
  const Result<void> second = MakeV4l2Source(system, kCamera)->Start(sink);
  ASSERT_FALSE(second);
  EXPECT_THAT(second.error().message, ::testing::HasSubstr("busy"));
  system.SendFrame(kCamera, std::vector<std::uint8_t>(16, 0), 0);
  EXPECT_TRUE(sink.WaitForFrames(1, kPatience));
}

TEST_F(V4l2DeviceTest, UnpluggedDeviceEndsTheRunHavingGivenEverythingBack) {
  auto source = Started();
  system.SendFrame(kCamera, std::vector<std::uint8_t>(16, 0), 0);
  ASSERT_TRUE(sink.WaitForFrames(1, kPatience));
  system.Unplug(kCamera);
  EXPECT_EQ(sink.WaitForEnd(kPatience), "The device /dev/video0 was unplugged");
  ExpectEverythingGivenBack();
  EXPECT_FALSE(sink.CalledAfterEnd());
  ASSERT_TRUE(Ok(source->SelectFormat(0))) << "a new format does not start an ended run";
}

TEST_F(V4l2DeviceTest, StopOrTheSourcesEndGivesEverythingBackAndEndsTheDeliveries) {
  auto source = Started();
  EXPECT_EQ(system.Mappings(), 4);
  source->Stop();
  ExpectEverythingGivenBack();
  EXPECT_FALSE(system.State(kCamera).streaming);
  system.SendFrame(kCamera, std::vector<std::uint8_t>(16, 0), 0);
  EXPECT_FALSE(sink.WaitForFrames(1, std::chrono::milliseconds(100)));
  EXPECT_EQ(sink.WaitForEnd(std::chrono::milliseconds(0)), std::nullopt);
  source->Stop();  // harmless twice

  ASSERT_TRUE(Ok(source->Start(sink)));
  source.reset();
  ExpectEverythingGivenBack();
}

}  // namespace
}  // namespace zr::platform::linux_impl
