// The movie player over movies ffmpeg wrote, compared frame by frame with ffmpeg's own decode:
// seeks in a shuffled order (backwards, forwards, far and near) must land on the very frame,
// exactly for the lossless codecs; and playing follows the loop's clock to an end event. The
// reference converts with accurate rounding, as the player does: swscale's fast path shifts
// the chroma of small pictures.

#include "platform/linux/ffmpeg_movie_player.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <numeric>
#include <random>
#include <string>
#include <thread>
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

// The sound goes to ALSA's null device here (this machine has no sound card), or nowhere when
// the device is missing; either way the picture keeps its time and a stop, a seek while playing
// and the end come back at once.
TEST(FfmpegMoviePlayer, PlaysWithSoundOnADeviceOrSilentlyWithoutOne) {
  zr::testing::TemporaryFolder folder;
  const std::string movie = folder.File("sound.avi");
  RunCommand(
      "ffmpeg -v error -y -f lavfi -i testsrc=size=32x32:rate=10 -f lavfi -i sine=frequency=440:sample_rate=8000 "
      "-t 3 -c:v mjpeg -c:a pcm_s16le '" +
      movie + "' 2>&1");
  for (const char* device : {"null", "no-such-device"}) {
    sim::SimEventLoop loop;
    FfmpegMoviePlayer player(loop, device);
    int ends = 0;
    player.SetEndHandler([&] { ++ends; });
    EXPECT_FALSE(player.OpenMovie(folder.File("missing.avi")));
    EXPECT_EQ(player.CurrentPicture(), nullptr);
    ASSERT_TRUE(Ok(player.OpenMovie(movie)));
    EXPECT_EQ(player.LengthMs(), 3000);
    EXPECT_EQ(player.HasSound(), std::string(device) == "null");
    const auto start = std::chrono::steady_clock::now();
    player.PlayMovie();
    loop.AdvanceBy(1000);
    player.SeekFrame(5);
    loop.AdvanceBy(500);
    EXPECT_EQ(player.CurrentFrame(), 10) << device;
    player.StopMovie();
    player.PlayMovie();
    loop.AdvanceBy(3000);
    EXPECT_EQ(ends, 1) << device;
    EXPECT_FALSE(player.Playing());
    EXPECT_EQ(player.CurrentFrame(), 30);
    EXPECT_NE(player.CurrentPicture(), nullptr);
    player.CloseMovie();
    EXPECT_LT(zr::testing::Since(start).count(), 1000) << device;
  }
}

// The sound starts where the picture does: a track silent for its first second, played from
// frame 1 and from frame 11 (one second in at 10 frames a second), into ALSA's file device.
TEST(FfmpegMoviePlayer, TheSoundStartsWhereThePictureStarts) {
  zr::testing::TemporaryFolder folder;
  const std::string movie = folder.File("late_tone.avi");
  RunCommand(
      "ffmpeg -v error -y -f lavfi -i testsrc=size=32x32:rate=10 -f lavfi "
      "-i \"aevalsrc=if(gte(t\\,1)\\,0.5*cos(2*PI*440*t)\\,0):s=8000\" -t 2 -c:v mjpeg -c:a pcm_s16le '" +
      movie + "' 2>&1");
  for (const int frame : {1, 11}) {
    const std::string heard = folder.File("heard" + std::to_string(frame) + ".raw");
    {
      sim::SimEventLoop loop;
      FfmpegMoviePlayer player(loop, "file:FILE=" + heard + ",FORMAT=raw");
      ASSERT_TRUE(Ok(player.OpenMovie(movie)));
      ASSERT_TRUE(player.HasSound());
      player.SeekFrame(frame);
      player.PlayMovie();
      std::this_thread::sleep_for(std::chrono::milliseconds(300));
    }
    std::ifstream in(heard, std::ios::binary);
    std::vector<std::int16_t> samples(4000);
    in.read(reinterpret_cast<char*>(samples.data()), 8000);
    ASSERT_EQ(in.gcount(), 8000);
    const auto first_heard = std::find_if(samples.begin(), samples.end(), [](std::int16_t s) { return s != 0; });
    // Silence up to the second's end from the start; the tone at once from a second in.
    if (frame == 1)
      EXPECT_EQ(first_heard, samples.end());
    else
      EXPECT_LT(first_heard - samples.begin(), 2);
  }
}

}  // namespace
}  // namespace zr::platform::linux_impl
