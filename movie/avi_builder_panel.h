#pragma once
// The AVI builder's panel of the main window: the list of collected pictures, the cursor
// toolbar that edits it, the rate of the movie to build and the "build" button.

#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class AviBuilderPanel {
 private:
  ui::Window& window_;
  Program& program_;

 public:
  AviBuilderPanel(ui::Window& window, Program& program);

  ui::ListControl lstDIBList{window_, "lstDIBList"};
  ui::Toolbar AviBuilderCursors{window_, "AviBuilderCursors"};
  ui::ListControl AVIBuildFPS{window_, "AVIBuildFPS"};
  ui::CommandButton BuildAVI{window_, "BuildAVI"};

  // Drops the frames the builder has collected.
  void ClearAVIBuilderBuffer();
};

}  // namespace zr
