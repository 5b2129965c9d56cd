#include "apps/scenario/procedures.h"

#include <functional>
#include <map>

#include "apps/scenario/addressing.h"
#include "core/main_window.h"
#include "core/window_registry.h"
#include "triggers/joystick_panel.h"

namespace zr::scenario {

namespace {

// A scenario's argument as the program's procedures take it, with the world's folders put in.
ui::Value ProcedureValue(const Value& value, const std::string& app_folder, const std::string& temp_folder) {
  if (const auto* text = std::get_if<std::string>(&value)) return ExpandPlaceholders(*text, app_folder, temp_folder);
  if (const auto* number = std::get_if<double>(&value)) return *number;
  if (const auto* flag = std::get_if<bool>(&value)) return *flag;
  throw AddressError("expected a string, number or Boolean argument, found another kind of value");
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
  const std::map<std::string, double> fields = {{"uiImageWidth", s.uiImageWidth},
                                                {"uiImageHeight", s.uiImageHeight},
                                                {"fLiveWindow", s.fLiveWindow},
                                                {"fOverlayWindow", s.fOverlayWindow},
                                                {"fScale", s.fScale},
                                                {"fUsingDefaultPalette", s.fUsingDefaultPalette},
                                                {"fAudioHardware", s.fAudioHardware},
                                                {"fCapFileExists", s.fCapFileExists},
                                                {"dwCurrentVideoFrame", s.dwCurrentVideoFrame},
                                                {"dwCurrentVideoFramesDropped", s.dwCurrentVideoFramesDropped},
                                                {"dwCurrentWaveSamples", s.dwCurrentWaveSamples},
                                                {"dwCurrentTimeElapsedMS", s.dwCurrentTimeElapsedMS},
                                                {"fCapturingNow", s.fCapturingNow},
                                                {"dwReturn", s.dwReturn},
                                                {"wNumVideoAllocated", s.wNumVideoAllocated},
                                                {"wNumAudioAllocated", s.wNumAudioAllocated}};
  return FieldOf(fields, field, "CapStatus");
}

ui::Value CapDriverCapsField(const CAPDRIVERCAPS& c, const std::string& field) {
  const std::map<std::string, double> fields = {{"wDeviceIndex", c.wDeviceIndex},
                                                {"fHasOverlay", c.fHasOverlay},
                                                {"fHasDlgVideoSource", c.fHasDlgVideoSource},
                                                {"fHasDlgVideoFormat", c.fHasDlgVideoFormat},
                                                {"fHasDlgVideoDisplay", c.fHasDlgVideoDisplay},
                                                {"fCaptureInitialized", c.fCaptureInitialized},
                                                {"fDriverSuppliesPalettes", c.fDriverSuppliesPalettes}};
  return FieldOf(fields, field, "CapDriverCaps");
}

ui::Value CaptureParmsField(const CAPTUREPARMS& p, const std::string& field) {
  const std::map<std::string, double> fields = {{"dwRequestMicroSecPerFrame", p.dwRequestMicroSecPerFrame},
                                                {"fMakeUserHitOKToCapture", p.fMakeUserHitOKToCapture},
                                                {"wPercentDropForError", p.wPercentDropForError},
                                                {"fYield", p.fYield},
                                                {"dwIndexSize", p.dwIndexSize},
                                                {"wChunkGranularity", p.wChunkGranularity},
                                                {"fUsingDOSMemory", p.fUsingDOSMemory},
                                                {"wNumVideoRequested", p.wNumVideoRequested},
                                                {"fCaptureAudio", p.fCaptureAudio},
                                                {"wNumAudioRequested", p.wNumAudioRequested},
                                                {"vKeyAbort", p.vKeyAbort},
                                                {"fAbortLeftMouse", p.fAbortLeftMouse},
                                                {"fAbortRightMouse", p.fAbortRightMouse},
                                                {"fLimitEnabled", p.fLimitEnabled},
                                                {"wTimeLimit", p.wTimeLimit},
                                                {"fMCIControl", p.fMCIControl},
                                                {"fStepMCIDevice", p.fStepMCIDevice},
                                                {"dwMCIStartTime", p.dwMCIStartTime},
                                                {"dwMCIStopTime", p.dwMCIStopTime},
                                                {"fStepCaptureAt2x", p.fStepCaptureAt2x},
                                                {"wStepCaptureAverageFrames", p.wStepCaptureAverageFrames},
                                                {"dwAudioBufferSize", p.dwAudioBufferSize},
                                                {"fDisableWriteCache", p.fDisableWriteCache},
                                                {"AVStreamMaster", p.AVStreamMaster}};
  return FieldOf(fields, field, "CaptureParms");
}

ui::Value WaveFormatField(const WAVEFORMATEX& w, const std::string& field) {
  const std::map<std::string, double> fields = {{"wFormatTag", w.wFormatTag},
                                                {"nChannels", w.nChannels},
                                                {"nSamplesPerSec", w.nSamplesPerSec},
                                                {"nAvgBytesPerSec", w.nAvgBytesPerSec},
                                                {"nBlockAlign", w.nBlockAlign},
                                                {"wBitsPerSample", w.wBitsPerSample},
                                                {"cbSize", w.cbSize}};
  return FieldOf(fields, field, "WaveFormat");
}

ui::Value Optional(const std::optional<double>& value) { return value ? Number(*value) : ui::Value{std::string()}; }

ui::Value PlainMember(const AppState& s, const Segment& member) {
  const std::string& name = member.name;
  if (name == "AviInfoText") {
    if (!member.index || *member.index < 0 || *member.index > 5)
      throw AddressError("expected AviInfoText(0) to AviInfoText(5), found another index");
    return ui::Value{s.AviInfoText[static_cast<std::size_t>(*member.index)]};
  }
  const std::map<std::string, ui::Value> texts = {{"CaptureType", s.CaptureType},
                                                  {"CaptureFilename", s.CaptureFilename},
                                                  {"AppPath", s.AppPath},
                                                  {"ProductSite", s.ProductSite},
                                                  {"ImageCounterFormat", s.ImageCounterFormat},
                                                  {"PopupMovieViewer", s.PopupMovieViewer},
                                                  {"AutoPlay", s.AutoPlay},
                                                  {"ShutterSound", s.ShutterSound},
                                                  {"InsertionFile", s.InsertionFile},
                                                  {"FtpHost", s.FtpHost},
                                                  {"FtpUser", s.FtpUser},
                                                  {"FtpPassword", s.FtpPassword},
                                                  {"FtpFolder", s.FtpFolder}};
  if (const auto found = texts.find(name); found != texts.end()) return found->second;
  // The interval clock's two numbers answer to the names of the record and to those of the clock
  // (IntervalSeconds, IntervalElapsed).
  const std::map<std::string, double> numbers = {{"Exiting", s.Exiting},
                                                 {"IsWindowsAfter2000", s.IsWindowsAfter2000},
                                                 {"PreviewRate", s.PreviewRate},
                                                 {"MovieFrameRate", s.MovieFrameRate},
                                                 {"FramesPerSecond", s.FramesPerSecond},
                                                 {"ImageCount", s.ImageCount},
                                                 {"ImageCounterStart", s.ImageCounterStart},
                                                 {"ShotElapsed", s.ShotElapsed},
                                                 {"IntervalElapsed", s.ShotElapsed},
                                                 {"MotionWasRunning", s.MotionWasRunning},
                                                 {"MotionRecordArmed", s.MotionRecordArmed},
                                                 {"MotionSensitivity", s.MotionSensitivity},
                                                 {"MotionAverage", s.MotionAverage},
                                                 {"MotionBaseline", s.MotionBaseline},
                                                 {"AutostartHours", s.AutostartHours},
                                                 {"AutostartMinutes", s.AutostartMinutes},
                                                 {"AutostartSeconds", s.AutostartSeconds},
                                                 {"AutostartAccepted", s.AutostartAccepted},
                                                 // The scheduled start's window knows its start
                                                 // values as the countdown's, a series its rate
                                                 // as the frame rate.
                                                 {"CountdownHours", s.AutostartHours},
                                                 {"CountdownMinutes", s.AutostartMinutes},
                                                 {"CountdownSeconds", s.AutostartSeconds},
                                                 {"FrameRate", s.FramesPerSecond},
                                                 {"ViewerShown", s.ViewerShown},
                                                 {"LastResult", s.LastResult},
                                                 {"BytesPerRun", s.BytesPerRun},
                                                 {"JpegQuality", s.JpegQuality},
                                                 {"FtpPort", s.FtpPort},
                                                 {"hCapWnd", s.hCapWnd},
                                                 {"CaptureStatusId", s.captureStatus.CaptureStatusId.load()},
                                                 {"CaptureEnded", s.captureStatus.CaptureEnded.load()}};
  if (const auto found = numbers.find(name); found != numbers.end()) return Number(found->second);
  if (name == "ShotInterval" || name == "IntervalSeconds") return Optional(s.ShotInterval);
  if (name == "FreeBytesAtStart") return Optional(s.FreeBytesAtStart);
  if (name == "FreeBytesLatest") return Optional(s.FreeBytesLatest);
  throw AddressError("expected a member of the state record, found \"" + name + "\"");
}

}  // namespace

void CallProcedure(Program& program, const std::optional<WindowRef>& window, const std::string& name,
                   const std::vector<Value>& values, const std::string& app_folder, const std::string& temp_folder) {
  std::vector<ui::Value> converted;
  for (const Value& value : values) converted.push_back(ProcedureValue(value, app_folder, temp_folder));
  const ProcedureArguments arguments(std::move(converted));
  // A window's own procedure first, then one of the whole program; a bare name that no part of
  // the program has is looked up on the main window.
  const std::string window_name = window ? window->name : std::string(MainWindow::kWindowName);
  if (window) FindSlot(program, *window);
  const WindowProcedure* own = nullptr;
  if (const WindowKind* kind = FindWindowKind(window_name)) {
    if (const auto found = kind->procedures.find(name); found != kind->procedures.end()) own = &found->second;
  }
  const ProgramProcedure* whole = nullptr;
  const auto& program_procedures = RegisteredProgramProcedures();
  if (const auto found = program_procedures.find(name); found != program_procedures.end()) whole = &found->second;
  try {
    if (own && (window || !whole)) return (*own)(program.Slot(window_name)(), arguments);
    if (whole) return (*whole)(program, arguments);
  } catch (const ProcedureCallError& error) {
    throw AddressError(error.what());
  }
  throw AddressError("expected a public procedure, found \"" + name + "\"");
}

ui::Value ReadStateMember(Program& program, std::span<const Segment> member) {
  const AppState& state = program.state;
  if (member.empty()) throw AddressError("expected a member of the state record, found nothing");
  // The joystick's one flag is kept by the main window rather than in the record.
  if (member.size() == 1 && member[0].name == "JoystickReleased")
    return Number(program.MainPanel<JoystickPanel>().JoystickReleased);
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
