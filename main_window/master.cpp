#include "main_window/master.h"

#include <initializer_list>

#include "base/formatting.h"
#include "capture/video_screen.h"
#include "core/main_menus.h"
#include "core/window_registry.h"

namespace zr {

using ui::ButtonStyle;

// The panels register their controls with the window the frame has made: the frame is the
// first base, whole before any panel starts.
Master::Master(Program& program)
    : MainWindow(program),
      MovieRunPanel(static_cast<ui::Window&>(*this), program),
      SeriesPanel(static_cast<ui::Window&>(*this)),
      TriggerPanel(static_cast<ui::Window&>(*this), program, static_cast<SeriesPanel&>(*this)),
      JoystickPanel(program, static_cast<TriggerPanel&>(*this), static_cast<SeriesPanel&>(*this)),
      AviBuilderPanel(static_cast<ui::Window&>(*this), program),
      PictureServerPanel(static_cast<ui::Window&>(*this), program),
      TunerPanel(static_cast<ui::Window&>(*this), program,
                 [&program]() -> platform::VideoCaptureControl& { return program.Window<VideoScreen>().Control(); }),
      program_(program) {
  CreateToolbars();
  CreateBands();
  CreateMenus();
  CreateStatusBar();
  CreateLabels();
  StatusCaption.Caption = "Status:";
  StatusString.ForeColor = ui::kWhite;
  StatusTime.Caption = "00:00:00.00";
  DroppedString.ForeColor = ui::kWhite;
  ConnectHandlers();
}

void Master::CreateToolbars() {
  for (const char* key : {"open", "save", "viewer", "srt", "preferences", "about", "scanner", "choose_scanner"})
    MainToolbar.AddButton(key, ButtonStyle::Default, key);
  for (const char* key : {"movie", "image", "multiple", "avibuilder", "webshare"})
    MainToolbar.AddButton(key, ButtonStyle::Group, key);

  DeviceToolbar.AddButton("device", ButtonStyle::Dropdown, "device");
  for (const char* key : {"source", "format"}) DeviceToolbar.AddButton(key, ButtonStyle::Dropdown, key);
  for (const char* key : {"display", "wdmsettings", "fullscreen", "snapshot", "info", "advanced", "histogram", "lens",
                          "exportdv", "about", "screen", "seprate"})
    DeviceToolbar.AddButton(key, ButtonStyle::Default, key);
  for (const char* key : {"overlay", "preview"}) DeviceToolbar.AddButton(key, ButtonStyle::Check, key);

  auto& record = OperationBar.AddButton("record", ButtonStyle::Default, "record");
  record.Caption = "Rec/Stop";
  for (const char* key : {"motion", "autostart", "sound"}) OperationBar.AddButton(key, ButtonStyle::Default, key);
  for (const char* key : {"rs232", "overlay"}) OperationBar.AddButton(key, ButtonStyle::Check, key);
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

const char* const kFileMenu[] = {"Movie Capture... (CTRL+M)",
                                 "Image Capture... (CTRL+I)",
                                 "Multiple Image Capture... (CTRL+U)",
                                 "AVI Builder... (CTRL+A)",
                                 "Webcam Broadcast... (CTRL+W)",
                                 "Windows Media Broadcast...",
                                 "-",
                                 "&Open Capture File...",
                                 "&Save Capture File...",
                                 "-",
                                 "&Preferences",
                                 "&System Information...",
                                 "-",
                                 "E&xit"};
const char* const kEditMenu[] = {"Capture Frame", "-", "Other Information", "-", "Put On Clipboard"};
const char* const kViewMenu[] = {"Overlay Mode", "Preview Mode", "-", "Full Screen"};
const char* const kVideoMenu[] = {"Video Source...",
                                  "Video Format...",
                                  "Video Display...",
                                  "-",
                                  "Video Compression",
                                  "Video Codecs",
                                  "What Codec...",
                                  "-",
                                  "VFW Advanced Settings",
                                  "-",
                                  "Video Capture Device...",
                                  "-",
                                  "Use DirectX Video Engine",
                                  "-",
                                  "Set Image Overlay",
                                  "Clear Image Overlay"};
const char* const kAudioMenu[] = {"Audio O&ff", "Audio &On",
                                  "-",          "&Mono",
                                  "&Stereo",    "-",
                                  " &8 bits",   "1&6 bits",
                                  "-",          "Sample Rate",
                                  "-",          "Recording Settings",
                                  "-",          "Sound Volume",
                                  "-",          "Preview Audio (only for WDM drivers)"};
const char* const kToolbars[] = {
    "Device Toolbars", "Capture",    "Movie Capture Toolbar", "Image Toolbar", "Multiple Image Capture",
    "Avi Builder",     "Web Share ", "Status Display",        "TV Tuner"};
const char* const kScannerMenu[] = {"Select Source", "-", "Acquire"};
const char* const kPriorities[] = {"RealTime Priority", "High Priority", "Normal Priority"};
const char* const kSampleRateMenu[] = {"8 Khz", "11 Khz", "22 Khz", "44 Khz"};
const char* const kWindowMenu[] = {"Tile &Horizontally", "Tile &Vertically", "&Cascade", "&Arrange Icons"};
const char* const kHelpMenu[] = {
    "&Help", "-", "&Splash Window", "Check for Upgrades...", "Video Zandrell on the &Web", "-", "&About"};

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
  AudioMenu(audio_menu::kRecordingSettings).Enabled = false;
  AudioMenu(audio_menu::kSoundVolume).Enabled = false;
  AddMenuEntries(*this, Toolbars, "Toolbars", kToolbars);
  for (const auto& [index, entry] : EditMenu.Elements()) entry->OnClick = [this, i = index] { EditMenu_Click(i); };
  for (const auto& [index, entry] : ViewMenu.Elements()) entry->OnClick = [this, i = index] { ViewMenu_Click(i); };
  for (const auto& [index, entry] : VideoMenu.Elements()) entry->OnClick = [this, i = index] { VideoMenu_Click(i); };
  for (const auto& [index, entry] : Toolbars.Elements()) entry->Checked = true;
  AddMenuEntries(*this, cpu_priority, "cpu_priority", kPriorities);
  AddMenuEntries(*this, SampleRateMenu, "SampleRateMenu", kSampleRateMenu);
  AddMenuEntries(*this, WindowMenu, "WindowMenu", kWindowMenu);
  AddMenuEntries(*this, HelpMenu, "HelpMenu", kHelpMenu);
  AddMenuEntries(*this, TWAINx, "TWAINx", kScannerMenu);
}

// The fixed captions of the window, in the operator's language. A separator stays a separator.
void Master::LanguageControls() {
  SetMenuCaptions(program_, FileMenu, kFileMenu);
  SetMenuCaptions(program_, EditMenu, kEditMenu);
  SetMenuCaptions(program_, ViewMenu, kViewMenu);
  SetMenuCaptions(program_, VideoMenu, kVideoMenu);
  SetMenuCaptions(program_, AudioMenu, kAudioMenu);
  SetMenuCaptions(program_, Toolbars, kToolbars);
  SetMenuCaptions(program_, cpu_priority, kPriorities);
  SetMenuCaptions(program_, SampleRateMenu, kSampleRateMenu);
  SetMenuCaptions(program_, WindowMenu, kWindowMenu);
  SetMenuCaptions(program_, HelpMenu, kHelpMenu);
  SetMenuCaptions(program_, TWAINx, kScannerMenu);
  PreviewRateLabel.Caption = program_.Translate("Preview Rate:");
  StatusCaption.Caption = program_.Translate("Status:");
  RecordButton().Caption = program_.Translate(RecordButton().Image == "pause" ? "Capture" : "Rec/Stop");
  Shooter.Caption = program_.Translate("Shoot") + " (CTRL+F12)";
  MultipleImageToolbar.Button("motion").FindMenu("motion")->Text = program_.Translate("Motion Trigger");
  TriggerPanel::LanguageControls();
  LanguageSeriesControls(program_);
}

void Master::CreateStatusBar() {
  MasterStatus.AddPanel("resolution");
  MasterStatus.AddPanel("filename");
  MasterStatus.AddPanel("site");
  MasterStatus.AddPanel("diskcap");
}

void Master::CreateLabels() {
  static const std::pair<int, const char*> kLabels[] = {{5, "Input:"},        {6, "Audio Device:"},
                                                        {8, "Channel:"},      {10, "Streaming Port:"},
                                                        {11, "Compression:"}, {14, "Stand by"}};
  for (const auto& [index, caption] : kLabels) Labels.Add(*this, "Labels", index).Caption = caption;
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
  MultipleImageToolbar.OnButtonMenuClick = [this](ui::ToolbarButton&, ui::ButtonMenu& entry) {
    if (entry.key == "motion") ArmMotion(nullptr);
  };
  MultipleImageMode.OnClick = [this] { MultipleImageMode_Click(); };
  for (const auto& [index, entry] : FileMenu.Elements()) entry->OnClick = [this, i = index] { FileMenu_Click(i); };
  for (const auto& [index, entry] : Toolbars.Elements()) entry->OnClick = [this, i = index] { Toolbars_Click(i); };
  for (const auto& [index, entry] : AudioMenu.Elements()) entry->OnClick = [this, i = index] { AudioMenu_Click(i); };
  for (const auto& [index, entry] : cpu_priority.Elements())
    entry->OnClick = [this, i = index] { cpu_priority_Click(i); };
  for (const auto& [index, entry] : SampleRateMenu.Elements())
    entry->OnClick = [this, i = index] { AudioRate.ListIndex = i; };
  for (const auto& [index, entry] : WindowMenu.Elements()) entry->OnClick = [this, i = index] { WindowMenu_Click(i); };
  for (const auto& [index, entry] : HelpMenu.Elements()) entry->OnClick = [this, i = index] { HelpMenu_Click(i); };
  for (const auto& [index, entry] : TWAINx.Elements()) entry->OnClick = [this, i = index] { TWAINx_Click(i); };
  MasterTimer.OnTimer = [this] { MasterTimer_Timer(); };
  MasterTimer2.OnTimer = [this] { MasterTimer2_Timer(); };
  Shooter.OnClick = [this] { ShootImageOfSeries(); };
  for (const auto& [index, bar] : imagesettings.Elements())
    bar->OnButtonClick = [this](ui::ToolbarButton& button) { imagesettings_ButtonClick(button); };
}

namespace {

using Registration = WindowRegistration<Master>;
const Registration kRegistration{{
    {"CaptureControl",
     [](Master& w, const ProcedureArguments& a) {
       a.Expect(1);
       w.CaptureControl(a.Flag(0));
     }},
    {"StopMovieRecord", Registration::Calls(&Master::StopMovieRecord)},
    {"RecordNow", Registration::Calls(&Master::RecordNow)},
    {"AllControls",
     [](Master& w, const ProcedureArguments& a) {
       a.Expect(1);
       w.AllControls(a.Flag(0));
     }},
    {"SetOperationMode",
     [](Master& w, const ProcedureArguments& a) {
       a.Expect(1);
       w.SetOperationMode(a.Text(0));
     }},
    {"ApplyFilenameExtension", Registration::Calls(&Master::ApplyFilenameExtension)},
    {"ClearAVIBuilderBuffer", Registration::Calls(&Master::ClearAVIBuilderBuffer)},
    {"LanguageControls", Registration::Calls(&Master::LanguageControls)},
    {"SaveCoolBar",
     [](Master& w, const ProcedureArguments& a) {
       a.Expect(1);
       w.SaveCoolBar(a.Text(0));
     }},
    {"LoadCoolBar",
     [](Master& w, const ProcedureArguments& a) {
       a.Expect(1);
       w.LoadCoolBar(a.Text(0));
     }},
    {"SetAudioCapture",
     [](Master& w, const ProcedureArguments& a) {
       a.Expect(1);
       w.SetAudioCapture(a.Flag(0));
     }},
    {"TakeSnapshot",
     [](Master& w, const ProcedureArguments& a) {
       a.Expect(1);
       w.TakeSnapshot(a.Flag(0));
     }},
    {"ShootImage", Registration::Calls(&Master::ShootImage)},
    {"SendToFtp",
     [](Master& w, const ProcedureArguments& a) {
       a.Expect(2);
       w.SendToFtp(a.Text(0), a.Text(1));
     }},
}};

}  // namespace

}  // namespace zr
