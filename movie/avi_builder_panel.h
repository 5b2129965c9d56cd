#pragma once
// The AVI builder's panel of the main window: the list of collected bitmap files, the cursor
// toolbar that edits it, the rate of the movie to build, the "build" button with the progress
// and the cancel of a build under way, and the compressor list the capture window fills.
//
// The first file accepted fixes the movie's format (width, height, bits per pixel); a file that
// differs in any of them is refused. The build reads, codes and writes the frames on the back
// end's threads (platform/movie_build.h) while the loop runs: the preview window `MultiImage`
// shows each frame written and its caption the progress.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/program.h"
#include "platform/movie_build.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class Image;

// The format of the first file accepted, which every other file must have.
struct AviBuilderFormat {
  bool set = false;
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int32_t bit_count = 0;
  bool operator==(const AviBuilderFormat&) const = default;
};

class AviBuilderPanel {
 private:
  ui::Window& window_;
  Program& program_;

 public:
  AviBuilderPanel(ui::Window& window, Program& program);
  ~AviBuilderPanel();

  ui::ListControl lstDIBList{window_, "lstDIBList"};
  ui::Toolbar AviBuilderCursors{window_, "AviBuilderCursors"};
  ui::ListControl AVIBuildFPS{window_, "AVIBuildFPS"};
  ui::CommandButton BuildAVI{window_, "BuildAVI"};
  ui::ListControl ImgAviCodec{window_, "ImgAviCodec"};
  // The share of the frames written, 0 to 100, and the cancel of a build under way.
  ui::RangeControl AVIBuildProgress{window_, "AVIBuildProgress"};
  ui::CommandButton AVIBuildCancel{window_, "AVIBuildCancel"};

  // Drops the frames the builder has collected.
  void ClearAVIBuilderBuffer();
  // The compressors of this machine into ImgAviCodec, the first DivX-compatible one chosen.
  void FillCompressorList();

  // The files, in this order, through the acceptance, a refusal told in a message box.
  void AddFiles(const std::vector<std::string>& paths);
  // The files of `folder` whose names match `mask`, through the acceptance without messages.
  void AddGroup(const std::string& folder, const std::string& mask);
  // Builds the movie `path` from the list; returns when the build has ended. True when the
  // movie was written whole.
  bool BuildMovie(const std::string& path);

  const AviBuilderFormat& ReferenceFormat() const { return format_; }

 private:
  enum class Refusal { Told, Silent };
  void AcceptFile(const std::string& path, Refusal refusal);
  void ShowLastAccepted();
  void EnableListCommands();
  void DeleteEntry();
  void MoveEntry(int step);
  void ShowSelectedFile();
  void AddByHand();
  void AddGroupByDialogs();
  void BuildByDialog();
  // The rate of AVIBuildFPS, 1 to 30 frames a second.
  int FramesPerSecond() const;
  Image& Preview();
  void ShowProgress(const platform::MovieBuildProgress& progress, int count);

  AviBuilderFormat format_;
  std::unique_ptr<platform::MovieBuild> build_;
  std::vector<std::string> building_frames_;  // the files of the build under way
  std::string accepted_;                      // the file accepted last, not yet in the preview
  // The list's selection is being moved by the build: its click shows nothing.
  bool moving_selection_ = false;
};

}  // namespace zr
