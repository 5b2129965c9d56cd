#pragma once
// The compressor windows. `codecs`: a tree of the compressors this system offers, video and
// sound, each video one described by the catalogue. `VideoCODEC`: the choice of the video and
// sound compressors of a run on a device of the control kind, written to the device at once.

#include <string_view>

#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class Codecs : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "codecs";
  explicit Codecs(Program& program);

  ui::TreeView Tree{*this, "Tree"};

  void Load() override;
  // Fills the tree: the roots "video" and "audio", then what the system lists under them.
  void ShowCodecs();

 private:
  // The compressors an old system lists in its system.ini, each with its bits, code and file.
  void ShowSystemIniCompressors(int video_root);
  Program& program_;
};

class VideoCodec : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "VideoCODEC";
  explicit VideoCodec(Program& program);

  ui::Label Label1{*this, "Label1"};
  ui::ListControl VideoCompressor{*this, "VideoCompressor"};
  ui::CommandButton CODECsetup{*this, "CODECsetup"};
  ui::Label Label2{*this, "Label2"};
  ui::ListControl AudioCompressor{*this, "AudioCompressor"};
  ui::CommandButton aCodecSetup{*this, "aCodecSetup"};
  ui::Label Label3{*this, "Label3"};

  void Load() override;

 private:
  platform::VideoCaptureControl& Device();
  Program& program_;
};

}  // namespace zr
