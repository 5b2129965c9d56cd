#pragma once
// The program's own look on the desktop, shared by the program and the tests that measure its
// windows: the push buttons flat in the desktop palette's colours, so that they read on a light
// and a dark theme alike, with its highlight when pointed at.

namespace zr::gui {

inline constexpr const char* kButtonStyle = R"(
QPushButton { background: palette(button); color: palette(button-text); border: 1px solid palette(mid);
              border-radius: 4px; padding: 5px 14px; }
QPushButton:hover { background: palette(light); border-color: palette(highlight); }
QPushButton:pressed { background: palette(highlight); color: palette(highlighted-text); }
QPushButton:focus { border-color: palette(highlight); }
QPushButton:disabled { background: palette(window); color: palette(mid); border-color: palette(midlight); }
)";

}  // namespace zr::gui
