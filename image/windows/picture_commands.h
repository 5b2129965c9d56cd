#pragma once
// The picture operations of the windows, with the program's messages: a subsystem of the picture
// library reports, and these say it to the operator.

#include <string>

#include "core/program.h"
#include "image/dib_section.h"

namespace zr {

// Writes `picture` (a bitmap's pixels) as a JPEG file; a coder that does not start, or a file
// that is not written, shows a message box and answers false.
bool SaveJPG(Program& program, const platform::Picture& picture, const std::string& name, int quality);

// The bitmap onto the clipboard as a picture; the DIB format shows its message instead. False
// when nothing was copied.
bool CopyToClipboard(Program& program, const cDIBSection& dib, bool as_dib);

}  // namespace zr
