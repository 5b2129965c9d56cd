#include "platform/linux/network_stream.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "platform/linux/ffmpeg_movie_files.h"
#include "tests/support/local_http_server.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

using std::chrono::milliseconds;
using testing::CollectingSink;
using testing::LocalHttpServer;
using zr::testing::Ok;
using zr::testing::Since;

constexpr int kFrames = 10;
constexpr double kRate = 10;
// A width whose rows need padding: 322 pixels are 966 bytes, stored in 968.
constexpr int kWidth = 322;
constexpr int kHeight = 240;

// Frame i of the test movie: white above, below a green that brightens with i, so the order,
// the orientation and the colours of the delivered pictures all show.
std::uint8_t GreenOf(int frame) { return static_cast<std::uint8_t>(30 + 20 * frame); }

class NetworkStreamTest : public ::testing::Test {
 protected:
  // A Motion JPEG AVI of kFrames frames at kRate, written with the program's own writer.
  void SetUp() override {
    const MovieFormat format{kWidth, kHeight, kRate, VideoCodec::Mjpeg, /*quality=*/95, /*audio=*/{}, 0};
    auto writer = FfmpegMovieFiles().OpenWriter(movie_ = folder_.File("movie.avi"), format);
    ASSERT_TRUE(Ok(writer));
    for (int i = 0; i < kFrames; ++i) {
      Picture picture = Picture::Blank(kWidth, kHeight);
      for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
          std::uint8_t* pixel = picture.PixelFromTop(x, y);
          pixel[0] = pixel[2] = y < kHeight / 2 ? 255 : 40;
          pixel[1] = y < kHeight / 2 ? 255 : GreenOf(i);
        }
      }
      ASSERT_TRUE(Ok((*writer)->WriteVideoFrame(picture.View())));
    }
    ASSERT_TRUE(Ok((*writer)->Close()));
  }

  zr::testing::TemporaryFolder folder_;
  std::string movie_;
};

// Plays the movie to its end and checks every frame: size, order, orientation, colours, pace.
TEST_F(NetworkStreamTest, PlaysAFileByPathAndOverHttpAtItsOwnPaceToTheEnd) {
  LocalHttpServer server(LocalHttpServer::Mode::Files, {.folder = folder_.path()});
  for (const std::string& url : {movie_, server.Url("/file/movie.avi")}) {
    SCOPED_TRACE(url);
    auto stream = MakeNetworkStreamSource(url, 2000);
    CollectingSink sink;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(Ok(stream->Start(sink)));
    ASSERT_TRUE(sink.WaitForFrames(1, milliseconds(1000)));
    EXPECT_EQ(stream->Width(), kWidth);
    EXPECT_EQ(stream->Height(), kHeight);
    EXPECT_DOUBLE_EQ(stream->FramesPerSecond(), kRate);
    EXPECT_EQ(sink.WaitForEnd(milliseconds(2500)), "The stream has ended");
    // The last frame is due 0.9 s after the first: a file plays at its own pace.
    EXPECT_GE(Since(start), milliseconds(850));
    stream->Stop();
    const auto frames = sink.Frames();
    ASSERT_EQ(frames.size(), static_cast<std::size_t>(kFrames));
    for (int i = 0; i < kFrames; ++i) {
      SCOPED_TRACE(i);
      const CapturedFrame& frame = frames[static_cast<std::size_t>(i)];
      EXPECT_EQ(frame.sequence, i);
      EXPECT_EQ(frame.timestamp_us, i * 100'000);
      const Picture& picture = *frame.picture;
      ASSERT_EQ(picture.width, kWidth);
      ASSERT_EQ(picture.height, kHeight);
      ASSERT_EQ(picture.bottom_up_bgr.size(), static_cast<std::size_t>(picture.Stride()) * kHeight);
      const std::uint8_t* bottom = picture.PixelFromTop(kWidth - 1, kHeight * 3 / 4);
      EXPECT_GE(picture.PixelFromTop(kWidth - 1, kHeight / 4)[1], 240) << "upside down or dark";
      EXPECT_NEAR(bottom[0], 40, 10);
      EXPECT_NEAR(bottom[1], GreenOf(i), 10);
      EXPECT_NEAR(bottom[2], 40, 10);
    }
    EXPECT_FALSE(sink.CalledAfterEnd());
  }
}

// Start returns at once whatever the far end does; a stream that cannot be opened ends the
// source naming the address, within the timeout.
TEST_F(NetworkStreamTest, AStreamThatCannotBeOpenedEndsNamingTheAddressWithinTheTimeout) {
  LocalHttpServer files(LocalHttpServer::Mode::Files);
  LocalHttpServer silent(LocalHttpServer::Mode::Silent);
  const std::string missing = folder_.File("missing.avi");
  const std::string absent = files.Url("/file/absent.avi");
  const std::string mute = silent.Url("/file/movie.avi");
  for (const auto& [url, message] :
       {std::pair{missing, missing + " cannot be opened"}, std::pair{absent, absent + " cannot be opened"},
        std::pair{mute, mute + " does not answer"}}) {
    CollectingSink sink;
    auto stream = MakeNetworkStreamSource(url, 400);
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(Ok(stream->Start(sink))) << url;
    EXPECT_LT(Since(start), milliseconds(100)) << url;
    const auto ended = sink.WaitForEnd(milliseconds(1000));
    ASSERT_TRUE(ended.has_value()) << url;
    EXPECT_TRUE(ended->starts_with("The stream at " + message)) << *ended;
    EXPECT_EQ(stream->Width(), 0);
  }
  // A stop while the far end is silent cuts the opening short and reports nothing.
  CollectingSink stopped;
  auto stream = MakeNetworkStreamSource(mute, 5000);
  ASSERT_TRUE(Ok(stream->Start(stopped)));
  const auto start = std::chrono::steady_clock::now();
  stream->Stop();
  EXPECT_LT(Since(start), milliseconds(500));
  EXPECT_FALSE(stopped.WaitForEnd(milliseconds(0)).has_value());
}

TEST_F(NetworkStreamTest, StopIsPromptAndAStartAgainPlaysFromTheBeginning) {
  auto stream = MakeNetworkStreamSource("file:" + movie_, 1000);
  CollectingSink sink;
  ASSERT_TRUE(Ok(stream->Start(sink)));
  ASSERT_TRUE(sink.WaitForFrames(2, milliseconds(1000)));
  const auto start = std::chrono::steady_clock::now();
  stream->Stop();
  EXPECT_LT(Since(start), milliseconds(100)) << "the pace's wait is cut short";
  const std::size_t frames = sink.FrameCount();
  std::this_thread::sleep_for(milliseconds(150));
  EXPECT_EQ(sink.FrameCount(), frames);
  EXPECT_LT(frames, static_cast<std::size_t>(kFrames));
  EXPECT_FALSE(sink.WaitForEnd(milliseconds(0)).has_value()) << "a stop is not an end";

  CollectingSink again;
  ASSERT_TRUE(Ok(stream->Start(again)));
  ASSERT_TRUE(again.WaitForFrames(1, milliseconds(1000)));
  EXPECT_EQ(again.Frames()[0].sequence, 0);
  EXPECT_NEAR(again.Frames()[0].picture->PixelFromTop(80, 200)[1], GreenOf(0), 10);
}

}  // namespace
}  // namespace zr::platform::linux_impl
