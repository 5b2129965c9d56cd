#include "platform/linux/source_level_meter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "platform/linux/poll_event_loop.h"
#include "platform/linux/test_tone.h"

namespace zr::platform::linux_impl {
namespace {

constexpr std::int64_t kWaitMs = 3000;

class SourceLevelMeterTest : public ::testing::Test {
 protected:
  // Runs the loop until `count` levels were heard or the wait is over.
  void HearLevels(std::size_t count) {
    const std::int64_t start = loop_.NowMs();
    loop_.RunModal([&] { return levels_.size() >= count || loop_.NowMs() - start > kWaitMs; });
  }
  LevelListener Listener() {
    return {[this](int level) { levels_.push_back(level); }, [this](const std::string& why) { ended_ = why; }};
  }

  PollEventLoop loop_;
  std::unique_ptr<SoundLevelMeter> meter_ =
      MakeSourceLevelMeter(loop_, {{"Built-in Test Tone", [] { return MakeTestTone(); }}});
  std::vector<int> levels_;
  std::string ended_;
};

// A second and a bit of the tone: its steady level most of the time, the beep's level for the
// first tenth of each second, a level every 20 ms.
TEST_F(SourceLevelMeterTest, HearsTheTestToneRiseAndFallEvery20Ms) {
  EXPECT_EQ(meter_->Inputs(), std::vector<std::string>{"Built-in Test Tone"});
  const std::int64_t start = loop_.NowMs();
  ASSERT_TRUE(meter_->Listen(0, Listener()));
  HearLevels(60);
  const std::int64_t took = loop_.NowMs() - start;
  ASSERT_EQ(levels_.size(), 60u);
  EXPECT_GE(took, 1100);
  EXPECT_LT(took, 1500);
  EXPECT_EQ(std::count(levels_.begin(), levels_.end(), 75), 5 + 5);
  EXPECT_EQ(std::count(levels_.begin(), levels_.end(), 25), 60 - 10);
  EXPECT_EQ(levels_.front(), 75);
  EXPECT_TRUE(ended_.empty());
}

// Levels already posted when the listening stops reach nobody, and an input that is not there
// cannot be listened to.
TEST_F(SourceLevelMeterTest, HearsNothingAfterStopAndRefusesAnInputBeyondTheList) {
  ASSERT_TRUE(meter_->Listen(0, Listener()));
  HearLevels(3);
  meter_->Stop();
  const std::size_t heard = levels_.size();
  const std::int64_t stopped = loop_.NowMs();
  loop_.RunModal([&] { return loop_.NowMs() - stopped > 100; });
  EXPECT_EQ(levels_.size(), heard);
  EXPECT_FALSE(meter_->Listen(1, Listener()));
  EXPECT_FALSE(meter_->Listen(-1, Listener()));
}

}  // namespace
}  // namespace zr::platform::linux_impl
