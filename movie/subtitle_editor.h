#pragma once
// The subtitle editor: a movie, the list of its subtitle rows with their In and Out times, the
// text of the row of the moment in a box, and the running time. The list is the document: rows
// are added at the movie's position, stamped from it, edited in the box and saved as a file.
// There is no modified state and no question on closing.

#include <memory>
#include <string>
#include <string_view>

#include "core/program.h"
#include "platform/movie_player.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class SubtitleEditor : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "frmMovieSRT";
  explicit SubtitleEditor(Program& program);

  ui::PictureBox movie{*this, "movie"};
  ui::ListView SRT{*this, "SRT"};
  ui::TextBox SRTSubtitle{*this, "SRTSubtitle"};
  ui::Label CurTime{*this, "CurTime"};
  ui::RangeControl movietimeline{*this, "movietimeline"};
  ui::Toolbar moviecontrol{*this, "moviecontrol"};
  ui::Timer SRTRefresh{*this, "SRTRefresh", 500, false};
  ui::Timer TCRCounter{*this, "TCRCounter", 200, true};

  // Loads the movie, reads the subtitle file of the same name with the extension "srt", and
  // plays.
  void OpenMovie(const std::string& file);
  // Makes the four columns anew and fills the rows from the file.
  void OpenSRT(const std::string& file);
  // Shows a row's text in the box, italic where the text is wrapped in "<i>" and "</i>".
  void SRTProcess(const std::string& text);
  // The time code of the movie's position plus `offset` seconds.
  std::string GetSRTTCR(double offset) const;
  void SaveSRT(const std::string& file);
  // Numbers the rows from 1 in their order.
  void RenumberSRT();

 private:
  void moviecontrol_ButtonClick(ui::ToolbarButton& button);
  void SRTRefresh_Timer();
  void TCRCounter_Timer();
  void SRTSubtitle_Change();
  void SRT_ItemClick(int row);
  void movietimeline_Change();

  double PositionSeconds() const;
  void SetPosition(double seconds);
  void AddRow();
  void ChooseAndOpen();
  void ChooseAndSave();

  Program& program_;
  std::unique_ptr<platform::MoviePlayer> player_;
  // Tells the change handlers of the box and the timeline to take the next change as the
  // program's own.
  bool ignoreChange = false;
};

}  // namespace zr
