#include "movie/movie_viewer.h"

#include <cmath>
#include <filesystem>
#include <limits>

#include "base/formatting.h"
#include "base/program_error.h"
#include "core/window_registry.h"

namespace zr {

namespace {

constexpr int kLargestBarValue = std::numeric_limits<std::int16_t>::max();

// A number the 16-bit scroll bar can hold; a store of any other fails and is passed over.
bool FitsTheBar(std::int64_t value) { return value >= 1 && value <= kLargestBarValue; }

}  // namespace

std::string MoviePositionText(std::int32_t milliseconds) {
  // Hours, minutes and seconds are taken as fractions one from the other, as the display has
  // always shown them.
  const double hours = milliseconds / 1000.0 / 3600.0;
  const double minutes = (hours - std::floor(hours)) * 60;
  const double seconds = std::floor((minutes - std::floor(minutes)) * 60);
  return FormatNumber(std::floor(hours), "#00") + ":" + FormatNumber(std::floor(minutes), "#00") + ":" +
         FormatNumber(seconds, "#00");
}

MovieViewer::MovieViewer(Program& program)
    : ui::Window(program.services.loop, std::string(kWindowName)),
      program_(program),
      player_(program.services.make_movie_player()) {
  Caption = "Movie Window";
  MovieInfo.Caption = "00:00:00.00 / 00:00:00.00";
  for (const int index : {kTimeChoice, kFramesChoice}) {
    auto& choice = DisplayType.Add(*this, "DisplayType", index);
    choice.is_option_button = true;
    choice.Caption = index == kFramesChoice ? "Frames" : "Time";
    choice.Value = index == kFramesChoice ? 1 : 0;
  }
  for (const int index : {kTimeChoice, kFramesChoice}) {
    DisplayType(index).OnClick = [this, index] {
      if (DisplayType(index).Value == 1) DisplayType(1 - index).Value = 0;
      Layout();
    };
  }
  for (const char* key : {"top", "bottom", "irew", "ifwd", "stop", "play"}) moviecontrol.AddButton(key);
  for (const char* key : {"recompress", "extractimg", "extractall"}) Mastertoolbar.AddButton(key);
  moviecontrol.OnButtonClick = [this](ui::ToolbarButton& button) { moviecontrol_ButtonClick(button); };
  Mastertoolbar.OnButtonClick = [this](ui::ToolbarButton& button) { Mastertoolbar_ButtonClick(button); };
  hmovie.OnChange = [this] { hmovie_Change(); };
  MovieInfo.OnClick = [this] { MovieInfo_Click(); };
  Timer1.OnTimer = [this] { Timer1_Timer(); };
}

MovieViewer::~MovieViewer() = default;

void MovieViewer::Load() {
  player_->StopMovie();
  program_.Yield();
  program_.Yield();
}

void MovieViewer::Form_Activate() {
  // A file that cannot be opened leaves the player empty, and the display shows what it reports.
  ResumeNext([&] { (void)player_->OpenMovie(filename); });
  if (NumericPrefix(program_.state.AutoPlay) == 1) player_->PlayMovie();
  movie.Width = player_->VideoWidth();
  movie.Height = player_->VideoHeight();
  Layout();
}

bool MovieViewer::QueryUnload(ui::UnloadMode) {
  if (!Enabled) return false;
  Timer1.Enabled = false;
  return true;
}

void MovieViewer::Unload() { player_->CloseMovie(); }

void MovieViewer::Timer1_Timer() {
  const platform::MoviePlayer& player = *player_;
  const std::int64_t frame = player.CurrentFrame();
  const std::int64_t frames = player.FrameCount();
  if (DisplayType(kFramesChoice).Value == 1) {
    MovieInfo.Caption = FormatNumber(static_cast<double>(frame), "#00000000") + " / " +
                        FormatNumber(static_cast<double>(frames), "#0000000");
  } else {
    MovieInfo.Caption = MoviePositionText(player.PositionMs()) + " / " + MoviePositionText(player.LengthMs());
  }
  if (FitsTheBar(frames)) hmovie.Max = static_cast<int>(frames);
  hmovie.Min = 1;
  ignoreNextChange = true;
  if (FitsTheBar(frame) && frame <= hmovie.Max) hmovie.Value = static_cast<int>(frame);
  movie.Picture = player.CurrentPicture();
}

void MovieViewer::hmovie_Change() {
  if (ignoreNextChange) {
    ignoreNextChange = false;
    return;
  }
  player_->SeekFrame(hmovie.Value);
}

void MovieViewer::moviecontrol_ButtonClick(ui::ToolbarButton& button) {
  const std::string& key = button.Key();
  auto& player = *player_;
  if (key == "top")
    player.SeekFrame(1);
  else if (key == "bottom")
    player.SeekFrame(static_cast<double>(player.FrameCount()));
  else if (key == "irew" || key == "ifwd")
    // Both step buttons go one frame back.
    player.SeekFrame(static_cast<double>(player.CurrentFrame() - 1));
  else if (key == "stop")
    player.StopMovie();
  else if (key == "play")
    player.PlayMovie();
}

void MovieViewer::Mastertoolbar_ButtonClick(ui::ToolbarButton& button) {
  throw NotBuiltYet("the movie tool \"" + button.Key() + "\"");
}

void MovieViewer::MovieInfo_Click() {
  if (DisplayType(kTimeChoice).Value != 1) return;
  const auto answer = program_.services.dialogs.InputBox(
      platform::InputBoxRequest{"Current Frame is " + std::to_string(player_->CurrentFrame()) + " of " +
                                    player_->Duration() + "\n\rEnter the frame number:",
                                kAppTitle + " Go to frame...", ""});
  if (!answer || answer->empty()) return;
  ResumeNext([&] { player_->SeekFrame(Fix(NumericPrefix(*answer))); });
}

// The controls' places follow the player's picture; no decision rests on them.
void MovieViewer::Layout() {
  TopPic.Top = movie.Height;
  TopPic.Width = movie.Width;
}

MovieViewer& OpenMovieInNewViewer(Program& program, const std::string& path) {
  auto& viewer = dynamic_cast<MovieViewer&>(program.SlotOf<MovieViewer>().NewInstance());
  viewer.filename = path;
  viewer.Caption = std::filesystem::path(path).filename().string();
  viewer.Show();
  viewer.Form_Activate();
  return viewer;
}

void PopUpMovieViewer(Program& program, const std::string& movie_path) {
  auto& viewer = program.Window<MovieViewer>();
  viewer.filename = movie_path;
  viewer.Caption = movie_path;
  viewer.Show();
  viewer.Form_Activate();
}

namespace {

const WindowRegistration<MovieViewer> kRegistration;

}  // namespace

}  // namespace zr
