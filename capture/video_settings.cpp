#include "capture/video_settings.h"

#include <string>

#include "base/formatting.h"
#include "base/program_error.h"
#include "core/window_registry.h"

namespace zr {

namespace {

constexpr int kDropLines = 100;

// The number a box holds: its numeric prefix, rounded; letters give 0. A number beyond 32 bits
// leaves the field as it was.
void StoreNumber(const ui::TextBox& box, UINT& field) {
  ResumeNext([&] { field = static_cast<UINT>(RoundHalfEven(NumericPrefix(box.Text.get()))); });
}

}  // namespace

VideoSettings::VideoSettings(Program& program) : ui::Window(program.services.loop, "VideoSettings"), program_(program) {
  OK.OnClick = [this] { OK_Click(); };
  SetDefaults.OnClick = [this] { SetDefaults_Click(); };
  Command1.OnClick = [this] { program_.SlotOf<VideoSettings>().Unload(); };
}

// The line of index N says N + 1 %: the stored value is the index, so 10 shows "11 %", and 100
// selects no line.
void VideoSettings::Load() {
  Caption = program_.Translate("Advanced Capture Settings");
  Yield.AddItem(program_.Translate("Exclusive Task (Recommended)"));
  Yield.AddItem(program_.Translate("Background Task (Multi-Threading)"));
  VideoBuffersLabel.Caption = program_.Translate("Video Buffers:");
  AudioBuffersLabel.Caption = program_.Translate("Audio Buffers:");
  DOSBuffers.Caption = program_.Translate("Use DOS buffers");
  DisableCache.Caption = program_.Translate("Disable Write Cache");
  MaxIndexSizeLabel.Caption = program_.Translate("Max. Index Size:");
  MaxIndexSizeHint.Caption =
      program_.Translate("This parameter controls the maximum number of frames captured (default: 324000 = 3 hours)");
  ChunkLabel.Caption = program_.Translate("Chunk Granularity:");
  DroppedFramesLabel.Caption = program_.Translate("Dropped Frames:");
  OK.Caption = program_.Translate("OK");
  SetDefaults.Caption = program_.Translate("Defaults");
  Command1.Caption = program_.Translate("Cancel");
  for (int percent = 1; percent <= kDropLines; ++percent)
    DroppedFrames.AddItem(program_.Translate("Warn when drop ") + std::to_string(percent) +
                          program_.Translate(" % of frames"));

  const CAPTUREPARMS& parms = program_.state.CaptureParms;
  Yield.ListIndex = parms.fYield == 1 ? 1 : parms.fYield == 0 ? 0 : -1;
  VideoBuffers.Text = std::to_string(parms.wNumVideoRequested);
  AudioBuffers.Text = std::to_string(parms.wNumAudioRequested);
  DOSBuffers.Value = parms.fUsingDOSMemory != 0 ? 1 : 0;
  DisableCache.Value = parms.fDisableWriteCache != 0 ? 1 : 0;
  MaxIndexSize.Text = std::to_string(parms.dwIndexSize);
  Chunk.Text = std::to_string(parms.wChunkGranularity);
  DroppedFrames.ListIndex =
      parms.wPercentDropForError < static_cast<UINT>(kDropLines) ? static_cast<int>(parms.wPercentDropForError) : -1;
}

void VideoSettings::OK_Click() {
  CAPTUREPARMS& parms = program_.state.CaptureParms;
  parms.fYield = Yield.ListIndex;
  StoreNumber(VideoBuffers, parms.wNumVideoRequested);
  StoreNumber(AudioBuffers, parms.wNumAudioRequested);
  parms.fUsingDOSMemory = DOSBuffers.Value;
  parms.fDisableWriteCache = DisableCache.Value;
  StoreNumber(MaxIndexSize, parms.dwIndexSize);
  StoreNumber(Chunk, parms.wChunkGranularity);
  parms.wPercentDropForError = static_cast<UINT>(DroppedFrames.ListIndex.get());
  program_.SlotOf<VideoSettings>().Unload();
}

// The background task is the default, though its neighbour says it is recommended.
void VideoSettings::SetDefaults_Click() {
  Yield.ListIndex = 1;
  VideoBuffers.Text = "0";
  AudioBuffers.Text = "0";
  DOSBuffers.Value = 0;
  DisableCache.Value = 1;
  MaxIndexSize.Text = "324000";
  Chunk.Text = "0";
  DroppedFrames.ListIndex = 10;
}

namespace {

const WindowRegistration<VideoSettings> kRegistration;

}  // namespace

}  // namespace zr
