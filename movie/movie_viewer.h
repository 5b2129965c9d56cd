#pragma once
// The movie window: plays one AVI file through a player of its own, shows where it stands ten
// times a second (frames or time), and offers a scroll bar, the transport buttons and a jump
// to a typed frame. The global instance shows the movie of a finished run; a file picked from
// the file menu or the toolbar opens in a new instance of its own.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/program.h"
#include "platform/movie_player.h"
#include "platform/movie_tools.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class MovieViewer : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "MovieViewer";
  static constexpr ui::WindowPlacement kPlacement = ui::WindowPlacement::InMainWindow;
  explicit MovieViewer(Program& program);
  ~MovieViewer() override;

  // The path of the movie; set by whoever opens the window, before it shows.
  std::string filename;
  // Set by the display timer before it moves the scroll bar, so that its own move does not seek.
  bool ignoreNextChange = false;

  ui::PictureBox movie{*this, "movie"};
  ui::RangeControl hmovie{*this, "hmovie"};
  ui::Label MovieInfo{*this, "MovieInfo"};
  // Index 1 "Frames" (chosen at first), index 0 "Time".
  ui::ControlArray<ui::CheckBox> DisplayType;
  ui::Toolbar moviecontrol{*this, "moviecontrol"};
  ui::Toolbar Mastertoolbar{*this, "Mastertoolbar"};
  ui::Timer Timer1{*this, "Timer1", 100, true};
  ui::PictureBox TopPic{*this, "TopPic"};
  ui::PictureBox TempImage{*this, "TempImage"};
  // The share of the frames saved or recompressed, and the cancel of that work, shown while it
  // runs. The cancel stays live while a recompression holds the window disabled.
  ui::RangeControl WorkProgress{*this, "WorkProgress"};
  ui::CommandButton WorkCancel{*this, "WorkCancel"};

  void Load() override;
  // Opens `filename`, plays it if the autoplay flag is on, and sizes the player to its picture.
  void Form_Activate();
  bool QueryUnload(ui::UnloadMode mode) override;
  void Unload() override;

  platform::MoviePlayer& Player() { return *player_; }

  // The movie recompressed to a file and a compressor the operator chooses, its sound saved
  // beside it; the window then names the new file.
  void RecompressFile();
  // Whether extraction or recompression is under way.
  bool Working() const { return job_ != nullptr; }

  static constexpr int kFramesChoice = 1;
  static constexpr int kTimeChoice = 0;

 private:
  void Timer1_Timer();
  void hmovie_Change();
  void moviecontrol_ButtonClick(ui::ToolbarButton& button);
  void Mastertoolbar_ButtonClick(ui::ToolbarButton& button);
  void MovieInfo_Click();
  void Layout();
  // The frame shown, in a new picture window.
  void ExtractCurrentFrame();
  // Every frame of the file to numbered picture files, at a name asked for.
  void ExtractAllFrames();
  bool SaveEveryFrame(const std::string& name, const std::string& scratch);
  void ShowExtractedFrame(const platform::ExtractedFrame& frame, const std::string& name, const std::string& scratch);
  // The progress bar and its cancel over `steps` steps; none hides them.
  void ShowWork(int steps);
  // Runs the loop until `ended` holds the job's end, then lets the job go.
  template <class End>
  void WaitForJob(const std::optional<End>& ended);
  // The compressor chosen in the compression options dialog; nothing when it was cancelled.
  std::optional<platform::MovieFormat> ChooseCompressor();
  // The part after the two dialogs: `title` is the chosen file's title; `readable` says whether
  // the movie's streams could be had at all.
  void Recompress(const std::string& target, const std::string& title, const platform::MovieFormat& codec,
                  bool with_sound, bool readable);
  // Says a failure with the target's name, and gives both windows back to the operator.
  void EndRecompression(bool failed, const std::string& target);

  Program& program_;
  std::unique_ptr<platform::MoviePlayer> player_;
  // The name last chosen for the frames; the next choice is proposed from it.
  std::string last_extract_name_;
  // The extraction or recompression under way.
  std::unique_ptr<platform::MovieJob> job_;
};

// Milliseconds as the position display shows them: "hh:mm:ss", each part at least two digits.
std::string MoviePositionText(std::int32_t milliseconds);

// Opens `path` in a new instance of the movie window, captioned with the file's name.
MovieViewer& OpenMovieInNewViewer(Program& program, const std::string& path);
// Fills the global instance with the movie of a finished run, captioned with its whole path.
void PopUpMovieViewer(Program& program, const std::string& movie_path);

}  // namespace zr
