#include "platform/linux/test_camera.h"

#include <gtest/gtest.h>
#include <linux/videodev2.h>

#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <numeric>

namespace zr::platform::linux_impl {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Collects the frames of a run; keeps the pictures of the last `keep_pictures` frames only, as a
// consumer that lets go of its frames does.
class FrameCollector final : public FrameSink {
 public:
  explicit FrameCollector(std::size_t keep_pictures = SIZE_MAX) : keep_pictures_(keep_pictures) {}

  void OnFrame(const CapturedFrame& frame) override {
    std::lock_guard lock(mutex_);
    frames_.push_back(frame);
    arrivals_.push_back(Clock::now());
    if (frames_.size() > keep_pictures_) frames_[frames_.size() - keep_pictures_ - 1].picture.reset();
    arrived_.notify_all();
  }
  void OnSourceEnded(const std::string& message) override { ADD_FAILURE() << "the test camera ended: " << message; }

  bool WaitFor(std::size_t count, milliseconds timeout = milliseconds(2000)) {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, timeout, [&] { return frames_.size() >= count; });
  }
  std::vector<CapturedFrame> Frames() {
    std::lock_guard lock(mutex_);
    return frames_;
  }
  std::vector<Clock::time_point> Arrivals() {
    std::lock_guard lock(mutex_);
    return arrivals_;
  }

 private:
  std::size_t keep_pictures_;
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::vector<CapturedFrame> frames_;
  std::vector<Clock::time_point> arrivals_;
};

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

Picture Rendered(const TestPattern& pattern, std::int64_t frame, std::int64_t timestamp_us, double rate = 30) {
  Picture picture;
  pattern.Render(frame, timestamp_us, rate, picture);
  return picture;
}

TEST(TestCameraTest, DeliversFramesAtItsRateWithIdealTimestamps) {
  TestCamera camera;
  EXPECT_EQ(camera.Width(), 640);
  EXPECT_EQ(camera.Height(), 480);
  EXPECT_EQ(camera.FramesPerSecond(), 30);
  FrameCollector collector;
  const auto started = Clock::now();
  ASSERT_TRUE(camera.Start(collector));
  ASSERT_TRUE(collector.WaitFor(10));
  camera.Stop();

  const auto frames = collector.Frames();
  const auto arrivals = collector.Arrivals();
  for (std::size_t n = 0; n < 10; ++n) {
    SCOPED_TRACE(n);
    EXPECT_EQ(frames[n].sequence, static_cast<std::int64_t>(n));
    EXPECT_EQ(frames[n].timestamp_us, IdealTimestamp(static_cast<std::int64_t>(n), 30));
    ASSERT_TRUE(frames[n].picture);
    EXPECT_EQ(frames[n].picture->width, 640);
    EXPECT_EQ(frames[n].picture->height, 480);
    // Never ahead of its time: the frames are paced, not produced as fast as they render.
    EXPECT_GE(arrivals[n] - started, std::chrono::microseconds(frames[n].timestamp_us));
  }
  EXPECT_LT(arrivals[9] - started, milliseconds(300 + 150));
}

TEST(TestCameraTest, TakesRatesFromOneToThirtyAndSpacesFramesByTheRate) {
  TestCamera camera;
  EXPECT_FALSE(camera.SetFramesPerSecond(0));
  EXPECT_FALSE(camera.SetFramesPerSecond(-5));
  EXPECT_EQ(camera.FramesPerSecond(), 30);
  ASSERT_TRUE(camera.SetFramesPerSecond(60));
  EXPECT_EQ(camera.FramesPerSecond(), 30);
  ASSERT_TRUE(camera.SetFramesPerSecond(12.5));
  EXPECT_EQ(camera.FramesPerSecond(), 12.5);

  ASSERT_TRUE(camera.SetFramesPerSecond(20));
  FrameCollector collector;
  ASSERT_TRUE(camera.Start(collector));
  ASSERT_TRUE(collector.WaitFor(4));
  camera.Stop();
  const auto frames = collector.Frames();
  for (std::int64_t n = 0; n < 4; ++n) EXPECT_EQ(frames[n].timestamp_us, n * 50'000);
}

TEST(TestCameraTest, SelectFormatChangesTheSizeAtOnceAlsoWhileRunning) {
  TestCamera camera;
  const auto formats = camera.Formats();
  ASSERT_EQ(formats.size(), 9u);
  EXPECT_EQ(formats.front().width, 160);
  EXPECT_EQ(formats.front().height, 120);
  EXPECT_EQ(formats.back().width, 1920);
  EXPECT_EQ(formats.back().height, 1080);
  for (const auto& format : formats) EXPECT_EQ(format.bits_per_pixel, 24);
  EXPECT_FALSE(camera.SelectFormat(-1));
  EXPECT_FALSE(camera.SelectFormat(9));

  ASSERT_TRUE(camera.SelectFormat(0));
  EXPECT_EQ(camera.Width(), 160);
  FrameCollector collector;
  ASSERT_TRUE(camera.Start(collector));
  ASSERT_TRUE(collector.WaitFor(2));
  ASSERT_TRUE(camera.SelectFormat(8));
  EXPECT_EQ(camera.Width(), 1920);
  EXPECT_EQ(camera.Height(), 1080);
  const std::size_t asked_at = collector.Frames().size();
  ASSERT_TRUE(collector.WaitFor(asked_at + 2));
  camera.Stop();

  // A frame already on its way when the change came may still be small; the next ones are large,
  // and the sequence and timing run on across the change.
  const auto frames = collector.Frames();
  EXPECT_EQ(frames.front().picture->width, 160);
  for (std::size_t n = asked_at + 1; n < frames.size(); ++n) {
    EXPECT_EQ(frames[n].picture->width, 1920);
    EXPECT_EQ(frames[n].picture->height, 1080);
    EXPECT_EQ(frames[n].picture->bottom_up_bgr.size(), 1920u * 3 * 1080);
  }
  for (std::size_t n = 0; n < frames.size(); ++n)
    EXPECT_EQ(frames[n].timestamp_us, IdealTimestamp(static_cast<std::int64_t>(n), 30));
}

TEST(TestCameraTest, FramesMoveAndFrameNIsTheSameInEveryRun) {
  TestCamera camera({320, 240, 30});
  std::vector<CapturedFrame> runs[2];
  for (auto& run : runs) {
    FrameCollector collector;
    ASSERT_TRUE(camera.Start(collector));
    ASSERT_TRUE(collector.WaitFor(5));
    camera.Stop();
    run = collector.Frames();
  }
  EXPECT_EQ(runs[0][3].picture->bottom_up_bgr, runs[1][3].picture->bottom_up_bgr);
  EXPECT_NE(runs[0][2].picture->bottom_up_bgr, runs[0][3].picture->bottom_up_bgr);

  // The same frame drawn by the pattern alone: the picture depends on n, size and rate only.
  const TestPattern pattern(320, 240, 128, 128);
  EXPECT_EQ(Rendered(pattern, 3, IdealTimestamp(3, 30)).bottom_up_bgr, runs[0][3].picture->bottom_up_bgr);

  // Motion outside the text panel: the background scrolls from one frame to the next.
  const TestPattern::Area below_panel{0, 200, 320, 40};
  EXPECT_NE(AreaBytes(*runs[0][2].picture, below_panel), AreaBytes(*runs[0][3].picture, below_panel));
}

TEST(TestCameraTest, TheClockShowsTheElapsedTimeAndFrameWithinTheSecond) {
  const TestPattern pattern(640, 480, 128, 128);
  const auto clock = pattern.ClockArea();
  const auto counter = pattern.CounterArea();
  const Picture first = Rendered(pattern, 0, 0);
  const Picture second = Rendered(pattern, 1, IdealTimestamp(1, 30));
  EXPECT_NE(AreaBytes(first, clock), AreaBytes(second, clock));
  EXPECT_NE(AreaBytes(first, counter), AreaBytes(second, counter));
  // The clock follows the time, not the frame: another frame at the same time reads the same.
  const Picture same_time = Rendered(pattern, 5, 0);
  EXPECT_EQ(AreaBytes(first, clock), AreaBytes(same_time, clock));
  EXPECT_NE(AreaBytes(first, counter), AreaBytes(same_time, counter));

  // "01:01:01.07" against "00:00:00.00", character by character: the cells that hold the same
  // character look the same, the others differ.
  const std::int64_t frame = 3661 * 30 + 7;
  const Picture later = Rendered(pattern, frame, IdealTimestamp(frame, 30));
  const int unit = clock.height / 7;
  const std::string expected = "01:01:01.07";
  const std::string zero = "00:00:00.00";
  for (std::size_t index = 0; index < expected.size(); ++index) {
    SCOPED_TRACE(index);
    const TestPattern::Area cell{clock.x + static_cast<int>(index) * 6 * unit, clock.y, 5 * unit, clock.height};
    if (expected[index] == zero[index]) {
      EXPECT_EQ(AreaBytes(later, cell), AreaBytes(first, cell));
    } else {
      EXPECT_NE(AreaBytes(later, cell), AreaBytes(first, cell));
    }
  }
}

TEST(TestCameraTest, TheTextGrowsWithThePictureAndStaysInside) {
  const TestPattern small(160, 120, 128, 128);
  const TestPattern large(1920, 1080, 128, 128);
  for (const TestPattern* pattern : {&small, &large}) {
    const auto counter = pattern->CounterArea();
    EXPECT_LE(counter.x + counter.width, pattern->Width());
    EXPECT_LE(counter.y + counter.height, pattern->Height());
  }
  EXPECT_GE(small.ClockArea().height, 7);
  EXPECT_GE(large.ClockArea().height, 7 * 8);
}

TEST(TestCameraTest, BrightnessAndContrastChangeThePicture) {
  TestCamera camera({160, 120, 30});
  const auto controls = camera.Controls();
  ASSERT_EQ(controls.size(), 2u);
  for (const auto& control : controls) {
    EXPECT_EQ(control.minimum, 0);
    EXPECT_EQ(control.maximum, 255);
    EXPECT_EQ(control.default_value, 128);
    EXPECT_EQ(control.value, 128);
  }
  EXPECT_EQ(controls[0].id, static_cast<std::uint32_t>(V4L2_CID_BRIGHTNESS));
  EXPECT_EQ(controls[1].id, static_cast<std::uint32_t>(V4L2_CID_CONTRAST));
  EXPECT_FALSE(camera.SetControl(V4L2_CID_HUE, 10));
  EXPECT_FALSE(camera.SetControl(V4L2_CID_BRIGHTNESS, 256));

  ASSERT_TRUE(camera.SetControl(V4L2_CID_BRIGHTNESS, 200));
  EXPECT_EQ(camera.Controls()[0].value, 200);
  FrameCollector collector;
  ASSERT_TRUE(camera.Start(collector));
  ASSERT_TRUE(collector.WaitFor(1));
  camera.Stop();
  const Picture neutral = Rendered(TestPattern(160, 120, 128, 128), 0, 0);
  const Picture& brighter = *collector.Frames()[0].picture;
  EXPECT_GT(MeanLevel(brighter), MeanLevel(neutral) + 40);

  // No contrast at all: every pixel at the brightness level.
  const Picture flat = Rendered(TestPattern(160, 120, 100, 0), 0, 0);
  for (int y = 0; y < flat.height; y += 7)
    for (int x = 0; x < flat.width; x += 5) ASSERT_EQ(flat.PixelFromTop(x, y)[1], 100) << x << "," << y;
  const Picture steep = Rendered(TestPattern(160, 120, 128, 255), 0, 0);
  EXPECT_NE(steep.bottom_up_bgr, neutral.bottom_up_bgr);
}

TEST(TestCameraTest, PictureBuffersAreReusedAndOutliveTheCamera) {
  CapturedFrame kept;
  {
    TestCamera camera({160, 120, 30});
    FrameCollector collector(2);
    ASSERT_TRUE(camera.Start(collector));
    ASSERT_TRUE(collector.WaitFor(15));
    camera.Stop();
    EXPECT_LE(camera.LiveBuffers(), 4);
    kept = collector.Frames().back();
  }
  // The camera and its pool are gone; the picture a consumer held is still whole.
  ASSERT_TRUE(kept.picture);
  EXPECT_EQ(kept.picture->bottom_up_bgr,
            Rendered(TestPattern(160, 120, 128, 128), kept.sequence, kept.timestamp_us).bottom_up_bgr);
}

TEST(TestCameraTest, StopReturnsPromptlyAndIsHarmlessWhenStopped) {
  TestCamera camera;
  camera.Stop();
  ASSERT_TRUE(camera.SetFramesPerSecond(1));
  FrameCollector collector;
  ASSERT_TRUE(camera.Start(collector));
  ASSERT_TRUE(collector.WaitFor(1));
  const auto stopping = Clock::now();
  camera.Stop();
  EXPECT_LT(Clock::now() - stopping, milliseconds(100));
  EXPECT_EQ(collector.Frames().size(), 1u);
  camera.Stop();
  EXPECT_EQ(camera.Inputs(), std::vector<std::string>{"Camera"});
  EXPECT_TRUE(camera.SelectInput(0));
  EXPECT_FALSE(camera.SelectInput(1));
}

}  // namespace
}  // namespace zr::platform::linux_impl
