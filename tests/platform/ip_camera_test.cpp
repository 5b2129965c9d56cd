#include "platform/linux/ip_camera.h"

#include <gtest/gtest.h>

#include <chrono>
#include <numeric>
#include <string>
#include <thread>
#include <tuple>

#include "tests/support/local_http_server.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

using zr::testing::Ok;
using zr::testing::Since;

using std::chrono::milliseconds;
using testing::CollectingSink;
using testing::LocalHttpServer;
using Clock = std::chrono::steady_clock;

constexpr milliseconds kPatience{2000};  // long enough for any frame a test waits for



IpCameraTimeouts ShortTimeouts(milliseconds timeout = milliseconds(1000)) {
  IpCameraTimeouts timeouts;
  timeouts.connect = timeout;
  timeouts.read = timeout;
  timeouts.snapshot_interval = milliseconds(10);
  return timeouts;
}

LocalHttpServer::Options Camera(double frames_per_second) {
  LocalHttpServer::Options options;
  options.width = 96;
  options.height = 64;
  options.frames_per_second = frames_per_second;
  return options;
}

// The server's picture numbers in the delivered frames, checking each frame on the way: the
// server's size, the right way up, numbered 0, 1, 2, … and stamped later each time.
std::vector<int> PictureNumbers(const std::vector<CapturedFrame>& frames, int width, int height) {
  std::vector<int> numbers;
  for (std::size_t i = 0; i < frames.size(); ++i) {
    const CapturedFrame& frame = frames[i];
    EXPECT_EQ(frame.sequence, static_cast<std::int64_t>(i));
    EXPECT_EQ(frame.picture->width, width);
    EXPECT_EQ(frame.picture->height, height);
    if (i > 0) {
      EXPECT_GT(frame.timestamp_us, frames[i - 1].timestamp_us);
    }
    const auto number = LocalHttpServer::FrameNumberIn(*frame.picture);
    EXPECT_TRUE(number.has_value()) << "frame " << i << " is not the server's picture";
    numbers.push_back(number.value_or(-1));
  }
  return numbers;
}

bool StrictlyIncreasing(const std::vector<int>& numbers) {
  return std::adjacent_find(numbers.begin(), numbers.end(), std::greater_equal<int>()) ==
         numbers.end();
}

TEST(IpCameraTest, ASnapshotCameraIsAskedAgainForEveryFrame) {
  LocalHttpServer server(LocalHttpServer::Mode::Snapshot, Camera(0));
  auto camera = MakeIpCameraSource(server.Url(), ShortTimeouts());
  EXPECT_EQ(camera->Width(), 0);
  EXPECT_EQ(camera->FramesPerSecond(), 0);
  CollectingSink sink;
  ASSERT_TRUE(Ok(camera->Start(sink)));
  ASSERT_TRUE(sink.WaitForFrames(5, kPatience));
  camera->Stop();
  EXPECT_EQ(camera->Width(), 96);
  EXPECT_EQ(camera->Height(), 64);
  const auto numbers = PictureNumbers(sink.Frames(), 96, 64);
  EXPECT_EQ(numbers[0], 0);
  EXPECT_TRUE(StrictlyIncreasing(numbers));
  EXPECT_GE(server.Requests(), 5);
}

TEST(IpCameraTest, ASnapshotCameraIsNotAskedMoreOftenThanTheInterval) {
  LocalHttpServer server(LocalHttpServer::Mode::Snapshot, Camera(0));
  IpCameraTimeouts timeouts = ShortTimeouts();
  timeouts.snapshot_interval = milliseconds(100);
  auto camera = MakeIpCameraSource(server.Url(), timeouts);
  CollectingSink sink;
  ASSERT_TRUE(Ok(camera->Start(sink)));
  std::this_thread::sleep_for(milliseconds(550));
  camera->Stop();
  // Requests at 0, 100, … 500 ms: six at most, and the local camera answers every one in time.
  EXPECT_LE(sink.FrameCount(), 6u);
  EXPECT_GE(sink.FrameCount(), 4u);
}

// A stream: parts with or without their length, boundaries announced with or without dashes.
class IpCameraStreamTest : public ::testing::TestWithParam<std::tuple<bool, std::string>> {};

TEST_P(IpCameraStreamTest, EachPartOfAStreamIsAFrame) {
  LocalHttpServer::Options options = Camera(40);
  options.part_lengths = std::get<0>(GetParam());
  options.boundary = std::get<1>(GetParam());
  LocalHttpServer server(LocalHttpServer::Mode::Mjpeg, options);
  auto camera = MakeIpCameraSource(server.Url(), ShortTimeouts());
  CollectingSink sink;
  ASSERT_TRUE(Ok(camera->Start(sink)));
  ASSERT_TRUE(sink.WaitForFrames(6, kPatience));
  camera->Stop();
  const std::vector<int> numbers = PictureNumbers(sink.Frames(), 96, 64);
  std::vector<int> every_one(numbers.size());
  std::iota(every_one.begin(), every_one.end(), 0);
  EXPECT_EQ(numbers, every_one) << "one stream sends every picture, in order";
  EXPECT_EQ(server.Requests(), 1);
}

INSTANTIATE_TEST_SUITE_P(PartsAndBoundaries, IpCameraStreamTest,
                         ::testing::Combine(::testing::Bool(),
                                            ::testing::Values("zrframe", "--myboundary")));

TEST(IpCameraTest, AStreamThatClosesIsOpenedAgain) {
  LocalHttpServer::Options options = Camera(50);
  options.frames_per_stream = 3;
  LocalHttpServer server(LocalHttpServer::Mode::Mjpeg, options);
  auto camera = MakeIpCameraSource(server.Url(), ShortTimeouts());
  CollectingSink sink;
  ASSERT_TRUE(Ok(camera->Start(sink)));
  ASSERT_TRUE(sink.WaitForFrames(8, kPatience));
  camera->Stop();
  EXPECT_FALSE(sink.WaitForEnd(milliseconds(0)).has_value());
  EXPECT_TRUE(StrictlyIncreasing(PictureNumbers(sink.Frames(), 96, 64)));
  EXPECT_GE(server.Requests(), 3);
}

TEST(IpCameraTest, TheContentTypeMustBePicturesOrAStreamOfThem) {
  LocalHttpServer server(LocalHttpServer::Mode::Snapshot);
  const std::string url = server.Url("/page.html");
  auto camera = MakeIpCameraSource(url, ShortTimeouts());
  CollectingSink sink;
  auto started = camera->Start(sink);
  ASSERT_FALSE(started.ok());
  EXPECT_EQ(started.error().message,
            "The camera at " + url + " sends 'text/html', not JPEG pictures");
  EXPECT_EQ(sink.FrameCount(), 0u);
}

TEST(IpCameraTest, StartTellsWhyTheCameraCannotBeUsed) {
  LocalHttpServer server(LocalHttpServer::Mode::Snapshot);
  const std::string missing = server.Url("/no-camera-here.jpg");
  CollectingSink sink;
  auto refused = MakeIpCameraSource(missing, ShortTimeouts())->Start(sink);
  ASSERT_FALSE(refused.ok());
  EXPECT_EQ(refused.error().message, "The camera at " + missing + " answered 404 Not Found");

  LocalHttpServer silent(LocalHttpServer::Mode::Silent);
  const auto start = Clock::now();
  auto mute = MakeIpCameraSource(silent.Url(), ShortTimeouts(milliseconds(300)))->Start(sink);
  EXPECT_LT(Since(start), milliseconds(800));
  ASSERT_FALSE(mute.ok());
  EXPECT_EQ(mute.error().message, "The camera at " + silent.Url() + " sent no picture");
}

TEST(IpCameraTest, ACameraThatTakesNoConnectionFailsWithinTheConnectTimeout) {
  LocalHttpServer server(LocalHttpServer::Mode::Unreachable);
  IpCameraTimeouts timeouts = ShortTimeouts(milliseconds(5000));
  timeouts.connect = milliseconds(300);
  CollectingSink sink;
  const auto start = Clock::now();
  auto started = MakeIpCameraSource(server.Url(), timeouts)->Start(sink);
  EXPECT_LT(Since(start), milliseconds(800));
  ASSERT_FALSE(started.ok());
  EXPECT_EQ(started.error().message, "The camera at " + server.Url() + " does not answer");
}

TEST(IpCameraTest, CredentialsAreSentAndNeverShown) {
  LocalHttpServer::Options options = Camera(0);
  options.credentials = "viewer:s3cret";
  LocalHttpServer server(LocalHttpServer::Mode::Snapshot, options);
  const std::string place = "127.0.0.1:" + std::to_string(server.Port()) + "/snapshot.jpg";
  CollectingSink sink;
  auto camera = MakeIpCameraSource("http://viewer:s3cret@" + place, ShortTimeouts());
  ASSERT_TRUE(Ok(camera->Start(sink)));
  EXPECT_TRUE(sink.WaitForFrames(1, kPatience));
  camera->Stop();

  auto wrong = MakeIpCameraSource("http://viewer:guess@" + place, ShortTimeouts())->Start(sink);
  ASSERT_FALSE(wrong.ok());
  EXPECT_EQ(wrong.error().message,
            "The camera at http://viewer@" + place + " answered 401 Unauthorized");
}

TEST(IpCameraTest, AStreamingCameraThatGoesAwayEndsTheSource) {
  LocalHttpServer server(LocalHttpServer::Mode::Mjpeg, Camera(40));
  auto camera = MakeIpCameraSource(server.Url(), ShortTimeouts());
  CollectingSink sink;
  ASSERT_TRUE(Ok(camera->Start(sink)));
  ASSERT_TRUE(sink.WaitForFrames(3, kPatience));
  server.Stop();  // the stream breaks off and the camera refuses the new request
  EXPECT_EQ(sink.WaitForEnd(kPatience), "The camera at " + server.Url() + " does not answer");
  camera->Stop();
  EXPECT_FALSE(sink.CalledAfterEnd());
}

TEST(IpCameraTest, ACameraThatHangsEndsTheSourceAfterTheReadTimeout) {
  for (const auto mode : {LocalHttpServer::Mode::Mjpeg, LocalHttpServer::Mode::Snapshot}) {
    LocalHttpServer server(mode, Camera(40));
    auto camera = MakeIpCameraSource(server.Url(), ShortTimeouts(milliseconds(300)));
    CollectingSink sink;
    ASSERT_TRUE(Ok(camera->Start(sink)));
    ASSERT_TRUE(sink.WaitForFrames(2, kPatience));
    server.Silence();
    const auto silenced = Clock::now();
    EXPECT_EQ(sink.WaitForEnd(kPatience), "The camera at " + server.Url() + " does not answer");
    EXPECT_LT(Since(silenced), milliseconds(900));
    camera->Stop();
  }
}

TEST(IpCameraTest, StopIsPromptAndEndsTheFrames) {
  LocalHttpServer server(LocalHttpServer::Mode::Mjpeg, Camera(40));
  auto camera = MakeIpCameraSource(server.Url(), ShortTimeouts(milliseconds(5000)));
  CollectingSink sink;
  ASSERT_TRUE(Ok(camera->Start(sink)));
  ASSERT_TRUE(sink.WaitForFrames(2, kPatience));
  server.Silence();  // the reader now waits for a picture that never comes
  std::this_thread::sleep_for(milliseconds(50));
  const auto start = Clock::now();
  camera->Stop();
  EXPECT_LT(Since(start), milliseconds(200));
  const std::size_t frames = sink.FrameCount();
  std::this_thread::sleep_for(milliseconds(100));
  EXPECT_EQ(sink.FrameCount(), frames);
  EXPECT_FALSE(sink.WaitForEnd(milliseconds(0)).has_value()) << "a stop is not an end";
}

TEST(IpCameraTest, StartedAgainTheCameraCountsAnew) {
  LocalHttpServer server(LocalHttpServer::Mode::Snapshot, Camera(0));
  auto camera = MakeIpCameraSource(server.Url(), ShortTimeouts());
  CollectingSink first;
  ASSERT_TRUE(Ok(camera->Start(first)));
  ASSERT_TRUE(first.WaitForFrames(3, kPatience));
  camera->Stop();
  CollectingSink second;
  ASSERT_TRUE(Ok(camera->Start(second)));
  ASSERT_TRUE(second.WaitForFrames(2, kPatience));
  const auto frames = second.Frames();
  EXPECT_EQ(frames[0].sequence, 0);
  EXPECT_LT(frames[0].timestamp_us, 500'000) << "timestamps count from the new start";
  const auto start = Clock::now();
  camera.reset();  // destroying a running camera stops it
  EXPECT_LT(Since(start), milliseconds(200));
}

}  // namespace
}  // namespace zr::platform::linux_impl
