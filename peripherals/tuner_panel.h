#pragma once
// The TV tuner's panel of the main window: the tuner toolbar (stations, seek, antenna or
// cable) and the channel slider. Its band shows only for a device with a tuner.

#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class TunerPanel {
 private:
  ui::Window& window_;

 public:
  explicit TunerPanel(ui::Window& window) : window_(window) {
    for (const char* key : {"tuner_add", "tuner_remove", "tuner_country", "tuner_up", "tuner_down"})
      TunerBar.AddButton(key, ui::ButtonStyle::Default, key);
    for (const char* key : {"tuner_antena", "tuner_cable"}) TunerBar.AddButton(key, ui::ButtonStyle::Check, key);
    TunerBar.AddButton("tuner_station", ui::ButtonStyle::Dropdown, "tuner_station");
  }

  ui::Toolbar TunerBar{window_, "TunerBar"};
  ui::RangeControl TunerSlider{window_, "TunerSlider"};
};

}  // namespace zr
