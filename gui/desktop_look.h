#pragma once
// The program's own look on the desktop, shared by the program and the tests that measure its
// windows: the push buttons flat and light, with the accent of the icons when pointed at.

namespace zr::gui {

inline constexpr const char* kButtonStyle = R"(
QPushButton { background: #eceff1; color: #263238; border: 1px solid #b0bec5; border-radius: 4px;
              padding: 5px 14px; }
QPushButton:hover { background: #e3f2fd; border-color: #42a5f5; }
QPushButton:pressed { background: #bbdefb; }
QPushButton:focus { border-color: #1e88e5; }
QPushButton:disabled { background: #f5f5f5; color: #90a4ae; border-color: #cfd8dc; }
)";

}  // namespace zr::gui
