// Movies built from bitmap files on the builder's threads, read back by ffprobe and ffmpeg: a
// frame a file in each codec, a file that cannot be read repeating the frame before it, a
// cancelled build that still plays, and a movie that cannot be written.

#include "platform/linux/threaded_movie_builder.h"

#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "image/bmp.h"
#include "platform/linux/ffmpeg_movie_files.h"
#include "platform/linux/poll_event_loop.h"
#include "tests/support/movie_probe.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

using zr::testing::ProbeStream;
using zr::testing::RunCommand;

constexpr int kWidth = 64;
constexpr int kHeight = 48;

class ThreadedMovieBuilderTest : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return folder_.File(name); }

  // `count` files of one flat colour each, numbered from 0.
  std::vector<std::string> Frames(int count, int width = kWidth, const std::string& name = "frame") const {
    std::vector<std::string> paths;
    for (int index = 0; index < count; ++index) {
      Picture picture = Picture::Blank(width, kHeight);
      for (std::size_t at = 0; at < picture.bottom_up_bgr.size(); ++at)
        picture.bottom_up_bgr[at] = static_cast<std::uint8_t>(index * 20 + static_cast<int>(at % 3) * 60);
      paths.push_back(Path(name + std::to_string(index) + ".bmp"));
      EXPECT_TRUE(WriteBmpFile(picture, paths.back()));
    }
    return paths;
  }

  MovieBuildRequest Request(std::vector<std::string> frames, VideoCodec codec = VideoCodec::Mjpeg) const {
    return {Path("movie.avi"), std::move(frames), MovieFormat{kWidth, kHeight, 11, codec, 90, {}}};
  }

  // Runs a build to its end; `on_progress` may act on each report.
  MovieBuildEnd Build(MovieBuildRequest request, const std::function<void(MovieBuild&)>& on_progress = {}) {
    std::optional<MovieBuildEnd> ended;
    std::unique_ptr<MovieBuild> build;
    build = builder_.Start(std::move(request), {[&](const MovieBuildProgress& progress) {
                                                  ++reports_;
                                                  EXPECT_GE(progress.frame, last_reported_);
                                                  last_reported_ = progress.frame;
                                                  EXPECT_EQ(progress.picture->width, kWidth);
                                                  if (on_progress) on_progress(*build);
                                                },
                                                [&](const MovieBuildEnd& end) { ended = end; }});
    loop_.RunModal([&] { return ended.has_value(); });
    return *ended;
  }

  // The checksum of each decoded frame, as ffmpeg's framemd5 gives it.
  std::vector<std::string> FrameChecksums() const {
    std::istringstream lines(RunCommand("ffmpeg -v error -i '" + Path("movie.avi") + "' -f framemd5 - 2>/dev/null"));
    std::vector<std::string> sums;
    for (std::string line; std::getline(lines, line);)
      if (!line.empty() && line[0] != '#') sums.push_back(line.substr(line.rfind(',') + 1));
    return sums;
  }

  zr::testing::TemporaryFolder folder_;
  PollEventLoop loop_;
  FfmpegMovieFiles movies_;
  ThreadedMovieBuilder builder_{loop_, movies_};
  int reports_ = 0;
  int last_reported_ = -1;
};

TEST_F(ThreadedMovieBuilderTest, EveryFileIsAKeyFrameAtTheAskedRateInEachIntraCodec) {
  const auto frames = Frames(12);
  for (const auto& [codec, tag] :
       {std::pair{VideoCodec::Mjpeg, "MJPG"}, std::pair{VideoCodec::Uncompressed, "[0][0][0][0]"}}) {
    SCOPED_TRACE(tag);
    reports_ = 0;
    last_reported_ = -1;
    const MovieBuildEnd end = Build(Request(frames, codec));
    EXPECT_FALSE(end.error.has_value());
    EXPECT_FALSE(end.cancelled);
    EXPECT_EQ(end.frames, 12);
    EXPECT_GE(reports_, 1);
    auto video = ProbeStream(Path("movie.avi"), 'v', "nb_read_frames,width,height,r_frame_rate,codec_tag_string");
    EXPECT_EQ(video["nb_read_frames"], "12");
    EXPECT_EQ(video["width"], std::to_string(kWidth));
    EXPECT_EQ(video["height"], std::to_string(kHeight));
    EXPECT_EQ(video["r_frame_rate"], "11/1");
    EXPECT_EQ(video["codec_tag_string"], tag);
    const std::string flags = RunCommand("ffprobe -v error -select_streams v -show_entries packet=flags -of csv=p=0 '" +
                                         Path("movie.avi") + "' | grep -c '^K'");
    EXPECT_EQ(std::stoi(flags), 12);
  }
}

TEST_F(ThreadedMovieBuilderTest, AFileThatCannotBeReadOrHasAnotherSizeRepeatsTheFrameBefore) {
  auto frames = Frames(5);
  frames[2] = Path("missing.bmp");
  frames[3] = Frames(1, kWidth + 2, "wide").front();
  const MovieBuildEnd end = Build(Request(frames, VideoCodec::Uncompressed));
  EXPECT_EQ(end.frames, 5);
  const auto sums = FrameChecksums();
  ASSERT_EQ(sums.size(), 5u);
  EXPECT_EQ(sums[2], sums[1]);
  EXPECT_EQ(sums[3], sums[1]);
  EXPECT_NE(sums[4], sums[1]);
}

TEST_F(ThreadedMovieBuilderTest, ACancelledBuildKeepsAMovieOfWhatWasWrittenThatPlays) {
  const auto frames = Frames(400);
  const MovieBuildEnd end = Build(Request(frames), [](MovieBuild& build) { build.Cancel(); });
  EXPECT_TRUE(end.cancelled);
  EXPECT_FALSE(end.error.has_value());
  EXPECT_LT(end.frames, 400);
  EXPECT_GE(end.frames, 1);
  EXPECT_EQ(ProbeStream(Path("movie.avi"), 'v', "nb_read_frames")["nb_read_frames"], std::to_string(end.frames));
}

TEST_F(ThreadedMovieBuilderTest, AMovieThatCannotBeMadeEndsWithTheWritersError) {
  auto request = Request(Frames(3));
  request.path = Path("no folder/movie.avi");
  const MovieBuildEnd end = Build(request);
  ASSERT_TRUE(end.error.has_value());
  EXPECT_FALSE(end.error->message.empty());
  EXPECT_EQ(end.frames, 0);
  EXPECT_EQ(reports_, 0);
}

}  // namespace
}  // namespace zr::platform::linux_impl
