// The movie player over movies ffmpeg wrote, compared frame by frame with ffmpeg's own decode:
// seeks in a shuffled order (backwards, forwards, far and near) must land on the very frame,
// exactly for the lossless codecs; and playing follows the loop's clock to an end event. The
// reference converts with accurate rounding, as the player does: swscale's fast path shifts
// the chroma of small pictures.

#include "platform/linux/ffmpeg_movie_player.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "platform/sim/sim_event_loop.h"
#include "tests/support/movie_probe.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

using zr::testing::Ok;
using zr::testing::RunCommand;

struct Sample {
  const char* name;
  const char* codec;  // ffmpeg's options for the video
  int width, height, frames;
  bool lossless;
};

// The peak signal-to-noise ratio of the player's picture against ffmpeg's top-down BGR frame.
double Psnr(const Picture& picture, const std::uint8_t* reference) {
  double squared = 0;
  const int row = picture.width * 3;
  for (int y = 0; y < picture.height; ++y) {
    const std::uint8_t* ours = picture.PixelFromTop(0, y);
    for (int i = 0; i < row; ++i) {
      const double difference = static_cast<double>(ours[i]) - static_cast<double>(reference[y * row + i]);
      squared += difference * difference;
    }
  }
  if (squared == 0) return INFINITY;
  return 10 * std::log10(255.0 * 255.0 * row * picture.height / squared);
}

class FfmpegMoviePlayerTest : public ::testing::TestWithParam<Sample> {
 protected:
  std::string Make(const Sample& sample) {
    const std::string movie = folder_.File(std::string(sample.name) + ".avi");
    RunCommand("ffmpeg -v error -y -f lavfi -i testsrc=size=" + std::to_string(sample.width) + "x" +
               std::to_string(sample.height) + ":rate=25 -frames:v " + std::to_string(sample.frames) + " " +
               sample.codec + " '" + movie + "' 2>&1");
    const std::string raw = folder_.File(std::string(sample.name) + ".bgr");
    RunCommand("ffmpeg -v error -y -i '" + movie +
               "' -vsync passthrough -sws_flags bilinear+accurate_rnd -f rawvideo -pix_fmt bgr24 '" + raw + "' 2>&1");
    std::ifstream in(raw, std::ios::binary);
    reference_.assign(std::istreambuf_iterator<char>(in), {});
    return movie;
  }

  zr::testing::TemporaryFolder folder_;
  sim::SimEventLoop loop_;
  std::vector<std::uint8_t> reference_;
};

TEST_P(FfmpegMoviePlayerTest, EverySeekShowsTheFrameFfmpegDecodes) {
  const Sample sample = GetParam();
  const std::string movie = Make(sample);
  const auto frame_bytes = static_cast<std::size_t>(sample.width * sample.height * 3);
  ASSERT_EQ(reference_.size(), frame_bytes * static_cast<std::size_t>(sample.frames));

  FfmpegMoviePlayer player(loop_);
  ASSERT_TRUE(Ok(player.OpenMovie(movie)));
  ASSERT_EQ(player.FrameCount(), sample.frames);
  EXPECT_EQ(player.VideoWidth(), sample.width);
  EXPECT_EQ(player.VideoHeight(), sample.height);

  std::vector<int> order(static_cast<std::size_t>(sample.frames));
  std::iota(order.begin(), order.end(), 1);
  std::shuffle(order.begin(), order.end(), std::mt19937(7));
  // Steps of one frame each way as well as jumps.
  for (const int step : {5, 6, 5, 4}) order.push_back(std::min(step, sample.frames));
  for (const int frame : order) {
    player.SeekFrame(frame);
    const auto picture = player.CurrentPicture();
    ASSERT_NE(picture, nullptr) << "frame " << frame;
    ASSERT_EQ(picture->width, sample.width);
    const double psnr = Psnr(*picture, reference_.data() + frame_bytes * static_cast<std::size_t>(frame - 1));
    if (sample.lossless)
      EXPECT_EQ(psnr, INFINITY) << "frame " << frame;
    else
      EXPECT_GT(psnr, 40) << "frame " << frame;
  }
}

INSTANTIATE_TEST_SUITE_P(Codecs, FfmpegMoviePlayerTest,
                         ::testing::Values(Sample{"mjpeg", "-c:v mjpeg -q:v 2", 64, 48, 100, false},
                                           Sample{"mjpeg_odd", "-c:v mjpeg -q:v 2", 33, 17, 30, false},
                                           Sample{"mpeg4", "-c:v mpeg4 -q:v 2 -g 12 -tag:v DX50", 64, 48, 100, false},
                                           Sample{"h264", "-c:v libx264 -crf 10 -g 20 -bf 2", 64, 48, 100, false},
                                           Sample{"raw_odd", "-c:v rawvideo -pix_fmt bgr24", 35, 19, 100, true},
                                           Sample{"ffv1", "-c:v ffv1 -pix_fmt bgr0", 64, 48, 40, true},
                                           Sample{"one_frame", "-c:v huffyuv -pix_fmt bgr24", 16, 16, 1, true}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(FfmpegMoviePlayer, PlaysWithTheLoopsClockAndEndsOnTheLastFrame) {
  zr::testing::TemporaryFolder folder;
  const std::string movie = folder.File("clip.avi");
  RunCommand("ffmpeg -v error -y -f lavfi -i testsrc=size=32x32:rate=20 -frames:v 30 -c:v mjpeg '" + movie + "' 2>&1");
  sim::SimEventLoop loop;
  FfmpegMoviePlayer player(loop);
  int ends = 0;
  player.SetEndHandler([&] { ++ends; });
  EXPECT_FALSE(player.OpenMovie(folder.File("missing.avi")));
  EXPECT_EQ(player.CurrentPicture(), nullptr);
  ASSERT_TRUE(Ok(player.OpenMovie(movie)));
  EXPECT_EQ(player.LengthMs(), 1500);
  player.PlayMovie();
  loop.AdvanceBy(500);
  EXPECT_EQ(player.CurrentFrame(), 11);
  EXPECT_EQ(ends, 0);
  loop.AdvanceBy(1100);
  EXPECT_FALSE(player.Playing());
  EXPECT_EQ(player.CurrentFrame(), 30);
  EXPECT_NE(player.CurrentPicture(), nullptr);
  EXPECT_EQ(ends, 1);
}

}  // namespace
}  // namespace zr::platform::linux_impl
