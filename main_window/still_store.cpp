// The roads from a trigger to a still: a snapshot into a window of its own, the still of
// "image" mode into the one Image window, and one picture of a series stored by the rule of
// the series' mode. Also the counter that numbers the files of a series.

#include <utility>

#include "base/formatting.h"
#include "capture/video_screen.h"
#include "image/picture_writer.h"
#include "image/windows/image_window.h"
#include "image/windows/picture_commands.h"
#include "main_window/master.h"
#include "net/ftp_image.h"
#include "platform/regular_file.h"

namespace zr {

namespace {

// The modes of MultipleImageMode that store a picture, by list index.
enum SeriesMode { kSeriesMovie = 0, kNumberedBitmap, kNumberedJpeg, kRefreshBitmap, kRefreshJpeg, kSeriesClipboard };

std::string ColonsToUnderscores(std::string text) {
  for (char& c : text)
    if (c == ':') c = '_';
  return text;
}

// The capture name less its last four characters: the folder and stem of a name with a
// three-letter extension.
std::string StillBaseName(const std::string& capture_filename) {
  if (capture_filename.size() < 4) throw ProgramError("Invalid procedure call or argument");
  return capture_filename.substr(0, capture_filename.size() - 4);
}

}  // namespace

void Master::SaveStill(const std::string& path, int quality) {
  program_.Window<VideoScreen>().SaveStill(path, quality, false);
}

void Master::TakeSnapshot(bool to_clipboard) {
  auto& state = program_.state;
  const std::string temporary = state.AppPath + "zreltmp.tmp";
  platform::RemoveRegularFile(temporary);
  program_.Window<VideoScreen>().SaveStill(temporary, 100, false);
  if (state.ShutterSound == "1") program_.services.desktop.PlaySoundFile(state.AppPath + "camera.wav");

  auto& snapshot = dynamic_cast<Image&>(program_.SlotOf<Image>().NewInstance());
  snapshot.ShowPicture(LoadPictureFile(temporary));
  platform::RemoveRegularFile(temporary);
  snapshot.KeepResetPicture();
  program_.Yield();
  snapshot.Caption = program_.Translate("Untitled");
  // A camcorder feeding the picture: the caption carries the tape position and the time the
  // scene was shot.
  auto& screen = program_.Window<VideoScreen>();
  if (screen.DVStatus.Enabled) {
    snapshot.Caption = "Untitled_DV_" + ColonsToUnderscores(screen.DVpos.Text) + "_" + program_.Translate("Taken") +
                       " " + ColonsToUnderscores(screen.DVtaken.Text);
  }
  if (to_clipboard) {
    snapshot.Caption = program_.Translate("Image On Clipboard");
    if (snapshot.MasterImage.Picture) program_.services.clipboard.SetPicture(*snapshot.MasterImage.Picture);
  }
  snapshot.Show();
}

// The still the capture window put on the clipboard goes into the window's holder.
void Master::TakeClipboardStillInto(Image& window) {
  auto& clipboard = program_.services.clipboard;
  auto still = clipboard.GetPicture();
  window.ShowPicture(still ? std::make_shared<const platform::Picture>(std::move(*still)) : nullptr);
  clipboard.Clear();
  program_.Yield();
  window.Caption = program_.Translate("Untitled ");
  window.Show();
}

void Master::PlaceStillInImageWindow() {
  Image& window = program_.Window<Image>();
  TakeClipboardStillInto(window);
  window.PrepareImageDrawing();
  if (imagesettings(0).Button("insert").Value == 1) DrawInsertion(window);
  program_.Yield();
  window.KeepResetPicture();
}

void Master::DrawInsertion(Image& window) { window.DrawInsertionFile(program_.state.InsertionFile); }

void Master::ShootImage() {
  auto& state = program_.state;
  state.ImageCount += 1;
  StatusString.Caption = program_.Translate("Image no.") + LeadingBlank(state.ImageCount);
  const int mode = MultipleImageMode.ListIndex;
  if (mode == kSeriesMovie) {
    program_.Window<VideoScreen>().CaptureSingle();
    return;
  }
  program_.Window<VideoScreen>().SaveStill("", 0, true);
  Image& window = program_.Window<Image>("MultiImage");
  TakeClipboardStillInto(window);
  window.PrepareImageDrawing();
  if (imagesettings(1).Button("insert").Value == 1) DrawInsertion(window);

  if (mode == kSeriesClipboard) {
    program_.services.clipboard.Clear();
    if (window.MasterImage.Picture) program_.services.clipboard.SetPicture(*window.MasterImage.Picture);
    window.Caption = program_.Translate("Clipboard");
    return;
  }
  const bool numbered = mode == kNumberedBitmap || mode == kNumberedJpeg;
  const bool jpeg = mode == kNumberedJpeg || mode == kRefreshJpeg;
  const std::string number =
      numbered ? FormatNumber(static_cast<double>(state.ImageCount) + state.ImageCounterStart, state.ImageCounterFormat)
               : "";
  const std::string file = StillBaseName(state.CaptureFilename) + number + (jpeg ? ".jpg" : ".bmp");
  if (!jpeg) StatusString.Caption = program_.Translate(numbered ? "Writing... " : "Refresh... ") + file;
  if (!window.MasterImage.Picture) throw FileError("No picture to write to " + file);
  if (jpeg) {
    if (!SaveJPG(program_, *window.MasterImage.Picture, file, state.JpegQuality))
      StatusString.Caption = program_.Translate("Error writing ") + file + program_.Translate("JPEG File.");
  } else
    WritePictureFile(window.MasterImage.Picture, file, 100);
  window.Caption = file;
  if (MultipleImageToolbar.Button("ftp").Value == 1) SendToFtp(file, file);
}

void Master::SendToFtp(const std::string& file, const std::string& remote_name) {
  ShowUpload(program_, file, remote_name);
}

// A shot that fails to store ends that shot only; the series goes on with the next.
void Master::ShootImageOfSeries() {
  ResumeNext([&] { ShootImage(); });
}

// The answer's length gives the number of digits, its value the number the counting starts
// from; a cancelled box is an empty answer.
void Master::AskImageCounter() {
  auto& state = program_.state;
  const std::string prompt = program_.Translate("Enter the offset on image counter:") + "\r\n\r\n" +
                             program_.Translate("Example: 0000010 to define number of zeros");
  const std::string answer = program_.services.dialogs
                                 .InputBox(platform::InputBoxRequest{
                                     prompt, Caption, FormatNumber(state.ImageCounterStart, state.ImageCounterFormat)})
                                 .value_or("");
  state.ImageCounterFormat = "#" + std::string(answer.size(), '0');
  // A number beyond the counter's range leaves the start as it was.
  ResumeNext([&] { state.ImageCounterStart = RoundHalfEven(NumericPrefix(answer)); });
}

}  // namespace zr
