#include "movie/subtitle_editor.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "core/window_registry.h"
#include "movie/subtitle_file.h"
#include "platform/atomic_file.h"

namespace zr {

namespace {

using Registration = WindowRegistration<SubtitleEditor>;
const Registration kRegistration{{
    {"OpenMovie",
     [](SubtitleEditor& w, const ProcedureArguments& a) {
       a.Expect(1);
       w.OpenMovie(a.Text(0));
     }},
    {"OpenSRT",
     [](SubtitleEditor& w, const ProcedureArguments& a) {
       a.Expect(1);
       w.OpenSRT(a.Text(0));
     }},
    {"SRTProcess",
     [](SubtitleEditor& w, const ProcedureArguments& a) {
       a.Expect(1);
       w.SRTProcess(a.Text(0));
     }},
    {"GetSRTTCR",
     [](SubtitleEditor& w, const ProcedureArguments& a) {
       a.Expect(1);
       w.GetSRTTCR(a.Number(0));
     }},
    {"SaveSRT",
     [](SubtitleEditor& w, const ProcedureArguments& a) {
       a.Expect(1);
       w.SaveSRT(a.Text(0));
     }},
    {"RenumberSRT", Registration::Calls(&SubtitleEditor::RenumberSRT)},
}};

constexpr const char* kSubtitleFilter = "SRT File (*.srt)|*.srt|";
constexpr int kNumber = 1;
constexpr int kIn = 2;
constexpr int kOut = 3;
// What a fast step of the movie forward or back moves by.
constexpr double kFastStepSeconds = 5;

}  // namespace

SubtitleEditor::SubtitleEditor(Program& program)
    : ui::Window(program.services.loop, std::string(kWindowName)),
      program_(program),
      player_(program.services.make_movie_player()) {
  Caption = program_.Translate("SRT Editor");
  Width = 880;
  Height = 660;
  SRTSubtitle.multi_line = true;
  movietimeline.is_slider = true;
  movietimeline.Max = 0;
  struct Command {
    const char* key;
    const char* image;
    const char* caption;  // for a button without a picture
    const char* tip;
  };
  const Command commands[] = {
      {"top", "", "|<", "Start"},
      {"play", "", "Play", "Play"},
      {"special", "pause", "", "Pause"},
      {"irew", "", "-1 s", "Back 1 second"},
      {"ifwd", "", "+1 s", "Forward 1 second"},
      {"rew", "", "<<", "Rewind"},
      {"fwd", "", ">>", "Fast forward"},
      {"bottom", "", ">|", "End"},
      {"plus", "add", "", "Add subtitle"},
      {"minus", "delete", "", "Remove subtitle"},
      {"in", "", "In", "Set In to the position"},
      {"out", "", "Out", "Set Out to the position"},
      {"new", "clear", "", "Remove all subtitles"},
      {"open", "open", "", "Open SRT File"},
      {"save", "save", "", "Save SRT File"},
  };
  for (const Command& command : commands) {
    ui::ToolbarButton& button = moviecontrol.AddButton(command.key, ui::ButtonStyle::Default, command.image);
    button.ToolTipText = program_.Translate(command.tip);
    button.Caption = program_.Translate(command.caption);
  }
  moviecontrol.OnButtonClick = [this](ui::ToolbarButton& button) { moviecontrol_ButtonClick(button); };
  SRTRefresh.OnTimer = [this] { SRTRefresh_Timer(); };
  TCRCounter.OnTimer = [this] { TCRCounter_Timer(); };
  SRTSubtitle.OnChange = [this] { SRTSubtitle_Change(); };
  SRT.OnItemClick = [this](int row) { SRT_ItemClick(row); };
  movietimeline.OnChange = [this] { movietimeline_Change(); };
}

void SubtitleEditor::OpenMovie(const std::string& file) {
  Caption = program_.Translate("SRT Editor - ") + file;
  // A movie that cannot be played leaves the player empty; its subtitles are edited all the same.
  if (player_->OpenMovie(file)) {
    movietimeline.Max = static_cast<int>(player_->LengthMs() / 1000);
    movietimeline.large_step = std::max(1, movietimeline.Max / 10);
    movie.Width = player_->VideoWidth();
    movie.Height = player_->VideoHeight();
    movie.Picture = player_->CurrentPicture();
  }
  if (file.size() >= 3) OpenSRT(file.substr(0, file.size() - 3) + "srt");
  player_->PlayMovie();
  SRTRefresh.Enabled = true;
}

// The file is read as UTF-8, or as Latin-1 when it is no valid UTF-8; the rows hold UTF-8.
void SubtitleEditor::OpenSRT(const std::string& file) {
  SRT.ColumnHeaders = {"Subtitles", "#", "In", "Out"};
  SRT.ListItems.clear();
  SRT.ListIndex = -1;
  for (SubtitleRecord& record : ReadSubtitleFile(file))
    SRT.ListItems.push_back(ui::ListViewItem{std::move(record.text), {record.number, record.in, record.out}});
}

void SubtitleEditor::SRTProcess(const std::string& text) {
  ignoreChange = true;
  SRTSubtitle.Text = ReplaceAll(text, kLineMarker, "\r\n");
  const std::string& shown = SRTSubtitle.Text.get();
  if (!shown.starts_with("<i>") || !shown.ends_with("</i>")) {
    SRTSubtitle.FontItalic = false;
    return;
  }
  // The tags become line ends, each through the change handler like an edit of the box.
  SRTSubtitle.Text = ReplaceAll(SRTSubtitle.Text.get(), "<i>", "\r\n");
  SRTSubtitle.Text = ReplaceAll(SRTSubtitle.Text.get(), "</i>", "\r\n");
  SRTSubtitle.FontItalic = true;
}

std::string SubtitleEditor::GetSRTTCR(double offset) const {
  return SubtitleTimeCode(PositionSeconds() + offset, program_.services.desktop.DecimalSign());
}

void SubtitleEditor::SaveSRT(const std::string& file) {
  std::vector<SubtitleRecord> records;
  records.reserve(SRT.ListItems.size());
  for (const ui::ListViewItem& item : SRT.ListItems)
    records.push_back(SubtitleRecord{item.text, item.SubItem(kNumber), item.SubItem(kIn), item.SubItem(kOut)});
  // The operator chose the name; a file that cannot be written is left as it was.
  (void)platform::ReplaceFileAtomically(file, SubtitleFileText(records), platform::NewFileMode::KeepExisting);
}

void SubtitleEditor::RenumberSRT() {
  for (std::size_t row = 0; row < SRT.ListItems.size(); ++row)
    SRT.ListItems[row].SetSubItem(kNumber, std::to_string(row + 1));
}

double SubtitleEditor::PositionSeconds() const { return player_->PositionMs() / 1000.0; }

// The player goes by frames: the position lands on the frame that shows at that time.
void SubtitleEditor::SetPosition(double seconds) {
  const double frames = std::floor(std::max(0.0, seconds) * player_->FramesPerSecond() + 1e-6);
  player_->SeekFrame(frames + 1);
  movie.Picture = player_->CurrentPicture();
}

void SubtitleEditor::moviecontrol_ButtonClick(ui::ToolbarButton& button) {
  const std::string& key = button.Key();
  if (key == "top") {
    SetPosition(0);
  } else if (key == "play") {
    player_->PlayMovie();
    SRTRefresh.Enabled = true;
  } else if (key == "special") {
    player_->StopMovie();
    SRTRefresh.Enabled = false;
  } else if (key == "irew" || key == "ifwd") {
    SetPosition(PositionSeconds() + (key == "irew" ? -1 : 1));
  } else if (key == "rew" || key == "fwd") {
    SetPosition(PositionSeconds() + (key == "rew" ? -kFastStepSeconds : kFastStepSeconds));
  } else if (key == "bottom") {
    SetPosition(player_->LengthMs() / 1000.0);
  } else if (key == "plus") {
    AddRow();
  } else if (key == "minus") {
    if (SRT.Selected()) SRT.ListItems.erase(SRT.ListItems.begin() + SRT.ListIndex);
    SRT.ListIndex = -1;
    RenumberSRT();
  } else if (key == "in" || key == "out") {
    if (ui::ListViewItem* row = SRT.Selected()) row->SetSubItem(key == "in" ? kIn : kOut, GetSRTTCR(0));
  } else if (key == "new") {
    SRT.ListItems.clear();
    SRT.ListIndex = -1;
  } else if (key == "open") {
    ChooseAndOpen();
  } else if (key == "save") {
    ChooseAndSave();
  }
}

// A new subtitle lasts two seconds from the position, behind the selected row (at the end
// without one).
void SubtitleEditor::AddRow() {
  ui::ListViewItem row{"write text here", {"", GetSRTTCR(0), GetSRTTCR(2)}};
  const auto at = SRT.Selected() ? SRT.ListItems.begin() + SRT.ListIndex + 1 : SRT.ListItems.end();
  SRT.ListItems.insert(at, std::move(row));
  RenumberSRT();
}

void SubtitleEditor::ChooseAndOpen() {
  const auto chosen = program_.services.dialogs.FileDialog(platform::FileDialogRequest{
      platform::FileDialogKind::Open, program_.Translate("Open SRT File"), kSubtitleFilter, "", false});
  if (chosen && !chosen->empty()) OpenSRT(chosen->front());
}

void SubtitleEditor::ChooseAndSave() {
  const auto chosen = program_.services.dialogs.FileDialog(platform::FileDialogRequest{
      platform::FileDialogKind::Save, program_.Translate("Save SRT File"), kSubtitleFilter, "", false});
  if (chosen && !chosen->empty()) SaveSRT(chosen->front());
}

// The row of the moment is the first whose In and Out hold the position strictly between them.
void SubtitleEditor::SRTRefresh_Timer() {
  ignoreChange = true;
  movietimeline.Value = static_cast<int>(PositionSeconds());
  const double position_ms = PositionSeconds() * 1000;
  for (std::size_t row = 0; row < SRT.ListItems.size(); ++row) {
    const ui::ListViewItem& item = SRT.ListItems[row];
    if (position_ms > SubtitleTimeMs(item.SubItem(kIn)) && position_ms < SubtitleTimeMs(item.SubItem(kOut))) {
      ignoreChange = true;
      SRTProcess(std::string(item.text));
      SRT.ListIndex = static_cast<int>(row);
      SRT.EnsureVisible(static_cast<int>(row));
      return;
    }
  }
  ignoreChange = true;
  SRTSubtitle.Text = "";
}

void SubtitleEditor::TCRCounter_Timer() {
  CurTime.Caption = GetSRTTCR(0);
  movie.Picture = player_->CurrentPicture();
}

void SubtitleEditor::SRTSubtitle_Change() {
  if (ignoreChange) {
    ignoreChange = false;
    return;
  }
  if (ui::ListViewItem* row = SRT.Selected()) row->text = ReplaceAll(SRTSubtitle.Text.get(), "\r\n", kLineMarker);
}

void SubtitleEditor::SRT_ItemClick(int row) {
  const ui::ListViewItem& item = SRT.ListItems[static_cast<std::size_t>(row)];
  SetPosition(SubtitleTimeMs(item.SubItem(kIn)) / 1000);
  SRTProcess(std::string(item.text));
}

void SubtitleEditor::movietimeline_Change() {
  if (ignoreChange) {
    ignoreChange = false;
    return;
  }
  SetPosition(movietimeline.Value);
}

}  // namespace zr
