#include "core/master.h"

#include "base/formatting.h"

namespace zr {

using ui::ButtonStyle;

Master::Master(Program& program) : ui::Window(program.services.loop, "Master"), program_(program) {
  CreateToolbars();
  CreateBands();
  CreateMenus();
  CreateStatusBar();
  CreateLabels();
  CreateTriggerControls();
  StatusCaption.Caption = "Status:";
  StatusString.ForeColor = ui::kWhite;
  StatusTime.Caption = "00:00:00.00";
  DroppedString.ForeColor = ui::kWhite;
  MovieFrameRateControl.Min = 1;
  MovieFrameRateControl.Max = 30;
  MovieHoursControl.Max = 99;
  MovieMinutesControl.Max = 59;
  MovieSecondsControl.Max = 59;
  for (ui::Label* display : {&MovieHoursDisplay, &MovieMinutesDisplay, &MovieSecondsDisplay}) display->Caption = "00";
  AudioChannels.AddItem("Mono");
  AudioChannels.AddItem("Stereo");
  AudioBits.AddItem("8 bits");
  AudioBits.AddItem("16 bits");
  for (const char* rate : {"8 Khz", "11 Khz", "22 Khz", "44 Khz"}) AudioRate.AddItem(rate);
  for (const char* mode : {"Movie file (.AVI)", "Multiple Bitmap file (.BMP)", "Multiple JPEG file (.JPG)",
                           "Refresh Same Bitmap file (.BMP)", "Refresh Same JPEG file (.JPG)", "Put On Clipboard!"})
    MultipleImageMode.AddItem(mode);
  WebShare_Port.Text = "80";
  WebShare_Quality.Min = 10;
  WebShare_Quality.Max = 100;
  WebShare_Quality.Value = 25;
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

  for (const char* key : {"record", "autostart", "motion", "filename", "otherinfo", "vidcompression", "netset", "effects"})
    MultipleImageToolbar.AddButton(key, ButtonStyle::Default, key);
  for (const char* key : {"writeinfo", "ftp"}) MultipleImageToolbar.AddButton(key, ButtonStyle::Check, key);

  imagesettings.Add(*this, "imagesettings", 0).AddButton("insert", ButtonStyle::Check, "insert");
  auto& series_settings = imagesettings.Add(*this, "imagesettings", 1);
  series_settings.AddButton("filenames", ButtonStyle::Default, "filenames");
  series_settings.AddButton("insert", ButtonStyle::Check, "insert");

  for (const char* key : {"tuner_add", "tuner_remove", "tuner_country", "tuner_up", "tuner_down"})
    TunerBar.AddButton(key, ButtonStyle::Default, key);
  for (const char* key : {"tuner_antena", "tuner_cable"}) TunerBar.AddButton(key, ButtonStyle::Check, key);
  TunerBar.AddButton("tuner_station", ButtonStyle::Dropdown, "tuner_station");

  for (const char* key : {"add", "delete", "clear", "up", "down"}) {
    auto& button = AviBuilderCursors.AddButton(key, key == std::string("add") ? ButtonStyle::Dropdown : ButtonStyle::Default, key);
    button.Enabled = key == std::string("add");
  }
  AviBuilderCursors.Button("add").AddMenu("group", "group");
  BuildAVI.Enabled = false;
}

// The bands in their order: the Toolbars menu entry i (below 8) governs the band at i + 1.
void Master::CreateBands() {
  for (const char* key : {"device", "operation", "movie", "image", "multiple", "avibuilder", "webshare", "tuner"})
    MasterBar.AddBand(key);
  MasterBar.Bands("tuner").Visible = false;
}

namespace {

template <std::size_t N>
void AddMenuEntries(ui::Window& window, ui::ControlArray<ui::Menu>& menu, const char* name,
                    const char* const (&captions)[N]) {
  for (std::size_t index = 0; index < N; ++index)
    menu.Add(window, name, static_cast<int>(index)).Caption = captions[index];
}

}  // namespace

namespace {

const char* const kFileMenu[] = {
      "Movie Capture... (CTRL+M)", "Image Capture... (CTRL+I)", "Multiple Image Capture... (CTRL+U)",
      "AVI Builder... (CTRL+A)", "Webcam Broadcast... (CTRL+W)", "Windows Media Broadcast...", "-",
      "&Open Capture File...", "&Save Capture File...", "-", "&Preferences", "&System Information...", "-", "E&xit"};
const char* const kEditMenu[] = {"Capture Frame", "-", "Other Information", "-", "Put On Clipboard"};
const char* const kViewMenu[] = {"Overlay Mode", "Preview Mode", "-", "Full Screen"};
const char* const kVideoMenu[] = {
      "Video Source...", "Video Format...", "Video Display...", "-", "Video Compression", "Video Codecs",
      "What Codec...", "-", "VFW Advanced Settings", "-", "Video Capture Device...", "-",
      "Use DirectX Video Engine", "-", "Set Image Overlay", "Clear Image Overlay"};
const char* const kAudioMenu[] = {"Audio O&ff", "Audio &On", "-", "&Mono", "&Stereo", "-", " &8 bits",
                                           "1&6 bits", "-", "Sample Rate", "-", "Recording Settings", "-",
                                           "Sound Volume", "-", "Preview Audio (only for WDM drivers)"};
const char* const kToolbars[] = {"Device Toolbars", "Capture", "Movie Capture Toolbar", "Image Toolbar",
                                 "Multiple Image Capture", "Avi Builder", "Web Share ", "Status Display",
                                 "TV Tuner"};
const char* const kPriorities[] = {"RealTime Priority", "High Priority", "Normal Priority"};

template <std::size_t N>
void SetMenuCaptions(const Program& program, ui::ControlArray<ui::Menu>& menu, const char* const (&captions)[N]) {
  for (std::size_t index = 0; index < N; ++index)
    menu(static_cast<int>(index)).Caption = program.Translate(captions[index]);
}

}  // namespace

void Master::CreateMenus() {
  AddMenuEntries(*this, FileMenu, "FileMenu", kFileMenu);
  AddMenuEntries(*this, EditMenu, "EditMenu", kEditMenu);
  AddMenuEntries(*this, ViewMenu, "ViewMenu", kViewMenu);
  AddMenuEntries(*this, VideoMenu, "VideoMenu", kVideoMenu);
  AddMenuEntries(*this, AudioMenu, "AudioMenu", kAudioMenu);
  // The volume control entries wait for the load to find a mixer.
  AudioMenu(11).Enabled = false;
  AudioMenu(13).Enabled = false;
  AddMenuEntries(*this, Toolbars, "Toolbars", kToolbars);
  for (const auto& [index, entry] : EditMenu.Elements()) entry->OnClick = [this, i = index] { EditMenu_Click(i); };
  for (const auto& [index, entry] : ViewMenu.Elements()) entry->OnClick = [this, i = index] { ViewMenu_Click(i); };
  for (const auto& [index, entry] : VideoMenu.Elements()) entry->OnClick = [this, i = index] { VideoMenu_Click(i); };
  for (const auto& [index, entry] : Toolbars.Elements()) entry->Checked = true;
  AddMenuEntries(*this, cpu_priority, "cpu_priority", kPriorities);
}

namespace {

struct Trigger {
  const char* key;
  const char* tip;
  const char* image;
};
const Trigger kTriggers[] = {{"manual", "Manual Trigger", "manual"},
                             {"timer", "Timer Trigger", "autostart"},
                             {"motion", "Motion Trigger", "motion"},
                             {"joystick", "", "joystick"}};

}  // namespace

// The fixed captions of the window, in the operator's language. A separator stays a separator.
void Master::LanguageControls() {
  SetMenuCaptions(program_, FileMenu, kFileMenu);
  SetMenuCaptions(program_, EditMenu, kEditMenu);
  SetMenuCaptions(program_, ViewMenu, kViewMenu);
  SetMenuCaptions(program_, VideoMenu, kVideoMenu);
  SetMenuCaptions(program_, AudioMenu, kAudioMenu);
  SetMenuCaptions(program_, Toolbars, kToolbars);
  SetMenuCaptions(program_, cpu_priority, kPriorities);
  PreviewRateLabel.Caption = program_.Translate("Preview Rate:");
  StatusCaption.Caption = program_.Translate("Status:");
  RecordButton().Caption = program_.Translate(RecordButton().Image == "pause" ? "Capture" : "Rec/Stop");
  Shooter.Caption = program_.Translate("Shoot") + " (CTRL+F12)";
  for (const auto& trigger : kTriggers)
    if (*trigger.tip) TriggerType.Button(trigger.key).ToolTipText = program_.Translate(trigger.tip);
}

void Master::CreateStatusBar() {
  MasterStatus.AddPanel("resolution");
  MasterStatus.AddPanel("filename");
  MasterStatus.AddPanel("site");
  MasterStatus.AddPanel("diskcap");
}

void Master::CreateLabels() {
  static const std::pair<int, const char*> kLabels[] = {{5, "Input:"},           {6, "Audio Device:"},
                                                        {8, "Channel:"},         {10, "Streaming Port:"},
                                                        {11, "Compression:"},    {14, "Stand by"}};
  for (const auto& [index, caption] : kLabels) Labels.Add(*this, "Labels", index).Caption = caption;
  PreviewRateLabel.Caption = "Preview Rate:";
}


// The trigger toolbar starts on the manual trigger, with the interval controls hidden.
void Master::CreateTriggerControls() {
  for (const auto& trigger : kTriggers)
    TriggerType.AddButton(trigger.key, ButtonStyle::Check, trigger.image).ToolTipText = trigger.tip;
  MultipleImageHoursControl.Max = 23;
  MultipleImageMinutesControl.Max = 59;
  MultipleImageSecondsControl.Max = 59;
  for (ui::Label* display : {&MultipleImageHoursDisplay, &MultipleImageMinutesDisplay, &MultipleImageSecondsDisplay})
    display->Caption = "00";
  Shooter.Caption = "Shoot (CTRL+F12)";
  Shooter.Enabled = false;
  SelectTrigger("manual");
}

void Master::ConnectHandlers() {
  OperationBar.OnButtonClick = [this](ui::ToolbarButton& button) { OperationBar_ButtonClick(button); };
  MainToolbar.OnButtonClick = [this](ui::ToolbarButton& button) { MainToolbar_ButtonClick(button); };
  DeviceToolbar.OnButtonClick = [this](ui::ToolbarButton& button) { DeviceToolbar_ButtonClick(button); };
  DeviceToolbar.OnButtonMenuClick = [this](ui::ToolbarButton& button, ui::ButtonMenu& entry) {
    DeviceToolbar_ButtonMenuClick(button, entry);
  };
  MovieToolbar.OnButtonClick = [this](ui::ToolbarButton& button) { MovieToolbar_ButtonClick(button); };
  MultipleImageToolbar.OnButtonClick = [this](ui::ToolbarButton& button) { MultipleImageToolbar_ButtonClick(button); };
  TriggerType.OnButtonClick = [this](ui::ToolbarButton& button) { SelectTrigger(button.Key()); };
  MovieFrameRateControl.OnChange = [this] { MovieFrameRateControl_Change(); };
  MovieHoursControl.OnChange = [this] { MovieLimitControl_Change(MovieHoursControl, MovieHoursDisplay); };
  MovieMinutesControl.OnChange = [this] { MovieLimitControl_Change(MovieMinutesControl, MovieMinutesDisplay); };
  MovieSecondsControl.OnChange = [this] { MovieLimitControl_Change(MovieSecondsControl, MovieSecondsDisplay); };
  MovieDisableLimit.OnClick = [this] { MovieDisableLimit_Click(); };
  MultipleImageMode.OnClick = [this] { MultipleImageMode_Click(); };
  for (const auto& [index, entry] : FileMenu.Elements()) entry->OnClick = [this, i = index] { FileMenu_Click(i); };
  for (const auto& [index, entry] : Toolbars.Elements()) entry->OnClick = [this, i = index] { Toolbars_Click(i); };
  for (const auto& [index, entry] : AudioMenu.Elements()) entry->OnClick = [this, i = index] { AudioMenu_Click(i); };
  MasterTimer.OnTimer = [this] { MasterTimer_Timer(); };
  MasterTimer2.OnTimer = [this] { MasterTimer2_Timer(); };
  MultipleImageTimer.OnTimer = [this] { MultipleImageTimer_Timer(); };
  Shooter.OnClick = [this] { ShootImageOfSeries(); };
  for (const auto& [index, bar] : imagesettings.Elements())
    bar->OnButtonClick = [this](ui::ToolbarButton& button) { imagesettings_ButtonClick(button); };
}

// The rate of a movie: kept in the state and shown beside the control; a preview faster than
// the capture is brought down to the same rate.
void Master::MovieFrameRateControl_Change() {
  program_.state.MovieFrameRate = MovieFrameRateControl.Value;
  MovieFrameRateDisplay.Caption = NumberText(MovieFrameRateControl.Value) + " fps";
  if (previewrate.ListIndex + 1 > MovieFrameRateControl.Value) previewrate.ListIndex = MovieFrameRateControl.Value - 1;
}

void Master::MovieLimitControl_Change(ui::RangeControl& control, ui::Label& display) {
  display.Caption = FormatNumber(control.Value, "#00");
}

// A checked box means an unlimited run: the limit controls and their displays are disabled.
void Master::MovieDisableLimit_Click() {
  const bool limited = MovieDisableLimit.Value != 1;
  for (ui::Control* control : std::initializer_list<ui::Control*>{
           &MovieHoursControl, &MovieMinutesControl, &MovieSecondsControl, &MovieHoursDisplay, &MovieMinutesDisplay,
           &MovieSecondsDisplay})
    control->Enabled = limited;
}

}  // namespace zr
