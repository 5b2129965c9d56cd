// The five operating modes. A mode is a name in CaptureType, a pressed button of the main
// toolbar, a visible option band, a set of enabled Toolbars entries and the extension of the
// capture file name; SetOperationMode is the only writer of all of them.

#include "base/formatting.h"
#include "main_window/master.h"
#include "core/settings_keys.h"

namespace zr {

namespace {

constexpr int kMovieEntry = 2;
constexpr int kImageEntry = 3;
constexpr int kMultipleEntry = 4;
constexpr int kAviBuilderEntry = 5;
constexpr int kWebShareEntry = 6;
constexpr int kStatusEntry = 7;

}  // namespace

void Master::SetOperationMode(const std::string& mode) {
  auto& state = program_.state;
  ClearAVIBuilderBuffer();
  state.CaptureType = LowerCase(mode);
  const std::string& type = state.CaptureType;
  for (const char* key : {"movie", "image", "multiple", "avibuilder", "webshare"}) MainToolbar.Button(key).Value = 0;
  if (auto* pressed = MainToolbar.FindButton(type)) pressed->Value = 1;
  for (const char* key : {"movie", "image", "multiple", "webshare", "avibuilder"}) MasterBar.Bands(key).Visible = false;
  MasterBar.Bands("operation").Visible = Toolbars(1).Checked.get();
  if (auto* band = MasterBar.FindBand(type)) band->Visible = Toolbars(kMovieEntry).Checked.get();
  // Every mode change stops serving pictures; "webshare" opens the server again below.
  stream.Close();

  auto show_mode = [&](const char* band, int entry) {
    MasterBar.Bands(band).Visible = Toolbars(entry).Checked.get();
    Toolbars(entry).Enabled = true;
  };
  if (type == "movie" || type == "multiple") ShowRecordButton();
  if (type == "movie") {
    MovieDisableLimit.Value = 0;
    show_mode("movie", kMovieEntry);
    Toolbars(1).Enabled = true;
    Toolbars(kStatusEntry).Enabled = true;
    StatusPanel.Visible = Toolbars(kStatusEntry).Checked.get();
    MovieFrameRateControl.Value = previewrate.ListIndex + 1;
  } else if (type == "image") {
    ShowCaptureButton();
    show_mode("image", kImageEntry);
    Toolbars(1).Enabled = true;
    Toolbars(kStatusEntry).Enabled = false;
    StatusPanel.Visible = false;
  } else if (type == "webshare") {
    show_mode("webshare", kWebShareEntry);
    MasterBar.Bands("operation").Visible = false;
    Toolbars(1).Enabled = false;
    Toolbars(kStatusEntry).Enabled = false;
    StatusPanel.Visible = false;
    stream.LocalPort = static_cast<int>(ReadSettingNumber(program_.services.settings, settings::WebSharePort));
    stream.Listen();
  } else if (type == "multiple") {
    show_mode("multiple", kMultipleEntry);
    Toolbars(1).Enabled = true;
    Toolbars(kStatusEntry).Enabled = true;
    StatusPanel.Visible = Toolbars(kStatusEntry).Checked.get();
  } else if (type == "avibuilder") {
    show_mode("avibuilder", kAviBuilderEntry);
    MasterBar.Bands("operation").Visible = false;
    Toolbars(1).Enabled = false;
    Toolbars(kStatusEntry).Enabled = true;
    StatusPanel.Visible = Toolbars(kStatusEntry).Checked.get();
  }
  ApplyFilenameExtension();
}

// In "image" mode the button takes stills: image "pause", caption "Capture". Leaving it gives
// the Rec/Stop button back, idle; a run under way in another mode keeps its "stop".
void Master::ShowCaptureButton() {
  RecordButton().Image = "pause";
  RecordButton().Caption = program_.Translate("Capture");
}

void Master::ShowRecordButton() {
  if (RecordButton().Image == "pause") RecordButton().Image = "record";
  RecordButton().Caption = program_.Translate("Rec/Stop");
}

// The extension follows the visible option band, not CaptureType: a band hidden through the
// Toolbars menu leaves the name alone. A name shorter than three characters ends the
// procedure, as the length arithmetic overflows.
void Master::ApplyFilenameExtension() {
  auto& name = program_.state.CaptureFilename;
  auto& panel = MasterStatus.Panels("filename");
  std::string extension;
  if (MasterBar.Bands("movie").Visible) {
    extension = "avi";
  } else if (MasterBar.Bands("image").Visible) {
    panel.Text = "";
    return;
  } else if (MasterBar.Bands("multiple").Visible) {
    switch (MultipleImageMode.ListIndex) {
      case 0: extension = "avi"; break;
      case 1:
      case 3: extension = "bmp"; break;
      case 2:
      case 4: extension = "jpg"; break;
      default: panel.Text = ""; return;
    }
  } else {
    return;
  }
  if (name.size() < 3) return;
  name = name.substr(0, name.size() - 3) + extension;
  panel.Text = program_.Translate("Filename: ") + name;
}

}  // namespace zr
