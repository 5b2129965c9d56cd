#pragma once
// The tool tips of the picture buttons whose model gives none: the command's menu caption where
// a menu has it, else a short text of ours, in the operator's language.

#include <QString>
#include <string_view>

namespace zr::gui {

// The tip of the button `key` of the tool bar `toolbar`; empty for a button the face does not
// know, and for "seprate", which only marks a place in the device tool bar.
QString ButtonTip(std::string_view toolbar, std::string_view key);

}  // namespace zr::gui
