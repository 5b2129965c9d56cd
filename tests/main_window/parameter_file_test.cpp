// The capture parameter file: the delimited lookup on hand-written files, the exact text the
// writer produces for each mode, and what the reader does to the program, defaults included.

#include "main_window/parameter_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <tuple>

#include "core/message_window.h"
#include "tests/support/platform_checks.h"
#include "tests/support/recording_fixture.h"

namespace zr::testing {
namespace {

using platform::sim::DeviceSpec;

void WriteBytes(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

// A literal with NULs in it, whole.
template <std::size_t N>
std::string Bytes(const char (&literal)[N]) {
  return {literal, N - 1};
}

// Each '|'-separated line of `lines`, ended with CR LF.
std::string Lines(std::string_view lines) {
  std::string text;
  for (std::size_t at = 0; at <= lines.size();) {
    const std::size_t end = std::min(lines.find('|', at), lines.size());
    text.append(lines.substr(at, end - at)).append("\r\n");
    at = end + 1;
  }
  return text;
}

const std::string kRule = "; " + std::string(93, '-');

// A section heading: an empty comment line, the heading, the rule.
std::string Section(const std::string& heading) { return Lines(";|; " + heading + "|" + kRule); }

// "; Video Zandrell Version 1.00  Build:0000" for version 1.0.0.
std::string VersionLine() {
  char line[80];
  std::snprintf(line, sizeof line, "; Video Zandrell Version %d.%02d  Build:%04d", kVersionMajor, kVersionMinor,
                kVersionRevision);
  return line;
}

// ---- the lookup

TEST(ParameterLookup, ReadsFieldsAsDelimitedInput) {
  struct Case {
    const char* what;
    std::string file, key, expected;
  };
  const Case cases[] = {{"plain CR LF line", "Filename=x\r\n", "Filename", "x"},
                        {"key in any case", "FILENAME=x\r\n", "filename", "x"},
                        {"leading blanks dropped, trailing kept", "   \tFilename=x  \r\n", "Filename", "x  "},
                        {"blank before the equals sign is part of the key", "Filename =x\r\n", "Filename", "DEFAULT"},
                        {"comment line never matches", ";Filename=x\r\nFilename=y\r\n", "Filename", "y"},
                        {"first match wins", "Filename=first\r\nFilename=second\r\n", "Filename", "first"},
                        {"value holding an equals sign", "Filename=a=b\r\n", "Filename", "a=b"},
                        {"line without an equals sign", "Comments\r\n", "Comments", "DEFAULT"},
                        {"unknown key", "Filename=x\r\n", "Artist", "DEFAULT"},
                        {"a quote inside an unquoted field stays", "Key=\"a\"b\r\n", "Key", "\"a\"b"},
                        {"text behind the closing quote is dropped", "\"Key=v\"junk,Other=w\r\n", "Key", "v"},
                        {"the field after the dropped text is read", "\"Key=v\"junk,Other=w\r\n", "Other", "w"},
                        {"a quoted field runs over line ends", "\"Key=a\r\nb\"\r\n", "Key", "a\r\nb"},
                        {"an unclosed quote runs to the end", "\"Key=a\r\nOther=b\r\n", "Other", "DEFAULT"},
                        {"LF line ends", "A=1\nB=2\n", "B", "2"},
                        {"CR line ends, no final line end", "A=1\rB=2", "B", "2"},
                        {"Latin-1 bytes pass through", "Filename=caf\xe9.avi\r\n", "Filename", "caf\xe9.avi"},
                        {"binary junk before a line", Bytes("\x00\xff\x01\x1a\x7f\x00junk\n") + "Key=v\n", "Key", "v"}};
  scenario::World world;
  const std::string path = world.AppFolder() + "sample.zrp";
  for (const Case& sample : cases) {
    WriteBytes(path, sample.file);
    EXPECT_EQ(GetParameter(path, sample.key, "DEFAULT"), sample.expected) << sample.what;
  }
  EXPECT_EQ(GetParameter(world.AppFolder() + "none.zrp", "Filename", "d"), "d");
  EXPECT_EQ(GetParameter(world.AppFolder(), "Filename", "d"), "d");
}

// ---- the program around the file

class ParameterFileTest : public RecordingTest {
 protected:
  void SetUp() override { world.Start(); }

  std::string Saved(const std::string& name) {
    SaveParameters(world.program(), AppFile(name));
    return FileText(AppFile(name));
  }
  void Load(const std::string& name, const std::string& text) {
    WriteBytes(AppFile(name), text);
    LoadParameters(world.program(), AppFile(name));
  }
  // The part of a saved file from its capture type on.
  std::string SavedCaptureBlocks(const std::string& name) {
    const std::string text = Saved(name);
    return text.substr(text.find("Capture="));
  }
  void SetMovieLimit(int hours, int minutes, int seconds) {
    master().MovieHoursControl.Value = hours;
    master().MovieMinutesControl.Value = minutes;
    master().MovieSecondsControl.Value = seconds;
  }
  void SetAudioFormat(int channels, int bits, int rate) {
    master().AudioChannels.ListIndex = channels;
    master().AudioBits.ListIndex = bits;
    master().AudioRate.ListIndex = rate;
  }
  std::array<int, 3> AudioFormat() {
    return {master().AudioChannels.ListIndex, master().AudioBits.ListIndex, master().AudioRate.ListIndex};
  }
  std::array<int, 3> MovieLimit() {
    return {master().MovieHoursControl.Value, master().MovieMinutesControl.Value, master().MovieSecondsControl.Value};
  }
};

// ---- the writer

TEST_F(ParameterFileTest, MovieSetUpIsWrittenLineByLine) {
  world.clock.Set({2026, 11, 21, 14, 30, 5});
  auto& s = state();
  screen().Caption = "Sim Camera";
  s.CapStatus.fOverlayWindow = 1;
  master().previewrate.ListIndex = 14;
  std::tie(s.AutostartHours, s.AutostartMinutes, s.AutostartSeconds) = std::tuple(1, 2, 3);
  s.CaptureFilename = "/videos/clip.avi";
  master().SetAudioCapture(true);
  SetAudioFormat(1, 1, 3);
  master().MovieToolbar.Button("writeinfo").Value = 1;
  s.AviInfoText = {"(C) me", "Band", "Song", "Tape", "Camera", "one, two"};
  s.MovieFrameRate = 29.97;
  master().MovieDisableLimit.Value = 1;
  SetMovieLimit(1, 2, 3);
  master().MovieToolbar.Button("tcr").Value = 1;
  auto& parms = s.CaptureParms;
  std::tie(parms.fYield, parms.fUsingDOSMemory, parms.fDisableWriteCache) = std::tuple(1, 1, 1);
  std::tie(parms.wNumVideoRequested, parms.wNumAudioRequested, parms.dwIndexSize) = std::tuple(5, 4, 324000);
  std::tie(parms.wChunkGranularity, parms.wPercentDropForError) = std::tuple(0, 10);

  EXPECT_EQ(
      Saved("movie.zrp"),
      Lines("; Video Capture Parameters File|" + VersionLine() + "|" + kRule + "|; Created 2026-11-21  14:30:05|" +
            kRule + "|; Copyright (C) 2026 Video Zandrell developers|" + kRule) +
          Section("Video Capture Device") +
          Lines("Device Index=0|Device Description=Sim Camera|View Mode=Overlay|Preview Rate=15") +
          Section("Autostart") + Lines("Hours=1|Minutes=2|Seconds=3") + Section("Filename") +
          Lines("Filename=/videos/clip.avi") + Section("Capture Type") + Lines("Capture=Movie") +
          Section("Audio Settings") + Lines("Audio=Yes|Audio Channels=2|Audio Bits=16|Audio Rate=44100") +
          Section("AVI Other Information") +
          Lines("AVI Info=Yes|Copyright=(C) me|Artist=Band|Subject=Song|Product=Tape|Source=Camera|"
                "Comments=one, two") +
          Section("Movie Options") + Lines("Frame Rate=29.97|Limit=No|Duration(Seconds)=3723|ShowTCR=Yes") +
          Section("Advanced Settings") +
          Lines("Capture Operation=Background Task|Video Buffers=5|Audio Buffers=4|DOS Buffers=Yes|"
                "Write Cache=No|Max Index Size=324000|Chunk Granularity=0|Drop Error=10|WDMVIDEOCODEC=0|"
                "WDMAUDIOCODEC=0|WDMINPUT=0|WDMAUDIOINPUT=0|WDMAUDIODEVICE=0|WDMVIDEODEVICE=0"));
  // The set-up can hold the upload password: the file is the user's alone.
  EXPECT_EQ(std::filesystem::status(AppFile("movie.zrp")).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  EXPECT_FALSE(world.program().SlotOf<Msg>().Loaded());
}

TEST_F(ParameterFileTest, DeviceStateFileLeavesOutTheAdvancedBlockInAnyCase) {
  for (const char* name : {"zrsr.zr3", "ZRSR.ZR3"}) {
    const std::string text = Saved(name);
    EXPECT_EQ(text.find("; Advanced Settings"), std::string::npos) << name;
    EXPECT_EQ(text.find("Write Cache"), std::string::npos) << name;
    EXPECT_NE(text.find("Duration(Seconds)=0\r\nWDMVIDEOCODEC=0\r\n"), std::string::npos) << name;
  }
  EXPECT_NE(Saved("zrsr.zr2").find("; Advanced Settings"), std::string::npos);
}

TEST_F(ParameterFileTest, SingleImageSetUp) {
  master().SetOperationMode("image");
  master().imagesettings(0).Button("insert").Value = 1;
  state().InsertionFile = "/overlays/logo.iif";
  EXPECT_EQ(SavedCaptureBlocks("image.zrp"), Lines("Capture=Single Image") + Section("Image Options") +
                                                 Lines("InsertIIF=Yes|InsertIIFFile=/overlays/logo.iif"));
  master().imagesettings(0).Button("insert").Value = 0;
  EXPECT_EQ(SavedCaptureBlocks("image.zrp"),
            Lines("Capture=Single Image") + Section("Image Options") + Lines("InsertIIF=No"));
}

TEST_F(ParameterFileTest, MultipleImageSetUpWritesItsOwnBlocks) {
  master().SetOperationMode("multiple");
  master().SelectTrigger("motion");
  master().MultipleImageToolbar.Button("writeinfo").Value = 0;
  master().imagesettings(1).Button("insert").Value = 0;
  const std::string text = Saved("series.zrp");
  EXPECT_NE(text.find("\r\nTrigger=Motion\r\n"), std::string::npos);
  EXPECT_EQ(text.find("Interval="), std::string::npos);
  EXPECT_NE(text.find("\r\nAVI Info=No\r\n"), std::string::npos);
  const std::string effects = Section("Image Effects ") + Lines("InsertIIF=No");
  ASSERT_GT(text.size(), effects.size());
  EXPECT_EQ(text.substr(text.size() - effects.size()), effects);
}

TEST_F(ParameterFileTest, NoVisibleModeBandEndsTheFileAtTheCaptureTypeHeading) {
  for (const char* band : {"movie", "image", "multiple"}) master().MasterBar.Bands(band).Visible = false;
  const std::string text = Saved("none.zrp");
  const std::string tail = Section("Capture Type");
  ASSERT_GT(text.size(), tail.size());
  EXPECT_EQ(text.substr(text.size() - tail.size()), tail);
}

TEST_F(ParameterFileTest, UnwritableTargetLeavesNothingAndSaysNothing) {
  const std::string folder = AppFile("folder.zrp");
  std::filesystem::create_directory(folder);
  SaveParameters(world.program(), folder);
  SaveParameters(world.program(), AppFile("missing/set.zrp"));
  EXPECT_TRUE(std::filesystem::is_directory(folder));
  EXPECT_TRUE(std::filesystem::is_empty(folder));
  EXPECT_FALSE(std::filesystem::exists(AppFile("missing")));
  for (const auto& entry : std::filesystem::directory_iterator(world.AppFolder()))
    EXPECT_EQ(entry.path().filename().string().find(".tmp"), std::string::npos) << entry.path();
  EXPECT_TRUE(world.dialogs.Shown().empty());
  EXPECT_FALSE(world.program().SlotOf<Msg>().Loaded());
}

TEST_F(ParameterFileTest, NothingHappensOnceTheFinalShutdownHasBegun) {
  state().Exiting = True;
  SaveParameters(world.program(), AppFile("late.zrp"));
  EXPECT_FALSE(std::filesystem::exists(AppFile("late.zrp")));
  const std::string before = state().CaptureFilename;
  Load("late.zrp", "Filename=/elsewhere.avi\r\n");
  EXPECT_EQ(state().CaptureFilename, before);
}

// ---- the reader

TEST_F(ParameterFileTest, EmptyOrGarbageFileMeansEveryDefault) {
  for (const std::string& text : {std::string(), Bytes("\x89PNG\r\n\x1a\n\x00\x00\x00\rIHDR\xff\xfe,,==\x00")}) {
    master().SetOperationMode("image");
    master().SetAudioCapture(false);
    SetAudioFormat(1, 1, 3);
    Load("empty.zrp", text);
    const auto& s = state();
    EXPECT_EQ(s.CaptureType, "movie");
    EXPECT_EQ(s.CaptureFilename.substr(s.CaptureFilename.rfind('/')), "/zandrell.avi");
    EXPECT_EQ(master().MasterStatus.Panels("filename").Text.get(), "Filename: " + s.CaptureFilename);
    EXPECT_EQ(master().previewrate.ListIndex, 11);  // rate 15, lowered to the capture rate of 12
    EXPECT_EQ(master().MovieToolbar.Button("audio").Value, 1);
    EXPECT_EQ(AudioFormat(), (std::array<int, 3>{0, 0, 0}));
    EXPECT_EQ(master().MovieToolbar.Button("writeinfo").Value, 1);
    EXPECT_EQ(master().MovieToolbar.Button("tcr").Value, 0);
    EXPECT_EQ(master().MovieFrameRateControl.Value, 12);
    EXPECT_EQ(MovieLimit(), (std::array<int, 3>{0, 0, 30}));
    EXPECT_EQ(master().MovieDisableLimit.Value, 0);
    EXPECT_EQ(s.AutostartHours, 0);
    EXPECT_EQ(s.AutostartSeconds, 10);
    EXPECT_EQ(s.CaptureParms.fYield, 1);
    EXPECT_EQ(s.CaptureParms.fUsingDOSMemory, 0);
    EXPECT_EQ(s.CaptureParms.fDisableWriteCache, 1);
    EXPECT_EQ(s.CaptureParms.dwIndexSize, 324000u);
    EXPECT_EQ(s.CaptureParms.wPercentDropForError, 10u);
  }
  EXPECT_FALSE(world.program().SlotOf<Msg>().Loaded());
}

// A device, a FIFO nobody writes to and a file longer than any set-up are refused with the reason,
// read no further than the limit, and change nothing; the lookup gives their keys the default.
TEST_F(ParameterFileTest, WhatIsNoParameterFileIsRefusedWithItsReason) {
  const std::string fifo = AppFile("fifo.zrp");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const std::string longer = AppFile("longer.zrp");
  WriteBytes(longer, "Filename=/elsewhere.avi\r\n" + std::string(kLargestParameterFileBytes, ';'));
  const std::string before = state().CaptureFilename;
  for (const auto& [path, reason] :
       {std::pair{std::string("/dev/zero"), std::string("is not a regular file")},
        std::pair{fifo, std::string("is not a regular file")},
        std::pair{longer, "is larger than " + std::to_string(kLargestParameterFileBytes) + " bytes"}}) {
    world.dialogs.Shown().clear();
    LoadParameters(world.program(), path);
    ASSERT_EQ(world.dialogs.Shown().size(), 1u) << path;
    EXPECT_EQ(world.dialogs.Shown()[0].message.text, "Cannot open " + path + "\n\n" + path + " " + reason);
    EXPECT_EQ(state().CaptureFilename, before);
    EXPECT_EQ(GetParameter(path, "Filename", "d"), "d");
  }
}

TEST_F(ParameterFileTest, FrameRateIsRoundedBeforeItsRangeIsChecked) {
  for (const char* ignored : {"Frame Rate=1.4", "Frame Rate=30.6", "Frame Rate=99999999999"}) {
    Load("rate.zrp", std::string("Preview Rate=20\r\n") + ignored + "\r\n");
    EXPECT_EQ(master().MovieFrameRateControl.Value, 20) << ignored;
  }
  Load("rate.zrp", "Frame Rate=2.5\r\n");  // half to even
  EXPECT_EQ(master().MovieFrameRateControl.Value, 2);
}

TEST_F(ParameterFileTest, AudioKeysReadByNumber) {
  Load("audio.zrp", "Audio Channels=1.0\r\nAudio Bits=8 bits\r\nAudio Rate=22050\r\n");
  EXPECT_EQ(AudioFormat(), (std::array<int, 3>{0, 0, 2}));
  Load("audio.zrp", "Audio Channels=mono\r\nAudio Bits=\r\nAudio Rate=11025\r\n");
  EXPECT_EQ(AudioFormat(), (std::array<int, 3>{1, 1, 1}));
}

TEST_F(ParameterFileTest, ValuesOutOfRangeLeaveTheirControlAndTheNextStepRuns) {
  SetMovieLimit(5, 5, 5);
  master().previewrate.ListIndex = 3;
  state().AutostartHours = 3;
  Load("range.zrp", "Preview Rate=1000\r\nDuration(Seconds)=360125\r\nHours=99999\r\nMinutes=7\r\n");
  EXPECT_EQ(master().previewrate.ListIndex, 3);
  EXPECT_EQ(MovieLimit(), (std::array<int, 3>{5, 2, 5}));  // 100 hours do not fit the control
  EXPECT_EQ(state().AutostartHours, 3);
  EXPECT_EQ(state().AutostartMinutes, 7);
  Load("range.zrp", "Preview Rate=-4\r\nDuration(Seconds)=1e99999\r\n");
  EXPECT_EQ(master().previewrate.ListIndex, 5);  // the absolute value of rate - 1
  EXPECT_EQ(MovieLimit(), (std::array<int, 3>{5, 2, 5}));
}

TEST_F(ParameterFileTest, SavedMovieSetUpComesBack) {
  master().previewrate.ListIndex = 4;
  master().MovieFrameRateControl.Value = 20;
  master().SetAudioCapture(false);
  SetAudioFormat(1, 0, 2);
  state().AviInfoText = {"c", "a", "s", "p", "src", "comment"};
  master().MovieDisableLimit.Value = 1;
  SetMovieLimit(2, 0, 59);
  state().CaptureParms.dwIndexSize = 1000;
  state().CaptureFilename = "/videos/take.avi";
  SaveParameters(world.program(), AppFile("take.zrp"));

  Load("other.zrp", "Filename=/videos/other.avi\r\nFrame Rate=8\r\nAudio Rate=44100\r\nComments=x\r\nLimit=Yes\r\n");
  LoadParameters(world.program(), AppFile("take.zrp"));
  EXPECT_EQ(master().previewrate.ListIndex, 4);
  EXPECT_EQ(master().MovieFrameRateControl.Value, 20);
  EXPECT_EQ(master().MovieToolbar.Button("audio").Value, 0);
  EXPECT_EQ(AudioFormat(), (std::array<int, 3>{1, 0, 2}));
  EXPECT_EQ(state().AviInfoText[5], "comment");
  EXPECT_EQ(master().MovieDisableLimit.Value, 1);
  EXPECT_EQ(MovieLimit(), (std::array<int, 3>{2, 0, 59}));
  EXPECT_EQ(state().CaptureParms.dwIndexSize, 1000u);
  EXPECT_EQ(state().CaptureFilename, "/videos/take.avi");
}

TEST_F(ParameterFileTest, UnknownCaptureTypeStopsAfterTheCommonKeys) {
  master().SetOperationMode("image");
  Load("odd.zrp", "Capture=Webcast\r\nSeconds=42\r\nFrame Rate=25\r\n");
  EXPECT_EQ(state().CaptureType, "image");
  EXPECT_EQ(state().AutostartSeconds, 42);
  EXPECT_NE(master().MovieFrameRateControl.Value, 25);
}

TEST_F(ParameterFileTest, SingleImageTakesTheInsertionFile) {
  Load("image.zrp", "Capture=single image\r\nInsertIIF=YES\r\nInsertIIFFile=/overlays/logo.iif\r\n");
  EXPECT_EQ(state().CaptureType, "image");
  EXPECT_EQ(master().imagesettings(0).Button("insert").Value, 1);
  EXPECT_EQ(state().InsertionFile, "/overlays/logo.iif");
  Load("image.zrp", "Capture=Single Image\r\nInsertIIF=No\r\nInsertIIFFile=/other.iif\r\n");
  EXPECT_EQ(master().imagesettings(0).Button("insert").Value, 0);
  EXPECT_EQ(state().InsertionFile, "/overlays/logo.iif");
}

TEST_F(ParameterFileTest, MultipleImageIgnoresWhatItCannotTake) {
  Load("series.zrp", "Capture=multiple image\r\n");
  EXPECT_EQ(state().CaptureType, "multiple");
  EXPECT_EQ(state().FtpPort, 21);
  Load("series.zrp",
       Lines("Capture=Multiple Image|Multiple Image Type=2|AVI Rate=3|Trigger=Timer|Interval=75|Port=2121"));
  Load("series.zrp",
       Lines("Capture=Multiple Image|Multiple Image Type=6|AVI Rate=31|Trigger=Timer|Interval=40000|Port=70000"));
  EXPECT_EQ(master().MultipleImageMode.ListIndex, 2);
  EXPECT_EQ(master().MultipleImageFrameRate.ListIndex, 2);
  EXPECT_EQ(master().MultipleImageMinutesControl.Value, 1);
  EXPECT_EQ(master().MultipleImageSecondsControl.Value, 15);
  EXPECT_EQ(state().FtpPort, 2121);
  Load("series.zrp", "Capture=Multiple Image\r\nTrigger=Sound\r\n");
  EXPECT_EQ(master().TriggerType.Button("manual").Value, 1);
  EXPECT_EQ(master().TriggerType.Button("timer").Value, 0);
  EXPECT_TRUE(master().Shooter.Visible);
  EXPECT_FALSE(master().MultipleImageSecondsControl.Visible);
}

// ---- with a device of the control kind

class ParameterFileOnControl : public RecordingTest {
 protected:
  void SetUp() override {
    AddDevice(DeviceSpec::Kind::Wdm);
    StartAndConnect("wdm");
    world.devices->log.clear();
  }
};

TEST_F(ParameterFileOnControl, ViewModeAndCodecsGoToTheDevice) {
  WriteBytes(AppFile("view.zrp"), "WDMVIDEOCODEC=3\r\n");
  LoadParameters(world.program(), AppFile("view.zrp"));
  EXPECT_TRUE(LogHas("VideoCompressorIndex=3"));
  EXPECT_TRUE(LogHas("OverlayEnabled=true"));
  EXPECT_FALSE(LogHas("PreviewRate="));
  SaveParameters(world.program(), AppFile("view.zrp"));
  EXPECT_NE(FileText(AppFile("view.zrp")).find("\r\nView Mode=Overlay\r\n"), std::string::npos);

  world.devices->log.clear();
  WriteBytes(AppFile("view.zrp"), "View Mode=preview\r\nPreview Rate=8\r\n");
  LoadParameters(world.program(), AppFile("view.zrp"));
  EXPECT_TRUE(LogHas("PreviewRate=8"));
  EXPECT_FALSE(LogHas("OverlayEnabled=true"));
}

}  // namespace
}  // namespace zr::testing
