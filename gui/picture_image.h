#pragma once
// The program's pictures (bottom-up BGR rows, padded to four bytes) and the toolkit's images.

#include <QImage>

#include "platform/picture.h"

namespace zr::gui {

// A top-down copy the toolkit can draw.
QImage ToQImage(const platform::Picture& picture);
// Any image of the toolkit as the program's picture.
platform::Picture FromQImage(const QImage& image);

}  // namespace zr::gui
