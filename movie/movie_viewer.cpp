#include "movie/movie_viewer.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <utility>

#include "base/formatting.h"
#include "base/program_error.h"
#include "core/main_window.h"
#include "core/window_registry.h"
#include "image/picture_writer.h"
#include "image/windows/image_window.h"
#include "platform/regular_file.h"

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
  Caption = program_.Translate("Movie Window");
  MovieInfo.Caption = "00:00:00.00 / 00:00:00.00";
  MovieInfo.ToolTipText = program_.Translate("Position (Click here to jump to a specific frame)");
  for (const int index : {kTimeChoice, kFramesChoice}) {
    auto& choice = DisplayType.Add(*this, "DisplayType", index);
    choice.is_option_button = true;
    choice.Caption = program_.Translate(index == kFramesChoice ? "Frames" : "Time");
    choice.Value = index == kFramesChoice ? 1 : 0;
  }
  for (const int index : {kTimeChoice, kFramesChoice}) {
    DisplayType(index).OnClick = [this, index] {
      if (DisplayType(index).Value == 1) DisplayType(1 - index).Value = 0;
      Layout();
    };
  }
  for (const auto& [key, image] :
       {std::pair{"top", "movie_top"}, std::pair{"irew", "step_back"}, std::pair{"stop", "stop"},
        std::pair{"play", "play"}, std::pair{"ifwd", "step_forward"}, std::pair{"bottom", "movie_bottom"}})
    moviecontrol.AddButton(key, ui::ButtonStyle::Default, image);
  for (const auto& [key, image] : {std::pair{"recompress", "recompress"}, std::pair{"extractimg", "extract_image"},
                                   std::pair{"extractall", "extract_all"}})
    Mastertoolbar.AddButton(key, ui::ButtonStyle::Default, image);
  moviecontrol.OnButtonClick = [this](ui::ToolbarButton& button) { moviecontrol_ButtonClick(button); };
  Mastertoolbar.OnButtonClick = [this](ui::ToolbarButton& button) { Mastertoolbar_ButtonClick(button); };
  hmovie.is_scroll_bar = true;
  hmovie.large_step = 10;
  hmovie.OnChange = [this] { hmovie_Change(); };
  hmovie.OnScroll = [this] { player_->SeekFrame(hmovie.Value); };
  MovieInfo.OnClick = [this] { MovieInfo_Click(); };
  Timer1.OnTimer = [this] { Timer1_Timer(); };
  WorkProgress.is_progress_bar = true;
  WorkProgress.Visible = false;
  WorkCancel.Caption = program_.Translate("Cancel");
  WorkCancel.Visible = false;
  WorkCancel.OnClick = [this] {
    if (job_) job_->Cancel();
  };
}

MovieViewer::~MovieViewer() = default;

void MovieViewer::Load() {
  player_->StopMovie();
  program_.Yield();
  program_.Yield();
}

void MovieViewer::Form_Activate() {
  // A file that cannot be opened leaves the player empty, and the display shows what it reports.
  (void)player_->OpenMovie(filename);
  ResumeNext([&] {
    if (NumericPrefix(program_.state.AutoPlay) == 1) player_->PlayMovie();
  });
  movie.Width = player_->VideoWidth();
  movie.Height = player_->VideoHeight();
  Layout();
}

bool MovieViewer::QueryUnload(ui::UnloadMode) {
  if (!Enabled) return false;
  Timer1.Enabled = false;
  return true;
}

// A window closed while it saves frames stops the saving; the handler that waits for it ends.
void MovieViewer::Unload() {
  if (job_) job_->Cancel();
  player_->CloseMovie();
}

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

// While frames are saved the window stays live, but its tools wait for the saving to end.
void MovieViewer::Mastertoolbar_ButtonClick(ui::ToolbarButton& button) {
  if (job_) return;
  const std::string& key = button.Key();
  if (key == "extractimg")
    ExtractCurrentFrame();
  else if (key == "extractall")
    ExtractAllFrames();
  else if (key == "recompress")
    RecompressFile();
}

void MovieViewer::ExtractCurrentFrame() {
  auto& image = dynamic_cast<Image&>(program_.SlotOf<Image>().NewInstance());
  image.ShowPicture(player_->CurrentPicture());
  program_.Yield();
  image.KeepResetPicture();
  const std::string caption = Caption;
  if (caption.size() >= 4)
    image.Caption = caption.substr(0, caption.size() - 4) + "_Frame_" +
                    FormatNumber(static_cast<double>(player_->CurrentFrame()), "#0");
  image.Show();
  program_.MainWindow().StatusString.Caption = program_.Translate("Image Extracted");
  player_->StopMovie();
}

void MovieViewer::ExtractAllFrames() {
  auto& main = program_.MainWindow();
  MousePointer = kHourglass;
  main.MousePointer = kHourglass;
  player_->StopMovie();
  auto& status = program_.MainWindow().StatusString.Caption;
  const std::string proposed =
      last_extract_name_.size() >= 4 ? last_extract_name_.substr(0, last_extract_name_.size() - 4) : "";
  const auto chosen = program_.services.dialogs.FileDialog(
      platform::FileDialogRequest{platform::FileDialogKind::Save, program_.Translate("Location to save images..."),
                                  "Bitmap File (*.bmp)|*.bmp|JPEG Image File (*.jpg)|*.jpg|", proposed, false});
  const std::string scratch = program_.state.AppPath + "temp.bmp";
  if (chosen && !chosen->empty()) {
    last_extract_name_ = chosen->front();
    if (!SaveEveryFrame(last_extract_name_, scratch)) status = "Error Extracting Image";
  }
  // The error text lasts only a moment.
  status = "Done";
  platform::RemoveRegularFile(scratch);
  if (auto* series = program_.FindWindow("MultiImage")) series->Unload();
  main.Enabled = true;
  MousePointer = 0;
  main.MousePointer = 0;
}

// Every frame the file's video gives is saved by the movie tools, for a name ending in "bmp" or
// "jpg", to its own numbered file; each goes through the scratch file into the series window
// as it comes, in the movie's order. A frame that cannot be decoded is passed over. False when
// the file's video cannot be read at all.
bool MovieViewer::SaveEveryFrame(const std::string& name, const std::string& scratch) {
  const std::string kind = LastThreeLower(name);
  platform::FrameExtractionRequest request;
  request.movie = filename;
  request.base = name.size() >= 4 ? name.substr(0, name.size() - 4) : "";
  request.kind = kind == "bmp"   ? platform::FrameFileKind::Bitmap
                 : kind == "jpg" ? platform::FrameFileKind::Jpeg
                                 : platform::FrameFileKind::None;
  request.jpeg_quality = program_.state.JpegQuality;
  request.report_each_frame = true;
  std::optional<platform::FrameExtractionEnd> ended;
  job_ = program_.services.movie_tools.StartExtraction(
      request,
      {[this, name, scratch](const platform::ExtractedFrame& frame) { ShowExtractedFrame(frame, name, scratch); },
       nullptr, [&ended](const platform::FrameExtractionEnd& end) { ended = end; }});
  WaitForJob(ended);
  return !ended->unreadable;
}

void MovieViewer::ShowExtractedFrame(const platform::ExtractedFrame& frame, const std::string& name,
                                     const std::string& scratch) {
  if (!WorkProgress.Visible) ShowWork(static_cast<int>(std::min<std::int64_t>(frame.last + 1, kLargestBarValue)));
  const std::string kind = LastThreeLower(name);
  const std::string base = name.size() >= 4 ? name.substr(0, name.size() - 4) : "";
  // The tools pass over errors: a scratch file that cannot be written leaves the series window
  // without a picture, and the saving goes on.
  ResumeNext([&] { WritePictureFile(frame.picture, scratch, 100); });
  auto& series = program_.Window<Image>("MultiImage");
  series.MasterImage.Picture = LoadPictureFile(scratch);
  series.Show();
  if (kind == "bmp" || kind == "jpg")
    series.Caption = base + "_Frame_" + FormatNumber(static_cast<double>(frame.number), "#0") + "." + kind;
  program_.MainWindow().StatusString.Caption =
      program_.Translate("Saving ") + FormatNumber(static_cast<double>(frame.number), "#") +
      program_.Translate(" of ") + FormatNumber(static_cast<double>(frame.last), "#") + program_.Translate(" frames");
  WorkProgress.Value = static_cast<int>(std::min<std::int64_t>(frame.number + 1, WorkProgress.Max));
}

void MovieViewer::ShowWork(int steps) {
  WorkProgress.Min = 0;
  WorkProgress.Max = std::max(steps, 1);
  WorkProgress.Value = 0;
  WorkProgress.Visible = steps > 0;
  WorkCancel.Visible = steps > 0;
}

template <class End>
void MovieViewer::WaitForJob(const std::optional<End>& ended) {
  // The job goes however the wait ends, so the window's tools are free again.
  struct JobEnd {
    MovieViewer& viewer;
    ~JobEnd() {
      viewer.job_.reset();
      viewer.ShowWork(0);
    }
  } job_end{*this};
  program_.services.loop.RunModal([&ended] { return ended.has_value(); });
}

std::optional<platform::MovieFormat> MovieViewer::ChooseCompressor() {
  platform::CompressionOptionsRequest options{program_.services.movies.VideoCompressors(), 0};
  const auto choice = program_.services.dialogs.CompressionOptions(options);
  if (!choice || choice->compressor < 0 || choice->compressor >= static_cast<int>(options.compressors.size()))
    return std::nullopt;
  return platform::CodecFieldsOf(options.compressors[static_cast<std::size_t>(choice->compressor)], choice->value);
}

void MovieViewer::RecompressFile() {
  player_->StopMovie();
  const auto info = program_.services.movies.ReadInfo(filename);
  // A file of exactly two streams gives its sound a file of its own; one whose second stream
  // is not sound fails before anything is asked.
  const bool with_sound = info && info->streams == 2;
  if (with_sound && !info->audio) return EndRecompression(true, "");
  const auto chosen = program_.services.dialogs.FileDialog(platform::FileDialogRequest{
      platform::FileDialogKind::Save, program_.Translate("Save Recompressed AVI..."), "Movie File (*.avi)|*.avi",
      filename.size() >= 4 ? filename.substr(0, filename.size() - 4) : "", false});
  if (!chosen || chosen->empty()) return EndRecompression(false, "");
  const auto codec = ChooseCompressor();
  if (!codec) return EndRecompression(false, "");
  const std::string& target = chosen->front();
  Recompress(target, std::filesystem::path(target).filename().string(), *codec, with_sound, info.ok());
}

// The video goes to the target, then the sound to a wave file beside it. What the operator is
// told rests on the second save alone: a movie without sound ends in the failure of a save of
// no stream, though its video was written, and a video save that failed is forgotten when the
// sound was saved.
void MovieViewer::Recompress(const std::string& target, const std::string& title, const platform::MovieFormat& codec,
                             bool with_sound, bool readable) {
  auto& main = program_.MainWindow();
  auto& status = program_.MainWindow().StatusString.Caption;
  main.MousePointer = kHourglass;
  main.Enabled = false;
  Enabled = false;
  program_.Yield();
  if (!readable) return EndRecompression(true, target);
  platform::RecompressionRequest request{filename, target, codec, std::nullopt};
  if (with_sound) request.sound = (target.size() >= 4 ? target.substr(0, target.size() - 4) : "") + ".wav";
  std::optional<platform::RecompressionEnd> ended;
  ShowWork(100);
  job_ = program_.services.movie_tools.StartRecompression(
      request, {[this, &status](int percent) {
                  status = FormatNumber(percent, "#0") + "%";
                  WorkProgress.Value = percent;
                },
                [&ended](const platform::RecompressionEnd& end) { ended = end; }});
  WaitForJob(ended);
  const platform::SaveOutcome& result = ended->sound;
  if (result.aborted) {
    status = "Cancelled.";
  } else {
    status = "Recompressed";
    main.MousePointer = 0;
    player_->StopMovie();
    filename = target;
    Caption = title;
  }
  EndRecompression(result.error.has_value(), target);
}

void MovieViewer::EndRecompression(bool failed, const std::string& target) {
  auto& main = program_.MainWindow();
  if (failed) main.StatusString.Caption = program_.Translate("Error Recompressing ") + target;
  main.MousePointer = 0;
  main.Enabled = true;
  Enabled = true;
  program_.Yield();
}

void MovieViewer::MovieInfo_Click() {
  if (DisplayType(kTimeChoice).Value != 1) return;
  const auto answer = program_.services.dialogs.InputBox(platform::InputBoxRequest{
      program_.Translate("Current Frame is ") + std::to_string(player_->CurrentFrame()) + program_.Translate(" of ") +
          player_->Duration() + "\n\r" + program_.Translate("Enter the frame number:"),
      kAppTitle + program_.Translate(" Go to frame..."), ""});
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
