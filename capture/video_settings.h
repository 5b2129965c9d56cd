#pragma once
// The advanced capture settings: the fields of the capture parameters that the main window does
// not show. The window reads the record at its load and writes it back only on "OK"; what it
// stores reaches the device at the next run. "Defaults" sets the controls, not the record.

#include <string_view>

#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class VideoSettings : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "VideoSettings";
  explicit VideoSettings(Program& program);

  ui::ListControl Yield{*this, "Yield"};
  ui::Label VideoBuffersLabel{*this, "VideoBuffersLabel"};
  ui::TextBox VideoBuffers{*this, "VideoBuffers"};
  ui::Label AudioBuffersLabel{*this, "AudioBuffersLabel"};
  ui::TextBox AudioBuffers{*this, "AudioBuffers"};
  ui::CheckBox DOSBuffers{*this, "DOSBuffers"};
  ui::CheckBox DisableCache{*this, "DisableCache"};
  ui::Label MaxIndexSizeLabel{*this, "MaxIndexSizeLabel"};
  ui::TextBox MaxIndexSize{*this, "MaxIndexSize"};
  ui::Label MaxIndexSizeHint{*this, "MaxIndexSizeHint"};
  ui::Label ChunkLabel{*this, "ChunkLabel"};
  ui::TextBox Chunk{*this, "Chunk"};
  ui::Label DroppedFramesLabel{*this, "DroppedFramesLabel"};
  ui::ListControl DroppedFrames{*this, "DroppedFrames"};
  ui::CommandButton OK{*this, "OK"};
  ui::CommandButton SetDefaults{*this, "SetDefaults"};
  ui::CommandButton Command1{*this, "Command1"};

  void Load() override;

 private:
  void OK_Click();
  void SetDefaults_Click();
  Program& program_;
};

}  // namespace zr
