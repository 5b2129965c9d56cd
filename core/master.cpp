#include "core/master.h"

#include "core/formatting.h"

namespace zr {

using ui::ButtonStyle;

Master::Master(Program& program) : ui::Window(program.services.loop, "Master"), program_(program) {
  CreateToolbars();
  CreateBands();
  CreateMenus();
  CreateStatusBar();
  StatusCaption.Caption = "Status:";
  StatusString.ForeColor = ui::kWhite;
  StatusTime.Caption = "00:00:00.00";
  DroppedString.ForeColor = ui::kWhite;
  Shooter.Enabled = false;
  MovieFrameRateControl.Min = 1;
  MovieFrameRateControl.Max = 30;
  MovieHoursControl.Max = 99;
  MovieMinutesControl.Max = 59;
  MovieSecondsControl.Max = 59;
  AudioChannels.AddItem("Mono");
  AudioChannels.AddItem("Stereo");
  AudioBits.AddItem("8 bits");
  AudioBits.AddItem("16 bits");
  for (const char* rate : {"8 Khz", "11 Khz", "22 Khz", "44 Khz"}) AudioRate.AddItem(rate);
  for (const char* mode : {"Movie file (.AVI)", "Multiple Bitmap file (.BMP)", "Multiple JPEG file (.JPG)",
                           "Refresh Same Bitmap file (.BMP)", "Refresh Same JPEG file (.JPG)", "Put On Clipboard!"})
    MultipleImageMode.AddItem(mode);
  ConnectHandlers();
}

void Master::CreateToolbars() {
  for (const char* key : {"open", "save", "viewer", "srt", "preferences", "about", "scanner", "choose_scanner"})
    MainToolbar.AddButton(key, ButtonStyle::Default, key);
  for (const char* key : {"movie", "image", "multiple", "avibuilder", "webshare"})
    MainToolbar.AddButton(key, ButtonStyle::Group, key);

  DeviceToolbar.AddButton("device", ButtonStyle::Dropdown, "device");
  for (const char* key : {"source", "format"}) DeviceToolbar.AddButton(key, ButtonStyle::Dropdown, key);
  for (const char* key : {"display", "wdmsettings", "fullscreen", "snapshot", "info", "advanced", "histogram",
                          "lens", "exportdv", "about", "screen", "seprate"})
    DeviceToolbar.AddButton(key, ButtonStyle::Default, key);
  for (const char* key : {"overlay", "preview"}) DeviceToolbar.AddButton(key, ButtonStyle::Check, key);

  auto& record = OperationBar.AddButton("record", ButtonStyle::Default, "record");
  record.Caption = "Rec/Stop";
  for (const char* key : {"motion", "autostart", "sound"}) OperationBar.AddButton(key, ButtonStyle::Default, key);
  for (const char* key : {"rs232", "overlay"}) OperationBar.AddButton(key, ButtonStyle::Check, key);

  for (const char* key : {"record", "motion", "autostart", "filename", "compression", "otherinfo"})
    MovieToolbar.AddButton(key, ButtonStyle::Default, key);
  for (const char* key : {"audio", "writeinfo", "tcr"}) MovieToolbar.AddButton(key, ButtonStyle::Check, key);

  MultipleImageToolbar.AddButton("record", ButtonStyle::Default, "record");
  MultipleImageToolbar.AddButton("writeinfo", ButtonStyle::Check, "writeinfo");

  TriggerType.AddButton("motion", ButtonStyle::Check, "motion");
  TriggerType.AddButton("timer", ButtonStyle::Check, "timer");
}

// The bands in their order: the Toolbars menu entry i (below 7) governs the band at i + 1.
void Master::CreateBands() {
  for (const char* key : {"device", "operation", "movie", "image", "multiple", "avibuilder", "webshare", "tuner"})
    MasterBar.AddBand(key);
  MasterBar.Bands("tuner").Visible = false;
}

void Master::CreateMenus() {
  static const char* const kAudioMenu[] = {"Audio O&ff", "Audio &On", "-", "&Mono", "&Stereo", "-", " &8 bits",
                                           "1&6 bits", "-", "Sample Rate", "-", "Recording Settings", "-",
                                           "Sound Volume", "-", "Preview Audio (only for WDM drivers)"};
  for (int index = 0; index < 16; ++index) AudioMenu.Add(*this, "AudioMenu", index).Caption = kAudioMenu[index];
  static const char* const kToolbars[] = {"Device Toolbars", "Capture", "Movie Capture Toolbar", "Image Toolbar",
                                          "Multiple Image Capture", "Avi Builder", "Web Share ", "Status Display",
                                          "TV Tuner"};
  for (int index = 0; index < 9; ++index) {
    auto& entry = Toolbars.Add(*this, "Toolbars", index);
    entry.Caption = kToolbars[index];
    entry.Checked = true;
  }
}

void Master::CreateStatusBar() {
  MasterStatus.AddPanel("resolution");
  MasterStatus.AddPanel("filename");
  MasterStatus.AddPanel("site");
  MasterStatus.AddPanel("diskcap");
}

void Master::ConnectHandlers() {
  OperationBar.OnButtonClick = [this](ui::ToolbarButton& button) { OperationBar_ButtonClick(button); };
  MovieFrameRateControl.OnChange = [this] { MovieFrameRateControl_Change(); };
  MasterTimer.OnTimer = [this] { MasterTimer_Timer(); };
  MasterTimer2.OnTimer = [this] { MasterTimer2_Timer(); };
}

void Master::Load() {
  if (program_.state.Exiting) return;
  program_.state.ImageCounterStart = 0;
  program_.state.ImageCounterFormat = "#000000";
  previewrate.Clear();
  for (int rate = 1; rate <= 40; ++rate) previewrate.AddItem(FormatNumber(rate, "#00") + " FPS");
  previewrate.ListIndex = program_.state.PreviewRate >= 1 ? program_.state.PreviewRate - 1 : 11;
  MultipleImageFrameRate.Clear();
  for (int rate = 1; rate <= 30; ++rate) MultipleImageFrameRate.AddItem(std::to_string(rate) + " FPS");
  MultipleImageFrameRate.ListIndex = 10;
  MultipleImageMode.ListIndex = 0;
}

// The rate of a movie: kept in the state and shown beside the control; a preview faster than
// the capture is brought down to the same rate.
void Master::MovieFrameRateControl_Change() {
  program_.state.MovieFrameRate = MovieFrameRateControl.Value;
  MovieFrameRateDisplay.Caption = NumberText(MovieFrameRateControl.Value) + " fps";
  if (previewrate.ListIndex + 1 > MovieFrameRateControl.Value) previewrate.ListIndex = MovieFrameRateControl.Value - 1;
}

}  // namespace zr
