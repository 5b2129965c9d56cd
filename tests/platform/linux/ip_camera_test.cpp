#include "platform/linux/ip_camera.h"

#include <gtest/gtest.h>

#include <chrono>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/local_http_server.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

using std::chrono::milliseconds;
using testing::CollectingSink;
using testing::LocalHttpServer;
using zr::testing::Ok;
using zr::testing::Since;
using Mode = LocalHttpServer::Mode;

constexpr milliseconds kPatience{2000};  // long enough for any frame a test waits for
constexpr milliseconds kSpacing{25};     // between snapshot requests, and stream pictures

IpCameraTimeouts Timeouts(milliseconds timeout) {
  IpCameraTimeouts timeouts;
  timeouts.connect = timeout;
  timeouts.read = timeout;
  timeouts.snapshot_interval = kSpacing;
  return timeouts;
}

// How the camera sends: the content type of its answer tells snapshots from a stream, whose parts
// come with or without their length, between boundaries announced with or without dashes.
struct CameraStyle {
  const char* name;
  Mode mode;
  LocalHttpServer::Options options;
  int fewest_requests, most_requests;
};

void PrintTo(const CameraStyle& style, std::ostream* out) { *out << style.name; }

class IpCameraStyleTest : public ::testing::TestWithParam<CameraStyle> {};

TEST_P(IpCameraStyleTest, DeliversEveryPictureDecodedAndInOrder) {
  const CameraStyle& style = GetParam();
  LocalHttpServer server(style.mode, style.options);
  auto camera = MakeIpCameraSource(server.Url(), Timeouts(milliseconds(1000)));
  EXPECT_EQ(camera->Width(), 0);
  CollectingSink sink;
  ASSERT_TRUE(Ok(camera->Start(sink)));
  ASSERT_TRUE(sink.WaitForFrames(7, kPatience));
  camera->Stop();
  EXPECT_EQ(camera->Width(), 160);
  EXPECT_EQ(camera->Height(), 120);
  const auto frames = sink.Frames();
  std::vector<int> numbers;
  for (std::size_t i = 0; i < frames.size(); ++i) {
    EXPECT_EQ(frames[i].sequence, static_cast<std::int64_t>(i));
    EXPECT_EQ(frames[i].picture->width, 160);
    // Snapshots are asked no oftener than the interval; a stream's pictures come at its pace.
    EXPECT_GE(frames[i].timestamp_us, static_cast<std::int64_t>(i) * 1000 * kSpacing.count()) << i;
    numbers.push_back(LocalHttpServer::FrameNumberIn(*frames[i].picture).value_or(-1));
  }
  std::vector<int> every_one(numbers.size());
  std::iota(every_one.begin(), every_one.end(), 0);
  EXPECT_EQ(numbers, every_one);
  EXPECT_GE(server.Requests(), style.fewest_requests);
  EXPECT_LE(server.Requests(), style.most_requests);
  EXPECT_FALSE(sink.WaitForEnd(milliseconds(0)).has_value()) << "a stop is not an end";
}

INSTANTIATE_TEST_SUITE_P(
    Styles, IpCameraStyleTest,
    ::testing::Values(
        CameraStyle{"Snapshots", Mode::Snapshot, {}, 7, 100},
        CameraStyle{"StreamWithLengths", Mode::Mjpeg, {.frames_per_second = 40}, 1, 1},
        CameraStyle{"StreamWithDashedBoundaryAndNoLengths",
                    Mode::Mjpeg,
                    {.frames_per_second = 40, .part_lengths = false, .boundary = "--myboundary"},
                    1,
                    1},
        // A stream the camera closes after each picture: the picture is whole once its
        // length has arrived, with no boundary after it, and the stream is opened again.
        CameraStyle{
            "StreamClosingAfterEachPicture", Mode::Mjpeg, {.frames_per_second = 40, .frames_per_stream = 1}, 7, 100}),
    ::testing::PrintToStringParamName());

// Start returns at once whatever the camera does, even when connecting hangs; why the camera
// cannot be used comes as the source's end. (The client's other failures are its own tests'.)
TEST(IpCameraTest, StartReturnsAtOnceAndTheEndTellsWhyTheCameraCannotBeUsed) {
  struct Row {
    Mode mode;
    const char* path;
    const char* message;  // after "The camera at <address>"
  };
  for (const Row& row : {Row{Mode::Snapshot, "/page.html", " sends 'text/html', not JPEG pictures"},
                         Row{Mode::Unreachable, "/snapshot.jpg", " does not answer"}}) {
    LocalHttpServer server(row.mode);
    const std::string url = server.Url(row.path);
    CollectingSink sink;
    auto camera = MakeIpCameraSource(url, Timeouts(milliseconds(300)));
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(Ok(camera->Start(sink))) << row.path;
    EXPECT_LT(Since(start), milliseconds(50)) << row.path;
    EXPECT_EQ(sink.WaitForEnd(milliseconds(800)), "The camera at " + url + row.message);
    EXPECT_EQ(sink.FrameCount(), 0u);
  }
}

// A camera that trickles its answer or its pictures a byte at a time, every byte well within the
// read timeout, is given up once the answer's or the picture's whole time has passed.
TEST(IpCameraTest, ACameraThatTricklesIsGivenUpAtThePicturesDeadline) {
  using Trickle = LocalHttpServer::Options::Trickle;
  struct Row {
    Mode mode;
    Trickle trickle;
    const char* message;  // after "The camera at <address>"
  };
  for (const Row& row : {Row{Mode::Snapshot, Trickle::Answers, " sent no picture"},
                         Row{Mode::Snapshot, Trickle::Pictures, " does not answer"},
                         Row{Mode::Mjpeg, Trickle::Answers, " sent no picture"},
                         Row{Mode::Mjpeg, Trickle::Pictures, " does not answer"}}) {
    LocalHttpServer server(row.mode, {.trickle = row.trickle});
    IpCameraTimeouts timeouts = Timeouts(milliseconds(300));
    timeouts.picture = milliseconds(500);
    auto camera = MakeIpCameraSource(server.Url(), timeouts);
    CollectingSink sink;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(Ok(camera->Start(sink)));
    EXPECT_EQ(sink.WaitForEnd(milliseconds(1500)), "The camera at " + server.Url() + row.message);
    EXPECT_GE(Since(start), milliseconds(450));
    EXPECT_EQ(sink.FrameCount(), 0u);
  }
}

// A camera that goes away mid-stream, or falls silent for longer than the read timeout, ends the
// source with its message.
TEST(IpCameraTest, ACameraThatStopsSendingEndsTheSource) {
  for (const bool goes_away : {true, false}) {
    SCOPED_TRACE(goes_away ? "goes away" : "falls silent");
    LocalHttpServer server(Mode::Mjpeg, {.frames_per_second = goes_away ? 40.0 : 0.5});
    auto camera = MakeIpCameraSource(server.Url(), Timeouts(milliseconds(300)));
    CollectingSink sink;
    ASSERT_TRUE(Ok(camera->Start(sink)));
    if (goes_away) {
      ASSERT_TRUE(sink.WaitForFrames(1, kPatience));
      server.Stop();  // the stream breaks off and the camera refuses a new request
    }
    EXPECT_EQ(sink.WaitForEnd(milliseconds(800)), "The camera at " + server.Url() + " does not answer");
    camera->Stop();
    EXPECT_FALSE(sink.CalledAfterEnd());
  }
}

TEST(IpCameraTest, StopIsPromptAndAStartAgainCountsAnew) {
  LocalHttpServer server(Mode::Mjpeg, {.frames_per_second = 4});
  auto camera = MakeIpCameraSource(server.Url(), Timeouts(milliseconds(5000)));
  CollectingSink first;
  ASSERT_TRUE(Ok(camera->Start(first)));
  ASSERT_TRUE(first.WaitForFrames(1, kPatience));
  std::this_thread::sleep_for(milliseconds(100));  // the reader now waits for the next picture
  auto start = std::chrono::steady_clock::now();
  camera->Stop();
  EXPECT_LT(Since(start), milliseconds(200));
  std::this_thread::sleep_for(milliseconds(300));  // past the next picture's time
  EXPECT_EQ(first.FrameCount(), 1u);

  CollectingSink second;
  start = std::chrono::steady_clock::now();
  ASSERT_TRUE(Ok(camera->Start(second)));
  ASSERT_TRUE(second.WaitForFrames(1, kPatience));
  const auto since_start = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(second.Frames()[0].sequence, 0);
  EXPECT_LE(std::chrono::microseconds(second.Frames()[0].timestamp_us), since_start) << "counted from the new start";
  start = std::chrono::steady_clock::now();
  camera.reset();  // destroying a running camera stops it
  EXPECT_LT(Since(start), milliseconds(200));
}

}  // namespace
}  // namespace zr::platform::linux_impl
