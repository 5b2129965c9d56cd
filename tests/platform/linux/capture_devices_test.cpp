// The real back ends of both kinds, end to end: the built-in test camera and test tone, IP
// cameras served on 127.0.0.1, and a stream from a file, recorded into movies that the ffmpeg
// tools read back.

#include "platform/linux/capture_devices.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/program_error.h"
#include "image/bmp.h"
#include "platform/linux/ffmpeg_movie_files.h"
#include "platform/linux/headless_services.h"
#include "platform/linux/ip_camera.h"
#include "platform/linux/live_source.h"
#include "platform/linux/network_stream.h"
#include "platform/linux/poll_event_loop.h"
#include "platform/linux/test_camera.h"
#include "platform/linux/test_tone.h"
#include "tests/support/local_http_server.h"
#include "tests/support/movie_probe.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

namespace fs = std::filesystem;
using zr::testing::LocalHttpServer;
using zr::testing::ProbeStream;

// What the driver's status callback was told, from whichever thread told it.
struct StatusReports {
  std::atomic<int> begins{0};
  std::atomic<int> ends{0};
  static void Record(void* context, std::int16_t id, const char*) {
    auto* reports = static_cast<StatusReports*>(context);
    if (id == kCaptureBeginStatusId) ++reports->begins;
    if (id == kCaptureEndStatusId) ++reports->ends;
  }
};

struct ControlEvents final : CaptureControlEvents {
  int started = 0, stopped = 0, mouse = 0;
  void CaptureStarted() override { ++started; }
  void CaptureStopped() override { ++stopped; }
  void DVExportFinished() override {}
  void MouseDown(int button) override { mouse = button; }
};

long Frames(const std::string& path) {
  const auto video = ProbeStream(path, 'v', "nb_read_frames");
  return video.count("nb_read_frames") ? std::stol(video.at("nb_read_frames")) : -1;
}

class RealCaptureDevicesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::vector<VideoDeviceEntry> video{{"Built-in Test Camera", "1.0", 0, [] {
                                           return MakeTestCamera(TestCameraSettings{320, 240, 30});
                                         }}};
    std::vector<AudioDeviceEntry> audio{{"Built-in Test Tone", [] { return MakeTestTone(); }}};
    devices_ = std::make_unique<RealCaptureDevices>(
        CaptureDeviceServices{loop_, [this] { loop_.Wake(); }, movies_, clipboard_, nullptr, backends_, ""},
        std::move(video), std::move(audio));
  }
  void TearDown() override { devices_.reset(); }

  std::string File(const std::string& name) const { return folder_.File(name); }

  // Runs the loop until `condition` holds; false when `timeout_ms` passed first.
  bool RunUntil(const std::function<bool()>& condition, int timeout_ms) {
    const std::int64_t deadline = loop_.NowMs() + timeout_ms;
    loop_.RunModal([&] { return condition() || loop_.NowMs() > deadline; });
    return condition();
  }

  // A run at 30 frames a second; no limit with 0 seconds.
  static void SetUpRun(VfwCaptureWindow& window, int limit_seconds, bool sound, bool yield,
                       bool abort_on_right = true) {
    CAPTUREPARMS parms;
    ASSERT_TRUE(window.GetSetup(parms));
    parms.dwRequestMicroSecPerFrame = 33333;
    parms.fLimitEnabled = limit_seconds > 0 ? 1 : 0;
    parms.wTimeLimit = static_cast<UINT>(limit_seconds);
    parms.fCaptureAudio = sound ? 1 : 0;
    parms.fYield = yield ? 1 : 0;
    parms.fAbortRightMouse = abort_on_right ? 1 : 0;
    ASSERT_TRUE(window.SetSetup(parms));
  }

  std::unique_ptr<VfwCaptureWindow> ConnectedWindow() {
    if (!drivers_) drivers_ = devices_->MakeDriverSystem();
    auto window = drivers_->CreateCaptureWindow("VIDEO WINDOW", 0, 0, 160, 120);
    EXPECT_TRUE(window->Connect(0));
    window->SetStatusCallback(&StatusReports::Record, &reports_);
    EXPECT_TRUE(RunUntil([&] { return devices_->LatestPicture() != nullptr; }, 2000));
    return window;
  }

  // Records a second with the control into `movie` and gives the frames the movie holds.
  long RecordASecond(VideoCaptureControl& control, const ControlEvents& events, const std::string& movie) {
    control.SetCaptureFileName(movie);
    control.SetTimeLimitEnabled(true);
    control.SetTimeLimitSeconds(1);
    control.StartCapture();
    EXPECT_TRUE(RunUntil([&] { return events.stopped == 1; }, 4000));
    return Frames(movie);
  }

  // The control connected to the built-in camera, or with a camera to the one at the server's
  // address (device index -2), with its first picture in.
  std::unique_ptr<VideoCaptureControl> ConnectedControl(ControlEvents& events, LocalHttpServer* camera = nullptr,
                                                        int preview_rate = 0) {
    auto control = devices_->MakeCaptureControl();
    control->SetEventSink(&events);
    if (preview_rate > 0) control->SetPreviewRate(preview_rate);
    control->SetVideoDeviceIndex(camera ? -2 : 0);
    if (camera) control->SetNetworkSourceUrl(camera->Url());
    control->SetDeviceConnected(true);
    EXPECT_TRUE(RunUntil([&] { return devices_->LatestPicture() != nullptr; }, 2000));
    return control;
  }

  PollEventLoop loop_;
  MemoryClipboard clipboard_;
  FfmpegMovieFiles movies_;
  // Addresses open with short waits, so a silent camera fails the test in a second.
  const CaptureBackends backends_{{BackendKind::IpCamera,
                                   "IP camera",
                                   {},
                                   {},
                                   [](const std::string& url) {
                                     return MakeIpCameraSource(url, IpCameraTimeouts{std::chrono::milliseconds(1000),
                                                                                     std::chrono::milliseconds(1000)});
                                   }},
                                  {BackendKind::NetworkStream, "network stream", {}, {}, [](const std::string& url) {
                                     return MakeNetworkStreamSource(url, 2000);
                                   }}};
  zr::testing::TemporaryFolder folder_;
  StatusReports reports_;
  std::unique_ptr<RealCaptureDevices> devices_;
  std::unique_ptr<VfwDriverSystem> drivers_ = nullptr;
};

// An exclusive run (fYield 0) holds the logic thread until its limit; the movie has the run's
// frame count and the sound format that was set.
TEST_F(RealCaptureDevicesTest, ExclusiveDriverRunBlocksUntilItsLimitAndKeepsTheSoundFormat) {
  auto window = ConnectedWindow();
  SetUpRun(*window, /*limit_seconds=*/2, /*sound=*/true, /*yield=*/false);
  WAVEFORMATEX wave;
  wave.nSamplesPerSec = 11025;
  wave.wBitsPerSample = 8;
  wave.nChannels = 1;
  ASSERT_TRUE(window->SetAudioFormat(wave, window->GetAudioFormatSize()));
  ASSERT_TRUE(window->SetCaptureFile(File("run.avi")));

  const std::int64_t started = loop_.NowMs();
  ASSERT_TRUE(window->StartSequence());
  EXPECT_GE(loop_.NowMs() - started, 1900);
  ASSERT_TRUE(RunUntil([&] { return reports_.ends == 1; }, 3000));
  EXPECT_EQ(reports_.begins, 1);
  CAPSTATUS status;
  ASSERT_TRUE(window->GetStatus(status));
  EXPECT_EQ(status.fCapturingNow, 0);
  EXPECT_EQ(status.dwCurrentVideoFrame, 60u);
  EXPECT_EQ(status.uiImageWidth, 320u);

  EXPECT_NEAR(static_cast<double>(Frames(File("run.avi"))), 60, 1);
  const auto sound = ProbeStream(File("run.avi"), 'a', "codec_name,sample_rate,channels");
  EXPECT_EQ(sound.at("codec_name"), "pcm_u8");
  EXPECT_EQ(sound.at("sample_rate"), "11025");
  EXPECT_EQ(sound.at("channels"), "1");
}

// The index size is the most frames a run holds: the run ends there, before its time limit.
TEST_F(RealCaptureDevicesTest, AFullIndexEndsTheRun) {
  auto window = ConnectedWindow();
  SetUpRun(*window, /*limit_seconds=*/5, /*sound=*/false, /*yield=*/true);
  CAPTUREPARMS parms;
  ASSERT_TRUE(window->GetSetup(parms));
  parms.dwIndexSize = 12;
  parms.wNumVideoRequested = 2;
  ASSERT_TRUE(window->SetSetup(parms));
  ASSERT_TRUE(window->SetCaptureFile(File("indexed.avi")));
  ASSERT_TRUE(window->StartSequence());
  ASSERT_TRUE(RunUntil([&] { return reports_.ends == 1; }, 3000));
  EXPECT_EQ(Frames(File("indexed.avi")), 12);
}

// With fYield 1 the call returns at once; a left click or the abort key (Escape) ends the run,
// a right click (not an abort button here) and other keys do not.
TEST_F(RealCaptureDevicesTest, ALeftClickOrTheAbortKeyEndsAYieldingRun) {
  auto window = ConnectedWindow();
  SetUpRun(*window, /*limit_seconds=*/0, /*sound=*/false, /*yield=*/true, /*abort_on_right=*/false);
  const std::function<void()> aborts[] = {[this] { devices_->MousePressed(1); }, [this] { devices_->KeyPressed(27); }};
  for (int run = 0; run < 2; ++run) {
    SCOPED_TRACE(run);
    const std::string movie = File("aborted" + std::to_string(run) + ".avi");
    ASSERT_TRUE(window->SetCaptureFile(movie));
    ASSERT_TRUE(window->StartSequence());
    CAPSTATUS status;
    ASSERT_TRUE(window->GetStatus(status));
    EXPECT_EQ(status.fCapturingNow, 1);
    ASSERT_TRUE(RunUntil([&] { return window->GetStatus(status) && status.dwCurrentVideoFrame >= 10; }, 3000));
    devices_->MousePressed(2);
    devices_->KeyPressed(32);
    EXPECT_FALSE(RunUntil([&] { return reports_.ends == run + 1; }, 200));
    aborts[run]();
    ASSERT_TRUE(RunUntil([&] { return reports_.ends == run + 1; }, 3000));
    EXPECT_GT(Frames(movie), 10);
    EXPECT_TRUE(ProbeStream(movie, 'a', "codec_name").empty());
  }
}

// A request to end the process stops the runs from its own thread: an exclusive run without a
// limit, which holds the logic thread, ends as a stop ends it.
TEST_F(RealCaptureDevicesTest, AnExclusiveRunEndsWhenTheRunsAreAskedToEndFromAnotherThread) {
  auto window = ConnectedWindow();
  SetUpRun(*window, /*limit_seconds=*/0, /*sound=*/false, /*yield=*/false);
  ASSERT_TRUE(window->SetCaptureFile(File("ended.avi")));
  std::thread request([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    devices_->EndRunsFromAnyThread();
  });
  ASSERT_TRUE(window->StartSequence());
  request.join();
  EXPECT_EQ(reports_.ends, 1);
  CAPSTATUS status;
  ASSERT_TRUE(window->GetStatus(status));
  EXPECT_EQ(status.dwReturn, 0u);
  EXPECT_GT(Frames(File("ended.avi")), 10);
}

// Both kinds end a run that cannot start at once and say why: the driver in its status and
// its end's text, the control in CaptureFailure and its "capture stopped".
TEST_F(RealCaptureDevicesTest, ARunThatCannotStartEndsAtOnceSayingWhy) {
  auto window = ConnectedWindow();
  SetUpRun(*window, /*limit_seconds=*/1, /*sound=*/false, /*yield=*/true);
  ASSERT_TRUE(window->SetCaptureFile(File("absent/run.avi")));
  EXPECT_FALSE(window->StartSequence());
  EXPECT_EQ(reports_.ends, 1);
  CAPSTATUS status;
  ASSERT_TRUE(window->GetStatus(status));
  EXPECT_EQ(status.dwReturn, static_cast<DWORD>(RunFailure::NoFolder));
  EXPECT_NE(devices_->RunMessage().find("No such file or directory"), std::string::npos) << devices_->RunMessage();
  window.reset();

  LocalHttpServer camera(LocalHttpServer::Mode::Mjpeg);
  ControlEvents events;
  auto control = ConnectedControl(events, &camera);
  fs::create_directory(File("folder.avi"));
  control->SetCaptureFileName(File("folder.avi"));
  EXPECT_THROW(control->StartCapture(), DeviceError);
  ASSERT_TRUE(RunUntil([&] { return events.stopped == 1; }, 1000));
  EXPECT_EQ(control->CaptureFailure(), RunFailure::CannotCreate);
  EXPECT_TRUE(fs::is_directory(File("folder.avi")));
}

// The driver offers the built-in camera and nothing past it; connected, it saves, copies and
// appends single frames.
TEST_F(RealCaptureDevicesTest, DriverSavesCopiesAndAppendsSingleFrames) {
  drivers_ = devices_->MakeDriverSystem();
  EXPECT_EQ(drivers_->Describe(0).value().name, "Built-in Test Camera");
  EXPECT_FALSE(drivers_->Describe(1));
  auto unconnected = drivers_->CreateCaptureWindow("VIDEO WINDOW", 0, 0, 160, 120);
  EXPECT_FALSE(unconnected->Connect(1));
  CAPSTATUS status;
  EXPECT_FALSE(unconnected->GetStatus(status));
  auto window = ConnectedWindow();
  const auto saved = window->SaveDib(File("still.bmp"));
  const auto still = ReadBmpFile(File("still.bmp"));
  ASSERT_TRUE(saved && still);
  EXPECT_EQ(still->width, 320);
  EXPECT_EQ(still->bottom_up_bgr, saved->bottom_up_bgr);
  ASSERT_TRUE(window->CopyFrame());
  EXPECT_EQ(clipboard_.GetPicture()->height, 240);

  ASSERT_TRUE(window->SetCaptureFile(File("frames.avi")));
  ASSERT_TRUE(window->OpenSingleFrame());
  for (int frame = 0; frame < 3; ++frame) EXPECT_TRUE(window->SingleFrame());
  ASSERT_TRUE(window->CloseSingleFrame());
  EXPECT_FALSE(window->SingleFrame());
  EXPECT_EQ(Frames(File("frames.avi")), 3);
}

TEST_F(RealCaptureDevicesTest, ControlRecordsAnIpCameraInBothModesAndTakesAStill) {
  for (auto mode : {LocalHttpServer::Mode::Snapshot, LocalHttpServer::Mode::Mjpeg}) {
    LocalHttpServer camera(mode);
    ControlEvents events;
    auto control = ConnectedControl(events, &camera);
    const auto still = control->GetSnapshot();
    EXPECT_EQ(still->width, 160);
    EXPECT_TRUE(LocalHttpServer::FrameNumberIn(*still));

    // A camera without a rate of its own records at 15.
    const std::string movie = File(mode == LocalHttpServer::Mode::Snapshot ? "snapshots.avi" : "mjpeg.avi");
    EXPECT_NEAR(static_cast<double>(RecordASecond(*control, events, movie)), 15, 1);
    EXPECT_EQ(events.started, 1);
    EXPECT_FALSE(control->IsCapturing());
  }
}

// The camera gives 30 frames a second; the program drives it at 10, and the movie has 10.
TEST_F(RealCaptureDevicesTest, ControlRecordsAtTheRateItIsDrivenAt) {
  ControlEvents events;
  auto control = ConnectedControl(events, nullptr, 10);
  EXPECT_NEAR(static_cast<double>(RecordASecond(*control, events, File("driven.avi"))), 10, 1);
}

// A camera that goes away mid-run ends the run as a run ends, with a file that plays.
TEST_F(RealCaptureDevicesTest, CameraKilledMidRunLeavesAPlayableMovie) {
  LocalHttpServer camera(LocalHttpServer::Mode::Mjpeg);
  ControlEvents events;
  auto control = ConnectedControl(events, &camera);
  control->SetCaptureFileName(File("killed.avi"));
  control->StartCapture();
  ASSERT_TRUE(RunUntil([&] { return control->GetCaptureStats().frames_captured >= 5; }, 3000));
  camera.Stop();
  ASSERT_TRUE(RunUntil([&] { return events.stopped == 1; }, 4000));
  EXPECT_GE(Frames(File("killed.avi")), 5);
  EXPECT_NE(devices_->SourceMessage().find("does not answer"), std::string::npos) << devices_->SourceMessage();
}

// Connecting to a camera holds up nothing: the camera is asked on the source's own thread, and
// one that does not answer says so through the source's end.
TEST_F(RealCaptureDevicesTest, CameraThatDoesNotAnswerHoldsUpNothingAndSaysWhy) {
  LocalHttpServer camera(LocalHttpServer::Mode::Silent);
  auto control = devices_->MakeCaptureControl();
  control->SetVideoDeviceIndex(-2);
  control->SetNetworkSourceUrl(camera.Url());
  const auto started = std::chrono::steady_clock::now();
  control->SetDeviceConnected(true);
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(200));
  EXPECT_THROW(control->GetSnapshot(), DeviceError);
  const std::string silent = "The camera at " + camera.Url() + " sent no picture";
  EXPECT_TRUE(RunUntil([&] { return devices_->SourceMessage() == silent; }, 3000)) << devices_->SourceMessage();
}

// A stream served from a local file records until the stream ends.
TEST_F(RealCaptureDevicesTest, ControlRecordsAStreamUntilItEnds) {
  const std::string source = File("source.avi");
  ASSERT_EQ(
      std::system(("ffmpeg -v error -f lavfi -i testsrc2=s=320x240:r=10 -t 2 -c:v mjpeg '" + source + "'").c_str()), 0);
  LocalHttpServer server(LocalHttpServer::Mode::Files, LocalHttpServer::Options{.folder = folder_.path()});
  auto control = devices_->MakeCaptureControl();
  ControlEvents events;
  control->SetEventSink(&events);
  control->SetDeviceConnected(false);
  control->OpenStream(server.Url("/file/source.avi"));
  control->PlayStream();
  ASSERT_TRUE(RunUntil([&] { return devices_->LatestPicture() != nullptr; }, 3000));
  int width = 0, height = 0;
  control->StreamVideoSize(width, height);
  EXPECT_EQ(width, 320);
  EXPECT_EQ(height, 240);
  control->SetCaptureFileName(File("stream.avi"));
  control->StartCapture();
  ASSERT_TRUE(RunUntil([&] { return events.stopped == 1; }, 5000));
  EXPECT_GT(Frames(File("stream.avi")), 5);
  EXPECT_EQ(devices_->SourceMessage(), "The stream has ended");
}

// The formats are the connected camera's, and what needs a window the control has not is refused.
TEST_F(RealCaptureDevicesTest, ControlListsTheConnectedCamerasFormats) {
  auto control = devices_->MakeCaptureControl();
  EXPECT_EQ(control->VideoCompressorName(control->VideoCompressorIndex()), "MJPEG Compressor");
  EXPECT_THROW(control->VideoFormatList(), DeviceError);  // nothing connected yet
  control->SetVideoDeviceIndex(0);
  control->SetDeviceConnected(true);
  const auto formats = control->VideoFormatList();
  ASSERT_FALSE(formats.empty());
  EXPECT_EQ(formats.back().width, 1920);
  control->SelectVideoFormat(0);
  EXPECT_EQ(control->VideoWidth(), formats.front().width);
  EXPECT_THROW(control->ShowSourceDialog(), DeviceError);
}

bool AreaHolds(const Picture& picture, int left, int top, int width, int height, BgrColour colour) {
  for (int y = top; y < top + height; ++y)
    for (int x = left; x < left + width; ++x) {
      const std::uint8_t* pixel = picture.PixelFromTop(x, y);
      if (pixel[0] == colour[0] && pixel[1] == colour[1] && pixel[2] == colour[2]) return true;
    }
  return false;
}

TEST(TimeCodeTextTest, SplitsTheSourceClockIntoHoursMinutesSecondsAndFrames) {
  EXPECT_EQ(TimeCodeText(0, 30), "00:00:00:00");
  EXPECT_EQ(TimeCodeText(3723'500'000, 30), "01:02:03:15");
  EXPECT_EQ(TimeCodeText(59'999'999, 25), "00:00:59:24");
}

TEST_F(RealCaptureDevicesTest, ControlBurnsItsTimeCodeIntoThePictureAndClearsIt) {
  auto control = devices_->MakeCaptureControl();
  control->SetDeviceConnected(true);
  const BgrColour ink{3, 2, 1};  // packed with red in the low byte: 0x030201 is blue 3, green 2, red 1
  control->DrawVideoText(0, "SMPTE", 100, 150, "Arial", 12, 0x030201, 0);
  ASSERT_TRUE(RunUntil(
      [&] { return devices_->LatestPicture() && AreaHolds(*devices_->LatestPicture(), 100, 150, 130, 20, ink); },
      2000));
  control->DrawVideoText(0, "", 0, 0, "0", 0, 0, 0);
  std::shared_ptr<const Picture> cleared;
  ASSERT_TRUE(RunUntil(
      [&] {
        cleared = devices_->LatestPicture();
        return cleared && !AreaHolds(*cleared, 100, 150, 130, 20, ink);
      },
      2000));
  EXPECT_THROW(control->DrawVideoText(0, "Hello", 0, 0, "Arial", 12, 0, 0), DeviceError);
}

}  // namespace
}  // namespace zr::platform::linux_impl
