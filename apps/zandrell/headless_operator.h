#pragma once
// The operator of a run without windows: picks the device in the chooser when it shows.

#include <iostream>
#include <string>
#include <utility>

#include "capture/choose_device.h"
#include "core/program.h"

namespace zr {

class HeadlessOperator {
 public:
  // `device` as the chooser lists it; empty for the first built-in camera entry.
  HeadlessOperator(Program& program, std::string device) : program_(program), device_(std::move(device)) {}

  void Act() {
    auto* chooser = program_.IfLoaded<ChooseDevice>();
    if (!chooser) return;
    const int entry = Entry(*chooser);
    if (entry < 0) {
      std::cerr << "zandrell: no device \"" << device_ << "\"; the chooser offers:\n";
      for (const auto& item : chooser->devices.Items) std::cerr << "  " << item.text << "\n";
      chooser->Cancel.Click();
      return;
    }
    chooser->devices.ClickEntry(entry);
    chooser->start.Click();
  }

 private:
  int Entry(const ChooseDevice& chooser) const {
    const auto& items = chooser.devices.Items;
    for (std::size_t index = 0; index < items.size(); ++index) {
      const bool wanted =
          device_.empty() ? items[index].text.starts_with("Built-in Test Camera") : items[index].text == device_;
      if (wanted) return static_cast<int>(index);
    }
    return -1;
  }

  Program& program_;
  std::string device_;
};

}  // namespace zr
