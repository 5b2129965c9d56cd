#include "apps/scenario/procedures.h"

#include <functional>
#include <map>

#include "apps/scenario/addressing.h"
#include "capture/capture_status.h"
#include "capture/device_menu.h"
#include "capture/parameter_file.h"
#include "capture/video_screen.h"
#include "core/master.h"

namespace zr::scenario {

namespace {

struct Arguments {
  const std::vector<Value>& values;
  const std::string& app_folder;
  const std::string& temp_folder;

  void Expect(std::size_t count) const {
    if (values.size() != count)
      throw AddressError("expected " + std::to_string(count) + " arguments, found " + std::to_string(values.size()));
  }
  std::string Text(std::size_t at) const {
    if (const auto* text = std::get_if<std::string>(&values.at(at)))
      return ExpandPlaceholders(*text, app_folder, temp_folder);
    throw AddressError("expected a string argument, found another kind of value");
  }
  double Number(std::size_t at) const {
    if (const auto* number = std::get_if<double>(&values.at(at))) return *number;
    if (const auto* flag = std::get_if<bool>(&values.at(at))) return *flag ? -1 : 0;
    throw AddressError("expected a number argument, found another kind of value");
  }
  bool Flag(std::size_t at) const { return Number(at) != 0; }
};

using Procedure = std::function<void(Program&, const Arguments&)>;

const std::map<std::string, Procedure>& VideoScreenProcedures() {
  static const std::map<std::string, Procedure> procedures = {
      {"Disconnect", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().Disconnect(); }},
      {"RefreshWindow", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().RefreshWindow(); }},
      {"VideoCompressionDialog", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().VideoCompressionDialog(); }},
      {"Initialize", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().Initialize(); }},
      {"VideoSource", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().VideoSource(); }},
      {"VideoDisplay", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().VideoDisplay(); }},
      {"VideoFormat", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().VideoFormat(); }},
      {"Overlay", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().Overlay(); }},
      {"Preview", [](Program& p, const Arguments& a) { a.Expect(1); p.VideoScreen().Preview(static_cast<int>(a.Number(0))); }},
      {"Record", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().Record(); }},
      {"StopCapture", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().StopCapture(); }},
      {"SaveStill", [](Program& p, const Arguments& a) {
         a.Expect(3);
         p.VideoScreen().SaveStill(a.Text(0), static_cast<int>(a.Number(1)), a.Flag(2));
       }},
      {"SetFilename", [](Program& p, const Arguments& a) { a.Expect(1); p.VideoScreen().SetFilename(a.Text(0)); }},
      {"GetFilename", [](Program& p, const Arguments& a) { a.Expect(0); (void)p.VideoScreen().GetFilename(); }},
      {"OpenMultipleImage", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().OpenMultipleImage(); }},
      {"SetCaptureParameters", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().SetCaptureParameters(); }},
      {"CaptureSingle", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().CaptureSingle(); }},
      {"CloseMultipleCapture", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().CloseMultipleCapture(); }},
      {"WDMCaptureDialog", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().WDMCaptureDialog(); }},
      {"ResizeWDM", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().ResizeWDM(); }},
      {"AudioVFW", [](Program& p, const Arguments& a) { a.Expect(1); p.VideoScreen().AudioVFW(a.Flag(0)); }},
      {"ConnectVideoCaptureDevice", [](Program& p, const Arguments& a) {
         a.Expect(3);
         p.VideoScreen().ConnectVideoCaptureDevice(static_cast<int>(a.Number(0)), a.Text(1), a.Text(2));
       }},
      {"ShowTCR", [](Program& p, const Arguments& a) { a.Expect(0); p.VideoScreen().ShowTCR(); }},
  };
  return procedures;
}

const std::map<std::string, Procedure>& MasterProcedures() {
  static const std::map<std::string, Procedure> procedures = {
      {"CaptureControl", [](Program& p, const Arguments& a) { a.Expect(1); p.Master().CaptureControl(a.Flag(0)); }},
      {"StopMovieRecord", [](Program& p, const Arguments& a) { a.Expect(0); p.Master().StopMovieRecord(); }},
      {"RecordNow", [](Program& p, const Arguments& a) { a.Expect(0); p.Master().RecordNow(); }},
      {"AllControls", [](Program& p, const Arguments& a) { a.Expect(1); p.Master().AllControls(a.Flag(0)); }},
      {"SetOperationMode", [](Program& p, const Arguments& a) { a.Expect(1); p.Master().SetOperationMode(a.Text(0)); }},
      {"ApplyFilenameExtension", [](Program& p, const Arguments& a) { a.Expect(0); p.Master().ApplyFilenameExtension(); }},
      {"ClearAVIBuilderBuffer", [](Program& p, const Arguments& a) { a.Expect(0); p.Master().ClearAVIBuilderBuffer(); }},
      {"LanguageControls", [](Program& p, const Arguments& a) { a.Expect(0); p.Master().LanguageControls(); }},
      {"SaveCoolBar", [](Program& p, const Arguments& a) { a.Expect(1); p.Master().SaveCoolBar(a.Text(0)); }},
      {"LoadCoolBar", [](Program& p, const Arguments& a) { a.Expect(1); p.Master().LoadCoolBar(a.Text(0)); }},
      {"SetAudioCapture", [](Program& p, const Arguments& a) { a.Expect(1); p.Master().SetAudioCapture(a.Flag(0)); }},
  };
  return procedures;
}

const std::map<std::string, Procedure>& ModuleProcedures() {
  static const std::map<std::string, Procedure> procedures = {
      {"CaptureStatusUpdate", [](Program& p, const Arguments& a) { a.Expect(0); CaptureStatusUpdate(p); }},
      {"ExitProgram", [](Program& p, const Arguments& a) { a.Expect(0); p.ExitProgram(); }},
      {"BuildDeviceMenu", [](Program& p, const Arguments& a) { a.Expect(0); BuildDeviceMenu(p); }},
      {"LoadParameters", [](Program& p, const Arguments& a) { a.Expect(1); LoadParameters(p, a.Text(0)); }},
      {"SaveParameters", [](Program& p, const Arguments& a) { a.Expect(1); SaveParameters(p, a.Text(0)); }},
  };
  return procedures;
}

const Procedure* Find(const std::map<std::string, Procedure>& procedures, const std::string& name) {
  const auto found = procedures.find(name);
  return found == procedures.end() ? nullptr : &found->second;
}

// ---- state members

ui::Value Number(double value) { return ui::Value{value}; }

// The named field of a record's table of fields.
ui::Value FieldOf(const std::map<std::string, double>& fields, const std::string& field, const std::string& record) {
  const auto found = fields.find(field);
  if (found == fields.end()) throw AddressError("expected a field of " + record + ", found \"" + field + "\"");
  return Number(found->second);
}

ui::Value CapStatusField(const CAPSTATUS& s, const std::string& field) {
  const std::map<std::string, double> fields = {
      {"uiImageWidth", s.uiImageWidth}, {"uiImageHeight", s.uiImageHeight}, {"fLiveWindow", s.fLiveWindow},
      {"fOverlayWindow", s.fOverlayWindow}, {"fScale", s.fScale}, {"fUsingDefaultPalette", s.fUsingDefaultPalette},
      {"fAudioHardware", s.fAudioHardware}, {"fCapFileExists", s.fCapFileExists},
      {"dwCurrentVideoFrame", s.dwCurrentVideoFrame}, {"dwCurrentVideoFramesDropped", s.dwCurrentVideoFramesDropped},
      {"dwCurrentWaveSamples", s.dwCurrentWaveSamples}, {"dwCurrentTimeElapsedMS", s.dwCurrentTimeElapsedMS},
      {"fCapturingNow", s.fCapturingNow}, {"dwReturn", s.dwReturn}, {"wNumVideoAllocated", s.wNumVideoAllocated},
      {"wNumAudioAllocated", s.wNumAudioAllocated}};
  return FieldOf(fields, field, "CapStatus");
}

ui::Value CapDriverCapsField(const CAPDRIVERCAPS& c, const std::string& field) {
  const std::map<std::string, double> fields = {
      {"wDeviceIndex", c.wDeviceIndex}, {"fHasOverlay", c.fHasOverlay}, {"fHasDlgVideoSource", c.fHasDlgVideoSource},
      {"fHasDlgVideoFormat", c.fHasDlgVideoFormat}, {"fHasDlgVideoDisplay", c.fHasDlgVideoDisplay},
      {"fCaptureInitialized", c.fCaptureInitialized}, {"fDriverSuppliesPalettes", c.fDriverSuppliesPalettes}};
  return FieldOf(fields, field, "CapDriverCaps");
}

ui::Value CaptureParmsField(const CAPTUREPARMS& p, const std::string& field) {
  const std::map<std::string, double> fields = {
      {"dwRequestMicroSecPerFrame", p.dwRequestMicroSecPerFrame}, {"fMakeUserHitOKToCapture", p.fMakeUserHitOKToCapture},
      {"wPercentDropForError", p.wPercentDropForError}, {"fYield", p.fYield}, {"dwIndexSize", p.dwIndexSize},
      {"wChunkGranularity", p.wChunkGranularity}, {"fUsingDOSMemory", p.fUsingDOSMemory},
      {"wNumVideoRequested", p.wNumVideoRequested}, {"fCaptureAudio", p.fCaptureAudio},
      {"wNumAudioRequested", p.wNumAudioRequested}, {"vKeyAbort", p.vKeyAbort},
      {"fAbortLeftMouse", p.fAbortLeftMouse}, {"fAbortRightMouse", p.fAbortRightMouse},
      {"fLimitEnabled", p.fLimitEnabled}, {"wTimeLimit", p.wTimeLimit}, {"fMCIControl", p.fMCIControl},
      {"fStepMCIDevice", p.fStepMCIDevice}, {"dwMCIStartTime", p.dwMCIStartTime}, {"dwMCIStopTime", p.dwMCIStopTime},
      {"fStepCaptureAt2x", p.fStepCaptureAt2x}, {"wStepCaptureAverageFrames", p.wStepCaptureAverageFrames},
      {"dwAudioBufferSize", p.dwAudioBufferSize}, {"fDisableWriteCache", p.fDisableWriteCache},
      {"AVStreamMaster", p.AVStreamMaster}};
  return FieldOf(fields, field, "CaptureParms");
}

ui::Value WaveFormatField(const WAVEFORMATEX& w, const std::string& field) {
  const std::map<std::string, double> fields = {
      {"wFormatTag", w.wFormatTag}, {"nChannels", w.nChannels}, {"nSamplesPerSec", w.nSamplesPerSec},
      {"nAvgBytesPerSec", w.nAvgBytesPerSec}, {"nBlockAlign", w.nBlockAlign}, {"wBitsPerSample", w.wBitsPerSample},
      {"cbSize", w.cbSize}};
  return FieldOf(fields, field, "WaveFormat");
}

ui::Value Optional(const std::optional<double>& value) {
  return value ? Number(*value) : ui::Value{std::string()};
}

ui::Value PlainMember(const AppState& s, const Segment& member) {
  const std::string& name = member.name;
  if (name == "AviInfoText") {
    if (!member.index || *member.index < 0 || *member.index > 5)
      throw AddressError("expected AviInfoText(0) to AviInfoText(5), found another index");
    return ui::Value{s.AviInfoText[static_cast<std::size_t>(*member.index)]};
  }
  const std::map<std::string, ui::Value> texts = {
      {"CaptureType", s.CaptureType}, {"CaptureFilename", s.CaptureFilename}, {"AppPath", s.AppPath},
      {"ProductSite", s.ProductSite}, {"ImageCounterFormat", s.ImageCounterFormat},
      {"PopupMovieViewer", s.PopupMovieViewer}, {"AutoPlay", s.AutoPlay}, {"ShutterSound", s.ShutterSound},
      {"InsertionFile", s.InsertionFile}, {"FtpHost", s.FtpHost}, {"FtpUser", s.FtpUser},
      {"FtpPassword", s.FtpPassword}, {"FtpFolder", s.FtpFolder}};
  if (const auto found = texts.find(name); found != texts.end()) return found->second;
  const std::map<std::string, double> numbers = {
      {"Exiting", s.Exiting}, {"IsWindowsAfter2000", s.IsWindowsAfter2000}, {"PreviewRate", s.PreviewRate},
      {"MovieFrameRate", s.MovieFrameRate}, {"FramesPerSecond", s.FramesPerSecond}, {"ImageCount", s.ImageCount},
      {"ImageCounterStart", s.ImageCounterStart}, {"ShotElapsed", s.ShotElapsed},
      {"MotionWasRunning", s.MotionWasRunning}, {"MotionRecordArmed", s.MotionRecordArmed},
      {"MotionSensitivity", s.MotionSensitivity}, {"AutostartHours", s.AutostartHours},
      {"AutostartMinutes", s.AutostartMinutes}, {"AutostartSeconds", s.AutostartSeconds},
      {"AutostartAccepted", s.AutostartAccepted}, {"ViewerShown", s.ViewerShown}, {"LastResult", s.LastResult},
      {"BytesPerRun", s.BytesPerRun}, {"JpegQuality", s.JpegQuality}, {"FtpPort", s.FtpPort},
      {"hCapWnd", s.hCapWnd},
      {"CaptureStatusId", s.captureStatus.CaptureStatusId.load()},
      {"CaptureEnded", s.captureStatus.CaptureEnded.load()}};
  if (const auto found = numbers.find(name); found != numbers.end()) return Number(found->second);
  if (name == "ShotInterval") return Optional(s.ShotInterval);
  if (name == "FreeBytesAtStart") return Optional(s.FreeBytesAtStart);
  if (name == "FreeBytesLatest") return Optional(s.FreeBytesLatest);
  throw AddressError("expected a member of the state record, found \"" + name + "\"");
}

}  // namespace

void CallProcedure(Program& program, const std::optional<WindowRef>& window, const std::string& name,
                   const std::vector<Value>& values, const std::string& app_folder, const std::string& temp_folder) {
  const Arguments arguments{values, app_folder, temp_folder};
  const Procedure* procedure = nullptr;
  if (window) {
    if (window->name == "VideoScreen") procedure = Find(VideoScreenProcedures(), name);
    else if (window->name == "Master") procedure = Find(MasterProcedures(), name);
    else FindSlot(program, *window);
    if (!procedure) procedure = Find(ModuleProcedures(), name);
  } else {
    procedure = Find(ModuleProcedures(), name);
    if (!procedure) procedure = Find(MasterProcedures(), name);
  }
  if (!procedure) throw AddressError("expected a public procedure, found \"" + name + "\"");
  (*procedure)(program, arguments);
}

ui::Value ReadStateMember(const Program& program, std::span<const Segment> member) {
  const AppState& state = program.state;
  if (member.empty()) throw AddressError("expected a member of the state record, found nothing");
  if (member.size() == 1) return PlainMember(state, member[0]);
  if (member.size() > 2) throw AddressError("expected a record and a field, found a longer name");
  const std::string& record = member[0].name;
  const std::string& field = member[1].name;
  if (record == "CapStatus") return CapStatusField(state.CapStatus, field);
  if (record == "CapDriverCaps") return CapDriverCapsField(state.CapDriverCaps, field);
  if (record == "CaptureParms") return CaptureParmsField(state.CaptureParms, field);
  if (record == "WaveFormat") return WaveFormatField(state.WaveFormat, field);
  throw AddressError("expected a record of the state, found \"" + record + "\"");
}

}  // namespace zr::scenario
