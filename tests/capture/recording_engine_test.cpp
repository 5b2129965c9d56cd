// The recording engine on the simulated devices: runs of both kinds from the Rec/Stop press to
// the closed file, the status panel on the way, stills and frame-by-frame movies.

#include <gtest/gtest.h>

#include <filesystem>

#include "image/bmp.h"
#include "tests/support/recording_fixture.h"

namespace zr::testing {
namespace {

using platform::sim::DeviceSpec;

class VfwRecording : public RecordingTest {
 protected:
  void SetUp() override {
    AddDevice(DeviceSpec::Kind::Vfw);
    StartAndConnect("vfw");
    state().CaptureParms.fYield = 1;
  }
  void PressRecord() { master().OperationBar.ClickButton(master().RecordButton()); }
};

// With the limit disabled the run goes on past the old limit, which is kept, until it is stopped.
TEST_F(VfwRecording, StopCaptureEndsTheRunAndTheButtonWaitsForTheStatusHandler) {
  SetMovie(1, 10, "stopped.avi");
  master().MovieDisableLimit.Value = 1;
  PressRecord();
  EXPECT_EQ(state().CaptureParms.fLimitEnabled, 0);
  world.loop.AdvanceBy(2950);
  EXPECT_EQ(master().RecordButton().Image.get(), "stop");
  screen().StopCapture();
  EXPECT_EQ(master().StatusString.Caption.get(), "Stopped");
  EXPECT_EQ(master().RecordButton().Image.get(), "stop");
  world.loop.AdvanceBy(200);
  EXPECT_EQ(master().RecordButton().Image.get(), "record");
  EXPECT_TRUE(LogHas("capStop()"));
  EXPECT_EQ(ProbeMovie(AppFile("stopped.avi")).frames, 30);
}

TEST_F(VfwRecording, ExclusiveRunBlocksEveryTimerUntilItReturns) {
  state().CaptureParms.fYield = 0;
  SetMovie(2, 10, "exclusive.avi");
  std::string dropped_during_run;
  world.loop.Schedule(1000, platform::sim::SimEventLoop::WorkKind::Scripted,
                      [&] { dropped_during_run = master().DroppedString.Caption; });
  PressRecord();  // returns only when the run has ended
  EXPECT_EQ(world.loop.NowMs(), 2000);
  EXPECT_EQ(dropped_during_run, "Exclusive Task");
  EXPECT_EQ(master().StatusTime.Caption.get(), "");
  world.loop.AdvanceBy(100);
  EXPECT_EQ(master().StatusString.Caption.get(), "Stopped");
  EXPECT_EQ(ProbeMovie(AppFile("exclusive.avi")).frames, 20);
}

TEST_F(VfwRecording, AudioFormatFollowsTheMainWindowLists) {
  master().AudioBits.ListIndex = 1;
  master().AudioChannels.ListIndex = 1;
  master().AudioRate.ListIndex = 3;
  master().MovieToolbar.Button("audio").Value = 1;
  SetMovie(1, 10, "sound.avi");
  PressRecord();
  const auto& format = state().WaveFormat;
  EXPECT_EQ(format.nSamplesPerSec, 44100u);
  EXPECT_EQ(format.nChannels, 2);
  EXPECT_EQ(format.wBitsPerSample, 16);
  EXPECT_EQ(format.nAvgBytesPerSec, 176400u);
  EXPECT_EQ(format.nBlockAlign, 4);
  EXPECT_EQ(state().CaptureParms.fCaptureAudio, 1);
  world.loop.AdvanceBy(1200);
  auto info = world.movies.ReadInfo(AppFile("sound.avi"));
  ASSERT_TRUE(info.ok()) << info.error().message;
  ASSERT_TRUE(info->audio.has_value());
  EXPECT_EQ(info->audio->samples_per_second, 44100);
  EXPECT_EQ(info->audio->channels, 2);
}

// ---- runs that end badly say so

TEST_F(VfwRecording, ADiskThatFillsUpEndsTheRunSayingSoAndKeepsTheMovieSoFar) {
  world.devices->disk_full_after_frames = 12;
  SetMovie(5, 10, "full.avi");
  PressRecord();
  world.loop.AdvanceBy(1500);
  EXPECT_EQ(master().StatusString.Caption.get(), "Stopped: the disk is full");
  EXPECT_EQ(master().RecordButton().Image.get(), "record");
  EXPECT_EQ(state().CapStatus.dwReturn, static_cast<DWORD>(platform::RunFailure::DiskFull));
  EXPECT_EQ(ProbeMovie(AppFile("full.avi")).frames, 12);
  // The next run that ends well says so again.
  world.devices->disk_full_after_frames.reset();
  SetMovie(1, 10, "fine.avi");
  PressRecord();
  world.loop.AdvanceBy(1200);
  EXPECT_EQ(master().StatusString.Caption.get(), "Stopped");
}

// The old movie is deleted before a run (the operator agreed to replace it), but never what is
// no movie file: an empty folder at the name stays, and the run cannot make its file. A folder
// that does not exist ends the run at once, saying so.
TEST_F(VfwRecording, ARunThatCannotMakeItsFileSaysWhyAndLeavesWhatStandsAtTheName) {
  std::filesystem::create_directory(AppFile("clip.avi"));
  SetMovie(5, 10, "clip.avi");
  PressRecord();
  world.loop.AdvanceBy(200);
  EXPECT_EQ(master().StatusString.Caption.get(), "Not recorded: the file cannot be created");
  EXPECT_TRUE(std::filesystem::is_directory(AppFile("clip.avi")));

  SetMovie(5, 10, "absent/clip.avi");
  PressRecord();
  world.loop.AdvanceBy(200);
  EXPECT_EQ(master().StatusString.Caption.get(), "Not recorded: the folder does not exist");
  EXPECT_EQ(master().RecordButton().Image.get(), "record");
  EXPECT_STREQ(state().captureStatus.CaptureStatusText.load(),
               ("cannot create '" + AppFile("absent/clip.avi") + "': No such file or directory").c_str());
}

class WdmRecording : public RecordingTest {
 protected:
  void SetUp() override {
    AddDevice(DeviceSpec::Kind::Wdm);
    StartAndConnect("wdm");
  }
};

TEST_F(WdmRecording, RunsThatEndBadlySaySoWhenTheControlStops) {
  world.devices->disk_full_after_frames = 5;
  SetMovie(3, 10, "full.avi");
  master().OperationBar.ClickButton(master().RecordButton());
  world.loop.AdvanceBy(1000);
  EXPECT_EQ(master().StatusString.Caption.get(), "Stopped: the disk is full");
  EXPECT_EQ(master().RecordButton().Image.get(), "record");
  EXPECT_EQ(ProbeMovie(AppFile("full.avi")).frames, 5);

  SetMovie(3, 10, "absent/clip.avi");
  master().OperationBar.ClickButton(master().RecordButton());
  world.loop.AdvanceBy(100);
  EXPECT_EQ(master().StatusString.Caption.get(), "Not recorded: the folder does not exist");
  EXPECT_EQ(master().RecordButton().Image.get(), "record");
}

TEST_F(WdmRecording, FrameByFrameMovieHoldsEveryCapturedFrame) {
  state().CaptureType = "multiple";
  world.settings->Save("ZR", "MD", "OQ", "0");
  screen().SetFilename(AppFile("frames.avi"));
  screen().OpenMultipleImage();
  for (int frame = 0; frame < 7; ++frame) screen().CaptureSingle();
  EXPECT_EQ(master().StatusString.Caption.get(), "Capturing Frame");
  screen().CloseMultipleCapture();
  EXPECT_FALSE(screen().FrameJobOpen());
  const auto movie = ProbeMovie(AppFile("frames.avi"));
  EXPECT_EQ(movie.frames, 7);
  EXPECT_EQ(movie.width, 320);
}

TEST_F(VfwRecording, FrameByFrameMovieAtTheSeriesRate) {
  master().MultipleImageFrameRate.ListIndex = 4;
  screen().SetFilename(AppFile("series.avi"));
  screen().OpenMultipleImage();
  EXPECT_EQ(state().CaptureParms.dwRequestMicroSecPerFrame, 200000u);
  for (int frame = 0; frame < 4; ++frame) screen().CaptureSingle();
  screen().CloseMultipleCapture();
  auto info = world.movies.ReadInfo(AppFile("series.avi"));
  ASSERT_TRUE(info.ok());
  EXPECT_EQ(info->frame_count, 4);
  EXPECT_DOUBLE_EQ(info->frames_per_second, 5.0);
}

// ---- kinds that cannot record

class NetworkSource : public RecordingTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(NetworkSource, RecordSaysTheModeIsNotSupported) {
  world.Start();
  world.dialogs.QueueInputAnswer("http://127.0.0.1/camera");
  screen().ConnectVideoCaptureDevice(0, GetParam(), "camera");
  screen().Record();
  const auto& last = world.dialogs.Shown().back();
  EXPECT_EQ(last.message.text, "Capture Mode not supported");
  EXPECT_EQ(last.message.icon, platform::MessageIcon::Stop);
  EXPECT_FALSE(LogHas("StartCapture()"));
  EXPECT_EQ(screen().GetFilename(), "Error");
}

INSTANTIATE_TEST_SUITE_P(Kinds, NetworkSource, ::testing::Values("http", "wms"));

// ---- stills

// A device of the kind, 64 by 48; an IP camera answers at its address.
class StillOfKind : public RecordingTest, public ::testing::WithParamInterface<const char*> {
 protected:
  DeviceSpec& AddDeviceOfKind(const std::string& kind) {
    const auto spec_kind = kind == "vfw"   ? DeviceSpec::Kind::Vfw
                           : kind == "wdm" ? DeviceSpec::Kind::Wdm
                                           : DeviceSpec::Kind::Address;
    DeviceSpec& device = AddDevice(spec_kind, 64, 48);
    if (spec_kind == DeviceSpec::Kind::Address) device.name = kCameraAddress;
    return device;
  }
  void Connect(const std::string& kind) {
    world.Start();
    if (kind == "http") world.dialogs.QueueInputAnswer(kCameraAddress);
    screen().ConnectVideoCaptureDevice(0, kind, "device");
  }
  static constexpr const char* kCameraAddress = "http://127.0.0.1/camera";
};

TEST_P(StillOfKind, SaveStillWritesTheCurrentFrameAndLeavesTheClipboardAlone) {
  const std::string kind = GetParam();
  auto& device = AddDeviceOfKind(kind);
  device.picture.red = 10;
  device.picture.green = 200;
  device.picture.blue = 30;
  Connect(kind);
  const std::string path = AppFile("still.bmp");
  WriteBmpFile(platform::Picture::Blank(8, 8), path);  // an older file is overwritten
  screen().SaveStill(path, 100, false);
  const auto picture = ReadBmpFile(path);
  ASSERT_TRUE(picture.has_value());
  EXPECT_EQ(picture->width, 64);
  EXPECT_EQ(picture->height, 48);
  const std::uint8_t* pixel = picture->PixelFromTop(5, 5);
  EXPECT_EQ(pixel[2], 10);
  EXPECT_EQ(pixel[1], 200);
  EXPECT_EQ(pixel[0], 30);
  EXPECT_FALSE(world.clipboard.GetPicture().has_value());
}

TEST_P(StillOfKind, SaveStillToTheClipboardWithoutAFile) {
  const std::string kind = GetParam();
  AddDeviceOfKind(kind);
  Connect(kind);
  screen().SaveStill("", 0, true);
  EXPECT_TRUE(world.clipboard.GetPicture().has_value());
}

INSTANTIATE_TEST_SUITE_P(Kinds, StillOfKind, ::testing::Values("vfw", "wdm", "http"));

}  // namespace
}  // namespace zr::testing
