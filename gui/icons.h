#pragma once
// The pictures of the desktop face: the toolbar buttons' icons, the splash window's logo and the
// window icon. Every picture is drawn here with QPainter, so the program looks whole on a
// desktop without any icon theme; where the desktop's theme has a standard icon that truly means
// the same thing, the toolbar uses that one so the program fits the desktop.
//
// All functions paint and must run on the GUI thread after the Qt application object exists.

#include <QIcon>
#include <QPixmap>
#include <QSize>
#include <string_view>

namespace zr::gui {

// The icon of a toolbar button by its image key: the desktop theme's icon when a standard name
// fits the key, else our own pictogram, drawn at 16, 24, 32 and 48 px.
QIcon ToolbarIcon(std::string_view image_key);

// Our own pictogram only (no theme) at `size` px square on a transparent background. A key
// without a pictogram of its own gives a neutral rounded tile with the key's first letter.
QPixmap DrawnIcon(std::string_view image_key, int size);

// Whether `image_key` has a pictogram of its own (rather than the letter tile).
bool HasOwnPictogram(std::string_view image_key);

// The splash window's logo: the aperture of a lens and the name "Video Zandrell", laid out side
// by side for a wide size and stacked for a tall one, on a transparent background.
QPixmap SplashLogo(QSize size);

// The program's window icon: the lens of the logo without the name.
QIcon ApplicationIcon();

}  // namespace zr::gui
