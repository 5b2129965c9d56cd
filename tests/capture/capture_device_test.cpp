// The operations of the driver kind and the status contract: conversions, the driver count,
// preview periods, window sizing, the callback's word stores and the close-out once per end.

#include "capture/capture_device.h"

#include <gtest/gtest.h>

#include "capture/capture_status.h"
#include "tests/support/recording_fixture.h"

namespace zr::testing {
namespace {

using platform::sim::DeviceSpec;

TEST(FrameRateConversion, RoundsHalfToEvenAndTreatsZeroAsZero) {
  EXPECT_EQ(MicroSecondsPerFrame(25), 40000u);
  EXPECT_EQ(MicroSecondsPerFrame(29.97), 33367u);
  EXPECT_EQ(MicroSecondsPerFrame(15), 66667u);
  EXPECT_EQ(MicroSecondsPerFrame(0), 0u);
  EXPECT_EQ(MicroSecondsPerFrame(3200000), 0u);  // 0.3125 rounds down
  EXPECT_EQ(MicroSecondsPerFrame(800000), 1u);   // 1.25 rounds down
  EXPECT_EQ(MicroSecondsPerFrame(400000), 2u);   // 2.5 rounds to the even 2
  EXPECT_EQ(FramesPerSecondFromMicroSeconds(40000), 25);
  EXPECT_EQ(FramesPerSecondFromMicroSeconds(66667), 15);
  EXPECT_EQ(FramesPerSecondFromMicroSeconds(400000), 2);  // 2.5 rounds to the even 2
  EXPECT_EQ(FramesPerSecondFromMicroSeconds(0), 0);
}

TEST(PreviewPeriod, IsTheRoundedPeriodAndZeroWithoutARate) {
  EXPECT_EQ(vfw::PreviewPeriodMs(10), 100);
  EXPECT_EQ(vfw::PreviewPeriodMs(3), 333);
  EXPECT_EQ(vfw::PreviewPeriodMs(16), 62);  // 62.5 rounds to the even 62
  EXPECT_EQ(vfw::PreviewPeriodMs(0), 0);
  EXPECT_EQ(vfw::PreviewPeriodMs(-4), 0);
}

TEST(StatusCallback, StoresWordsAndNotesTheEndAtItsId) {
  CaptureStatusWords words;
  vfw::CaptureStatusCallback(&words, kCaptureBeginStatusId, "begin");
  EXPECT_EQ(words.CaptureStatusId.load(), 300);
  EXPECT_EQ(words.CaptureEnded.load(), 0);
  vfw::CaptureStatusCallback(&words, kCaptureEndStatusId, "end");
  EXPECT_EQ(words.CaptureStatusId.load(), 301);
  EXPECT_STREQ(words.CaptureStatusText.load(), "end");
  EXPECT_EQ(words.CaptureEnded.load(), -1);
}

class DriverOperations : public RecordingTest {};

TEST_F(DriverOperations, DriverCountStopsAtTheFirstIndexWithoutADriver) {
  EXPECT_EQ(vfw::capGetDriverCount(*world.drivers), 0);
  EXPECT_EQ(vfw::capGetDriverName(*world.drivers, 0), "Error!");
  AddDevice(DeviceSpec::Kind::Vfw);
  AddDevice(DeviceSpec::Kind::Wdm);
  AddDevice(DeviceSpec::Kind::Vfw);
  EXPECT_EQ(vfw::capGetDriverCount(*world.drivers), 2);
  EXPECT_TRUE(world.devices->log.empty());  // asking for names creates no window
}

TEST_F(DriverOperations, ResizeTakesTheImageSizeMovesOrSizes) {
  AddDevice(DeviceSpec::Kind::Vfw, 640, 480);
  auto window = vfw::capCreateWindow(*world.drivers);
  ASSERT_EQ(vfw::capConnect(*window, 0), -1);
  EXPECT_EQ(vfw::capResize(*window, 0, 0, 0, 0), -1);
  EXPECT_EQ(vfw::capResize(*window, 5, 6, 211, 158), -1);
  EXPECT_EQ(vfw::capResize(*window, 7, 0, 0, 0), -1);
  // Arguments that add up to zero take the image size too, wherever they point.
  EXPECT_EQ(vfw::capResize(*window, 7, -7, 0, 0), -1);
  EXPECT_TRUE(LogHas("capResize(0, 0, 640, 480)"));
  EXPECT_TRUE(LogHas("capResize(5, 6, 211, 158)"));
  EXPECT_TRUE(LogHas("capResize(7, 0, 0, 0)"));
  EXPECT_TRUE(LogHas("capResize(7, -7, 640, 480)"));
}

TEST_F(DriverOperations, AFailedConnectLeavesTheWindowUnconnectedAndSaysSo) {
  AddDevice(DeviceSpec::Kind::Vfw).connect_fails = true;
  StartAndConnect("vfw");
  EXPECT_EQ(screen().CaptureWindow(), nullptr);
  EXPECT_EQ(master().StatusString.Caption.get(), "Not Connected");
  EXPECT_EQ(master().MasterStatus.Panels("resolution").Text.get(), "N/A");
  EXPECT_EQ(screen().Caption.get(), "No Signal");
  EXPECT_TRUE(world.dialogs.Shown().empty());
}

TEST_F(DriverOperations, AMissingDialogSaysSoWithAStopIconAndChangesNothing) {
  AddDevice(DeviceSpec::Kind::Vfw).format_dialog = true;
  StartAndConnect("vfw");
  const auto parms = state().CaptureParms;
  screen().VideoFormat();
  EXPECT_TRUE(world.dialogs.Shown().empty());
  screen().VideoSource();
  ASSERT_EQ(world.dialogs.Shown().size(), 1u);
  EXPECT_EQ(world.dialogs.Shown()[0].message.text, "Tessavue: Cannot show Video Source Dialog.");
  EXPECT_EQ(world.dialogs.Shown()[0].message.icon, platform::MessageIcon::Stop);
  EXPECT_EQ(world.dialogs.Shown()[0].message.title, "Video Zandrell");
  EXPECT_EQ(state().CaptureParms.dwIndexSize, parms.dwIndexSize);
}

TEST_F(DriverOperations, StatusHandlerWaitsForTheFirstReportAndClosesOutOncePerEnd) {
  AddDevice(DeviceSpec::Kind::Vfw);
  StartAndConnect("vfw");
  master().StatusString.Caption = "untouched";
  CaptureStatusUpdate(world.program());
  EXPECT_EQ(master().StatusString.Caption.get(), "untouched");  // no id reported yet

  state().captureStatus.CaptureStatusId = kCaptureEndStatusId;
  state().captureStatus.CaptureEnded = -1;
  CaptureStatusUpdate(world.program());
  EXPECT_EQ(master().StatusString.Caption.get(), "Stopped");
  master().StatusString.Caption = "later";
  CaptureStatusUpdate(world.program());
  EXPECT_EQ(master().StatusString.Caption.get(), "later");  // the flag was taken down

  state().captureStatus.CaptureEnded = -1;  // a second end only raises the flag again
  CaptureStatusUpdate(world.program());
  EXPECT_EQ(master().StatusString.Caption.get(), "Stopped");
}

TEST_F(DriverOperations, ADisplayRateOfZeroLeavesTheTimeAloneAndTheRestGoesOn) {
  AddDevice(DeviceSpec::Kind::Vfw);
  StartAndConnect("vfw");
  state().CaptureParms.fYield = 1;
  screen().SetFilename(AppFile("zero.avi"));
  master().MovieFrameRateControl.Value = 10;
  master().MovieSecondsControl.Value = 2;
  screen().Record();  // called directly: nothing has set the display rate
  EXPECT_EQ(state().FramesPerSecond, 0);
  master().StatusTime.Caption = "before";
  world.loop.AdvanceBy(550);
  EXPECT_EQ(master().StatusTime.Caption.get(), "before");
  EXPECT_EQ(master().DroppedString.Caption.get(), "none");
}

TEST_F(DriverOperations, ALimitOfZeroWithTheLimitOnIsATimeLimitOfZero) {
  AddDevice(DeviceSpec::Kind::Vfw);
  StartAndConnect("vfw");
  state().CaptureParms.fYield = 1;
  master().MovieHoursControl.Value = -1;
  master().MovieMinutesControl.Value = 0;
  master().MovieSecondsControl.Value = 0;
  screen().SetFilename(AppFile("none.avi"));
  screen().Record();
  EXPECT_EQ(state().CaptureParms.fLimitEnabled, 1);
  EXPECT_EQ(state().CaptureParms.wTimeLimit, 0u);
}

}  // namespace
}  // namespace zr::testing
