#include "movie/avi_builder_panel.h"

#include <fnmatch.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <system_error>
#include <utility>

#include "base/formatting.h"
#include "core/main_window.h"
#include "image/dib.h"
#include "image/windows/image_window.h"

namespace zr {

namespace {

constexpr int kLowestRate = 1;
constexpr int kHighestRate = 30;

// A file's picture as the preview shows it; null when it is not a bitmap the builder reads.
std::shared_ptr<const platform::Picture> PreviewPicture(const std::string& path) {
  cDib dib;
  platform::Picture converted;
  if (!dib.CreateFromFile(path)) return nullptr;
  const auto frame = MovieFrameOf(dib, converted);
  if (!frame) return nullptr;
  return std::make_shared<const platform::Picture>(platform::Picture::CopyOf(*frame));
}

// A file the group takes: a regular file whose name is not hidden, that the user may write and
// that is not marked read-only (no write permission for anyone, which even the superuser sees).
bool TakenByGroup(const std::filesystem::directory_entry& entry, const std::string& mask) {
  const std::string name = entry.path().filename().string();
  std::error_code error;
  if (name.starts_with('.') || !entry.is_regular_file(error)) return false;
  if (fnmatch(mask.c_str(), name.c_str(), 0) != 0) return false;
  using std::filesystem::perms;
  const perms mode = entry.status(error).permissions();
  const bool writable = (mode & (perms::owner_write | perms::group_write | perms::others_write)) != perms::none;
  return writable && ::access(entry.path().c_str(), W_OK) == 0;
}

// Where the movie will be: its name made, empty, where nothing stands yet; a regular file that
// stands there stays until the finished movie replaces it.
enum class MovieName { Made, Standing, Refused };
MovieName MakeMovieName(const std::string& path) {
  std::error_code error;
  const auto status = std::filesystem::symlink_status(path, error);
  if (std::filesystem::exists(status))
    return std::filesystem::is_regular_file(status) ? MovieName::Standing : MovieName::Refused;
  std::ofstream made(path, std::ios::binary);
  return made.good() ? MovieName::Made : MovieName::Refused;
}

// The empty file made for the name goes before the movie takes it: a movie renamed over a file
// is written out to the disk at once by some file systems (ext4), which would make the build
// wait for the whole movie. Only a file still regular and empty is removed.
void RemoveMadeName(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_regular_file(std::filesystem::symlink_status(path, error)) &&
      std::filesystem::file_size(path, error) == 0 && !error)
    std::filesystem::remove(path, error);
}

}  // namespace

AviBuilderPanel::AviBuilderPanel(ui::Window& window, Program& program) : window_(window), program_(program) {
  for (const char* key : {"add", "delete", "clear", "up", "down"}) {
    const bool adds = key == std::string("add");
    auto& button = AviBuilderCursors.AddButton(key, adds ? ui::ButtonStyle::Dropdown : ui::ButtonStyle::Default, key);
    button.Enabled = adds;
  }
  AviBuilderCursors.Button("add").AddMenu("group", program_.Translate("group"));
  BuildAVI.Caption = program_.Translate("Build AVI");
  for (ui::ListControl* list : {&AVIBuildFPS, &ImgAviCodec})
    list->ToolTipText = program_.Translate("Frame Rate for Movie Viewer");
  BuildAVI.Enabled = false;
  AVIBuildProgress.Visible = false;
  AVIBuildProgress.is_progress_bar = true;
  AVIBuildCancel.Caption = program_.Translate("Cancel");
  AVIBuildCancel.Visible = false;

  AviBuilderCursors.OnButtonClick = [this](ui::ToolbarButton& button) {
    const std::string& key = button.Key();
    if (key == "add") AddByHand();
    if (key == "delete") DeleteEntry();
    if (key == "clear") ClearAVIBuilderBuffer();
    if (key == "up") MoveEntry(-1);
    if (key == "down") MoveEntry(1);
  };
  AviBuilderCursors.OnButtonMenuClick = [this](ui::ToolbarButton&, ui::ButtonMenu& entry) {
    if (entry.key == "group") AddGroupByDialogs();
  };
  // A drag moves the entry as the cursor keys would, one place at a time.
  lstDIBList.OnReorder = [this](int from, int to) {
    if (from < 0 || from >= lstDIBList.ListCount()) return;
    lstDIBList.ClickEntry(from);
    auto& up = AviBuilderCursors.Button("up");
    auto& down = AviBuilderCursors.Button("down");
    for (int moves = std::abs(to - from); moves > 0; --moves) {
      auto& button = to < from ? up : down;
      if (!button.Enabled) break;
      AviBuilderCursors.ClickButton(button);
    }
  };
  lstDIBList.OnClick = [this] {
    if (!moving_selection_) ShowSelectedFile();
  };
  BuildAVI.OnClick = [this] { BuildByDialog(); };
  AVIBuildCancel.OnClick = [this] {
    if (build_) build_->Cancel();
  };
}

AviBuilderPanel::~AviBuilderPanel() = default;

// The builder's "clear": the list emptied, its preview window unloaded, the reference format
// forgotten, its commands off but "add".
void AviBuilderPanel::ClearAVIBuilderBuffer() {
  lstDIBList.Clear();
  if (auto* preview = program_.FindWindow("MultiImage")) preview->Unload();
  format_ = {};
  for (const char* key : {"up", "down", "clear", "delete"}) AviBuilderCursors.Button(key).Enabled = false;
  BuildAVI.Enabled = false;
}

void AviBuilderPanel::FillCompressorList() {
  ImgAviCodec.Clear();
  for (const auto& compressor : program_.services.movies.VideoCompressors()) ImgAviCodec.AddItem(compressor.name);
  for (int index = 0; index < ImgAviCodec.ListCount(); ++index) {
    if (LowerCase(ImgAviCodec.Items[static_cast<std::size_t>(index)].text).find("divx") != std::string::npos) {
      ImgAviCodec.ListIndex = index;
      break;
    }
  }
}

Image& AviBuilderPanel::Preview() { return program_.Window<Image>("MultiImage"); }

// The file is read as a bitmap, its pixels left on the disk until the build.
void AviBuilderPanel::AcceptFile(const std::string& path, Refusal refusal) {
  cDib dib;
  if (!dib.CreateHeadersFromFile(path)) return;
  const AviBuilderFormat format{true, dib.Width(), dib.Height(), dib.BitCount()};
  if (format_.set && format_ != format) {
    if (refusal == Refusal::Told)
      program_.MessageBox(program_.Translate("Chosen bitmap file is a different format ! "),
                          platform::MessageButtons::Ok, platform::MessageIcon::Information);
  } else {
    format_ = format;
    Preview().Show();
    lstDIBList.AddItem(path);
    accepted_ = path;
  }
  EnableListCommands();
}

// The preview shows the last file accepted: made once for a whole group, not once a file.
void AviBuilderPanel::ShowLastAccepted() {
  if (accepted_.empty()) return;
  Preview().MasterImage.Picture = PreviewPicture(accepted_);
  accepted_.clear();
}

void AviBuilderPanel::EnableListCommands() {
  if (lstDIBList.ListCount() >= 2) {
    AviBuilderCursors.Button("up").Enabled = true;
    AviBuilderCursors.Button("down").Enabled = true;
  }
  AviBuilderCursors.Button("clear").Enabled = true;
  AviBuilderCursors.Button("delete").Enabled = true;
  BuildAVI.Enabled = true;
}

void AviBuilderPanel::AddFiles(const std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    AcceptFile(path, Refusal::Told);
    program_.Yield();
  }
  ShowLastAccepted();
}

void AviBuilderPanel::AddByHand() {
  const auto chosen =
      program_.services.dialogs.FileDialog({platform::FileDialogKind::Open, "Select File(s)...",
                                            "Bitmap File (*.bmp)|*.bmp|JPEG File (*.jpg)|*.jpg", "", true});
  if (chosen) AddFiles(*chosen);
}

void AviBuilderPanel::AddGroup(const std::string& folder, const std::string& mask) {
  // The panel is the main window's "filesize" one, where the status bar has it.
  ui::Panel* panel = program_.MainWindow().MasterStatus.FindPanel("filesize");
  const auto say = [&](const std::string& text) {
    if (panel) panel->Text = text;
    program_.Yield();
  };
  say("Searching for files...");
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    if (TakenByGroup(entry, mask)) names.push_back(entry.path().filename().string());
  }
  // In the order of their names, whatever order the folder keeps them in.
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) {
    say("Reading " + name);
    AcceptFile(folder + name, Refusal::Silent);
  }
  ShowLastAccepted();
}

void AviBuilderPanel::AddGroupByDialogs() {
  auto& dialogs = program_.services.dialogs;
  const auto folder = dialogs.FileDialog(
      {platform::FileDialogKind::Folder, program_.Translate("Choose the path"), "", program_.HomeFolder, false});
  if (!folder || folder->empty()) return;
  std::string path = folder->front();
  if (!path.ends_with('/')) path += "/";
  const auto mask =
      dialogs.InputBox({program_.Translate("Enter the mask for the files: (eg. *.BMP)") + "\r\n\r\n" +
                            program_.Translate("Example: MyFiles???a.bmp") + "\r\n\r\n" +
                            program_.Translate("Atention: files with different resolution will be ignored."),
                        kAppTitle, "*.bmp"});
  if (!mask || mask->empty()) return;
  AddGroup(path, *mask);
}

void AviBuilderPanel::DeleteEntry() {
  const int index = lstDIBList.ListIndex;
  if (index < 0 || index >= lstDIBList.ListCount()) return;
  lstDIBList.Items.erase(lstDIBList.Items.begin() + index);
  lstDIBList.ListIndex = -1;
  const int count = lstDIBList.ListCount();
  if (count == 0) ClearAVIBuilderBuffer();
  if (count == 1) {
    AviBuilderCursors.Button("up").Enabled = false;
    AviBuilderCursors.Button("down").Enabled = false;
  }
  if (index < count) lstDIBList.ListIndex = index;
}

void AviBuilderPanel::MoveEntry(int step) {
  const int index = lstDIBList.ListIndex;
  const int other = index + step;
  if (index < 0 || other < 0 || other >= lstDIBList.ListCount()) return;
  std::swap(lstDIBList.Items[static_cast<std::size_t>(index)], lstDIBList.Items[static_cast<std::size_t>(other)]);
  lstDIBList.ListIndex = other;
}

void AviBuilderPanel::ShowSelectedFile() {
  const std::string path = lstDIBList.Text();
  if (path.empty()) return;
  Image& preview = Preview();
  preview.MasterImage.Picture = PreviewPicture(path);
  preview.Caption = path;
}

int AviBuilderPanel::FramesPerSecond() const {
  const double rate = std::trunc(NumericPrefix(AVIBuildFPS.Text()));
  return static_cast<int>(std::clamp(rate, double{kLowestRate}, double{kHighestRate}));
}

void AviBuilderPanel::BuildByDialog() {
  const std::string& capture = program_.state.CaptureFilename;
  const std::string proposed = capture.size() >= 3 ? capture.substr(0, capture.size() - 3) + "avi" : "";
  const auto chosen = program_.services.dialogs.FileDialog(
      {platform::FileDialogKind::Save, "", "Video Clip AVI (*.avi)|*.avi", proposed, false});
  if (chosen && !chosen->empty()) BuildMovie(chosen->front());
}

void AviBuilderPanel::ShowProgress(const platform::MovieBuildProgress& progress, int count) {
  if (progress.frame < lstDIBList.ListCount()) {
    moving_selection_ = true;
    lstDIBList.ListIndex = progress.frame;
    moving_selection_ = false;
  }
  AVIBuildProgress.Value = progress.frame + 1;
  Image& preview = Preview();
  preview.Caption = program_.Translate("Writing (") + std::to_string(progress.frame) + "/" + std::to_string(count - 1) +
                    ") - " + building_frames_[static_cast<std::size_t>(progress.frame)] + " ...";
  preview.MasterImage.Picture = progress.picture;
}

bool AviBuilderPanel::BuildMovie(const std::string& path) {
  const auto error_box = [&] {
    program_.MessageBox(program_.Translate("There was an error writing ") + path, platform::MessageButtons::Ok,
                        platform::MessageIcon::Stop);
    return false;
  };
  const MovieName name = build_ ? MovieName::Refused : MakeMovieName(path);
  if (name == MovieName::Refused) return error_box();

  std::vector<std::string> frames;
  for (const auto& item : lstDIBList.Items) frames.push_back(item.text);
  cDib first;
  platform::Picture converted;
  if (!frames.empty()) lstDIBList.ListIndex = 0;
  const auto first_frame =
      !frames.empty() && first.CreateFromFile(frames.front()) ? MovieFrameOf(first, converted) : std::nullopt;
  if (!first_frame) {
    program_.MessageBox(program_.Translate("Could not load first bitmap file."), platform::MessageButtons::Ok,
                        platform::MessageIcon::Exclamation);
    return false;
  }
  Preview().Caption = program_.Translate("Reading first image...");
  program_.Yield();
  Preview().Caption = program_.Translate("Initializing AVI File...");
  program_.Yield();

  // The compressor shown first is the one the capture window chose for built movies.
  platform::CompressionOptionsRequest options{program_.services.movies.VideoCompressors(), 0};
  for (std::size_t index = 0; index < options.compressors.size(); ++index)
    if (options.compressors[index].name == ImgAviCodec.Text()) options.selected = static_cast<int>(index);
  const auto choice = program_.services.dialogs.CompressionOptions(options);
  if (!choice || choice->compressor < 0 || choice->compressor >= static_cast<int>(options.compressors.size()))
    return false;
  platform::MovieFormat format =
      platform::CodecFieldsOf(options.compressors[static_cast<std::size_t>(choice->compressor)], choice->value);
  format.width = first_frame->width;
  format.height = first_frame->height;
  format.frames_per_second = FramesPerSecond();
  format.checkpoints = platform::MovieFormat::Checkpoints::None;

  if (name == MovieName::Made) RemoveMadeName(path);
  const int count = static_cast<int>(frames.size());
  building_frames_ = frames;
  AVIBuildProgress.Min = 0;
  AVIBuildProgress.Max = count;
  AVIBuildProgress.Value = 0;
  AVIBuildProgress.Visible = true;
  AVIBuildCancel.Visible = true;
  BuildAVI.Enabled = false;
  std::optional<platform::MovieBuildEnd> ended;
  build_ = program_.services.movie_builder.Start(
      {path, std::move(frames), format},
      {[this, count](const platform::MovieBuildProgress& progress) { ShowProgress(progress, count); },
       [&ended](const platform::MovieBuildEnd& end) { ended = end; }});
  program_.services.loop.RunModal([&ended] { return ended.has_value(); });
  build_.reset();
  AVIBuildProgress.Visible = false;
  AVIBuildCancel.Visible = false;
  BuildAVI.Enabled = lstDIBList.ListCount() > 0;

  if (ended->error) return error_box();
  // The reports of a fast build skip frames: the list and the preview end at the last one.
  if (!ended->cancelled && count <= lstDIBList.ListCount()) {
    ShowProgress({count - 1, PreviewPicture(building_frames_.back())}, count);
  }
  Preview().Caption = (ended->cancelled ? "Cancelled. (" : "Finished. (") + std::to_string(ended->frames) + " frames)";
  return !ended->cancelled;
}

}  // namespace zr
