#pragma once
// The program's pictures (bottom-up BGR rows, padded to four bytes) and the toolkit's images.

#include <QImage>
#include <cstdint>

#include "platform/picture.h"

namespace zr::gui {

// A top-down copy the toolkit can draw.
QImage ToQImage(const platform::Picture& picture);
// A top-down copy with an alpha channel: clear where the pixel is `transparent_colour` (packed,
// red low), opaque elsewhere.
QImage ToKeyedQImage(const platform::Picture& picture, std::int32_t transparent_colour);
// Any image of the toolkit as the program's picture.
platform::Picture FromQImage(const QImage& image);

}  // namespace zr::gui
