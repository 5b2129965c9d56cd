#include "platform/linux/network_stream.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "platform/linux/ffmpeg_movie_files.h"
#include "tests/support/local_http_server.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

using zr::testing::Ok;
using zr::testing::Since;

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using testing::CollectingSink;
using testing::LocalHttpServer;
using Clock = std::chrono::steady_clock;

constexpr int kFrames = 10;
constexpr double kRate = 10;
constexpr std::int64_t kPeriodUs = 100'000;



// Frame i of the test movies: white above, below a green that brightens with i, so the order,
// the orientation and the colours of the delivered pictures all show.
std::uint8_t GreenOf(int frame) { return static_cast<std::uint8_t>(30 + 20 * frame); }

Picture MovieFrame(int width, int height, int index) {
  Picture picture = Picture::Blank(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      std::uint8_t* pixel = picture.PixelFromTop(x, y);
      const bool top = y < height / 2;
      pixel[0] = top ? 255 : 40;
      pixel[1] = top ? 255 : GreenOf(index);
      pixel[2] = top ? 255 : 40;
    }
  }
  return picture;
}

class NetworkStreamTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/zr-network-stream-XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    folder_ = name;
  }
  void TearDown() override { fs::remove_all(folder_); }

  // A Motion JPEG AVI of kFrames frames at kRate, written with the program's own writer.
  std::string WriteMovie(const std::string& name, int width, int height) {
    const std::string path = (folder_ / name).string();
    MovieFormat format;
    format.width = width;
    format.height = height;
    format.frames_per_second = kRate;
    format.codec = VideoCodec::Mjpeg;
    format.quality = 95;
    auto writer = FfmpegMovieFiles().OpenWriter(path, format);
    EXPECT_TRUE(Ok(writer));
    if (!writer) return path;
    for (int i = 0; i < kFrames; ++i) {
      EXPECT_TRUE(Ok((*writer)->WriteVideoFrame(MovieFrame(width, height, i).View())));
    }
    EXPECT_TRUE(Ok((*writer)->Close()));
    return path;
  }

  // Plays `url` to its end and checks every frame: size, order, orientation, colours, pace.
  void ExpectWholeMovie(const std::string& url, int width, int height) {
    auto stream = MakeNetworkStreamSource(url, 2000);
    EXPECT_EQ(stream->Width(), 0);
    CollectingSink sink;
    const auto start = Clock::now();
    ASSERT_TRUE(Ok(stream->Start(sink)));
    EXPECT_EQ(stream->Width(), width);
    EXPECT_EQ(stream->Height(), height);
    EXPECT_DOUBLE_EQ(stream->FramesPerSecond(), kRate);
    EXPECT_EQ(sink.WaitForEnd(milliseconds(2500)), "The stream has ended");
    // The last frame is due 0.9 s after the first: a file plays at its own pace.
    EXPECT_GE(Since(start), milliseconds(850));
    stream->Stop();
    const auto frames = sink.Frames();
    ASSERT_EQ(frames.size(), static_cast<std::size_t>(kFrames));
    for (int i = 0; i < kFrames; ++i) {
      const CapturedFrame& frame = frames[static_cast<std::size_t>(i)];
      EXPECT_EQ(frame.sequence, i);
      EXPECT_EQ(frame.timestamp_us, i * kPeriodUs);
      const Picture& picture = *frame.picture;
      ASSERT_EQ(picture.width, width);
      ASSERT_EQ(picture.height, height);
      ASSERT_EQ(picture.bottom_up_bgr.size(), static_cast<std::size_t>(picture.Stride()) * height);
      const std::uint8_t* top = picture.PixelFromTop(width - 1, height / 4);
      const std::uint8_t* bottom = picture.PixelFromTop(width - 1, height * 3 / 4);
      EXPECT_GE(top[1], 240) << "frame " << i << " is upside down or dark";
      EXPECT_NEAR(bottom[0], 40, 10) << "frame " << i;
      EXPECT_NEAR(bottom[1], GreenOf(i), 10) << "frame " << i;
      EXPECT_NEAR(bottom[2], 40, 10) << "frame " << i;
    }
    EXPECT_FALSE(sink.CalledAfterEnd());
  }

  fs::path folder_;
};

TEST_F(NetworkStreamTest, PlaysAFileByItsPathAtItsOwnPaceToTheEnd) {
  // A width whose rows need padding: 322 pixels are 966 bytes, stored in 968.
  ExpectWholeMovie(WriteMovie("padded.avi", 322, 240), 322, 240);
}

TEST_F(NetworkStreamTest, PlaysAMovieServedOverHttp) {
  WriteMovie("movie.avi", 320, 240);
  LocalHttpServer::Options options;
  options.folder = folder_;
  LocalHttpServer server(LocalHttpServer::Mode::Files, options);
  ExpectWholeMovie(server.Url("/file/movie.avi"), 320, 240);
}

TEST_F(NetworkStreamTest, StartFailsNamingAnAddressThatCannotBeOpened) {
  const std::string missing = (folder_ / "missing.avi").string();
  CollectingSink sink;
  auto started = MakeNetworkStreamSource(missing, 1000)->Start(sink);
  ASSERT_FALSE(started.ok());
  EXPECT_TRUE(started.error().message.starts_with("The stream at " + missing + " cannot be opened"))
      << started.error().message;

  LocalHttpServer server(LocalHttpServer::Mode::Files);
  const std::string absent = server.Url("/file/absent.avi");
  started = MakeNetworkStreamSource(absent, 1000)->Start(sink);
  ASSERT_FALSE(started.ok());
  EXPECT_TRUE(started.error().message.starts_with("The stream at " + absent + " cannot be opened"))
      << started.error().message;
}

TEST_F(NetworkStreamTest, AnAddressThatDoesNotAnswerFailsWithinTheTimeout) {
  LocalHttpServer server(LocalHttpServer::Mode::Silent);
  const std::string url = server.Url("/file/movie.avi");
  CollectingSink sink;
  const auto start = Clock::now();
  auto started = MakeNetworkStreamSource(url, 400)->Start(sink);
  EXPECT_LT(Since(start), milliseconds(1000));
  ASSERT_FALSE(started.ok());
  EXPECT_EQ(started.error().message, "The stream at " + url + " does not answer");

  server.Stop();
  started = MakeNetworkStreamSource(url, 400)->Start(sink);
  ASSERT_FALSE(started.ok());
  EXPECT_EQ(started.error().message, "The stream at " + url + " does not answer");
}

TEST_F(NetworkStreamTest, StopIsPromptAndEndsTheFrames) {
  const std::string path = "file:" + WriteMovie("movie.avi", 160, 120);
  auto stream = MakeNetworkStreamSource(path, 1000);
  CollectingSink sink;
  ASSERT_TRUE(Ok(stream->Start(sink)));
  ASSERT_TRUE(sink.WaitForFrames(2, milliseconds(1000)));
  const auto start = Clock::now();
  stream->Stop();
  EXPECT_LT(Since(start), milliseconds(100)) << "the pace's wait is cut short";
  const std::size_t frames = sink.FrameCount();
  EXPECT_LT(frames, static_cast<std::size_t>(kFrames));
  std::this_thread::sleep_for(milliseconds(150));
  EXPECT_EQ(sink.FrameCount(), frames);
  EXPECT_FALSE(sink.WaitForEnd(milliseconds(0)).has_value()) << "a stop is not an end";

  // Started again, the stream plays from its beginning.
  CollectingSink again;
  ASSERT_TRUE(Ok(stream->Start(again)));
  ASSERT_TRUE(again.WaitForFrames(1, milliseconds(1000)));
  EXPECT_EQ(again.Frames()[0].sequence, 0);
  EXPECT_NEAR(again.Frames()[0].picture->PixelFromTop(80, 100)[1], GreenOf(0), 10);
}

}  // namespace
}  // namespace zr::platform::linux_impl
