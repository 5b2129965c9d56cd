#pragma once
// What the desktop face knows of the connected device beyond the model: the live picture and
// how often to show it, the clicks on it, and the device's own message.

#include <functional>
#include <memory>
#include <string>

#include "platform/picture.h"

namespace zr::gui {

struct LiveVideo {
  std::function<std::shared_ptr<const platform::Picture>()> latest_picture;
  std::function<int()> preview_rate;
  std::function<void(int button)> mouse_pressed;     // 1 left, 2 right, 4 middle
  std::function<void(int virtual_key)> key_pressed;  // 27 Escape, 'A' for A, ...
  std::function<std::string()> source_message;
};

}  // namespace zr::gui
