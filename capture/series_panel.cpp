#include "capture/series_panel.h"

#include <initializer_list>

namespace zr {

using ui::ButtonStyle;

SeriesPanel::SeriesPanel(ui::Window& window) : window_(window) {
  CreateToolbars();
  for (const char* mode : {"Movie file (.AVI)", "Multiple Bitmap file (.BMP)", "Multiple JPEG file (.JPG)",
                           "Refresh Same Bitmap file (.BMP)", "Refresh Same JPEG file (.JPG)", "Put On Clipboard!"})
    MultipleImageMode.AddItem(mode);
  MultipleImageHoursControl.Max = 23;
  MultipleImageMinutesControl.Max = 59;
  MultipleImageSecondsControl.Max = 59;
  for (ui::Label* display : {&MultipleImageHoursDisplay, &MultipleImageMinutesDisplay, &MultipleImageSecondsDisplay})
    display->Caption = "00";
  Shooter.Caption = "Shoot (CTRL+F12)";
  Shooter.Enabled = false;
}

void SeriesPanel::CreateToolbars() {
  for (const char* key :
       {"record", "autostart", "motion", "filename", "otherinfo", "vidcompression", "netset", "effects"})
    MultipleImageToolbar.AddButton(key, ButtonStyle::Default, key);
  for (const char* key : {"writeinfo", "ftp"}) MultipleImageToolbar.AddButton(key, ButtonStyle::Check, key);

  imagesettings.Add(window_, "imagesettings", 0).AddButton("insert", ButtonStyle::Check, "insert");
  auto& series_settings = imagesettings.Add(window_, "imagesettings", 1);
  series_settings.AddButton("filenames", ButtonStyle::Default, "filenames");
  series_settings.AddButton("insert", ButtonStyle::Check, "insert");
}

}  // namespace zr
