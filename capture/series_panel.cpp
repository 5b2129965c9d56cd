#include "capture/series_panel.h"

#include <initializer_list>
#include <iterator>
#include <string_view>
#include <vector>

namespace zr {

using ui::ButtonStyle;

namespace {

const char* const kEffects[] = {"Flip",     "Mirror",  "Negative", "Greyscale", "Soften",
                                "Lighting", "Sharpen", "Solarize", "Diffuse",   "Emboss"};
const char* const kModes[] = {"Movie file (.AVI)",
                              "Multiple Bitmap file (.BMP)",
                              "Multiple JPEG file (.JPG)",
                              "Refresh Same Bitmap file (.BMP)",
                              "Refresh Same JPEG file (.JPG)",
                              "Put On Clipboard!"};
constexpr const char* kModeTip = "File type selection";
constexpr const char* kRateTip = "Frame Rate for Movie Viewer";

}  // namespace

SeriesPanel::SeriesPanel(ui::Window& window) : window_(window) {
  CreateToolbars();
  for (const char* mode : kModes) MultipleImageMode.AddItem(mode);
  MultipleImageMode.ToolTipText = kModeTip;
  MultipleImageFrameRate.ToolTipText = kRateTip;
  MultipleImageHoursControl.Max = 23;
  MultipleImageMinutesControl.Max = 59;
  MultipleImageSecondsControl.Max = 59;
  for (ui::Label* display : {&MultipleImageHoursDisplay, &MultipleImageMinutesDisplay, &MultipleImageSecondsDisplay})
    display->Caption = "00";
  Shooter.Caption = "Shoot (CTRL+F12)";
  Shooter.Enabled = false;
  for (int index = 0; index < static_cast<int>(std::size(kEffects)); ++index) {
    ui::Menu& entry = Img_Effects.Add(window_, "Img_Effects", index);
    entry.Caption = kEffects[index];
    entry.OnClick = [&entry] { entry.Checked = !entry.Checked; };
  }
}

void SeriesPanel::PopUpEffects(platform::Dialogs& dialogs) {
  std::vector<platform::PopupMenuEntry> entries;
  for (const auto& [index, entry] : Img_Effects.Elements()) entries.push_back({entry->Caption, entry->Checked});
  if (const auto chosen = dialogs.PopupMenu(entries)) Img_Effects(*chosen).Click();
}

void SeriesPanel::LanguageSeriesControls(const Program& program) {
  for (const auto& [index, entry] : Img_Effects.Elements()) entry->Caption = program.Translate(kEffects[index]);
  for (std::size_t index = 0; index < MultipleImageMode.Items.size() && index < std::size(kModes); ++index)
    MultipleImageMode.Items[index].text = program.Translate(kModes[index]);
  MultipleImageMode.ToolTipText = program.Translate(kModeTip);
  MultipleImageFrameRate.ToolTipText = program.Translate(kRateTip);
}

void SeriesPanel::CreateToolbars() {
  for (const char* key :
       {"record", "autostart", "motion", "filename", "otherinfo", "vidcompression", "netset", "effects"})
    MultipleImageToolbar.AddButton(
        key, key == std::string_view("motion") ? ButtonStyle::Dropdown : ButtonStyle::Default, key);
  // The motion detector can also be armed from the button's menu, which leaves the button on.
  MultipleImageToolbar.Button("motion").AddMenu("motion", "Motion Trigger");
  for (const char* key : {"writeinfo", "ftp"}) MultipleImageToolbar.AddButton(key, ButtonStyle::Check, key);

  imagesettings.Add(window_, "imagesettings", 0).AddButton("insert", ButtonStyle::Check, "insert");
  auto& series_settings = imagesettings.Add(window_, "imagesettings", 1);
  series_settings.AddButton("filenames", ButtonStyle::Default, "filenames");
  series_settings.AddButton("insert", ButtonStyle::Check, "insert");
}

}  // namespace zr
