// The capture parameter file: its writer, its reader and the lookup both stand on.

#include "main_window/parameter_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "base/formatting.h"
#include "capture/video_screen.h"
#include "core/message_window.h"
#include "core/window_registry.h"
#include "main_window/master.h"
#include "platform/atomic_file.h"

namespace zr {

namespace {

// The keys of the six information texts, in the order of AviInfoText.
constexpr std::array<const char*, 6> kInformationKeys = {"Copyright", "Artist", "Subject",
                                                         "Product",   "Source", "Comments"};
constexpr std::array<int, 4> kAudioRates = {8000, 11025, 22050, 44100};
constexpr std::array<const char*, 4> kTriggers = {"manual", "timer", "motion", "joystick"};
constexpr std::array<const char*, 4> kTriggerNames = {"Manual", "Timer", "Motion", "Joystick"};
constexpr int kMultipleImageModes = 6;
constexpr int kSeriesRates = 30;
constexpr int kLowestMovieRate = 2;
constexpr int kHighestMovieRate = 30;
// The one fractional rate a file may carry; it is shown, not set on the whole-number control.
constexpr double kBroadcastRate = 29.97;

bool IsDeviceStateFile(const std::string& path) {
  return LowerCase(std::filesystem::path(path).filename().string()) == kDeviceStateFile;
}

std::string YesNo(bool yes) { return yes ? "Yes" : "No"; }

bool Pressed(const ui::ToolbarButton& button) { return button.Value == 1; }

struct HoursMinutesSeconds {
  int hours = 0;
  int minutes = 0;
  int seconds = 0;
};

// Whole seconds as the limit and interval controls show them.
HoursMinutesSeconds SplitSeconds(std::int32_t seconds) { return {seconds / 3600, seconds % 3600 / 60, seconds % 60}; }

int TotalSeconds(const ui::RangeControl& hours, const ui::RangeControl& minutes, const ui::RangeControl& seconds) {
  return hours.Value * 3600 + minutes.Value * 60 + seconds.Value;
}

// ---- the writer

const std::string kRule = "; " + std::string(93, '-');

class ParameterText {
 public:
  void Line(const std::string& line) { text_ += line + "\r\n"; }
  void Block(const std::string& heading) {
    Line(";");
    Line(heading);
    Line(kRule);
  }
  void Set(const std::string& key, const std::string& value) { Line(key + "=" + value); }
  void Set(const std::string& key, std::int64_t value) { Set(key, std::to_string(value)); }
  const std::string& Text() const { return text_; }

 private:
  std::string text_;
};

void WriteHead(Program& program, ParameterText& out) {
  const auto now = program.services.clock.Now();
  out.Line("; Video Capture Parameters File");
  out.Line("; " + kAppTitle + " Version " + std::to_string(kVersionMajor) + "." + FormatNumber(kVersionMinor, "#00") +
           "  Build:" + FormatNumber(kVersionRevision, "#0000"));
  out.Line(kRule);
  out.Line("; Created " + DateText(now) + "  " + TimeText(now));
  out.Line(kRule);
  out.Line("; Copyright (C) 2026 Video Zandrell developers");
  out.Line(kRule);
}

// A control kind reports its own view; a driver is in overlay only when its status says so.
std::string ViewMode(Program& program) {
  auto& screen = program.Window<VideoScreen>();
  if (screen.wdmX.Visible) return screen.Control().OverlayEnabled() ? "Overlay" : "Preview";
  return program.state.CapStatus.fOverlayWindow == 1 ? "Overlay" : "Preview";
}

void WriteDevice(Program& program, ParameterText& out) {
  auto& screen = program.Window<VideoScreen>();
  out.Block("; Video Capture Device");
  out.Set("Device Index", screen.DeviceIndex());
  out.Set("Device Description", screen.Caption.get());
  ResumeNext([&] { out.Set("View Mode", ViewMode(program)); });
  out.Set("Preview Rate", program.Window<Master>().previewrate.ListIndex + 1);
  out.Block("; Autostart");
  out.Set("Hours", program.state.AutostartHours);
  out.Set("Minutes", program.state.AutostartMinutes);
  out.Set("Seconds", program.state.AutostartSeconds);
  out.Block("; Filename");
  out.Set("Filename", program.state.CaptureFilename);
}

void WriteInformation(Program& program, ParameterText& out, const ui::ToolbarButton& writeinfo) {
  out.Block("; AVI Other Information");
  out.Set("AVI Info", YesNo(Pressed(writeinfo)));
  for (std::size_t text = 0; text < kInformationKeys.size(); ++text)
    out.Set(kInformationKeys[text], program.state.AviInfoText[text]);
}

void WriteInsertion(Program& program, ParameterText& out, const ui::ToolbarButton& insert) {
  out.Set("InsertIIF", YesNo(Pressed(insert)));
  if (Pressed(insert)) out.Set("InsertIIFFile", program.state.InsertionFile);
}

// Read back the other way round: the reader takes "Yes" for a disabled cache.
void WriteAdvanced(const CAPTUREPARMS& parms, ParameterText& out) {
  out.Block("; Advanced Settings");
  out.Set("Capture Operation", parms.fYield == 1 ? "Background Task" : "Exclusive Task");
  out.Set("Video Buffers", static_cast<std::int32_t>(parms.wNumVideoRequested));
  out.Set("Audio Buffers", static_cast<std::int32_t>(parms.wNumAudioRequested));
  out.Set("DOS Buffers", YesNo(parms.fUsingDOSMemory == 1));
  out.Set("Write Cache", YesNo(parms.fDisableWriteCache != 1));
  out.Set("Max Index Size", static_cast<std::int32_t>(parms.dwIndexSize));
  out.Set("Chunk Granularity", static_cast<std::int32_t>(parms.wChunkGranularity));
  out.Set("Drop Error", static_cast<std::int32_t>(parms.wPercentDropForError));
}

// Written whatever device is attached; never read back.
void WriteControlIndexes(Program& program, ParameterText& out) {
  auto& control = program.Window<VideoScreen>().Control();
  ResumeNext([&] { out.Set("WDMVIDEOCODEC", control.VideoCompressorIndex()); });
  ResumeNext([&] { out.Set("WDMAUDIOCODEC", control.AudioCompressorIndex()); });
  ResumeNext([&] { out.Set("WDMINPUT", control.VideoInputIndex()); });
  ResumeNext([&] { out.Set("WDMAUDIOINPUT", control.AudioInputIndex()); });
  ResumeNext([&] { out.Set("WDMAUDIODEVICE", control.AudioDeviceIndex()); });
  ResumeNext([&] { out.Set("WDMVIDEODEVICE", control.VideoDeviceIndex()); });
}

void WriteMovie(Program& program, const std::string& path, ParameterText& out) {
  auto& master = program.Window<Master>();
  out.Set("Capture", "Movie");
  out.Block("; Audio Settings");
  out.Set("Audio", YesNo(Pressed(master.MovieToolbar.Button("audio"))));
  out.Set("Audio Channels", master.AudioChannels.ListIndex + 1);
  out.Set("Audio Bits", (master.AudioBits.ListIndex + 1) * 8);
  const int rate = master.AudioRate.ListIndex;
  if (rate >= 0 && rate < static_cast<int>(kAudioRates.size()))
    out.Set("Audio Rate", kAudioRates[static_cast<std::size_t>(rate)]);
  WriteInformation(program, out, master.MovieToolbar.Button("writeinfo"));
  out.Block("; Movie Options");
  out.Set("Frame Rate", NumberText(program.state.MovieFrameRate));
  out.Set("Limit", YesNo(master.MovieDisableLimit.Value != 1));
  out.Set("Duration(Seconds)",
          TotalSeconds(master.MovieHoursControl, master.MovieMinutesControl, master.MovieSecondsControl));
  if (Pressed(master.MovieToolbar.Button("tcr"))) out.Set("ShowTCR", "Yes");
  if (!IsDeviceStateFile(path)) WriteAdvanced(program.state.CaptureParms, out);
  WriteControlIndexes(program, out);
}

void WriteImage(Program& program, ParameterText& out) {
  out.Set("Capture", "Single Image");
  out.Block("; Image Options");
  WriteInsertion(program, out, program.Window<Master>().imagesettings(0).Button("insert"));
}

void WriteMultiple(Program& program, ParameterText& out) {
  auto& master = program.Window<Master>();
  auto& state = program.state;
  out.Set("Capture", "Multiple Image");
  out.Set("Multiple Image Type", master.MultipleImageMode.ListIndex);
  out.Set("AVI Rate", master.MultipleImageFrameRate.ListIndex + 1);
  out.Block("; Trigger Type");
  for (std::size_t trigger = 0; trigger < kTriggers.size(); ++trigger)
    if (Pressed(master.TriggerType.Button(kTriggers[trigger]))) out.Set("Trigger", kTriggerNames[trigger]);
  if (Pressed(master.TriggerType.Button("timer")))
    out.Set("Interval", TotalSeconds(master.MultipleImageHoursControl, master.MultipleImageMinutesControl,
                                     master.MultipleImageSecondsControl));
  WriteInformation(program, out, master.MultipleImageToolbar.Button("writeinfo"));
  out.Block("; Internet Settings");
  out.Set("Send to FTP Server", YesNo(Pressed(master.MultipleImageToolbar.Button("ftp"))));
  out.Set("URL", state.FtpHost);
  out.Set("Port", state.FtpPort);
  out.Set("Username", state.FtpUser);
  out.Set("Password", state.FtpPassword);
  out.Set("Directory", state.FtpFolder);
  out.Block("; Image Effects ");
  WriteInsertion(program, out, master.imagesettings(1).Button("insert"));
}

std::string ParameterFileText(Program& program, const std::string& path) {
  ParameterText out;
  WriteHead(program, out);
  WriteDevice(program, out);
  out.Block("; Capture Type");
  auto& bands = program.Window<Master>().MasterBar;
  if (bands.Bands("movie").Visible)
    WriteMovie(program, path, out);
  else if (bands.Bands("image").Visible)
    WriteImage(program, out);
  else if (bands.Bands("multiple").Visible)
    WriteMultiple(program, out);
  return out.Text();
}

// Where a file without a name puts the capture: the user's home folder.
std::string DefaultCaptureFile(const Program& program) {
  if (program.HomeFolder.empty()) return program.state.AppPath + "zandrell.avi";
  return program.HomeFolder + "zandrell.avi";
}

// ---- the reader

// Assigning a list index or an up-down value outside its range is an invalid property value:
// the step fails and the control keeps its value.
void SetListIndex(ui::ListControl& list, double index) {
  const int rounded = RoundHalfEven16(index);
  if (rounded < -1 || rounded >= list.ListCount()) throw ProgramError("Invalid property value");
  list.ListIndex = rounded;
}

void SetRangeValue(ui::RangeControl& control, int value) {
  if (value < control.Min || value > control.Max) throw ProgramError("Invalid property value");
  control.Value = value;
}

// Each statement passes over its own failure, so a bad value leaves its setting as it was.
class ParameterLoader {
 public:
  ParameterLoader(Program& program, const std::string& path)
      : program_(program), state_(program.state), master_(program.Window<Master>()), path_(path) {}

  void Run() {
    LoadCommon();
    const std::string capture = LowerCase(Text("Capture", "Movie"));
    if (capture == "movie")
      LoadMovie();
    else if (capture == "single image")
      LoadImage();
    else if (capture == "multiple image")
      LoadMultiple();
  }

 private:
  std::string Text(const char* key, const std::string& default_value) const {
    return GetParameter(path_, key, default_value);
  }
  double Number(const char* key, const char* default_value) const { return NumericPrefix(Text(key, default_value)); }
  // Whether the value, in any case, is `word` (given in lower case).
  bool Says(const char* key, const char* default_value, std::string_view word) const {
    return LowerCase(Text(key, default_value)) == word;
  }

  void LoadCommon() {
    auto& screen = program_.Window<VideoScreen>();
    state_.CaptureFilename = Text("Filename", DefaultCaptureFile(program_));
    master_.MasterStatus.Panels("filename").Text = program_.Translate("Filename: ") + state_.CaptureFilename;
    ResumeNext([&] { SetListIndex(master_.previewrate, std::abs(Number("Preview Rate", "15") - 1)); });
    ResumeNext([&] { screen.Control().SetVideoCompressorIndex(RoundHalfEven(Number("WDMVIDEOCODEC", "0"))); });
    ResumeNext([&] { screen.Control().SetAudioCompressorIndex(RoundHalfEven(Number("WDMAUDIOCODEC", "0"))); });
    ResumeNext([&] {
      if (Says("View Mode", "Overlay", "overlay"))
        screen.Overlay();
      else
        screen.Preview(master_.previewrate.ListIndex + 1);
    });
    ResumeNext([&] { state_.AutostartHours = RoundHalfEven16(Number("Hours", "0")); });
    ResumeNext([&] { state_.AutostartMinutes = RoundHalfEven16(Number("Minutes", "0")); });
    ResumeNext([&] { state_.AutostartSeconds = RoundHalfEven16(Number("Seconds", "10")); });
  }

  void LoadMovie() {
    master_.SetOperationMode("movie");
    master_.SetAudioCapture(Says("Audio", "Yes", "yes"));
    ResumeNext([&] { master_.AudioChannels.ListIndex = Number("Audio Channels", "1") == 1 ? 0 : 1; });
    ResumeNext([&] { master_.AudioBits.ListIndex = Number("Audio Bits", "8") == 8 ? 0 : 1; });
    ResumeNext([&] { master_.AudioRate.ListIndex = AudioRateIndex(Number("Audio Rate", "8000")); });
    LoadInformation(master_.MovieToolbar.Button("writeinfo"));
    // Unlike every other key, only the exact text "Yes" counts here.
    master_.MovieToolbar.Button("tcr").Value = Text("ShowTCR", "No") == "Yes" ? 1 : 0;
    ResumeNext([&] { program_.Window<VideoScreen>().ShowTCR(); });
    ResumeNext([&] { LoadFrameRate(Number("Frame Rate", "12")); });
    ResumeNext([&] {
      LoadDuration(RoundHalfEven(Number("Duration(Seconds)", "30")), master_.MovieHoursControl,
                   master_.MovieMinutesControl, master_.MovieSecondsControl);
    });
    master_.MovieDisableLimit.Value = Says("Limit", "Yes", "yes") ? 0 : 1;
    if (!IsDeviceStateFile(path_)) LoadAdvanced();
  }

  static int AudioRateIndex(double rate) {
    for (std::size_t index = 0; index < kAudioRates.size(); ++index)
      if (rate == kAudioRates[index]) return static_cast<int>(index);
    return 0;
  }

  void LoadFrameRate(double rate) {
    if (rate == kBroadcastRate) {
      state_.MovieFrameRate = kBroadcastRate;
      master_.MovieFrameRateDisplay.Caption = "29.97";
      return;
    }
    const int rounded = RoundHalfEven(rate);
    if (rounded >= kLowestMovieRate && rounded <= kHighestMovieRate) master_.MovieFrameRateControl.Value = rounded;
  }

  void LoadDuration(std::int32_t total, ui::RangeControl& hours, ui::RangeControl& minutes, ui::RangeControl& seconds) {
    const HoursMinutesSeconds split = SplitSeconds(total);
    ResumeNext([&] { SetRangeValue(hours, split.hours); });
    ResumeNext([&] { SetRangeValue(minutes, split.minutes); });
    ResumeNext([&] { SetRangeValue(seconds, split.seconds); });
  }

  // Straight into the capture record; the device state file leaves it alone.
  void LoadAdvanced() {
    auto& parms = state_.CaptureParms;
    parms.fYield = Says("Capture Operation", "Background Task", "background task") ? 1 : 0;
    ResumeNext([&] { parms.wNumVideoRequested = Word(Number("Video Buffers", "0")); });
    ResumeNext([&] { parms.wNumAudioRequested = Word(Number("Audio Buffers", "0")); });
    parms.fUsingDOSMemory = Says("DOS Buffers", "No", "no") ? 0 : 1;
    // The writer puts "No" for a disabled cache: every save and load flips the flag.
    parms.fDisableWriteCache = Says("Write Cache", "Yes", "yes") ? 1 : 0;
    ResumeNext([&] { parms.dwIndexSize = Word(Number("Max Index Size", "324000")); });
    ResumeNext([&] { parms.wChunkGranularity = Word(Number("Chunk Granularity", "0")); });
    ResumeNext([&] { parms.wPercentDropForError = Word(Number("Drop Error", "10")); });
  }

  // A 32-bit field of the capture record, as the signed integer the file holds.
  static std::uint32_t Word(double value) { return static_cast<std::uint32_t>(RoundHalfEven(value)); }

  void LoadInformation(ui::ToolbarButton& writeinfo) {
    writeinfo.Value = Says("AVI Info", "Yes", "yes") ? 1 : 0;
    for (std::size_t text = 0; text < kInformationKeys.size(); ++text)
      state_.AviInfoText[text] = Text(kInformationKeys[text], "");
  }

  void LoadInsertion(ui::ToolbarButton& insert) {
    if (Says("InsertIIF", "Yes", "yes")) {
      insert.Value = 1;
      state_.InsertionFile = Text("InsertIIFFile", "");
      // The insertion work loads this file into the picture overlay here.
    } else {
      insert.Value = 0;
    }
  }

  void LoadImage() {
    master_.SetOperationMode("image");
    LoadInsertion(master_.imagesettings(0).Button("insert"));
  }

  void LoadMultiple() {
    master_.SetOperationMode("multiple");
    ResumeNext([&] {
      const int mode = RoundHalfEven(Number("Multiple Image Type", "0"));
      if (mode >= 0 && mode < kMultipleImageModes) master_.MultipleImageMode.ListIndex = mode;
    });
    ResumeNext([&] {
      const int rate = RoundHalfEven(Number("AVI Rate", "10"));
      if (rate >= 1 && rate <= kSeriesRates) master_.MultipleImageFrameRate.ListIndex = rate - 1;
    });
    LoadInsertion(master_.imagesettings(1).Button("insert"));
    const std::string trigger = LowerCase(Text("Trigger", "Manual"));
    const bool known = std::find(kTriggers.begin(), kTriggers.end(), trigger) != kTriggers.end();
    master_.SelectTrigger(known ? trigger : "manual");
    if (trigger == "timer") {
      ResumeNext([&] {
        LoadDuration(RoundHalfEven16(Number("Interval", "10")), master_.MultipleImageHoursControl,
                     master_.MultipleImageMinutesControl, master_.MultipleImageSecondsControl);
      });
    }
    LoadInformation(master_.MultipleImageToolbar.Button("writeinfo"));
    master_.MultipleImageToolbar.Button("ftp").Value = Says("Send to FTP Server", "Yes", "yes") ? 1 : 0;
    state_.FtpHost = Text("URL", "");
    ResumeNext([&] { state_.FtpPort = RoundHalfEven16(Number("Port", "21")); });
    state_.FtpUser = Text("Username", "");
    state_.FtpPassword = Text("Password", "");
    state_.FtpFolder = Text("Directory", "");
  }

  Program& program_;
  AppState& state_;
  Master& master_;
  const std::string& path_;
};

}  // namespace

void SaveParameters(Program& program, const std::string& path) {
  if (program.state.Exiting) return;
  program.Window<Msg>().Say(program, program.Translate("Video Zandrell is saving parameters..."));
  // A file that cannot be written is passed over without a word. The file is the user's alone:
  // the set-up of a series holds the upload password.
  (void)platform::ReplaceFileAtomically(path, ParameterFileText(program, path), platform::NewFileMode::Private);
  program.SlotOf<Msg>().Unload();
}

void LoadParameters(Program& program, const std::string& path) {
  if (program.state.Exiting) return;
  // A file that is missing or cannot be opened gives every key its default, as it always has;
  // one that is no file at all, or far longer than any set-up, is refused with the reason.
  const platform::SmallFile file = ReadParameterFile(path);
  if (file.outcome == platform::FileOutcome::NotAFile || file.outcome == platform::FileOutcome::TooLarge) {
    program.MessageBox(program.Translate("Cannot open ") + path + "\n\n" + path + " " + file.reason,
                       platform::MessageButtons::Ok, platform::MessageIcon::Exclamation);
    return;
  }
  program.Window<Msg>().Say(program, program.Translate("Video Zandrell is applying the saved parameters..."));
  ParameterLoader(program, path).Run();
  program.SlotOf<Msg>().Unload();
}

namespace {

const ProgramProcedures kProcedures{{
    {"LoadParameters",
     [](Program& p, const ProcedureArguments& a) {
       a.Expect(1);
       LoadParameters(p, a.Text(0));
     }},
    {"SaveParameters",
     [](Program& p, const ProcedureArguments& a) {
       a.Expect(1);
       SaveParameters(p, a.Text(0));
     }},
}};

}  // namespace

}  // namespace zr
