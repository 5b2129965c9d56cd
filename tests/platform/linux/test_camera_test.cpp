#include "platform/linux/test_camera.h"

#include <gtest/gtest.h>
#include <linux/videodev2.h>

#include <chrono>
#include <cmath>
#include <numeric>

#include "tests/support/local_http_server.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

using std::chrono::milliseconds;
using testing::CollectingSink;
using zr::testing::Ok;
using zr::testing::Since;

constexpr milliseconds kPatience{2000};

std::int64_t IdealTimestamp(std::int64_t frame, double frames_per_second) {
  return std::llround(static_cast<double>(frame) * 1e6 / frames_per_second);
}

// The bytes of an area of a picture, line by line.
std::vector<std::uint8_t> AreaBytes(const Picture& picture, const TestPattern::Area& area) {
  std::vector<std::uint8_t> bytes;
  for (int y = area.y; y < area.y + area.height; ++y) {
    const std::uint8_t* line = picture.PixelFromTop(area.x, y);
    bytes.insert(bytes.end(), line, line + area.width * 3);
  }
  return bytes;
}

double MeanLevel(const Picture& picture) {
  const auto& bytes = picture.bottom_up_bgr;
  return std::accumulate(bytes.begin(), bytes.end(), 0.0) / static_cast<double>(bytes.size());
}

Picture Rendered(const TestPattern& pattern, std::int64_t frame, std::int64_t timestamp_us) {
  Picture picture;
  pattern.Render(frame, timestamp_us, 30, picture);
  return picture;
}

TEST(TestCameraTest, DeliversFramesPacedByItsRateWithIdealTimestamps) {
  TestCamera camera;
  EXPECT_FALSE(camera.SetFramesPerSecond(0));
  ASSERT_TRUE(camera.SetFramesPerSecond(60));
  EXPECT_EQ(camera.FramesPerSecond(), 30) << "faster rates give 30";
  ASSERT_TRUE(camera.SetFramesPerSecond(20));
  CollectingSink sink;
  const auto started = std::chrono::steady_clock::now();
  ASSERT_TRUE(Ok(camera.Start(sink)));
  ASSERT_TRUE(sink.WaitForFrames(6, kPatience));
  // Frame 5 is due 250 ms in: the frames are paced, not produced as fast as they render.
  EXPECT_GE(Since(started), milliseconds(250));
  EXPECT_LT(Since(started), milliseconds(250 + 150));
  camera.Stop();
  const auto frames = sink.Frames();
  for (std::size_t n = 0; n < frames.size(); ++n) {
    EXPECT_EQ(frames[n].sequence, static_cast<std::int64_t>(n));
    EXPECT_EQ(frames[n].timestamp_us, static_cast<std::int64_t>(n) * 50'000);
    EXPECT_EQ(frames[n].picture->width, 640);
    EXPECT_EQ(frames[n].picture->height, 480);
  }
}

TEST(TestCameraTest, SelectFormatChangesTheSizeAtOnceAlsoWhileRunning) {
  TestCamera camera;
  const auto formats = camera.Formats();
  ASSERT_EQ(formats.size(), 9u);
  EXPECT_FALSE(camera.SelectFormat(9));
  ASSERT_TRUE(camera.SelectFormat(0));
  EXPECT_EQ(camera.Width(), formats.front().width);
  CollectingSink sink;
  ASSERT_TRUE(Ok(camera.Start(sink)));
  ASSERT_TRUE(sink.WaitForFrames(2, kPatience));
  ASSERT_TRUE(camera.SelectFormat(8));
  EXPECT_EQ(camera.Width(), 1920);
  EXPECT_EQ(camera.Height(), 1080);
  const std::size_t asked_at = sink.FrameCount();
  ASSERT_TRUE(sink.WaitForFrames(asked_at + 2, kPatience));
  camera.Stop();

  // A frame already on its way when the change came may still be small; the next ones are large,
  // and the sequence and timing run on across the change.
  const auto frames = sink.Frames();
  EXPECT_EQ(frames.front().picture->width, 160);
  for (std::size_t n = asked_at + 1; n < frames.size(); ++n) {
    EXPECT_EQ(frames[n].picture->height, 1080);
    EXPECT_EQ(frames[n].picture->bottom_up_bgr.size(), 1920u * 3 * 1080);
  }
  for (std::size_t n = 0; n < frames.size(); ++n)
    EXPECT_EQ(frames[n].timestamp_us, IdealTimestamp(static_cast<std::int64_t>(n), 30));
}

TEST(TestCameraTest, ThePictureMovesAndShowsTheElapsedTimeAndTheFrame) {
  const TestPattern pattern(640, 480, 128, 128);
  const auto clock = pattern.ClockArea();
  const auto counter = pattern.CounterArea();
  const Picture first = Rendered(pattern, 0, 0);
  const Picture second = Rendered(pattern, 1, IdealTimestamp(1, 30));
  // Motion outside the text panel: the background scrolls from one frame to the next.
  const TestPattern::Area below_panel{0, 400, 640, 80};
  EXPECT_NE(AreaBytes(first, below_panel), AreaBytes(second, below_panel));
  EXPECT_NE(AreaBytes(first, clock), AreaBytes(second, clock));
  EXPECT_NE(AreaBytes(first, counter), AreaBytes(second, counter));
  // The clock follows the time, not the frame: another frame at the same time reads the same.
  const Picture same_time = Rendered(pattern, 5, 0);
  EXPECT_EQ(AreaBytes(first, clock), AreaBytes(same_time, clock));
  EXPECT_NE(AreaBytes(first, counter), AreaBytes(same_time, counter));
}

TEST(TestCameraTest, BrightnessAndContrastChangeThePicture) {
  TestCamera camera({160, 120, 30});
  EXPECT_FALSE(camera.SetControl(V4L2_CID_HUE, 10));
  EXPECT_FALSE(camera.SetControl(V4L2_CID_BRIGHTNESS, 256));
  ASSERT_TRUE(camera.SetControl(V4L2_CID_BRIGHTNESS, 200));
  EXPECT_EQ(camera.Controls()[0].id, static_cast<std::uint32_t>(V4L2_CID_BRIGHTNESS));
  EXPECT_EQ(camera.Controls()[0].value, 200);
  CollectingSink sink;
  ASSERT_TRUE(Ok(camera.Start(sink)));
  ASSERT_TRUE(sink.WaitForFrames(1, kPatience));
  camera.Stop();
  const Picture neutral = Rendered(TestPattern(160, 120, 128, 128), 0, 0);
  EXPECT_GT(MeanLevel(*sink.Frames()[0].picture), MeanLevel(neutral) + 40);

  // No contrast at all: every pixel at the brightness level.
  const Picture flat = Rendered(TestPattern(160, 120, 100, 0), 0, 0);
  for (int y = 0; y < flat.height; y += 7)
    for (int x = 0; x < flat.width; x += 5) ASSERT_EQ(flat.PixelFromTop(x, y)[1], 100) << x << "," << y;
  EXPECT_NE(Rendered(TestPattern(160, 120, 128, 255), 0, 0).bottom_up_bgr, neutral.bottom_up_bgr);
}

// Frame n of a run is the pattern's frame n, whatever the run; the pictures a consumer holds stay
// whole after the camera and its pool are gone, and the pool holds no more than are in use.
TEST(TestCameraTest, FrameNIsThePatternsAndBuffersAreReusedAndOutliveTheCamera) {
  CapturedFrame kept;
  {
    TestCamera camera({160, 120, 30});
    for (int run = 0; run < 2; ++run) {
      CollectingSink sink(2);
      ASSERT_TRUE(Ok(camera.Start(sink)));
      ASSERT_TRUE(sink.WaitForFrames(8, kPatience));
      camera.Stop();
      EXPECT_LE(camera.LiveBuffers(), 4);
      EXPECT_EQ(sink.Frames().front().sequence, 0);
      kept = sink.Frames().back();
    }
  }
  ASSERT_TRUE(kept.picture);
  EXPECT_EQ(kept.picture->bottom_up_bgr,
            Rendered(TestPattern(160, 120, 128, 128), kept.sequence, kept.timestamp_us).bottom_up_bgr);
}

TEST(TestCameraTest, StopReturnsPromptlyAndIsHarmlessWhenStopped) {
  TestCamera camera;
  camera.Stop();
  ASSERT_TRUE(camera.SetFramesPerSecond(1));
  CollectingSink sink;
  ASSERT_TRUE(Ok(camera.Start(sink)));
  ASSERT_TRUE(sink.WaitForFrames(1, kPatience));
  const auto stopping = std::chrono::steady_clock::now();
  camera.Stop();
  EXPECT_LT(Since(stopping), milliseconds(100));
  EXPECT_EQ(sink.FrameCount(), 1u);
  EXPECT_FALSE(sink.WaitForEnd(milliseconds(0)).has_value()) << "a stop is not an end";
  camera.Stop();
}

}  // namespace
}  // namespace zr::platform::linux_impl
