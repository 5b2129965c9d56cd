// The five operating modes. A mode is a name in CaptureType, a pressed button of the main
// toolbar, a visible option band, a set of enabled Toolbars entries and the extension of the
// capture file name; SetOperationMode is the only writer of all of them.

#include "base/formatting.h"
#include "core/main_menus.h"
#include "core/operating_mode.h"
#include "core/settings_keys.h"
#include "main_window/master.h"

namespace zr {

void Master::SetOperationMode(const std::string& mode) {
  auto& state = program_.state;
  ClearAVIBuilderBuffer();
  state.CaptureType = LowerCase(mode);
  const std::string& name = state.CaptureType;
  for (const OperatingMode each : kOperatingModes) MainToolbar.Button(ModeKey(each)).Value = 0;
  // Any button or band of the name is found, as the name is: a name of no mode may still press
  // a button of the main toolbar.
  if (auto* pressed = MainToolbar.FindButton(name)) pressed->Value = 1;
  for (const OperatingMode each : kOperatingModes) MasterBar.Bands(ModeKey(each)).Visible = false;
  MasterBar.Bands("operation").Visible = Toolbars(toolbars_menu::kCapture).Checked.get();
  if (auto* band = MasterBar.FindBand(name)) band->Visible = Toolbars(toolbars_menu::kMovieCapture).Checked.get();
  // Every mode change stops serving pictures; "webshare" opens the server again below.
  stream.Close();

  const OperatingMode type = ModeOfKey(name);
  auto show_mode = [&](int entry) {
    MasterBar.Bands(name).Visible = Toolbars(entry).Checked.get();
    Toolbars(entry).Enabled = true;
  };
  auto enable_capture_and_status = [&](bool capture, bool status) {
    Toolbars(toolbars_menu::kCapture).Enabled = capture;
    Toolbars(toolbars_menu::kStatusDisplay).Enabled = status;
    StatusPanel.Visible = status && Toolbars(toolbars_menu::kStatusDisplay).Checked.get();
  };
  if (type == OperatingMode::Movie || type == OperatingMode::Multiple) ShowRecordButton();
  switch (type) {
    case OperatingMode::Movie:
      MovieDisableLimit.Value = 0;
      show_mode(toolbars_menu::kMovieCapture);
      enable_capture_and_status(true, true);
      MovieFrameRateControl.Value = previewrate.ListIndex + 1;
      break;
    case OperatingMode::Image:
      ShowCaptureButton();
      show_mode(toolbars_menu::kImage);
      enable_capture_and_status(true, false);
      break;
    case OperatingMode::WebShare:
      show_mode(toolbars_menu::kWebShare);
      MasterBar.Bands("operation").Visible = false;
      enable_capture_and_status(false, false);
      ListenOnStoredPort();
      break;
    case OperatingMode::Multiple:
      show_mode(toolbars_menu::kMultipleImageCapture);
      enable_capture_and_status(true, true);
      break;
    case OperatingMode::AviBuilder:
      show_mode(toolbars_menu::kAviBuilder);
      MasterBar.Bands("operation").Visible = false;
      enable_capture_and_status(false, true);
      break;
    case OperatingMode::None:
      break;
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
      case 0:
        extension = "avi";
        break;
      case 1:
      case 3:
        extension = "bmp";
        break;
      case 2:
      case 4:
        extension = "jpg";
        break;
      default:
        panel.Text = "";
        return;
    }
  } else {
    return;
  }
  if (name.size() < 3) return;
  name = name.substr(0, name.size() - 3) + extension;
  panel.Text = program_.Translate("Filename: ") + name;
}

}  // namespace zr
