#include "capture/codec_windows.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "base/formatting.h"
#include "base/program_error.h"
#include "capture/codec_catalogue.h"
#include "capture/movie_run_panel.h"
#include "capture/video_screen.h"
#include "core/main_window.h"
#include "core/window_registry.h"
#include "platform/regular_file.h"

namespace zr {

namespace {

// An old system's driver list is a small text; anything larger is not one.
constexpr std::size_t kLargestSystemIniBytes = 1 << 20;

// The next line of `rest`, which then begins behind its line end (CR, LF or CR LF).
std::string_view TakeLine(std::string_view& rest) {
  const std::size_t end = std::min(rest.find_first_of("\r\n"), rest.size());
  const std::string_view line = rest.substr(0, end);
  rest.remove_prefix(std::min(end + (rest.substr(end, 2) == "\r\n" ? 2 : 1), rest.size()));
  return line;
}

}  // namespace

// ---- codecs

Codecs::Codecs(Program& program) : ui::Window(program.services.loop, "codecs"), program_(program) {}

void Codecs::Load() {
  Caption = program_.Translate("Video Codecs");
  ShowCodecs();
}

void Codecs::ShowCodecs() {
  Tree.Clear();
  const int video = Tree.Add(0, "video", program_.Translate("Video Compressors"));
  const int audio = Tree.Add(0, "audio", program_.Translate("Audio Compressors"));
  if (!program_.state.IsWindowsAfter2000) ShowSystemIniCompressors(video);
  auto& device = program_.Window<VideoScreen>().Control();
  ResumeNext([&] {
    const int count = device.VideoCompressorCount();
    for (int index = 0; index < count; ++index) Tree.Add(video, "", device.VideoCompressorName(index));
  });
  ResumeNext([&] {
    const int count = device.AudioCompressorCount();
    for (int index = 0; index < count; ++index) Tree.Add(audio, "", device.AudioCompressorName(index));
  });
  Tree.Node(video).expanded = true;
  Tree.Node(audio).expanded = true;
}

// A "[drivers]" line starts the 16-bit class, "[drivers32]" the 32-bit one; "VIDC.CODE=file"
// is a compressor of the class last started.
void Codecs::ShowSystemIniCompressors(int video_root) {
  const platform::SmallFile ini = platform::ReadSmallFile(program_.SystemFolder + "system.ini", kLargestSystemIniBytes);
  if (!ini.IsRead()) return;
  std::string bits;
  std::string_view rest = ini.text;
  while (!rest.empty()) {
    const std::string_view line = TakeLine(rest);
    const std::string upper = UpperCase(line);
    if (upper.starts_with("[DRIVERS]")) bits = "16";
    if (upper.starts_with("[DRIVERS32]")) bits = "32";
    if (!upper.starts_with("VIDC")) continue;
    const std::string code(line.substr(std::min<std::size_t>(5, line.size()), 4));
    const std::string file(line.substr(std::min<std::size_t>(10, line.size())));
    const int node = Tree.Add(video_root, "", CodecDescription(program_, code));
    Tree.Add(node, "", "Bits: " + bits + " bits");
    Tree.Add(node, "", "Signature: " + code);
    Tree.Add(node, "", "File: " + file);
  }
}

// ---- VideoCODEC

VideoCodec::VideoCodec(Program& program) : ui::Window(program.services.loop, "VideoCODEC"), program_(program) {
  VideoCompressor.OnClick = [this] {
    ResumeNext([this] { Device().SetVideoCompressorIndex(VideoCompressor.ListIndex); });
  };
  AudioCompressor.OnClick = [this] {
    ResumeNext([this] { Device().SetAudioCompressorIndex(AudioCompressor.ListIndex); });
  };
  CODECsetup.OnClick = [this] { ResumeNext([this] { Device().ShowVideoCompressorDialog(); }); };
  aCodecSetup.OnClick = [this] { ResumeNext([this] { Device().ShowAudioCompressorDialog(); }); };
}

platform::VideoCaptureControl& VideoCodec::Device() { return program_.Window<VideoScreen>().Control(); }

// The sound list is filled only while the movie takes sound.
void VideoCodec::Load() {
  Caption = program_.Translate("Video/Audio Compression");
  Label1.Caption = program_.Translate("Video Compressor:");
  Label2.Caption = program_.Translate("Audio Compressor:");
  Label3.Caption = program_.Translate("To adjust the compression settings press settings (if available)");
  CODECsetup.Caption = program_.Translate("Settings");
  aCodecSetup.Caption = program_.Translate("Settings");
  auto& device = Device();
  ResumeNext([&] {
    const int count = device.VideoCompressorCount();
    for (int index = 0; index < count; ++index) VideoCompressor.AddItem(device.VideoCompressorName(index));
    VideoCompressor.ListIndex = device.VideoCompressorIndex();
  });
  if (program_.MainPanel<MovieRunPanel>().MovieToolbar.Button("audio").Value != 1) return;
  ResumeNext([&] {
    const int count = device.AudioCompressorCount();
    for (int index = 0; index < count; ++index) AudioCompressor.AddItem(device.AudioCompressorName(index));
    AudioCompressor.ListIndex = device.AudioCompressorIndex();
  });
}

namespace {

const WindowRegistration<Codecs> kCodecsRegistration{
    {{"ShowCodecs", WindowRegistration<Codecs>::Calls(&Codecs::ShowCodecs)}}};
const WindowRegistration<VideoCodec> kVideoCodecRegistration;

}  // namespace

}  // namespace zr
