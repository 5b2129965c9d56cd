// The built-in test tuner: its band, its stations and what each channel shows.

#include "platform/linux/test_tuner.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace zr::platform::linux_impl {
namespace {

// Keeps the frames the tuner delivers; waits for one delivered after a tune.
class FrameCatcher final : public FrameSink {
 public:
  FrameCatcher() = default;
  virtual ~FrameCatcher() = default;
  void OnFrame(const CapturedFrame& frame) override {
    std::lock_guard lock(mutex_);
    latest_ = frame.picture;
    ++frames_;
    arrived_.notify_all();
  }
  void OnSourceEnded(const std::string&) override {}

  // A picture delivered after the second frame from now, so none began before the call.
  std::shared_ptr<const Picture> Fresh() {
    std::unique_lock lock(mutex_);
    const int wanted = frames_ + 2;
    arrived_.wait_for(lock, std::chrono::seconds(3), [&] { return frames_ >= wanted; });
    return frames_ >= wanted ? latest_ : nullptr;
  }

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::shared_ptr<const Picture> latest_;
  int frames_ = 0;
};

TEST(TestTuner, TunesItsBandAndLocksOnlyAtItsStations) {
  auto source = MakeTestTuner();
  SourceTuner* tuner = source->Tuner();
  ASSERT_NE(tuner, nullptr);
  EXPECT_EQ(tuner->LowestChannel(), 1);
  EXPECT_EQ(tuner->HighestChannel(), 99);
  struct Case {
    int channel;
    bool tuned;
    bool locked;
  };
  for (const Case& c : {Case{3, true, true}, Case{4, true, false}, Case{48, true, true}, Case{99, true, false},
                        Case{0, false, false}, Case{100, false, false}}) {
    ASSERT_TRUE(tuner->Tune(2).ok());
    EXPECT_EQ(tuner->Tune(c.channel).ok(), c.tuned) << c.channel;
    EXPECT_EQ(tuner->Locked(), c.locked) << c.channel;
  }
  EXPECT_EQ(tuner->Input(), 2);
  EXPECT_TRUE(tuner->SelectInput(1).ok());
  EXPECT_EQ(tuner->Input(), 1);
  EXPECT_FALSE(tuner->SelectInput(3).ok());
  EXPECT_EQ(tuner->Input(), 1);
}

TEST(TestTuner, EachStationLooksItsOwnAndAChannelWithoutOneShowsSnow) {
  auto source = MakeTestTuner(TestCameraSettings{160, 120, 30});
  FrameCatcher catcher;
  ASSERT_TRUE(source->Start(catcher).ok());
  const auto seen = [&](int channel) {
    EXPECT_TRUE(source->Tuner()->Tune(channel).ok());
    return catcher.Fresh();
  };
  const auto first = seen(3);
  const auto second = seen(7);
  const auto snow = seen(5);
  const auto more_snow = seen(5);
  source->Stop();
  ASSERT_TRUE(first && second && snow && more_snow);
  // Stations show the camera's colours, each its own way; snow is grey, never the same twice.
  EXPECT_NE(first->bottom_up_bgr, second->bottom_up_bgr);
  EXPECT_NE(snow->bottom_up_bgr, more_snow->bottom_up_bgr);
  const std::uint8_t* grey = snow->PixelFromTop(10, 10);
  EXPECT_TRUE(grey[0] == grey[1] && grey[1] == grey[2]);
  bool any_colour = false;
  for (int x = 0; x < first->width; ++x) {
    const std::uint8_t* pixel = first->PixelFromTop(x, first->height / 2);
    any_colour = any_colour || pixel[0] != pixel[1] || pixel[1] != pixel[2];
  }
  EXPECT_TRUE(any_colour);
}

}  // namespace
}  // namespace zr::platform::linux_impl
